// The samples of a piece of a picture, as a record:
//
//   | rows R | samples a row S | descriptor words D | D words | R rows |
//   row:    | rowField1 ... rowField7 | S samples |
//   sample: bits 0-9 channelOne, bits 10-19 channelTwo
//   everything 32 bits, big-endian
#pragma once

#include "infrastructure/utility/records/RecordPacket.h"
#include "infrastructure/utility/video/types/VideoTypes.h"

/// S and the descriptor are those of the first row: shorter rows are filled up with zeros, longer
/// ones are cut.
class RawSdiSampleGridPayload : public RawDataPacket
{
public:
    RawSdiSampleGridPayload() = default;
    explicit RawSdiSampleGridPayload(Tessorn::Types::RawSdiSampleGrid values);
    /// A received packet. Missing payload reads as zero, up to the limit for every record.
    RawSdiSampleGridPayload(const QByteArray& view, const RawDataPacketHeader& header);

    QByteArray serialisePayload() const override;

    const Tessorn::Types::RawSdiSampleGrid& getSdiGridData() const { return grid; }

private:
    Tessorn::Types::RawSdiSampleGrid grid;
};

class RawSdiSampleGridPacket
    : public TypedPacket<RawSdiSampleGridPayload, RawPacketType_RawSdiSampleGrid>
{
public:
    using TypedPacket::TypedPacket;
};
