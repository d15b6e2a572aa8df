// Makes a packet from a record with a layout.
#pragma once

#include "infrastructure/utility/packets/RawDataPacket.h"
#include "infrastructure/utility/records/RecordLayout.h"

#include <tuple>
#include <type_traits>

/// The parts of a base that is itself a packet with a record; none for any other base.
template <typename Base, typename = void>
constexpr std::tuple<> PARTS_OF_BASE;
template <typename Base>
constexpr auto PARTS_OF_BASE<Base, std::void_t<decltype(Base::LAYOUT)>> = Base::LAYOUT;

/// A packet that is the record it carries: the record's fields are the packet's own. The record of
/// a base comes first.
template <typename Record, typename Base = RawDataPacket>
class RecordPayload : public Base, public Record
{
public:
    static constexpr auto LAYOUT = RecordLayout::layout(PARTS_OF_BASE<Base>, Record::LAYOUT);

    RecordPayload() = default;
    /// A packet with these values.
    explicit RecordPayload(const Record& values)
        : Record(values)
    {
    }
    /// A received packet. Missing payload reads as zero.
    RecordPayload(const QByteArray& view, const RawDataPacketHeader& header)
        : Base(view, header)
    {
        RecordLayout::Reader reader(this->getPayload());
        RecordLayout::take(*this, reader);
    }

    QByteArray serialisePayload() const override { return RecordLayout::serialise(*this); }
};

/// Gives a packet class its numbers.
template <typename Base, quint16 TYPE, quint16 SUB_TYPE = 0>
class TypedPacket : public Base
{
public:
    static constexpr quint16 PACKET_TYPE = TYPE;
    static constexpr quint16 PACKET_SUB_TYPE = SUB_TYPE;

    using Base::Base;

    quint16 getPacketType() const override { return TYPE; }
    quint16 getPacketSubType() const override { return SUB_TYPE; }
};
