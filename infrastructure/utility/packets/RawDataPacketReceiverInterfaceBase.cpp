#include "infrastructure/utility/packets/RawDataPacketReceiverInterfaceBase.h"

RawDataPacketReceivers RawDataPacketReceiverInterfaceBase::registry;
quint64 RawDataPacketReceiverInterfaceBase::latestRegistrationNumber = 0;

RawDataPacketReceiverInterfaceBase::RawDataPacketReceiverInterfaceBase(
    unsigned int type, RawDataPacketReceivers& owner)
    : receivers(&owner)
    , packetType(type)
    , registrationNumber(++latestRegistrationNumber)
{
    receivers->insert(packetType, this);
}

RawDataPacketReceiverInterfaceBase::~RawDataPacketReceiverInterfaceBase()
{
    receivers->remove(packetType, this);
}
