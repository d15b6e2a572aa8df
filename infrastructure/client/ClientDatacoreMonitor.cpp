#include "infrastructure/client/ClientDatacoreMonitor.h"

#include "infrastructure/client/ClientDatacore.h"
#include "infrastructure/utility/packets/DatacorePacket.h"
#include "infrastructure/utility/packets/NetworkConnection.h"

ClientDatacoreMonitor::ClientDatacoreMonitor(NetworkConnection& serverConnection, QObject* parent)
    : QObject(parent)
    , connection(&serverConnection)
{
}

void ClientDatacoreMonitor::onClientDatacoreUpdated(int packetIdentifier, ClientDatacore* datacore)
{
    if (datacore->getChangeState() != 2) {
        return;
    }
    constexpr bool justData = true;
    connection->acceptPacket(DatacorePacket(connection->getLocalIdentifier(), packetIdentifier,
                                            *datacore, justData, datacore->getPath()));
}
