#include "infrastructure/utility/records/RawDataPacketTable_p.h"

#include "infrastructure/utility/packets/RawDataPacketFactory.h"

namespace {

template <typename Packet>
std::shared_ptr<RawDataPacket> make(const QByteArray& view, const RawDataPacketHeader& header)
{
    return std::make_shared<Packet>(view, header);
}

template <typename... Packets>
std::shared_ptr<RawDataPacket> makeOneOf(const std::tuple<Packets...>*, const QByteArray& view,
                                         const RawDataPacketHeader& header)
{
    using Make = std::shared_ptr<RawDataPacket> (*)(const QByteArray&, const RawDataPacketHeader&);
    static constexpr Make MAKE[] = {make<Packets>...};
    return MAKE[header.packetType - RawPacketType_First](view, header);
}

} // namespace

std::shared_ptr<RawDataPacket> createRawDataPacket(const QByteArray& view,
                                                   const RawDataPacketHeader& header)
{
    constexpr const RawDataPackets* TABLE = nullptr;
    return RawDataPacketHeader::isPacketType(header.packetType) ? makeOneOf(TABLE, view, header)
                                                                : nullptr;
}
