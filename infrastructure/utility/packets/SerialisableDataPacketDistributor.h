// The second stage of routing: JSON packets go, by class name, to the acceptors registered for it.
// Lives on the connections' thread.
#pragma once

#include "infrastructure/utility/packets/RawDataPacketReceiverInterface.h"
#include "infrastructure/utility/packets/SerialisableDataPacket.h"
#include "infrastructure/utility/packets/SerialisableDataPacketAcceptorInterface.h"

#include <QObject>

#include <deque>
#include <map>

/// Takes every JSON packet from the connections of one register, and gives it to each acceptor of
/// its class, in the order of registration. Acceptors can't be removed, so they must outlive the
/// distributor, which one of them may destroy while it is being called.
class SerialisableDataPacketDistributor
    : public QObject,
      public SerialisableDataPacketAcceptorInterface,
      public RawDataPacketReceiverInterface<SerialisableDataPacket>
{
    Q_OBJECT

public:
    /// Takes packets from now on: from the connections that use the process-wide register, or from
    /// those that use `receivers`.
    explicit SerialisableDataPacketDistributor(QObject* parent = nullptr);
    explicit SerialisableDataPacketDistributor(RawDataPacketReceivers& receivers,
                                               QObject* parent = nullptr);

    /// The acceptor will get the packets of a class; if registered twice, it is called twice. One
    /// that says it can't accept the class is refused with a log line.
    void registerPacketAcceptor(SerialisableDataPacketAcceptorInterface& acceptor,
                                QString className);
    /// The same for several classes, in order.
    void registerPacketAcceptor(SerialisableDataPacketAcceptorInterface& acceptor,
                                const std::deque<QString>& classNames);

    /// Takes a received packet; a null pointer is ignored.
    void receivePacket(std::shared_ptr<SerialisableDataPacket> packet) override;
    /// Always true.
    bool canAcceptPacket(QString className) override;
    /// Hands the packet on. If nobody has registered for its class, it is logged and dropped.
    void acceptPacket(const SerialisableDataPacket& packet) override;

private:
    std::map<QString, std::deque<SerialisableDataPacketAcceptorInterface*>> packetAcceptors;
};
