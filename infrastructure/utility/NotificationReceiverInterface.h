// A way to be told, from any thread, that there is something to do.
#pragma once

/// Implemented by objects that wait for work.
class NotificationReceiverInterface
{
public:
    virtual ~NotificationReceiverInterface() = default;

    /// Says that there is something to do. Any thread may call it; it must not block.
    virtual void notify() = 0;
};
