// JSON packets that carry an event for a log.
#pragma once

#include "infrastructure/utility/packets/SerialisableDataPacket.h"

/// A packet that can say what it has to say in one line.
class LogSerialisableDataPacket : public SerialisableDataPacket
{
public:
    using SerialisableDataPacket::SerialisableDataPacket;

    /// The line to log; null where the packet carries none.
    virtual QString getLogLine() const = 0;
};
