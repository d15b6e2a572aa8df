#include "infrastructure/utility/records/AncPacketStatus.h"

bool operator==(const AncPacketStatus& a, const AncPacketStatus& b)
{
    return a.kind == b.kind && a.version == b.version &&
           (a.kind != AncPacketStatus::KIND_WITH_DETAIL || a.detail == b.detail) &&
           a.statusWord1 == b.statusWord1 && a.statusWord2 == b.statusWord2 &&
           a.statusByte1 == b.statusByte1 && a.entries == b.entries;
}

bool operator!=(const AncPacketStatus& a, const AncPacketStatus& b)
{
    return !(a == b);
}
