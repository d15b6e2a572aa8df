// Anything that takes JSON packets.
#pragma once

#include <QString>

class SerialisableDataPacket;

/// Takes JSON packets of the classes it says it can accept.
class SerialisableDataPacketAcceptorInterface
{
public:
    virtual ~SerialisableDataPacketAcceptorInterface() = default;

    /// True if packets of this class are of use here.
    virtual bool canAcceptPacket(QString className) = 0;
    /// Takes a packet; one of another class is ignored.
    virtual void acceptPacket(const SerialisableDataPacket& packet) = 0;
};
