#include "infrastructure/client/ClientDatacoreRegistry.h"

#include "infrastructure/client/ClientDatacoreMonitor.h"
#include "infrastructure/utility/Log.h"
#include "infrastructure/utility/packets/DatacorePacket.h"
#include "infrastructure/utility/packets/NetworkConnection.h"

#include <QPointer>
#include <QSet>

#include <algorithm>
#include <utility>

namespace {

constexpr int DEFAULT_PATIENCE_MS = 2000;

/// All that a mirror holds.
QByteArray contentOf(const ClientDatacore& datacore)
{
    QByteArray text;
    constexpr bool justData = false;
    datacore.appendToJsonText(text, justData);
    return text;
}

} // namespace

ClientDatacoreRegistry::ClientDatacoreRegistry(NetworkConnection& connection, QObject* parent)
    : QObject(parent)
    , writeRefused([this](const LostWrite& write) { Q_EMIT writesLost({write}); })
{
    patience.setSingleShot(true);
    patience.setInterval(DEFAULT_PATIENCE_MS);
    connect(&patience, &QTimer::timeout, this, &ClientDatacoreRegistry::onPatienceOver);
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

/// What changes often mostly changes in the order of the last time, so look there first.
ClientDatacore* ClientDatacoreRegistry::lookup(const DatacorePacket& packet)
{
    ClientDatacore* datacore = latest != nullptr ? latest->follower : nullptr;
    if (datacore == nullptr || !packet.isForPath(datacore->path)) {
        datacore = lookup(packet.getDatacorePath());
        if (datacore == nullptr) {
            return nullptr;
        }
        if (latest != nullptr) {
            latest->follower = datacore;
        }
    }
    latest = datacore;
    return datacore;
}

/// For mirrors that are about to go.
void ClientDatacoreRegistry::forgetOrder()
{
    latest = nullptr;
    for (ClientDatacore* datacore : qAsConst(datacores)) {
        datacore->follower = nullptr;
    }
}

bool ClientDatacoreRegistry::add(const QString& path, ClientDatacoreMonitor& monitor)
{
    const QChar delimiter = DatacoreJsonInterface::TREE_LEVEL_DELIMITER();
    if (path.endsWith(delimiter)) {
        VELLOG_ERR() << "Cannot create datacore with incomplete path: " << path;
        return false;
    }
    const int lastDelimiter = path.lastIndexOf(delimiter);
    if (lastDelimiter < 0) {
        VELLOG_ERR() << "No delimiter, assuming root datacore and creating ClientDatacore for: "
                     << path;
    }
    if (datacoresByHash.contains(path)) {
        VELLOG_ERR() << "ClientDatacoreRegistry: Cannot create two cores for path '" << path
                     << "'.";
        return false;
    }
    auto* datacore = new ClientDatacore(QStringLiteral("ClientDatacore"),
                                        path.mid(lastDelimiter + 1), nullptr, path);
    datacores.insert(datacores.cend(), path, datacore); // paths mostly come in order
    datacoresByHash.insert(path, datacore);
    connect(datacore, &ClientDatacore::clientDatacoreHasUpdateForServer, &monitor,
            &ClientDatacoreMonitor::onClientDatacoreUpdated, Qt::DirectConnection);
    return true;
}

void ClientDatacoreRegistry::populate(const QStringList& paths, ClientDatacoreMonitor& monitor)
{
    if (!isEmpty()) {
        return;
    }
    datacoresByHash.reserve(paths.size());
    for (const QString& path : paths) {
        add(path, monitor);
    }
    beginFill();
    Q_EMIT registryHasBeenPopulated();
    endFillIfComplete();
}

void ClientDatacoreRegistry::refill(const QStringList& paths, ClientDatacoreMonitor& monitor)
{
    if (!linkIsLost) {
        return;
    }
    const quint32 thisLoss = linkEvents;
    removeMissing(paths);
    if (thisLoss != linkEvents) {
        return; // a slot has lost or cleared this, too
    }
    QStringList added;
    for (const QString& path : paths) {
        if (!datacoresByHash.contains(path) && add(path, monitor)) {
            lookup(path)->isAdded = true;
            added.append(path);
        }
    }
    linkIsLost = false;
    for (ClientDatacore* datacore : qAsConst(datacores)) {
        datacore->refusedWrites = nullptr;
    }
    beginFill();
    if (!added.isEmpty()) {
        Q_EMIT mirrorsAdded(added);
    }
    endFillIfComplete();
}

void ClientDatacoreRegistry::removeMissing(const QStringList& paths)
{
    const QSet<QString> present(paths.begin(), paths.end());
    QStringList removed;
    for (auto it = datacores.cbegin(); it != datacores.cend(); ++it) {
        if (!present.contains(it.key())) {
            removed.append(it.key());
        }
    }
    if (removed.isEmpty()) {
        return;
    }
    const quint32 thisLoss = linkEvents;
    Q_EMIT mirrorsAboutToBeRemoved(removed);
    if (thisLoss != linkEvents) {
        return;
    }
    QVector<ClientDatacore*> released;
    for (const QString& path : qAsConst(removed)) {
        ClientDatacore* datacore = datacores.take(path);
        datacoresByHash.remove(path);
        if (!datacore->isAdded) { // otherwise it has come and gone since the link was lost
            removedPaths.append(path);
        }
        released.append(datacore);
    }
    forgetOrder();
    std::for_each(released.cbegin(), released.cend(), destroy);
}

/// Waits for a value for each awaited mirror, and no longer than the patience lasts.
void ClientDatacoreRegistry::beginFill()
{
    ++linkEvents;
    isFillUnderWay = true;
    awaitedCount = 0;
    const auto await = [this](ClientDatacore* datacore) {
        if (datacore != nullptr && !datacore->isAwaited) {
            datacore->isAwaited = true;
            ++awaitedCount;
        }
    };
    if (awaitedPaths.isEmpty()) {
        std::for_each(datacores.begin(), datacores.end(), await);
    }
    for (const QString& path : qAsConst(awaitedPaths)) {
        await(lookup(path));
    }
    awaitedBefore = awaitedCount;
    patience.start();
}

void ClientDatacoreRegistry::deliverFirst(ClientDatacore& datacore, const DatacorePacket& packet,
                                          bool isOwnUpdate)
{
    const bool wasStale = datacore.freshness == ClientDatacore::Freshness::Stale;
    const QByteArray before = wasStale ? contentOf(datacore) : QByteArray();
    const quint32 thisFill = linkEvents;
    const QString path = datacore.getPath();
    const QPointer<ClientDatacoreRegistry> self(this);
    datacore.populateFromPacket(packet, isOwnUpdate);
    if (self.isNull() || (thisFill != linkEvents && lookup(path) != &datacore)) {
        return; // a slot has ended the mirror
    }
    datacore.isChanged = datacore.isChanged || (wasStale && contentOf(datacore) != before);
    const bool isCurrent = datacore.freshness == ClientDatacore::Freshness::Current;
    if (thisFill == linkEvents && isCurrent && std::exchange(datacore.isAwaited, false)) {
        --awaitedCount;
        endFillIfComplete();
    }
}

void ClientDatacoreRegistry::onPatienceOver()
{
    const bool hasProgress = std::exchange(awaitedBefore, awaitedCount) != awaitedCount;
    if (isFillUnderWay && !hasProgress) {
        endFill();
    } else if (isFillUnderWay) {
        patience.start();
    }
}

void ClientDatacoreRegistry::endFillIfComplete()
{
    if (awaitedCount == 0 && isFillUnderWay) {
        endFill();
    }
}

void ClientDatacoreRegistry::endFill()
{
    isFillUnderWay = false;
    MirrorChanges changes;
    changes.removed.swap(removedPaths);
    for (ClientDatacore* datacore : qAsConst(datacores)) {
        const auto list = [datacore](bool& note, QStringList& paths) {
            if (std::exchange(note, false)) {
                paths.append(datacore->getPath());
            }
        };
        list(datacore->isAwaited, changes.withoutValue);
        list(datacore->isChanged, changes.changed);
        list(datacore->isAdded, changes.added);
    }
    Q_EMIT mirrorsFilled(changes);
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
    ++linkEvents;
    linkIsLost = false;
    isFillUnderWay = false;
    latest = nullptr;
    removedPaths.clear();
    datacoresByHash.clear();
    const QMap<QString, ClientDatacore*> released = std::exchange(datacores, {});
    std::for_each(released.begin(), released.end(), destroy);
}

void ClientDatacoreRegistry::destroy(ClientDatacore* datacore)
{
    if (datacore->isCallingOut()) {
        datacore->blockSignals(true);
        datacore->refusedWrites = nullptr; // may outlive this registry
        datacore->deleteLater();
    } else {
        delete datacore;
    }
}

void ClientDatacoreRegistry::onDisconnectedFromServer()
{
    if (keepMirrors) {
        makeStale();
    } else {
        loseWrites();
        clear();
    }
}

/// Tells of the writes that no echo can reach any more.
void ClientDatacoreRegistry::loseWrites()
{
    QVector<LostWrite> lost;
    for (ClientDatacore* datacore : qAsConst(datacores)) {
        if (datacore->getPendingCount() > 0) {
            lost.append(datacore->takePendingWrites());
        }
    }
    if (!lost.isEmpty()) {
        Q_EMIT writesLost(lost);
    }
}

void ClientDatacoreRegistry::makeStale()
{
    ++linkEvents;
    if (isEmpty() || linkIsLost) {
        return;
    }
    linkIsLost = true;
    isFillUnderWay = false;
    for (ClientDatacore* datacore : qAsConst(datacores)) {
        datacore->refusedWrites = &writeRefused;
        datacore->isAwaited = false;
    }
    loseWrites();
    const QStringList paths = getPaths();
    for (const QString& path : paths) {
        ClientDatacore* datacore = linkIsLost ? lookup(path) : nullptr; // slots may do anything
        if (datacore != nullptr && datacore->getFreshness() == ClientDatacore::Freshness::Current) {
            datacore->becomeStale();
        }
    }
    if (linkIsLost) {
        Q_EMIT mirrorsBecameStale();
    }
}

void ClientDatacoreRegistry::requestLookupDatacoreFromPath(QString path)
{
    Q_EMIT lookupRequestResult(lookup(path));
}
