#include "infrastructure/client/VelClientDatacoreManager.h"

#include "infrastructure/utility/packets/DatacorePathRadixTreePacket.h"
#include "infrastructure/utility/packets/NetworkConnection.h"
#include "infrastructure/utility/packets/SerialisableDataPacketDistributor.h"

VelClientDatacoreManager::VelClientDatacoreManager(NetworkConnection& connection,
                                                   SerialisableDataPacketDistributor& distributor,
                                                   QObject* parent)
    : QObject(parent)
    , registry(connection)
    , populator(connection, registry, distributor)
    , monitor(connection)
{
    distributor.registerPacketAcceptor(*this, DatacorePathRadixTreePacket::CLASSNAME());
}

bool VelClientDatacoreManager::canAcceptPacket(QString className)
{
    return className == DatacorePathRadixTreePacket::CLASSNAME();
}

void VelClientDatacoreManager::acceptPacket(const SerialisableDataPacket& packet)
{
    bool ok = false;
    const DatacorePathRadixTreePacket dump(packet, ok);
    if (!ok || !registry.isEmpty()) {
        return;
    }
    registry.populate(dump.getPaths(), monitor);
}
