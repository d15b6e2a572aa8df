// Where messages pass from one thread to another. Any thread may put messages in and take them out.
#pragma once

#include "infrastructure/ipcore/IpCoreMessageSink.h"
#include "infrastructure/ipcore/IpCoreMessageSource.h"
#include "infrastructure/utility/QueueMaxSizeThreadSafe.h"

#include <atomic>
#include <string>

class NotificationReceiverInterface;

/// A bounded first-in first-out exchange. When full it blocks the sender; it never blocks the
/// taker, and it drops nothing before releaseSenders.
class IpCoreMessageExchange : public IpCoreMessageSink, public IpCoreMessageSource
{
public:
    /// `size` is the maximum number of messages held, `waitMs` the length of one timed wait of a
    /// blocked sender. The receiver, which may be null and must outlive the exchange's use, is
    /// called after each message has been put in, on the sender's thread and without a lock held.
    IpCoreMessageExchange(std::string exchangeName, uint32_t size, uint32_t waitMs,
                          NotificationReceiverInterface* receiver = nullptr);

    /// The name given at construction.
    const std::string& getName() const { return name; }

    /// An empty pointer is not a message and is ignored.
    void acceptMessage(std::unique_ptr<IpCoreMessageBase> message) override;
    bool offerMessage(std::unique_ptr<IpCoreMessageBase>& message, uint32_t mostMs) override;
    /// For shutdown: those who wait for room stop waiting, and nobody waits from now on. A message
    /// that is sent while there is no room is lost then.
    void releaseSenders() { messageQueue.endWaiting(); }
    uint32_t spaceAvailable() const override;
    uint32_t capacity() const override;

    std::unique_ptr<IpCoreMessageBase> takeMessage() override;
    bool hasMessage() const override;
    void setNotificationReceiver(NotificationReceiverInterface* receiver) override;
    void clearNotificationReceiver(NotificationReceiverInterface* receiver) override;

private:
    void tellReceiver();

    std::atomic<NotificationReceiverInterface*> notificationReceiver; ///< may be null, not owned
    QueueMaxSizeThreadSafe<std::unique_ptr<IpCoreMessageBase>> messageQueue;
    std::string name;
};
