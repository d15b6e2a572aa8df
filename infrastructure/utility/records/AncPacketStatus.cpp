#include "infrastructure/utility/records/AncPacketStatus.h"

void AncPacketStatus::DetailPart::put(const AncPacketStatus& status, BigEndianWriter& writer) const
{
    if (isThere(status)) {
        writer.put(status.detail);
    }
}

void AncPacketStatus::DetailPart::take(AncPacketStatus& status, BigEndianReader& reader) const
{
    status.detail = isThere(status) ? reader.take<quint8>() : quint8(0);
}

bool AncPacketStatus::DetailPart::isEqual(const AncPacketStatus& a, const AncPacketStatus& b) const
{
    return !isThere(a) || a.detail == b.detail; // the kinds are compared before
}

qint64 AncPacketStatus::EntriesPart::size(const AncPacketStatus& status) const
{
    qint64 size = 0;
    for (const auto& [key, groups] : status.entries) {
        size += 1;
        for (const auto& group : groups) {
            size += group ? 1 + RecordLayout::fixedSize<AncStatusGroup>() : 1;
        }
    }
    return size;
}

void AncPacketStatus::EntriesPart::put(const AncPacketStatus& status, BigEndianWriter& writer) const
{
    BigEndianWriter local = writer; // in registers, whatever the bytes may alias
    for (const auto& [key, groups] : status.entries) {
        local.put(key);
        for (const auto& group : groups) {
            local.put(group.has_value());
            if (group) {
                RecordLayout::put(*group, local);
            }
        }
    }
    writer = local;
}

void AncPacketStatus::EntriesPart::take(AncPacketStatus& status, BigEndianReader& reader) const
{
    status.entries.clear();
    while (reader.getRemaining() > 0) {
        const quint8 key = reader.take<quint8>();
        Entry entry;
        for (auto& group : entry) {
            if (reader.take<bool>()) {
                RecordLayout::take(group.emplace(), reader);
            }
        }
        status.entries.emplace(key, entry);
    }
}

bool AncPacketStatus::EntriesPart::isEqual(const AncPacketStatus& a, const AncPacketStatus& b) const
{
    return a.entries == b.entries;
}
