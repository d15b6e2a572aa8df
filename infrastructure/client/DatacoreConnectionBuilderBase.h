// The base of classes that bind an application's elements to mirrors. Lives on the connection's
// thread.
#pragma once

#include "infrastructure/client/ClientDatacoreRegistry.h"

#include <QObject>
#include <QString>

#include <deque>

/// Binds by path once the registry is filled, and lets go when it is cleared. Subclasses make the
/// connections they need in makeConnections.
class DatacoreConnectionBuilderBase : public QObject
{
    Q_OBJECT

public:
    /// One of the server's four trees.
    enum ServerSideDataTree : quint32 {
        ConfigTree = 0,
        StatusTree = 1,
        CommandTree = 2,
        PersistentConfigTree = 3,
    };

    explicit DatacoreConnectionBuilderBase(ClientDatacoreRegistry& datacoreRegistry,
                                           QObject* parent = nullptr);

    /// The mirror of a path within a tree, which becomes one of the connected mirrors; null, with a
    /// log line, if there is none. A path asked for twice is connected twice.
    virtual ClientDatacore* connectDatacore(QString path, ServerSideDataTree tree);
    /// Makes each connected mirror emit its content again, in the order of connection.
    virtual void populateConnectedGuiElements();
    /// Calls connectDatacore for whatever is needed and connects the results.
    virtual void makeConnections() = 0;

Q_SIGNALS:
    /// makeConnections has run.
    void connectionToDatacoresGained();
    /// The mirrors are gone; no pointer to them may be touched.
    void connectionToDatacoresLost();

public Q_SLOTS:
    /// Forgets the connected mirrors and emits connectionToDatacoresLost.
    void onRegistryCleared();
    /// Calls makeConnections and emits connectionToDatacoresGained.
    void onRegistryPopulated();

private:
    void forgetDatacores(const QStringList& paths);
    QString getRouter(ServerSideDataTree tree) const;

    ClientDatacoreRegistry* registry;
    QString configCoreRouter;
    QString statusCoreRouter;
    QString commandCoreRouter;
    QString persistentConfigCoreRouter;
    std::deque<ClientDatacore*> connectedDatacores;
};
