// All mirrors of a client, by path. Lives on the connection's thread.
#pragma once

#include "infrastructure/client/ClientDatacore.h"

#include <QHash>
#include <QMap>

class ClientDatacoreMonitor;
class NetworkConnection;

/// Owns one ClientDatacore for each path of the server. It is filled once, from the server's dump,
/// and emptied when the link is lost. Pointers to mirrors are valid until registryHasBeenCleared.
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

    /// Makes a mirror for each path, with its writes going to the monitor. A path that ends in "/"
    /// or is repeated is logged and left out; one without any "/" is logged but taken. Unless the
    /// registry is empty, this does nothing and emits nothing.
    void populate(const QStringList& paths, ClientDatacoreMonitor& monitor);
    /// Deletes all mirrors. One that is in the middle of a call lives on, silently, until control
    /// returns to the event loop.
    void clear();

Q_SIGNALS:
    /// The answer to requestLookupDatacoreFromPath, null included.
    void lookupRequestResult(ClientDatacore* datacore);
    /// The mirrors are gone.
    void registryHasBeenCleared();
    /// The mirrors are there, still without values.
    void registryHasBeenPopulated();

public Q_SLOTS:
    /// Clears the registry.
    void onDisconnectedFromServer();
    /// Looks a path up and emits the result.
    void requestLookupDatacoreFromPath(QString path);

private:
    void release();

    QMap<QString, ClientDatacore*> datacores;
    QHash<QString, ClientDatacore*> datacoresByHash; ///< the same, for lookup
};
