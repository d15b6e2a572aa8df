// What the cases of the records share: a way through the factory and random values by layout.
#pragma once

#include "infrastructure/utility/packets/RawDataPacketFactory.h"
#include "infrastructure/utility/records/AncPacketStatus.h"
#include "infrastructure/utility/records/RecordPacket.h"

#include <QBuffer>

#include <memory>
#include <random>
#include <tuple>

namespace RecordTesting {

inline QByteArray hex(const char* digits)
{
    return QByteArray::fromHex(digits);
}

/// The packet that a receiver gets when this payload arrives for this class; null if the factory
/// makes something else.
template <typename Packet>
std::shared_ptr<Packet> receive(const QByteArray& payload)
{
    RawDataPacketHeader header;
    header.packetType = Packet::PACKET_TYPE;
    header.packetSubType = Packet::PACKET_SUB_TYPE;
    header.payloadSize = static_cast<quint32>(payload.size());
    const QByteArray view = QByteArray(RawDataPacketHeader::SIZE_BYTES, '?') + payload;
    return std::dynamic_pointer_cast<Packet>(createRawDataPacket(view, header));
}

/// What goes on the wire for a packet, header and all.
inline QByteArray wireBytes(const RawDataPacket& packet)
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    packet.serialiseTo(buffer);
    return buffer.data();
}

/// Gives every field of a record's layout a random value, and every list a random length.
class Randomiser
{
public:
    explicit Randomiser(unsigned seed)
        : random(seed)
    {
    }

    template <typename Record>
    void fill(Record& record)
    {
        std::apply([&](const auto&... part) { (fillPart(record, part), ...); }, Record::LAYOUT);
    }

    template <typename T>
    T value()
    {
        if constexpr (std::is_same_v<T, bool>) {
            return random() % 2 != 0;
        } else if constexpr (std::is_floating_point_v<T>) {
            return static_cast<T>(static_cast<double>(static_cast<qint32>(random())) / 1024);
        } else {
            return static_cast<T>(quint64(random()) << 32 | random());
        }
    }

private:
    template <typename Record, typename Wire, typename Owner, typename Held>
    void fillPart(Record& record, const RecordLayout::Field<Wire, Owner, Held>& part)
    {
        record.*part.member = value<Held>();
    }
    template <typename Record, typename Wire>
    void fillPart(Record&, const RecordLayout::Placeholder<Wire>&)
    {
    }
    template <typename Record, typename Wire, typename Owner, typename Array>
    void fillPart(Record& record, const RecordLayout::Run<Wire, Owner, Array>& part)
    {
        for (auto& number : record.*part.member) {
            number = value<Wire>();
        }
    }
    template <typename Record, typename Owner>
    void fillPart(Record& record, const RecordLayout::Address<Owner>& part)
    {
        record.*part.member = random() % 3 == 0 ? QHostAddress() : QHostAddress(value<quint32>());
    }
    template <typename Record, typename Wire, typename Owner, typename List>
    void fillPart(Record& record, const RecordLayout::NumberList<Wire, Owner, List>& part)
    {
        List list(static_cast<typename List::size_type>(random() % 20));
        for (auto& number : list) {
            number = value<Wire>();
        }
        record.*part.member = list;
    }
    template <typename Record, typename Owner, typename List>
    void fillPart(Record& record, const RecordLayout::RecordList<Owner, List>& part)
    {
        List list(static_cast<typename List::size_type>(random() % 20));
        for (auto& element : list) {
            fill(element);
        }
        record.*part.member = list;
    }

    template <typename Record>
    void fillPart(Record& record, const AncPacketStatus::DetailPart& part)
    {
        record.detail = part.isThere(record) ? value<quint8>() : quint8(0);
    }
    template <typename Record>
    void fillPart(Record& record, const AncPacketStatus::EntriesPart&)
    {
        for (auto count = random() % 5; count > 0; --count) {
            for (auto& group : record.entries[value<quint8>()]) {
                if (value<bool>()) {
                    fill(group.emplace());
                }
            }
        }
    }

    std::mt19937 random;
};

} // namespace RecordTesting
