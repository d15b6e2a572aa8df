// Pairs of line 21 caption bytes (CEA-608), as a record. Each pair takes three bytes: the two as
// received, parity bits included, and the field flag.
#pragma once

#include "infrastructure/utility/captions/Caption608BytePair.h"
#include "infrastructure/utility/records/RecordPacket.h"

#include <vector>

/// Bytes left over after the last whole pair are ignored.
class Captions608bytePairsPayload : public RawDataPacket
{
public:
    Captions608bytePairsPayload() = default;
    explicit Captions608bytePairsPayload(std::vector<Caption608BytePair> values);
    Captions608bytePairsPayload(const QByteArray& view, const RawDataPacketHeader& header);

    QByteArray serialisePayload() const override;

    const std::vector<Caption608BytePair>& getBytePairs() const { return bytePairs; }

private:
    std::vector<Caption608BytePair> bytePairs;
};

class Captions608bytePairsRawDataPacket
    : public TypedPacket<Captions608bytePairsPayload, RawPacketType_Captions608bytePairs>
{
public:
    using TypedPacket::TypedPacket;
};
