#include "infrastructure/utility/records/AncillaryStatusDataPacket.h"

namespace {

constexpr int HEAD_BYTES = 7;
constexpr int GROUP_BYTES = RecordLayout::fixedSize<AncStatusGroup>();

int payloadSize(const AncPacketStatus& status)
{
    int size = HEAD_BYTES + (status.kind == AncPacketStatus::KIND_WITH_DETAIL ? 1 : 0);
    for (const auto& [key, groups] : status.entries) {
        size += 1;
        for (const auto& group : groups) {
            size += group ? 1 + GROUP_BYTES : 1;
        }
    }
    return size;
}

AncPacketStatus::Entry takeEntry(RecordLayout::Reader& reader)
{
    AncPacketStatus::Entry entry;
    for (auto& group : entry) {
        if (reader.take<bool>()) {
            RecordLayout::take(group.emplace(), reader);
        }
    }
    return entry;
}

} // namespace

AncillaryStatusPayload::AncillaryStatusPayload(const QByteArray& view,
                                               const RawDataPacketHeader& header)
    : RawDataPacket(view, header)
{
    RecordLayout::Reader reader(getPayload());
    status.kind = reader.take<quint8>();
    status.version = reader.take<quint8>();
    if (status.kind == AncPacketStatus::KIND_WITH_DETAIL) {
        status.detail = reader.take<quint8>();
    }
    status.statusWord1 = reader.take<quint16>();
    status.statusWord2 = reader.take<quint16>();
    status.statusByte1 = reader.take<quint8>();
    while (reader.getRemaining() > 0) {
        const quint8 key = reader.take<quint8>();
        status.entries.emplace(key, takeEntry(reader));
    }
}

QByteArray AncillaryStatusPayload::serialisePayload() const
{
    QByteArray payload = RecordLayout::allocatePayload(payloadSize(status));
    BigEndianWriter writer(payload);
    writer.put(status.kind);
    writer.put(status.version);
    if (status.kind == AncPacketStatus::KIND_WITH_DETAIL) {
        writer.put(status.detail);
    }
    writer.put(status.statusWord1);
    writer.put(status.statusWord2);
    writer.put(status.statusByte1);
    for (const auto& [key, groups] : status.entries) {
        writer.put(key);
        for (const auto& group : groups) {
            writer.put(group.has_value());
            if (group) {
                RecordLayout::put(*group, writer);
            }
        }
    }
    return payload;
}
