#include "infrastructure/utility/records/Captions608bytePairsRawDataPacket.h"

#include <utility>

namespace {

constexpr int PAIR_BYTES = 3;

} // namespace

Captions608bytePairsPayload::Captions608bytePairsPayload(std::vector<Caption608BytePair> values)
    : bytePairs(std::move(values))
{
}

Captions608bytePairsPayload::Captions608bytePairsPayload(const QByteArray& view,
                                                         const RawDataPacketHeader& header)
    : RawDataPacket(view, header)
{
    BigEndianReader reader(getPayload().constData(), getPayload().size());
    bytePairs.reserve(static_cast<std::size_t>(reader.getRemaining() / PAIR_BYTES));
    while (reader.getRemaining() >= PAIR_BYTES) {
        const quint8 raw1 = reader.take<quint8>();
        const quint8 raw2 = reader.take<quint8>();
        const bool isField1 = (reader.take<quint8>() & 1) != 0;
        bytePairs.push_back(Caption608BytePair::fromRaw(raw1, raw2, isField1));
    }
}

QByteArray Captions608bytePairsPayload::serialisePayload() const
{
    QByteArray payload = RecordLayout::allocatePayload(qint64(bytePairs.size()) * PAIR_BYTES);
    if (payload.isNull()) {
        return payload;
    }
    BigEndianWriter writer(payload);
    for (const Caption608BytePair& pair : bytePairs) {
        writer.put(pair.rawData1);
        writer.put(pair.rawData2);
        writer.put(pair.isField1);
    }
    return payload;
}
