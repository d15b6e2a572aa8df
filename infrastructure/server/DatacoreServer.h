// The server's side of the datacore protocol, for any trees. Lives on one thread, which must run a
// Qt event loop.
#pragma once

#include "infrastructure/datacore/DatacoreBase.h"
#include "infrastructure/utility/packets/SerialisableDataPacket.h"

#include <QHostAddress>
#include <QObject>
#include <QTcpServer>

#include <memory>
#include <vector>

class DatacorePacket;
class DatacorePathListPacket;
class DatacoreStoreInterface;
class DurableTree;

/// The roots of the four trees. They are not owned and must outlive the server.
struct DatacoreTrees
{
    DatacoreBase* config;
    DatacoreBase* status;
    DatacoreBase* command;
    DatacoreBase* persistentConfig;
};

/// Accepts any number of clients, gives each the names and values that it asks for, applies their
/// writes, and tells all of them what has changed. Each client has its own register, so its packets
/// are not seen by another server's clients or by a mirror in the same process.
///
/// A write to a path that does not exist is logged and gets no echo. Any other is echoed to all
/// clients, under its ids, with what the node holds afterwards, even if nothing has changed or the
/// content was of the wrong shape.
class DatacoreServer : public QObject
{
    Q_OBJECT

public:
    /// A client with this much waiting to be sent has stopped reading, and is dropped.
    static constexpr qint64 MAX_UNSENT_BYTES = 64 << 20;

    explicit DatacoreServer(const DatacoreTrees& datacoreTrees, QObject* parent = nullptr);
    ~DatacoreServer() override;

    /// From now on a store keeps the persistent tree: the tree is filled from it, and whatever
    /// changes in it, by a write or by the server itself, is told to anybody only once it is
    /// stored. A write that can't be stored is answered with the value that the store holds, which
    /// the node has again by then; the log says why. Other trees wait for nothing. Neither does
    /// another write to this one; each node's echoes keep their order.
    ///
    /// Call it once, before `listen`, when the tree has all its nodes: those added later are not
    /// stored. The store must outlive the server.
    void setStore(DatacoreStoreInterface& store);

    /// Port 0 lets the system choose. False if the port can't be opened.
    bool listen(const QHostAddress& address, quint16 port);
    quint16 getPort() const { return listener.serverPort(); }
    /// The number of clients connected now.
    int getClientCount() const { return static_cast<int>(clients.size()); }

    /// Tells all clients what the server has changed in its trees since the last call.
    void publishChanges();

private:
    class Client;
    class Dump;
    class Publication;
    class PersistentTree;

    void acceptClient();
    void dropClient(Client& client);
    void dropClientThatDoesNotRead(Client& client);
    void sendDump(Client& client, const DatacorePathListPacket& request);
    void applyWrite(Client& client, const DatacorePacket& write);
    void sendToAll(const std::vector<SerialisableDataPacket>& packets);
    std::vector<DatacoreBase*> getRoots() const;
    DatacoreBase* findDatacore(const QString& fullPath) const;
    DurableTree* findDurableTree(const DatacoreBase& datacore) const;

    DatacoreTrees trees;
    std::unique_ptr<PersistentTree> persistentTree; ///< null without a store
    QTcpServer listener;
    std::vector<Client*> clients; ///< children of this object
};
