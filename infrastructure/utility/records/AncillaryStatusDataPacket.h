// The status of a signal's ancillary packets, as a record:
//
//   | kind | version | detail, kind 2 alone | 2 x 16 bits | 8 bits | entries to the end
//   entry: | key | 3 x group |      group: | 0 |  or  | 1 | 2 x 32 | 64 | 2 x 32 | 64 bits |
#pragma once

#include "infrastructure/utility/records/AncPacketStatus.h"
#include "infrastructure/utility/records/RecordPacket.h"

/// A packet that is the status it carries.
class AncillaryStatusPayload : public RecordPayload<AncPacketStatus>
{
public:
    using RecordPayload::RecordPayload;

    const AncPacketStatus& getStatus() const { return *this; }
};

class AncillaryStatusDataPacket
    : public TypedPacket<AncillaryStatusPayload, RawPacketType_AncillaryStatus>
{
public:
    using TypedPacket::TypedPacket;
};
