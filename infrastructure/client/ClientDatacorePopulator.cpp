#include "infrastructure/client/ClientDatacorePopulator.h"

#include "infrastructure/client/ClientDatacoreRegistry.h"
#include "infrastructure/utility/Log.h"
#include "infrastructure/utility/packets/NetworkConnection.h"
#include "infrastructure/utility/packets/SerialisableDataPacketDistributor.h"

ClientDatacorePopulator::ClientDatacorePopulator(NetworkConnection& serverConnection,
                                                 ClientDatacoreRegistry& datacoreRegistry,
                                                 SerialisableDataPacketDistributor& distributor,
                                                 QObject* parent)
    : QObject(parent)
    , connection(&serverConnection)
    , registry(&datacoreRegistry)
{
    distributor.registerPacketAcceptor(*this, DatacorePacket::CLASSNAME());
}

bool ClientDatacorePopulator::canAcceptPacket(QString className)
{
    return className == DatacorePacket::CLASSNAME();
}

void ClientDatacorePopulator::acceptPacket(const SerialisableDataPacket& packet)
{
    if (!canAcceptPacket(packet.getPacketClassName())) {
        return;
    }
    bool ok = false;
    const DatacorePacket datacorePacket(packet, ok);
    if (!ok) {
        VELLOG_ERR() << "ClientDatacorePopulator::acceptPacket: Couldn't create a DatacorePacket "
                        "from "
                     << packet;
        return;
    }
    populateClientDatacoreFromJson(datacorePacket);
}

void ClientDatacorePopulator::populateClientDatacoreFromJson(DatacorePacket datacorePacket)
{
    if (ClientDatacore* datacore = registry->lookup(datacorePacket)) {
        const bool isOwnUpdate = datacorePacket.containsClientID() &&
                                 datacorePacket.getClientID() == connection->getLocalIdentifier();
        registry->deliver(*datacore, datacorePacket, isOwnUpdate);
    } else if (registry->isEmpty()) {
        VELLOG_INFO() << "Client datacore populator: Registry is empty, no way to populate: "
                      << datacorePacket.getDatacorePath();
    } else {
        VELLOG_INFO() << "Client datacore populator: Registry does not contain datacore with path: "
                      << datacorePacket.getDatacorePath();
    }
}
