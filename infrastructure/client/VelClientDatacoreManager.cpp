#include "infrastructure/client/VelClientDatacoreManager.h"

#include "infrastructure/utility/Log.h"
#include "infrastructure/utility/packets/DatacorePathRadixTreePacket.h"
#include "infrastructure/utility/packets/NetworkConnection.h"
#include "infrastructure/utility/packets/SerialisableDataPacketDistributor.h"

VelClientDatacoreManager::VelClientDatacoreManager(
    NetworkConnection& connection, SerialisableDataPacketDistributor& packetDistributor,
    QObject* parent)
    : QObject(parent)
    , distributor(&packetDistributor)
    , registry(connection)
    , populator(connection, registry, *distributor)
    , monitor(connection)
    , descriptions(connection, *distributor)
{
    if (&connection.getReceivers() != &distributor->getReceivers()) {
        VELLOG_ERR() << "Client datacore manager: connection and distributor use two registers, "
                        "nothing will arrive";
    }
    distributor->registerPacketAcceptor(*this, DatacorePathRadixTreePacket::CLASSNAME());
}

VelClientDatacoreManager::VelClientDatacoreManager(NetworkConnection& connection, QObject* parent)
    : VelClientDatacoreManager(
          connection,
          std::make_unique<SerialisableDataPacketDistributor>(connection.getReceivers()), parent)
{
}

VelClientDatacoreManager::VelClientDatacoreManager(
    NetworkConnection& connection,
    std::unique_ptr<SerialisableDataPacketDistributor> newDistributor, QObject* parent)
    : VelClientDatacoreManager(connection, *newDistributor, parent)
{
    ownDistributor = std::move(newDistributor);
}

VelClientDatacoreManager::~VelClientDatacoreManager() = default;

bool VelClientDatacoreManager::canAcceptPacket(QString className)
{
    return className == DatacorePathRadixTreePacket::CLASSNAME();
}

void VelClientDatacoreManager::acceptPacket(const SerialisableDataPacket& packet)
{
    bool ok = false;
    const DatacorePathRadixTreePacket dump(packet, ok);
    if (ok && registry.isEmpty()) {
        registry.populate(dump.getPaths(), monitor);
    } else if (ok && registry.isStale()) {
        registry.refill(dump.getPaths(), monitor);
    }
}
