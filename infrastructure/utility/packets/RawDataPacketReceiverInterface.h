// A receiver of one packet class.
#pragma once

#include "infrastructure/utility/packets/RawDataPacketReceiverInterfaceBase.h"

#include <memory>

/// Takes packets of class `T`, which states its raw type number as `T::PACKET_TYPE`.
template <typename T>
class RawDataPacketReceiverInterface : public RawDataPacketReceiverInterfaceBase
{
public:
    RawDataPacketReceiverInterface()
        : RawDataPacketReceiverInterfaceBase(T::PACKET_TYPE)
    {
    }

    void receiveRawPacket(std::shared_ptr<RawDataPacket> packet) override
    {
        receivePacket(std::dynamic_pointer_cast<T>(packet));
    }

    /// Takes a packet; null where what arrived is not a `T`.
    virtual void receivePacket(std::shared_ptr<T> packet) = 0;
};
