#include "infrastructure/ipcore/IpCoreMessageExchange.h"

#include "infrastructure/utility/NotificationReceiverInterface.h"

#include <utility>

IpCoreMessageExchange::IpCoreMessageExchange(std::string exchangeName, uint32_t size,
                                             uint32_t waitMs,
                                             NotificationReceiverInterface* receiver)
    : notificationReceiver(receiver)
    , messageQueue("IpCoreMessageExchange messageQueue", size, waitMs)
    , name(std::move(exchangeName))
{
}

void IpCoreMessageExchange::acceptMessage(std::unique_ptr<IpCoreMessageBase> message)
{
    if (!message) {
        return; // takers read an empty pointer as "nothing waiting"
    }
    messageQueue.push(std::move(message));
    tellReceiver();
}

bool IpCoreMessageExchange::offerMessage(std::unique_ptr<IpCoreMessageBase>& message,
                                         uint32_t mostMs)
{
    if (!message) {
        return true;
    }
    const bool taken = messageQueue.tryPush(message, mostMs);
    if (taken) {
        tellReceiver();
    }
    return taken;
}

void IpCoreMessageExchange::tellReceiver()
{
    if (NotificationReceiverInterface* receiver = notificationReceiver) {
        receiver->notify();
    }
}

uint32_t IpCoreMessageExchange::spaceAvailable() const
{
    return messageQueue.getMaxSize() - messageQueue.getSize();
}

uint32_t IpCoreMessageExchange::capacity() const
{
    return messageQueue.getMaxSize();
}

std::unique_ptr<IpCoreMessageBase> IpCoreMessageExchange::takeMessage()
{
    return messageQueue.tryPop().value_or(nullptr);
}

bool IpCoreMessageExchange::hasMessage() const
{
    return !messageQueue.isEmpty();
}

void IpCoreMessageExchange::setNotificationReceiver(NotificationReceiverInterface* receiver)
{
    notificationReceiver = receiver;
}

void IpCoreMessageExchange::clearNotificationReceiver(NotificationReceiverInterface* receiver)
{
    notificationReceiver.compare_exchange_strong(receiver, nullptr);
}
