// Applies what the server sends to the mirrors. Lives on the connection's thread.
#pragma once

#include "infrastructure/utility/packets/DatacorePacket.h"
#include "infrastructure/utility/packets/SerialisableDataPacketAcceptorInterface.h"

#include <QObject>

class ClientDatacoreRegistry;
class NetworkConnection;
class SerialisableDataPacketDistributor;

/// Takes "DatacorePacket"s. Those that can't be used are logged and dropped.
class ClientDatacorePopulator : public QObject, public SerialisableDataPacketAcceptorInterface
{
    Q_OBJECT

public:
    /// Registers itself with the distributor.
    ClientDatacorePopulator(NetworkConnection& serverConnection,
                            ClientDatacoreRegistry& datacoreRegistry,
                            SerialisableDataPacketDistributor& distributor,
                            QObject* parent = nullptr);

    bool canAcceptPacket(QString className) override;
    void acceptPacket(const SerialisableDataPacket& packet) override;
    /// Gives the packet to the mirror of its path; as an acknowledgement if its "ClientID" is this
    /// end of the connection.
    Q_INVOKABLE virtual void populateClientDatacoreFromJson(DatacorePacket datacorePacket);

private:
    NetworkConnection* connection;
    ClientDatacoreRegistry* registry;
};
