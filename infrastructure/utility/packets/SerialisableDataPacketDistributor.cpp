#include "infrastructure/utility/packets/SerialisableDataPacketDistributor.h"

#include "infrastructure/utility/Log.h"

#include <QPointer>

SerialisableDataPacketDistributor::SerialisableDataPacketDistributor(QObject* parent)
    : SerialisableDataPacketDistributor(registry, parent)
{
}

SerialisableDataPacketDistributor::SerialisableDataPacketDistributor(
    RawDataPacketReceivers& receivers, QObject* parent)
    : QObject(parent)
    , RawDataPacketReceiverInterface(receivers)
{
}

void SerialisableDataPacketDistributor::registerPacketAcceptor(
    SerialisableDataPacketAcceptorInterface& acceptor, QString className)
{
    if (!acceptor.canAcceptPacket(className)) {
        VELLOG_INFO() << "Could not register packetAcceptor to accept packets of the class "
                      << className;
        return;
    }
    packetAcceptors[className].push_back(&acceptor);
}

void SerialisableDataPacketDistributor::registerPacketAcceptor(
    SerialisableDataPacketAcceptorInterface& acceptor, const std::deque<QString>& classNames)
{
    for (const QString& className : classNames) {
        registerPacketAcceptor(acceptor, className);
    }
}

void SerialisableDataPacketDistributor::receivePacket(
    std::shared_ptr<SerialisableDataPacket> packet)
{
    if (packet != nullptr) {
        acceptPacket(*packet);
    }
}

bool SerialisableDataPacketDistributor::canAcceptPacket(QString)
{
    return true;
}

void SerialisableDataPacketDistributor::acceptPacket(const SerialisableDataPacket& packet)
{
    const QString className = packet.getPacketClassName();
    const auto found = packetAcceptors.find(className);
    if (found == packetAcceptors.end()) {
        VELLOG_INFO() << "There are no packet acceptors registered for packets of type "
                      << className;
        return;
    }
    // By index: an acceptor may register another, which then gets this packet too, or end the
    // client with everything that belongs to it.
    const QPointer<SerialisableDataPacketDistributor> self(this);
    std::deque<SerialisableDataPacketAcceptorInterface*>& acceptors = found->second;
    for (std::size_t i = 0; self && i < acceptors.size(); ++i) {
        if (acceptors[i] != nullptr) {
            acceptors[i]->acceptPacket(packet);
        }
    }
}
