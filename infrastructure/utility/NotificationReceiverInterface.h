// Being told, from any thread, that there is something to do.
#pragma once

/// Implemented by whoever waits for work.
class NotificationReceiverInterface
{
public:
    virtual ~NotificationReceiverInterface() = default;

    /// Says that there is something to do. Any thread may call it; it must not block.
    virtual void notify() = 0;
};
