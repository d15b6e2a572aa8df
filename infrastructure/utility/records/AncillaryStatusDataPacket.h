// The status of a signal's ancillary packets, as a record:
//
//   | kind | version | detail, kind 2 alone | 2 x 16 bits | 8 bits | entries to the end
//   entry: | key | 3 x group |      group: | 0 |  or  | 1 | 2 x 32 | 64 | 2 x 32 | 64 bits |
#pragma once

#include "infrastructure/utility/packets/RawDataPacket.h"
#include "infrastructure/utility/records/AncPacketStatus.h"
#include "infrastructure/utility/records/RecordPacket.h"

/// Entries travel in the order of their keys. Of a key that comes twice the first entry counts.
class AncillaryStatusPayload : public RawDataPacket
{
public:
    AncillaryStatusPayload() = default;
    explicit AncillaryStatusPayload(const AncPacketStatus& values)
        : status(values)
    {
    }
    AncillaryStatusPayload(const QByteArray& view, const RawDataPacketHeader& header);

    QByteArray serialisePayload() const override;

    const AncPacketStatus& getStatus() const { return status; }

private:
    AncPacketStatus status;
};

class AncillaryStatusDataPacket
    : public TypedPacket<AncillaryStatusPayload, RawPacketType_AncillaryStatus>
{
public:
    using TypedPacket::TypedPacket;
};
