#include "infrastructure/utility/records/RawSdiSampleGridPacket.h"

#include <algorithm>
#include <utility>

namespace {

using Tessorn::Types::RawSdiSampleGrid;
using Tessorn::Types::Sdi20BitSample;
using Row = Tessorn::Types::RawSdiSampleGridRow;

constexpr qint32 Row::*ROW_FIELDS[] = {&Row::rowField1, &Row::rowField2, &Row::rowField3,
                                       &Row::rowField4, &Row::rowField5, &Row::rowField6,
                                       &Row::rowField7};
constexpr int HEAD_BYTES = 3 * 4;
constexpr int ROW_HEAD_BYTES = 7 * 4;

Row takeRow(RecordLayout::Reader& reader, qint32 samplesPerRow)
{
    Row row;
    for (qint32 Row::*field : ROW_FIELDS) {
        row.*field = reader.take<qint32>();
    }
    row.lineSamples.resize(static_cast<std::size_t>(reader.admit(samplesPerRow, 4)));
    reader.takeEach<quint32>(static_cast<int>(row.lineSamples.size()), [&row](int i, quint32 word) {
        row.lineSamples[static_cast<std::size_t>(i)] = Sdi20BitSample::fromStoreWord(word);
    });
    return row;
}

} // namespace

RawSdiSampleGridPayload::RawSdiSampleGridPayload(RawSdiSampleGrid values)
    : grid(std::move(values))
{
}

RawSdiSampleGridPayload::RawSdiSampleGridPayload(const QByteArray& view,
                                                 const RawDataPacketHeader& header)
    : RawDataPacket(view, header)
{
    RecordLayout::Reader reader(getPayload());
    const qint32 rows = reader.take<qint32>();
    const qint32 samplesPerRow = reader.take<qint32>();
    QVector<qint32> descriptor(reader.admit(reader.take<qint32>(), 4));
    reader.takeRun(descriptor.data(), descriptor.size());
    for (qint32 i = 0; i < rows && reader.admit(1, ROW_HEAD_BYTES) == 1; ++i) {
        grid.rows.push_back(takeRow(reader, samplesPerRow));
        grid.rows.back().rowDescriptor = descriptor;
    }
}

QByteArray RawSdiSampleGridPayload::serialisePayload() const
{
    const std::size_t samplesPerRow = grid.rows.empty() ? 0 : grid.rows.front().lineSamples.size();
    const QVector<qint32> descriptor =
        grid.rows.empty() ? QVector<qint32>() : grid.rows.front().rowDescriptor;
    const qint64 rowBytes = ROW_HEAD_BYTES + 4 * qint64(samplesPerRow);
    QByteArray payload = RecordLayout::allocatePayload(HEAD_BYTES + 4 * qint64(descriptor.size()) +
                                                       qint64(grid.rows.size()) * rowBytes);
    if (payload.isNull()) {
        return payload;
    }
    BigEndianWriter writer(payload);
    writer.put(static_cast<qint32>(grid.rows.size()));
    writer.put(static_cast<qint32>(samplesPerRow));
    writer.put(static_cast<qint32>(descriptor.size()));
    writer.putRun(descriptor.constData(), descriptor.size());
    for (const Row& row : grid.rows) {
        for (qint32 Row::*field : ROW_FIELDS) {
            writer.put(row.*field);
        }
        const std::size_t held = std::min(row.lineSamples.size(), samplesPerRow);
        writer.putEach<quint32>(static_cast<int>(held), [&row](int i) {
            return row.lineSamples[static_cast<std::size_t>(i)].toStoreWord();
        });
        for (std::size_t i = held; i < samplesPerRow; ++i) {
            writer.put(quint32(0));
        }
    }
    return payload;
}
