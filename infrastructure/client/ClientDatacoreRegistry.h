// All mirrors of a client, by path. Lives on the connection's thread.
#pragma once

#include "infrastructure/client/ClientDatacore.h"

#include <QHash>
#include <QMap>

class ClientDatacoreMonitor;
class NetworkConnection;

/// Owns one ClientDatacore for each path of the server. It is filled once, from the server's dump,
/// and empty again when the link is lost; all pointers to mirrors end at registryHasBeenCleared.
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
    /// The mirror of a full path; null where there is none.
    ClientDatacore* lookup(const QString& path) const;

    /// Makes a mirror for each path, whose writes go to the monitor. A path that ends in "/" or
    /// comes twice is logged and left out, one without "/" is logged and taken. Does nothing, not
    /// even a signal, unless the registry is empty.
    void populate(const QStringList& paths, ClientDatacoreMonitor& monitor);
    /// Deletes all mirrors. One that is in the middle of a call lives until the event loop gets
    /// back, without saying anything more.
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
    /// Looks a path up and tells the result by signal.
    void requestLookupDatacoreFromPath(QString path);

private:
    void release();

    QMap<QString, ClientDatacore*> datacores;
    QHash<QString, ClientDatacore*> datacoresByHash; ///< the same, for lookup
};
