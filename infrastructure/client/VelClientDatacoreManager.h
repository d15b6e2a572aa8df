// The top of a client: from the server's dump to a filled registry. Lives on the connection's
// thread.
#pragma once

#include "infrastructure/client/ClientDatacoreDescriptions.h"
#include "infrastructure/client/ClientDatacoreMonitor.h"
#include "infrastructure/client/ClientDatacorePopulator.h"
#include "infrastructure/client/ClientDatacoreRegistry.h"

#include <memory>

/// Owns registry, populator, monitor and descriptions. The first dump after connecting fills the
/// registry; later ones are ignored until the link is lost. DatacoreLink owns one of these and its
/// connection, and reconnects by itself.
class VelClientDatacoreManager : public QObject, public SerialisableDataPacketAcceptorInterface
{
    Q_OBJECT

public:
    /// Registers itself with the distributor, which must not call it after its end. Connection and
    /// distributor must use the same register; otherwise nothing arrives, and the log says so.
    VelClientDatacoreManager(NetworkConnection& connection,
                             SerialisableDataPacketDistributor& packetDistributor,
                             QObject* parent = nullptr);
    /// The same with a distributor of its own, on the connection's register.
    explicit VelClientDatacoreManager(NetworkConnection& connection, QObject* parent = nullptr);
    ~VelClientDatacoreManager() override;

    /// The mirrors; owned, and cleared when the link is lost, unless setKeepMirrors says otherwise.
    ClientDatacoreRegistry& getRegistry() { return registry; }
    /// What the server's datacores take: none until asked for, and cleared when the link is lost.
    ClientDatacoreDescriptions& getDescriptions() { return descriptions; }

    /// Where acceptors of further classes of packets are registered.
    SerialisableDataPacketDistributor& getDistributor() { return *distributor; }

    /// True only for "DatacorePathRadixTreePacket".
    bool canAcceptPacket(QString className) override;
    void acceptPacket(const SerialisableDataPacket& packet) override;

private:
    VelClientDatacoreManager(NetworkConnection& connection,
                             std::unique_ptr<SerialisableDataPacketDistributor> newDistributor,
                             QObject* parent);

    std::unique_ptr<SerialisableDataPacketDistributor> ownDistributor;
    SerialisableDataPacketDistributor* distributor;
    ClientDatacoreRegistry registry;
    ClientDatacorePopulator populator;
    ClientDatacoreMonitor monitor;
    ClientDatacoreDescriptions descriptions;
};
