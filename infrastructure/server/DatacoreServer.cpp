#include "infrastructure/server/DatacoreServer.h"

#include "infrastructure/server/AccessControl_p.h"
#include "infrastructure/server/DatacoreDescriptionAnswers_p.h"
#include "infrastructure/server/DurableTree_p.h"
#include "infrastructure/utility/Log.h"
#include "infrastructure/utility/packets/DatacorePacket.h"
#include "infrastructure/utility/packets/DatacorePathListPacket.h"
#include "infrastructure/utility/packets/DatacorePathRadixTreePacket.h"
#include "infrastructure/utility/packets/DatacoreTokenPacket.h"
#include "infrastructure/utility/packets/NetworkConnection.h"
#include "infrastructure/utility/packets/SerialisableDataPacketDistributor.h"

#include <QTcpSocket>
#include <QTimer>

#include <algorithm>
#include <map>
#include <memory>
#include <utility>

namespace {

constexpr std::size_t PACKETS_A_FLUSH = 256; ///< of a dump, so that the client works meanwhile
/// How much is read from one client at a time. A flood from one delays the others by no more than
/// this takes; the rest of it waits in its own socket.
constexpr qint64 READ_BUFFER_BYTES = 16 << 10;
/// The most that waits of a client without a role: what may come in one go with its token.
constexpr int BYTES_WITHOUT_ROLE = 2 * READ_BUFFER_BYTES;

using Clock = std::chrono::steady_clock;

/// A node's value and status, as the server holds them.
DatacorePacket toPacket(const DatacoreBase& datacore)
{
    constexpr bool justData = false;
    return DatacorePacket(datacore, justData, datacore.getPath());
}

} // namespace

/// One client: its link, and whatever comes over that link.
class DatacoreServer::Client : public QObject, public SerialisableDataPacketAcceptorInterface
{
public:
    explicit Client(DatacoreServer& owner)
        : QObject(&owner)
        , server(&owner)
        , connection(receivers)
        , distributor(receivers)
        , descriptions(connection,
                       {owner.getRoots(),
                        [&owner](const QString& fullPath) { return owner.findDatacore(fullPath); },
                        [&owner](const DatacoreBase& datacore) {
                            return owner.access->isReadOnly(datacore);
                        }},
                       MAX_UNSENT_BYTES, [this, &owner] { owner.dropClientThatDoesNotRead(*this); })
    {
        for (const auto& [className, handler] : getHandlers()) {
            distributor.registerPacketAcceptor(*this, className);
        }
        QObject::connect(&connection, &NetworkConnection::disconnectedFromHost, this, [this] {
            if (server != nullptr) {
                server->dropClient(*this);
            }
        });
    }

    /// A peer that has gone meanwhile is noticed, and dropped, when the event loop gets to it.
    void adoptSocket(std::unique_ptr<QTcpSocket> accepted)
    {
        accepted->setReadBufferSize(READ_BUFFER_BYTES);
        if (server->persistentTree) {
            // What was held back does not wait again, until the client's system has confirmed
            // earlier echoes. Elsewhere that wait joins the echoes of a flood of writes.
            accepted->setSocketOption(QAbstractSocket::LowDelayOption, 1);
        }
        connection.adoptSocket(accepted);
        peer = server->access->admit(connection.getPeerOrigin());
        boundBuffer();
    }

    NetworkConnection& getConnection() { return connection; }
    AccessPeer& getPeer() { return peer; }
    bool mayRead() const { return peer.role.mayRead(); }
    const QString& getName() const { return connection.getPeerIdentifier(); }

    /// From now on it says and takes nothing; the event loop deletes it.
    void retire()
    {
        server = nullptr;
        descriptions.stop();
        deleteLater();
    }

    bool canAcceptPacket(QString className) override { return getHandlers().count(className) > 0; }

    void acceptPacket(const SerialisableDataPacket& packet) override
    {
        const auto handler = getHandlers().find(packet.getPacketClassName());
        if (server == nullptr || handler == getHandlers().end()) {
            return;
        }
        if (!mayRead() && handler->second != &Client::takeToken) {
            server->dropClientWithoutRole(*this, "and asks for something");
            return;
        }
        (this->*handler->second)(packet);
    }

private:
    using Handler = void (Client::*)(const SerialisableDataPacket&);

    /// What clients may send, by class name.
    static const std::map<QString, Handler>& getHandlers()
    {
        static const std::map<QString, Handler> handlers = {
            {DatacoreDescriptionRequestPacket::CLASSNAME(), &Client::describe},
            {DatacorePacket::CLASSNAME(), &Client::write},
            {DatacorePathListPacket::CLASSNAME(), &Client::dump},
            {DatacoreTokenPacket::CLASSNAME(), &Client::takeToken},
        };
        return handlers;
    }

