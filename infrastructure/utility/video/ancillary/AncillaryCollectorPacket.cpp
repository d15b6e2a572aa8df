#include "infrastructure/utility/video/ancillary/AncillaryCollectorPacket.h"

#include <QByteArray>

#include <algorithm>

namespace {

/// The ancillary data flag, which begins every packet and is not stored by the collector.
constexpr std::array<uint8_t, 3> ANCILLARY_DATA_FLAG{0x00, 0xFF, 0xFF};

} // namespace

AncillaryCollectorPacket AncillaryCollectorPacket::fromBytes(const uint8_t* bytes, std::size_t size)
{
    AncillaryCollectorPacket packet;
    std::copy_n(bytes, std::min(size, SIZE_BYTES), packet.buffer.begin());
    return packet;
}

uint8_t AncillaryCollectorPacket::getAncWord(std::size_t index) const
{
    if (index < ANCILLARY_DATA_FLAG.size()) {
        return ANCILLARY_DATA_FLAG[index];
    }
    const std::size_t payloadOffset = index - ANCILLARY_DATA_FLAG.size();
    if (payloadOffset >= SIZE_BYTES - PAYLOAD_START_INDEX) {
        return 0;
    }
    return buffer[PAYLOAD_START_INDEX + payloadOffset];
}

AncillaryDidSdid AncillaryCollectorPacket::getDidSdid() const
{
    return {buffer[PAYLOAD_START_INDEX + DID_OFFSET], buffer[PAYLOAD_START_INDEX + SDID_OFFSET]};
}

uint8_t AncillaryCollectorPacket::getDataCount() const
{
    return buffer[PAYLOAD_START_INDEX + DC_OFFSET];
}

bool AncillaryCollectorPacket::verifyPacketDataCount() const
{
    return buffer.at(PAYLOAD_START_INDEX + DC_OFFSET + 1 + getDataCount()) == END_MARKER;
}

QString AncillaryCollectorPacket::toString() const
{
    const QByteArray words =
        QByteArray::fromRawData(reinterpret_cast<const char*>(firstUserDataWord()), getDataCount());
    const AncillaryDidSdid kind = getDidSdid();
    return QString::asprintf("DID 0x%02X SDID 0x%02X DC %d: ", kind.did, kind.sdid,
                             getDataCount()) +
           QString::fromLatin1(words.toHex(' ')) +
           QLatin1String(verifyPacketDataCount() ? "" : " (no end marker)");
}
