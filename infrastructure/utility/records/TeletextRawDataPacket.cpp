#include "infrastructure/utility/records/TeletextRawDataPacket.h"

#include "infrastructure/utility/Log.h"

#include <algorithm>
#include <utility>

namespace {

constexpr std::size_t MAX_COUNT = 255;
constexpr std::size_t RECORD_BYTES = 13;

void putRecord(const TeletextPacket& packet, std::size_t offset, BigEndianWriter& writer)
{
    writer.put(packet.magazine);
    writer.put(packet.packetNumber);
    writer.put(packet.hasPageHeader);
    writer.put(packet.displayDataLength);
    writer.put(static_cast<quint8>(offset));
    writer.put(packet.pageDecimal);
    writer.put(packet.pageBcd);
    writer.put(static_cast<quint8>(packet.subcode & 0xFF));
    writer.put(static_cast<quint8>(packet.subcode >> 8));
    writer.put(packet.erasePage);
    writer.put(packet.subtitle);
    writer.put(packet.magazineSerial);
    writer.put(packet.nationalOption);
}

void takeRecord(BigEndianReader& reader, TeletextPacketContainer& teletext)
{
    TeletextPacket packet;
    packet.magazine = reader.take<quint8>();
    packet.packetNumber = reader.take<quint8>();
    packet.hasPageHeader = reader.take<bool>();
    packet.displayDataLength = reader.take<quint8>();
    const std::size_t offset = reader.take<quint8>();
    packet.pageDecimal = reader.take<quint8>();
    packet.pageBcd = reader.take<quint8>();
    const quint8 subcodeLow = reader.take<quint8>();
    packet.subcode = static_cast<quint16>(reader.take<quint8>() << 8 | subcodeLow);
    packet.erasePage = reader.take<bool>();
    packet.subtitle = reader.take<bool>();
    packet.magazineSerial = reader.take<bool>();
    packet.nationalOption = reader.take<quint8>();
    if (!teletext.append(packet, offset)) {
        packet.displayDataLength = 0; // it would point outside the bytes
        teletext.append(packet, 0);
    }
}

} // namespace

TeletextRawPayload::TeletextRawPayload(TeletextPacketContainer values)
    : teletext(std::move(values))
{
}

TeletextRawPayload::TeletextRawPayload(const QByteArray& view, const RawDataPacketHeader& header)
    : RawDataPacket(view, header)
{
    BigEndianReader reader(getPayload().constData(), getPayload().size());
    std::vector<quint8> bytes(reader.take<quint8>());
    reader.takeRun(bytes.data(), static_cast<int>(bytes.size()));
    teletext = TeletextPacketContainer(std::move(bytes));
    for (int left = reader.take<quint8>(); left > 0; --left) {
        takeRecord(reader, teletext);
    }
}

QByteArray TeletextRawPayload::serialisePayload() const
{
    const std::vector<quint8>& bytes = teletext.bytes();
    const std::vector<TeletextPacket>& packets = teletext.teletextPackets();
    const std::size_t byteCount = std::min(bytes.size(), MAX_COUNT);
    const std::size_t recordCount = std::min(packets.size(), MAX_COUNT);
    if (byteCount < bytes.size() || recordCount < packets.size()) {
        VELLOG_ERR() << "Teletext of " << bytes.size() << " bytes and " << packets.size()
                     << " records is cut to " << MAX_COUNT << " of each";
    }
    QByteArray payload =
        RecordLayout::allocatePayload(qint64(2 + byteCount + RECORD_BYTES * recordCount));
    BigEndianWriter writer(payload);
    writer.put(static_cast<quint8>(byteCount));
    writer.putRun(bytes.data(), static_cast<int>(byteCount));
    writer.put(static_cast<quint8>(recordCount));
    for (std::size_t i = 0; i < recordCount; ++i) {
        TeletextPacket packet = packets[i];
        std::size_t offset = teletext.displayDataOffset(packet);
        if (offset + packet.displayDataLength > byteCount) {
            packet.displayDataLength = 0; // its bytes are not sent
            offset = 0;
        }
        putRecord(packet, offset, writer);
    }
    return payload;
}