    // Each takes a packet of its own class.
    void describe(const SerialisableDataPacket& packet)
    {
        bool ok = false;
        descriptions.add(DatacoreDescriptionRequestPacket(packet, ok));
    }
    void dump(const SerialisableDataPacket& packet)
    {
        bool ok = false;
        server->sendDump(*this, DatacorePathListPacket(packet, ok));
    }
    void takeToken(const SerialisableDataPacket& packet)
    {
        bool ok = false;
        const QString token = DatacoreTokenPacket(packet, ok).getToken();
        server->sendTo(*this, NetworkConnection::joinPackets(
                                  {server->access->takeToken(peer, token, Clock::now())}));
        boundBuffer();
    }
    void write(const SerialisableDataPacket& packet)
    {
        bool ok = false;
        server->applyWrite(*this, DatacorePacket(packet, ok));
    }

    void boundBuffer()
    {
        connection.setMaxBufferedBytes(mayRead() ? NetworkConnection::MAX_BUFFERED_BYTES
                                                 : BYTES_WITHOUT_ROLE);
    }

    DatacoreServer* server; ///< null once retired
    RawDataPacketReceivers receivers;
    NetworkConnection connection;
    SerialisableDataPacketDistributor distributor;
    AccessPeer peer;
    DatacoreDescriptionAnswers descriptions;
};

/// The answer to a request, sent piece by piece.
class DatacoreServer::Dump
{
public:
    /// `durableTree` is null without a store.
    Dump(NetworkConnection& receiver, DurableTree* durableTree)
        : client(receiver)
        , durable(durableTree)
    {
    }

    /// False once the client has too much left to read.
    bool add(const SerialisableDataPacket& packet)
    {
        packets.push_back(packet);
        if (packets.size() >= PACKETS_A_FLUSH) {
            flush();
        }
        return client.getUnsentBytes() <= MAX_UNSENT_BYTES;
    }
    /// A value that is not durable yet is sent later.
    bool addNode(const DatacoreBase& datacore)
    {
        if (durable == nullptr || !durable->isHeldBack(datacore)) {
            return add(toPacket(datacore));
        }
        durable->holdAnswer(datacore, toPacket(datacore), client);
        return !durable->isFull();
    }
    bool addTree(const DatacoreBase& datacore)
    {
        const std::vector<DatacoreBase*> children = datacore.getChildren();
        return addNode(datacore) &&
               std::all_of(children.begin(), children.end(),
                           [this](const DatacoreBase* child) { return addTree(*child); });
    }
    void flush()
    {
        client.acceptPackets(packets);
        packets.clear();
    }

private:
    NetworkConnection& client;
    DurableTree* durable;
    std::vector<SerialisableDataPacket> packets;
};

/// The tree that a store keeps, with its news.
class DatacoreServer::PersistentTree : private DurableTree::Sender
{
public:
    PersistentTree(DatacoreServer& owner, DatacoreStoreInterface& store)
        : server(owner)
        , durable(*owner.trees.persistentConfig, store, *this)
    {
    }

    DurableTree& getDurable() { return durable; }

private:
    void sendNews(const std::vector<DurableTree::News>& news) override
    {
        std::vector<SerialisableDataPacket> packets; // for all
        for (const DurableTree::News& piece : news) {
            if (piece.isForAll) {
                packets.push_back(piece.packet);
            } else if (piece.receiver) {
                server.sendToAll(std::exchange(packets, {}));
                piece.receiver->acceptPacket(piece.packet);
            }
        }
        server.sendToAll(packets);
    }
    void publishChanges() override { server.publishChanges(); }

    DatacoreServer& server;
    DurableTree durable;
};

/// What a change makes known: at once, or, in a tree with a store, when it is durable.
class DatacoreServer::Publication
{
public:
    explicit Publication(DatacoreServer& owner)
        : server(owner)
        , durable(owner.persistentTree ? &owner.persistentTree->getDurable() : nullptr)
    {
    }

