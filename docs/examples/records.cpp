#include "infrastructure/utility/packets/RawDataPacketFactory.h"
#include "infrastructure/utility/records/MetersData.h"

#include <QBuffer>

#include <cstdio>

/// A record is its fields and their order on the wire.
struct Timing
{
    quint64 referenceTime = 0;
    quint8 channel = 0;
    QVector<qint16> values;

    static constexpr auto LAYOUT =
        RecordLayout::layout(RecordLayout::field<quint64>(&Timing::referenceTime),
                             RecordLayout::field<qint32>(&Timing::channel), // 32 bits on the wire
                             RecordLayout::list<qint16>(&Timing::values));
};

int main()
{
    const Timing timing{1000, 3, {-1, 256}};
    const QByteArray bytes = RecordLayout::serialise(timing);
    std::puts(bytes.toHex(' ').constData());
    RecordLayout::Reader reader(bytes);
    Timing back;
    RecordLayout::take(back, reader);
    std::puts(back == timing ? "equal" : "different");

    // One of the instrument's own: a packet that is its record. A payload that ends early gives 0.
    PpmMetersData meters;
    meters.readings = {{0, 1, 2, 3, -18.5f}, {1, 1, 2, 3, -20.0f}};
    QBuffer link;
    link.open(QIODevice::WriteOnly);
    meters.serialiseTo(link);
    const QByteArray cut = link.data().left(link.data().size() - 4);
    RawDataPacketHeader header = RawDataPacket::parseHeader(link.data());
    const auto packet = std::dynamic_pointer_cast<PpmMetersData>(createRawDataPacket(cut, header));
    for (const auto& reading : packet->readings) {
        std::printf("meter %d: %g\n", reading.meterIndex, double(reading.level));
    }
}
