// Where messages from the other side are taken out.
#pragma once

#include "infrastructure/ipcore/IpCoreMessageBase.h"

#include <memory>

class NotificationReceiverInterface;

/// The end of an exchange that gives messages out.
class IpCoreMessageSource
{
public:
    virtual ~IpCoreMessageSource() = default;

    /// The oldest waiting message, or at once an empty pointer if none is waiting.
    virtual std::unique_ptr<IpCoreMessageBase> takeMessage() = 0;
    /// True if a message is waiting at the moment.
    virtual bool hasMessage() const = 0;

    /// Sets the receiver that is told of each message that arrives, replacing any earlier one; null
    /// for none. To be called while nobody is sending. A source that can't notify ignores it.
    virtual void setNotificationReceiver(NotificationReceiverInterface* receiver)
    {
        static_cast<void>(receiver);
    }
    /// Stops telling this receiver, if it is still the one set; leaves any other alone.
    virtual void clearNotificationReceiver(NotificationReceiverInterface* receiver)
    {
        static_cast<void>(receiver);
    }
};