    void add(const DatacoreBase& node, SerialisableDataPacket packet, bool isWrite = false)
    {
        if (durable != nullptr && durable->covers(node)) {
            kept.push_back({&node, std::move(packet), isWrite});
        } else {
            packets.push_back(std::move(packet));
        }
    }
    /// Adds the nodes that have changed since they were last asked for, but for one.
    void addChanges(const DatacoreBase* except = nullptr)
    {
        for (DatacoreBase* root : server.getRoots()) {
            const std::vector<DatacoreBase*> changes = root->takeChangedList();
            packets.reserve(packets.size() + changes.size());
            for (const DatacoreBase* changed : changes) {
                if (changed != except) {
                    add(*changed, toPacket(*changed));
                }
            }
        }
    }
    void send()
    {
        if (!kept.empty()) {
            for (DurableTree::News& piece : durable->publish(std::move(kept))) {
                packets.push_back(std::move(piece.packet));
            }
        }
        server.sendToAll(packets);
    }

private:
    DatacoreServer& server;
    DurableTree* durable;
    std::vector<SerialisableDataPacket> packets;
    std::vector<DurableTree::News> kept;
};

DatacoreServer::DatacoreServer(const DatacoreTrees& datacoreTrees, QObject* parent)
    : QObject(parent)
    , trees(datacoreTrees)
    , access(std::make_unique<AccessControl>())
    , listener([this](std::unique_ptr<QTcpSocket> socket) { acceptClient(std::move(socket)); })
{
}

DatacoreServer::~DatacoreServer() = default;

void DatacoreServer::setStore(DatacoreStoreInterface& store)
{
    persistentTree = std::make_unique<PersistentTree>(*this, store);
    publishChanges(); // a hook may have made more of what was stored
}

bool DatacoreServer::listen(const QHostAddress& address, quint16 port)
{
    return listener.listen(address, port);
}

bool DatacoreServer::listenTls(const QHostAddress& address, quint16 port,
                               const TlsSettings& settings, QString* whatIsWrong)
{
    return listener.listenTls(address, port, settings, whatIsWrong);
}

bool DatacoreServer::listenLocal(const QString& path, quint32 mode, QString* whatIsWrong)
{
    return listener.listenLocal(path, mode, whatIsWrong);
}

void DatacoreServer::acceptClient(std::unique_ptr<QTcpSocket> socket)
{
    auto* client = new Client(*this);
    clients.push_back(client);
    client->getConnection().setDeadPeerTimeout(deadPeerTimeout);
    client->adoptSocket(std::move(socket));
    VELLOG_INFO() << "Client " << client->getName() << " has connected";
    if (!client->mayRead()) {
        awaitToken(*client);
    }
}

/// Lets a client without a role stay for a while if there are tokens that it may have.
void DatacoreServer::awaitToken(Client& client)
{
    if (!access->getRules().knowsTokens()) {
        dropClientWithoutRole(client, "here");
        return;
    }
    QTimer::singleShot(TOKEN_WAIT_MS, &client, [this, &client] {
        if (isPresent(&client) && !client.mayRead()) {
            dropClientWithoutRole(client, "and sends no token");
        }
    });
    const auto hasNoRole = [](const Client* other) { return !other->mayRead(); };
    if (std::count_if(clients.begin(), clients.end(), hasNoRole) > MAX_CLIENTS_WITHOUT_ROLE) {
        dropClientWithoutRole(**std::find_if(clients.begin(), clients.end(), hasNoRole),
                              "and has to make room");
    }
}

void DatacoreServer::dropClientWithoutRole(Client& client, const char* reason)
{
    access->logDropped(client.getPeer(), reason, Clock::now());
    dropClient(client);
}

bool DatacoreServer::isPresent(const Client* client) const
{
    return std::find(clients.begin(), clients.end(), client) != clients.end();
}

void DatacoreServer::setAccessRules(const AccessRules& rules)
{
    access->setRules(rules);
    for (const QString& path : rules.getPaths()) {
        if (findDatacore(path) == nullptr) {
            VELLOG_WARN() << "The access rules name an unknown path " << path;
        }
    }
}

void DatacoreServer::dropClient(Client& client)
{
    AccessControl::logRest(client.getPeer());
    clients.erase(std::remove(clients.begin(), clients.end(), &client), clients.end());
    VELLOG_INFO() << "Client " << client.getName() << " has gone";
    client.retire();
}

void DatacoreServer::dropClientThatDoesNotRead(Client& client)
{
    VELLOG_ERR() << "Client " << client.getName() << " does not read, dropped";
    dropClient(client);
}

std::vector<DatacoreBase*> DatacoreServer::getRoots() const
{
    return {trees.config, trees.status, trees.command, trees.persistentConfig};
}

DatacoreBase* DatacoreServer::findDatacore(const QString& fullPath) const
{
    const int delimiter = fullPath.indexOf(DatacoreJsonInterface::TREE_LEVEL_DELIMITER());
    const QStringView path(fullPath);
    const QStringView rootName = delimiter < 0 ? path : path.left(delimiter);
    for (DatacoreBase* root : getRoots()) {
        if (QStringView(root->getInstanceName()) == rootName) {
            return root->findDatacore(delimiter < 0 ? QStringView() : path.mid(delimiter + 1));
        }
    }
    return nullptr;
}

