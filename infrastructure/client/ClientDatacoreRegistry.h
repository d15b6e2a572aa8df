// All mirrors of a client, by path. Lives on the connection's thread.
#pragma once

#include "infrastructure/client/ClientDatacore.h"

#include <QHash>
#include <QMap>
#include <QTimer>
#include <QVector>

class ClientDatacoreMonitor;
class NetworkConnection;

/// What a fill has brought, beside what the mirrors held when the link was lost; after fills that
/// were broken off, since the last whole one. Of a first fill only `withoutValue` can have any.
struct MirrorChanges
{
    QStringList changed;      ///< other values, reasons or class
    QStringList added;        ///< new on the server
    QStringList removed;      ///< gone from the server; one that has come back is in `added`, too
    QStringList withoutValue; ///< waited for in vain: they are not current
};
Q_DECLARE_METATYPE(MirrorChanges)

/// Owns one ClientDatacore for each path of the server. It is filled once, from the server's dump,
/// and emptied when the link is lost. Pointers to mirrors are valid until registryHasBeenCleared.
///
/// With setKeepMirrors, the mirrors live on as stale instead, and the dump of the next link fills
/// them anew. Pointers to mirrors are then valid until mirrorsAboutToBeRemoved names them.
class ClientDatacoreRegistry : public QObject
{
    Q_OBJECT

public:
    /// Empty; cleared when the connection loses its link.
    explicit ClientDatacoreRegistry(NetworkConnection& connection, QObject* parent = nullptr);
    ~ClientDatacoreRegistry() override;

    bool isEmpty() const { return datacores.isEmpty(); }
    int getCount() const { return datacores.size(); }
    /// All full paths, in order.
    QStringList getPaths() const { return datacores.keys(); }
    /// The mirror of a full path, or null.
    ClientDatacore* lookup(const QString& path) const;
    /// The mirror of the packet's path, or null.
    ClientDatacore* lookup(const DatacorePacket& packet);

    /// Makes a mirror for each path, with its writes going to the monitor. A path that ends in "/"
    /// or is repeated is logged and left out; one without any "/" is logged but taken. Unless the
    /// registry is empty, this does nothing and emits nothing.
    void populate(const QStringList& paths, ClientDatacoreMonitor& monitor);
    /// The same for mirrors that were kept: those that the list lacks are removed, new ones are
    /// added, the others wait for their value. Does nothing unless they are stale.
    void refill(const QStringList& paths, ClientDatacoreMonitor& monitor);
    /// Gives the packet to the mirror, which must be one of this registry.
    void deliver(ClientDatacore& datacore, const DatacorePacket& packet, bool isOwnUpdate)
    {
        if (datacore.isAwaited || linkIsLost) {
            deliverFirst(datacore, packet, isOwnUpdate);
        } else {
            datacore.populateFromPacket(packet, isOwnUpdate);
        }
    }
    /// Deletes all mirrors. One that is in the middle of a call lives on, silently, until control
    /// returns to the event loop.
    void clear();

    /// Whether mirrors outlive the link; false at first. For the next loss of the link.
    void setKeepMirrors(bool keep) { keepMirrors = keep; }
    bool getKeepMirrors() const { return keepMirrors; }
    /// True from the loss of the link, if mirrors are kept, to the dump of the next.
    bool isStale() const { return linkIsLost; }
    /// True from a dump to mirrorsFilled.
    bool isFilling() const { return isFillUnderWay; }
    /// The paths whose values a fill waits for, from the next dump on; none for all of them.
    void setAwaitedPaths(const QStringList& paths) { awaitedPaths = paths; }
    /// A fill in which no value has come for so long ends without the rest; 2000 at first.
    void setFillPatienceMs(int milliseconds) { patience.setInterval(milliseconds); }

Q_SIGNALS:
    /// Writes that were pending when the link was lost, before their mirrors are deleted; and any
    /// that was refused since. To write again, wait for mirrorsFilled: here it is refused.
    void writesLost(QVector<LostWrite> writes);
    /// The link is lost, and the mirrors are kept.
    void mirrorsBecameStale();
    /// The new server lacks these. The mirrors are deleted when all slots have returned.
    void mirrorsAboutToBeRemoved(QStringList paths);
    /// The new server has these, too; the mirrors are there, without values.
    void mirrorsAdded(QStringList paths);
    /// All awaited values have come, or some won't.
    void mirrorsFilled(MirrorChanges changes);
    /// The answer to requestLookupDatacoreFromPath, null included.
    void lookupRequestResult(ClientDatacore* datacore);
    /// The mirrors are gone.
    void registryHasBeenCleared();
    /// The mirrors are there, still without values.
    void registryHasBeenPopulated();

public Q_SLOTS:
    /// Clears the registry, or has the mirrors become stale.
    void onDisconnectedFromServer();
    /// Looks a path up and emits the result.
    void requestLookupDatacoreFromPath(QString path);

private:
    void deliverFirst(ClientDatacore& datacore, const DatacorePacket& packet, bool isOwnUpdate);
    bool add(const QString& path, ClientDatacoreMonitor& monitor);
    void release();
    void forgetOrder();
    static void destroy(ClientDatacore* datacore);
    void loseWrites();
    void makeStale();
    void removeMissing(const QStringList& paths);
    void beginFill();
    void onPatienceOver();
    void endFill();
    void endFillIfComplete();

    QMap<QString, ClientDatacore*> datacores;
    QHash<QString, ClientDatacore*> datacoresByHash; ///< the same, for lookup
    ClientDatacore::WriteHandler writeRefused;
    QStringList awaitedPaths;
    QStringList removedPaths;         ///< since the link was lost
    ClientDatacore* latest = nullptr; ///< looked up for a packet
    QTimer patience;
    int awaitedCount = 0;
    int awaitedBefore = 0;  ///< when patience began
    quint32 linkEvents = 0; ///< fills and losses; a new number tells that slots brought one about
    bool keepMirrors = false;
    bool linkIsLost = false;
    bool isFillUnderWay = false;
};
