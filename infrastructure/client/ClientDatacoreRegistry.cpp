#include "infrastructure/client/ClientDatacoreRegistry.h"

#include "infrastructure/client/ClientDatacoreMonitor.h"
#include "infrastructure/utility/Log.h"
#include "infrastructure/utility/packets/NetworkConnection.h"

#include <memory>
#include <utility>

ClientDatacoreRegistry::ClientDatacoreRegistry(NetworkConnection& connection, QObject* parent)
    : QObject(parent)
{
    connect(&connection, &NetworkConnection::disconnectedFromHost, this,
            &ClientDatacoreRegistry::onDisconnectedFromServer);
}

ClientDatacoreRegistry::~ClientDatacoreRegistry()
{
    release();
}

ClientDatacore* ClientDatacoreRegistry::lookup(const QString& path) const
{
    return datacoresByHash.value(path, nullptr);
}

void ClientDatacoreRegistry::populate(const QStringList& paths, ClientDatacoreMonitor& monitor)
{
    if (!isEmpty()) {
        return;
    }
    const QChar delimiter = DatacoreJsonInterface::TREE_LEVEL_DELIMITER();
    datacoresByHash.reserve(paths.size());
    for (const QString& path : paths) {
        if (path.endsWith(delimiter)) {
            VELLOG_ERR() << "Cannot create datacore with incomplete path: " << path;
            continue;
        }
        const int lastDelimiter = path.lastIndexOf(delimiter);
        if (lastDelimiter < 0) {
            VELLOG_ERR() << "No delimiter, assuming root datacore and creating ClientDatacore for: "
                         << path;
        }
        if (datacoresByHash.contains(path)) {
            VELLOG_ERR() << "ClientDatacoreRegistry: Cannot create two cores for path '" << path
                         << "'.";
            continue;
        }
        auto* datacore = new ClientDatacore(QStringLiteral("ClientDatacore"),
                                            path.mid(lastDelimiter + 1), nullptr, path);
        datacores.insert(datacores.cend(), path, datacore); // paths mostly come in order
        datacoresByHash.insert(path, datacore);
        connect(datacore, &ClientDatacore::clientDatacoreHasUpdateForServer, &monitor,
                &ClientDatacoreMonitor::onClientDatacoreUpdated, Qt::DirectConnection);
    }
    Q_EMIT registryHasBeenPopulated();
}

void ClientDatacoreRegistry::clear()
{
    if (isEmpty()) {
        return;
    }
    release();
    Q_EMIT registryHasBeenCleared();
}

void ClientDatacoreRegistry::release()
{
    datacoresByHash.clear();
    const QMap<QString, ClientDatacore*> released = std::exchange(datacores, {});
    for (ClientDatacore* datacore : released) {
        if (datacore->isCallingOut()) {
            datacore->blockSignals(true);
            datacore->deleteLater();
        } else {
            delete datacore;
        }
    }
}

void ClientDatacoreRegistry::onDisconnectedFromServer()
{
    clear();
}

void ClientDatacoreRegistry::requestLookupDatacoreFromPath(QString path)
{
    Q_EMIT lookupRequestResult(lookup(path));
}
