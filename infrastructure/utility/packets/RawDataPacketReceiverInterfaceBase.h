// Who takes which raw packet type. Used from the connections' thread.
#pragma once

#include "infrastructure/utility/packets/RawDataPacket.h"

#include <QMultiMap>

#include <memory>

class RawDataPacketReceiverInterfaceBase;

/// A register: receivers by raw type, the newest of a type first. A connection hands what it
/// receives to the receivers of one register, which must outlive them and the connection.
using RawDataPacketReceivers = QMultiMap<unsigned int, RawDataPacketReceiverInterfaceBase*>;

/// Anything that takes raw packets of one type: registered for exactly as long as it exists. It
/// must be created and destroyed on the thread that runs the connections, and may be created or
/// destroyed, or destroy another, while a packet is being delivered.
class RawDataPacketReceiverInterfaceBase
{
public:
    /// Registers this receiver for a type, before the existing ones.
    explicit RawDataPacketReceiverInterfaceBase(unsigned int type,
                                                RawDataPacketReceivers& owner = registry);
    RawDataPacketReceiverInterfaceBase(const RawDataPacketReceiverInterfaceBase&) = delete;
    RawDataPacketReceiverInterfaceBase&
    operator=(const RawDataPacketReceiverInterfaceBase&) = delete;
    virtual ~RawDataPacketReceiverInterfaceBase();

    /// Takes a packet of the type it is registered for. Runs on the connection's thread.
    virtual void receiveRawPacket(std::shared_ptr<RawDataPacket> packet) = 0;

    /// The register it is in.
    RawDataPacketReceivers& getReceivers() const { return *receivers; }
    /// How many receivers had been created when this one was, itself included.
    quint64 getRegistrationNumber() const { return registrationNumber; }
    /// The number of the newest receiver ever created.
    static quint64 getLatestRegistrationNumber() { return latestRegistrationNumber; }

    /// The default register, one for the process. All connections that use it share its receivers,
    /// so two servers' packets can't be told apart.
    static RawDataPacketReceivers registry;

private:
    static quint64 latestRegistrationNumber;

    RawDataPacketReceivers* receivers;
    unsigned int packetType;
    quint64 registrationNumber;
};
