#include "infrastructure/utility/packets/RawDataPacket.h"

#include <QIODevice>
#include <QtEndian>

#include <algorithm>
#include <limits>

RawDataPacket::RawDataPacket(const QByteArray& view, const RawDataPacketHeader& header)
    : receivedHeader(header)
{
    const int available = std::max(view.size() - RawDataPacketHeader::SIZE_BYTES, 0);
    const int size = static_cast<int>(std::min<qint64>(header.payloadSize, available));
    if (size > 0) {
        receivedPayload = QByteArray(view.constData() + RawDataPacketHeader::SIZE_BYTES, size);
    }
}

RawDataPacket::~RawDataPacket() = default;

quint16 RawDataPacket::getPacketSubType() const
{
    return 0;
}

RawDataPacketHeader RawDataPacket::parseHeader(const char* bytes, int size)
{
    RawDataPacketHeader header;
    if (size < RawDataPacketHeader::SIZE_BYTES) {
        const bool isBegun = size >= int(sizeof(quint16)) &&
                             RawDataPacketHeader::isPacketType(qFromBigEndian<quint16>(bytes));
        header.packetType =
            isBegun ? RawDataPacketHeader::INCOMPLETE_PACKET : RawDataPacketHeader::NO_PACKET;
        return header;
    }
    header.packetType = qFromBigEndian<quint16>(bytes);
    header.packetSubType = qFromBigEndian<quint16>(bytes + 2);
    header.payloadSize = qFromBigEndian<quint32>(bytes + 4);

    constexpr quint32 largestPayload = std::numeric_limits<qint32>::max();
    if (!RawDataPacketHeader::isPacketType(header.packetType) ||
        header.payloadSize > largestPayload) {
        header.packetType = RawDataPacketHeader::NO_PACKET;
    } else if (header.payloadSize > quint32(size - RawDataPacketHeader::SIZE_BYTES)) {
        header.packetType = RawDataPacketHeader::INCOMPLETE_PACKET;
    }
    return header;
}

QByteArray RawDataPacket::makeHeader(const QByteArray& payload) const
{
    QByteArray header(RawDataPacketHeader::SIZE_BYTES, Qt::Uninitialized);
    qToBigEndian<quint16>(getPacketType(), header.data());
    qToBigEndian<quint16>(getPacketSubType(), header.data() + 2);
    qToBigEndian<quint32>(quint32(payload.size()), header.data() + 4);
    return header;
}

bool RawDataPacket::serialiseTo(QIODevice& device) const
{
    const QByteArray payload = serialisePayload();
    const QByteArray header = makeHeader(payload);
    // By pointer and size, so that a socket joins both in its write buffer and sends them as one.
    return device.write(header.constData(), header.size()) == header.size() &&
           device.write(payload.constData(), payload.size()) == payload.size();
}
