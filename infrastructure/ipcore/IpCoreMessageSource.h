// Where messages from the other side are taken.
#pragma once

#include "infrastructure/ipcore/IpCoreMessageBase.h"

#include <memory>

class NotificationReceiverInterface;

/// The end of an exchange that gives messages out.
class IpCoreMessageSource
{
public:
    virtual ~IpCoreMessageSource() = default;

    /// The oldest waiting message, or an empty pointer at once where none is waiting.
    virtual std::unique_ptr<IpCoreMessageBase> takeMessage() = 0;
    /// True when a message is waiting at this moment.
    virtual bool hasMessage() const = 0;

    /// Has this receiver, in place of an earlier one, told of each message that comes; null tells
    /// nobody. To be called while nobody sends. A source that can't tell ignores it.
    virtual void setNotificationReceiver(NotificationReceiverInterface* receiver)
    {
        static_cast<void>(receiver);
    }
    /// Tells nobody from now on if this is still the receiver, and leaves another one be.
    virtual void clearNotificationReceiver(NotificationReceiverInterface* receiver)
    {
        static_cast<void>(receiver);
    }
};
