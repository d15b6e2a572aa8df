// What is known about the ancillary packets of a signal, one entry per kind of packet. A value.
#pragma once

#include "infrastructure/utility/records/RecordLayout.h"

#include <array>
#include <map>
#include <optional>

/// The counts for one place where packets were found.
struct AncStatusGroup
{
    qint32 groupField1 = 0;
    qint32 groupField2 = 0;
    quint64 groupStamp1 = 0;
    qint32 groupField3 = 0;
    qint32 groupField4 = 0;
    quint64 groupStamp2 = 0;

    static constexpr auto LAYOUT = RecordLayout::layout(
        RecordLayout::fields<qint32>(&AncStatusGroup::groupField1, &AncStatusGroup::groupField2),
        RecordLayout::field<quint64>(&AncStatusGroup::groupStamp1),
        RecordLayout::fields<qint32>(&AncStatusGroup::groupField3, &AncStatusGroup::groupField4),
        RecordLayout::field<quint64>(&AncStatusGroup::groupStamp2));
};

/// The status of all kinds of packet. Two are equal if everything that is sent is equal.
struct AncPacketStatus
{
    /// The kind that carries a third byte.
    static constexpr quint8 KIND_WITH_DETAIL = 2;

    /// The groups of one kind of packet, each present or not.
    using Entry = std::array<std::optional<AncStatusGroup>, 3>;

    quint8 kind = 0;
    quint8 version = 0;
    quint8 detail = 0; ///< sent for KIND_WITH_DETAIL only
    quint16 statusWord1 = 0;
    quint16 statusWord2 = 0;
    quint8 statusByte1 = 0;
    std::map<quint8, Entry> entries; ///< if a key is repeated, the first one counts

    /// The part of the layout that is `detail` for KIND_WITH_DETAIL and empty for any other.
    struct DetailPart
    {
        static constexpr int FIXED_SIZE = -1;
        /// These are what RecordLayout asks of a part.
        qint64 size(const AncPacketStatus& status) const { return isThere(status) ? 1 : 0; }
        void put(const AncPacketStatus& status, BigEndianWriter& writer) const;
        void take(AncPacketStatus& status, BigEndianReader& reader) const;
        bool isEqual(const AncPacketStatus& a, const AncPacketStatus& b) const;

        /// True for KIND_WITH_DETAIL.
        static bool isThere(const AncPacketStatus& status)
        {
            return status.kind == KIND_WITH_DETAIL;
        }
    };
    /// The last part: the entries in the order of their keys, to the end of the payload.
    struct EntriesPart
    {
        static constexpr int FIXED_SIZE = -1;
        /// These are what RecordLayout asks of a part.
        qint64 size(const AncPacketStatus& status) const;
        void put(const AncPacketStatus& status, BigEndianWriter& writer) const;
        void take(AncPacketStatus& status, BigEndianReader& reader) const;
        bool isEqual(const AncPacketStatus& a, const AncPacketStatus& b) const;
    };

    static constexpr auto LAYOUT = RecordLayout::layout(
        RecordLayout::fields<quint8>(&AncPacketStatus::kind, &AncPacketStatus::version),
        DetailPart{},
        RecordLayout::fields<quint16>(&AncPacketStatus::statusWord1, &AncPacketStatus::statusWord2),
        RecordLayout::field<quint8>(&AncPacketStatus::statusByte1), EntriesPart{});
};