/// The names of all trees, then the values asked for: all of them if none is named.
void DatacoreServer::sendDump(Client& client, const DatacorePathListPacket& request)
{
    Dump dump(client.getConnection(), persistentTree ? &persistentTree->getDurable() : nullptr);
    bool isRead =
        dump.add(DatacorePathRadixTreePacket(request.getClientID(), *trees.config, *trees.status,
                                             *trees.command, *trees.persistentConfig));

    const std::deque<QString> paths = request.getDatacorePaths();
    if (paths.empty()) {
        for (const DatacoreBase* root : getRoots()) {
            isRead = isRead && dump.addTree(*root);
        }
    }
    for (auto path = paths.begin(); isRead && path != paths.end(); ++path) {
        if (const DatacoreBase* datacore = findDatacore(*path)) {
            isRead = dump.addNode(*datacore);
        } else {
            VELLOG_ERR() << "Request for an unknown path " << *path;
        }
    }
    if (isRead) {
        dump.flush();
    } else {
        dropClientThatDoesNotRead(client);
    }
}

/// Takes the value, if the writer may write it, then sends what the server now holds to all
/// clients. With the same ids, it is the writer's acknowledgement, even if the value was refused or
/// is the same as before.
void DatacoreServer::applyWrite(Client& writer, const DatacorePacket& write)
{
    DatacoreBase* datacore = findDatacore(write.getDatacorePath());
    if (datacore == nullptr) {
        VELLOG_ERR() << "Write to an unknown path " << write.getDatacorePath();
        return;
    }
    constexpr bool justData = true; // the reasons are worked out here
    DurableTree* durable = findDurableTree(*datacore);
    if (!access->mayWrite(writer.getPeer(), *datacore, write, Clock::now())) {
        const DatacorePacket answer(write, *datacore, !justData);
        if (durable != nullptr && durable->isHeldBack(*datacore)) {
            durable->holdAnswer(*datacore, answer, writer.getConnection());
        } else {
            sendTo(writer, NetworkConnection::joinPackets({answer}));
        }
        return;
    }
    if (durable != nullptr && durable->isFull()) {
        VELLOG_ERR() << "Client " << writer.getName()
                     << " writes more than the disk takes, dropped";
        dropClient(writer);
        return;
    }
    const bool isTaken =
        durable == nullptr || write.serialisePayload().size() <= DurableTree::MAX_WRITE_BYTES;
    if (!isTaken) {
        VELLOG_ERR() << "Write of more than can be stored to " << write.getDatacorePath();
    } else if (!write.populate(*datacore, justData)) {
        VELLOG_ERR() << "Write of the wrong shape to " << write.getDatacorePath();
    }
    Publication publication(*this);
    publication.add(*datacore, DatacorePacket(write, *datacore, !justData), isTaken);
    publication.addChanges(datacore);
    publication.send();
}

/// Null for a node that no store keeps.
DurableTree* DatacoreServer::findDurableTree(const DatacoreBase& datacore) const
{
    return persistentTree && persistentTree->getDurable().covers(datacore)
               ? &persistentTree->getDurable()
               : nullptr;
}

void DatacoreServer::publishChanges()
{
    Publication publication(*this);
    publication.addChanges();
    publication.send();
}

void DatacoreServer::sendRecord(const std::shared_ptr<RawDataPacket>& record)
{
    forEachReader([&record](Client& client) {
        if (client.getConnection().getUnsentBytes() <= NetworkConnection::DISCARD_THRESHOLD_BYTES) {
            client.getConnection().sendRawPacket(record);
        }
    });
}

void DatacoreServer::sendToAll(const std::vector<SerialisableDataPacket>& packets)
{
    if (packets.empty() || clients.empty()) {
        return;
    }
    const std::vector<QByteArray> joined = NetworkConnection::joinPackets(packets);
    forEachReader([&](Client& client) { sendTo(client, joined); });
}

template <typename Send>
void DatacoreServer::forEachReader(const Send& send)
{
    const std::vector<Client*> present = clients; // a client may go away during the sending
    for (Client* client : present) {
        if (isPresent(client) && client->mayRead()) {
            send(*client);
        }
    }
}

void DatacoreServer::sendTo(Client& client, const std::vector<QByteArray>& joined)
{
    if (client.getConnection().getUnsentBytes() > MAX_UNSENT_BYTES) {
        dropClientThatDoesNotRead(client);
    } else {
        client.getConnection().sendJoined(joined);
    }
}
