// The server's side of the datacore protocol, for any trees. Lives on one thread, which must run a
// Qt event loop.
#pragma once

#include "infrastructure/datacore/DatacoreBase.h"
#include "infrastructure/utility/packets/LinkListener.h"
#include "infrastructure/utility/packets/SerialisableDataPacket.h"

#include <QHostAddress>
#include <QObject>

#include <chrono>
#include <memory>
#include <vector>

class AccessControl;
class AccessRules;
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

/// Accepts any number of clients, gives each the names, values and descriptions that it asks for,
/// applies their writes, and tells all of them what has changed. Each client has its own register,
/// so its packets are not seen by another server's clients or by a mirror in the same process.
///
/// A write to a path that does not exist is logged and gets no echo. Any other is echoed to all
/// clients, under its ids, with what the node holds afterwards, even if nothing has changed or the
/// content was of the wrong shape.
///
/// Unless access rules say otherwise, everybody may read and write everything. A write that they
/// refuse is answered to the writer alone, under its ids, with the value that stands, so that a
/// mirror is in sync again. A client without any role gets no value: its link is closed at once or,
/// if there are tokens, at its first request and after TOKEN_WAIT_MS.
class DatacoreServer : public QObject
{
    Q_OBJECT

public:
    /// A client with this much waiting to be sent has stopped reading, and is dropped.
    static constexpr qint64 MAX_UNSENT_BYTES = 64 << 20;

    /// How long a client without a role has to send a token.
    static constexpr int TOKEN_WAIT_MS = 5000;
    /// With one more client without a role, the one that has waited longest is dropped.
    static constexpr int MAX_CLIENTS_WITHOUT_ROLE = 64;

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
    quint16 getPort() const { return listener.getPort(LinkAddress::Way::Tcp); }
    /// Listens by further ways, as LinkListener does.
    bool listenTls(const QHostAddress& address, quint16 port, const TlsSettings& settings,
                   QString* whatIsWrong = nullptr);
    quint16 getTlsPort() const { return listener.getPort(LinkAddress::Way::Tls); }
    bool listenLocal(const QString& path, quint32 mode, QString* whatIsWrong = nullptr);

    /// Clients to come that are not heard of for so long are dropped: see NetworkConnection. 0, as
    /// at first, for never.
    void setDeadPeerTimeout(std::chrono::seconds timeout) { deadPeerTimeout = timeout; }
    /// The number of clients connected now.
    int getClientCount() const { return static_cast<int>(clients.size()); }

    /// Sets who may do what: for clients that connect from now on, and which nodes may be written
    /// at once. Paths of the rules that lead to no node are logged.
    void setAccessRules(const AccessRules& rules);

    /// Tells all clients what the server has changed in its trees since the last call.
    void publishChanges();

    /// Sends a measurement record to all clients that may read. Records are no state: a client for
    /// which more than NetworkConnection::DISCARD_THRESHOLD_BYTES wait misses it. A null record is
    /// ignored.
    void sendRecord(const std::shared_ptr<RawDataPacket>& record);

private:
    class Client;
    class Dump;
    class Publication;
    class PersistentTree;

    void acceptClient(std::unique_ptr<QTcpSocket> socket);
    void dropClient(Client& client);
    void dropClientThatDoesNotRead(Client& client);
    void sendDump(Client& client, const DatacorePathListPacket& request);
    void applyWrite(Client& writer, const DatacorePacket& write);
    void awaitToken(Client& client);
    void dropClientWithoutRole(Client& client, const char* reason);
    bool isPresent(const Client* client) const;
    template <typename Send>
    void forEachReader(const Send& send);
    void sendTo(Client& client, const std::vector<SerialisableDataPacket>& packets);
    void sendToAll(const std::vector<SerialisableDataPacket>& packets);
    std::vector<DatacoreBase*> getRoots() const;
    DatacoreBase* findDatacore(const QString& fullPath) const;
    DurableTree* findDurableTree(const DatacoreBase& datacore) const;

    DatacoreTrees trees;
    std::unique_ptr<AccessControl> access;
    std::unique_ptr<PersistentTree> persistentTree; ///< null without a store
    LinkListener listener;
    std::chrono::seconds deadPeerTimeout{0};
    std::vector<Client*> clients; ///< children of this object
};
