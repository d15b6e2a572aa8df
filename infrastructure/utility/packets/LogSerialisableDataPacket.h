// JSON packets that carry an event for a log.
#pragma once

#include "infrastructure/utility/packets/SerialisableDataPacket.h"

/// A packet whose content can be said in one line.
class LogSerialisableDataPacket : public SerialisableDataPacket
{
public:
    using SerialisableDataPacket::SerialisableDataPacket;

    /// The line to log; null if the packet carries none.
    virtual QString getLogLine() const = 0;
};
