#include "infrastructure/utility/packets/RawDataPacketReceiverInterfaceBase.h"

QMultiMap<unsigned int, RawDataPacketReceiverInterfaceBase*>
    RawDataPacketReceiverInterfaceBase::registry;
quint64 RawDataPacketReceiverInterfaceBase::latestRegistrationNumber = 0;

RawDataPacketReceiverInterfaceBase::RawDataPacketReceiverInterfaceBase(unsigned int type)
    : packetType(type)
    , registrationNumber(++latestRegistrationNumber)
{
    registry.insert(packetType, this);
}

RawDataPacketReceiverInterfaceBase::~RawDataPacketReceiverInterfaceBase()
{
    registry.remove(packetType, this);
}
