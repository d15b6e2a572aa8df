// A receiver of one packet class.
#pragma once

#include "infrastructure/utility/packets/RawDataPacketReceiverInterfaceBase.h"

#include <memory>
#include <type_traits>
#include <typeinfo>

class SerialisableDataPacket;

/// Takes packets of class `T`, which states its raw type number as `T::PACKET_TYPE`. `T` can't be a
/// class of JSON packets: every JSON packet arrives as a SerialisableDataPacket.
template <typename T>
class RawDataPacketReceiverInterface : public RawDataPacketReceiverInterfaceBase
{
public:
    explicit RawDataPacketReceiverInterface(RawDataPacketReceivers& owner = registry)
        : RawDataPacketReceiverInterfaceBase(T::PACKET_TYPE, owner)
    {
        static_assert(std::is_same_v<T, SerialisableDataPacket> ||
                          !std::is_base_of_v<SerialisableDataPacket, T>,
                      "JSON packets arrive as SerialisableDataPacket: for those of one class, "
                      "register a SerialisableDataPacketAcceptorInterface with a "
                      "SerialisableDataPacketDistributor");
    }

    void receiveRawPacket(std::shared_ptr<RawDataPacket> packet) override
    {
        const RawDataPacket* content = packet.get();
        receivePacket(content != nullptr && typeid(*content) == typeid(T)
                          ? std::static_pointer_cast<T>(packet)
                          : std::dynamic_pointer_cast<T>(packet)); // takes longer
    }

    /// Takes a packet; null if what arrived is not a `T`.
    virtual void receivePacket(std::shared_ptr<T> packet) = 0;
};
