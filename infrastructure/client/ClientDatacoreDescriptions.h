// What the datacores of a server take, kept on demand. Lives on the connection's thread.
#pragma once

#include "infrastructure/datacore/DatacoreDescription.h"
#include "infrastructure/utility/packets/SerialisableDataPacketAcceptorInterface.h"

#include <QHash>
#include <QObject>
#include <QStringList>

#include <memory>

class NetworkConnection;
class SerialisableDataPacketDistributor;

/// Asks the server for descriptions and keeps what it answers until the link is lost. What was not
/// asked for is ignored; a description that is bad is logged, with its path, and left out.
class ClientDatacoreDescriptions : public QObject, public SerialisableDataPacketAcceptorInterface
{
    Q_OBJECT

public:
    /// Null for none.
    using Description = std::shared_ptr<const DatacoreDescription>;

    /// No more is kept than this many characters of paths and texts, with another ENTRY_COST for
    /// each of them. What goes beyond that is logged and left out.
    static constexpr int MAX_COST = 8 << 20;
    static constexpr int ENTRY_COST = 32;

    /// Registers itself with the distributor.
    ClientDatacoreDescriptions(NetworkConnection& serverConnection,
                               SerialisableDataPacketDistributor& distributor,
                               QObject* parent = nullptr);
    ~ClientDatacoreDescriptions() override;

    /// Asks for the descriptions of these full paths, or of all; does nothing without a link. The
    /// answer ends with descriptionsReceived, also if the server has none of the paths. It never
    /// comes if the link is lost, or from a server that is older than descriptions.
    void requestDescriptions(const QStringList& paths = {});
    /// How many requests have not been answered.
    int getPendingCount() const { return pendingCount; }

    /// What the server has said of a full path; null if it was not asked, does not have the path,
    /// or has not answered.
    Description findDescription(const QString& path) const { return descriptions.value(path); }
    /// The number of paths that are described.
    int getCount() const { return descriptions.size(); }

    bool canAcceptPacket(QString className) override;
    void acceptPacket(const SerialisableDataPacket& packet) override;

Q_SIGNALS:
    /// A request has been answered in full.
    void descriptionsReceived();

private:
    void clear();
    Description share(const DatacoreDescription& description) const;
    bool keep(const QString& path, const Description& description);

    NetworkConnection* connection;
    QHash<QString, Description> descriptions;
    int pathCost = 0;
    std::shared_ptr<int> textCost = std::make_shared<int>(0); ///< of all that share() has given
    int pendingCount = 0;
};
