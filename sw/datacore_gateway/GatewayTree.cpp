#include "GatewayTree.h"

#include "infrastructure/client/DatacoreLink.h"
#include "infrastructure/server/AccessRole.h"
#include "infrastructure/utility/Log.h"
#include "infrastructure/utility/packets/DatacorePacket.h"
#include "infrastructure/utility/packets/DatacoreTokenPacket.h"
#include "infrastructure/utility/packets/SerialisableDataPacketDistributor.h"

#include <QDateTime>
#include <QJsonArray>
#include <QTimer>

#include <algorithm>
#include <map>
#include <utility>

namespace {

constexpr unsigned FIRST_RECORD_TYPE = 0x1011;
constexpr unsigned LAST_RECORD_TYPE = 0x1029;
const QChar SLASH = QLatin1Char('/');

QString textOf(DatacoreLink::State state)
{
    switch (state) {
    case DatacoreLink::State::Connecting:
        return QStringLiteral("connecting");
    case DatacoreLink::State::Filling:
        return QStringLiteral("filling");
    case DatacoreLink::State::Current:
        return QStringLiteral("current");
    case DatacoreLink::State::Waiting:
        return QStringLiteral("waiting");
    case DatacoreLink::State::Idle:
        break;
    }
    return QStringLiteral("idle");
}

template <typename Messages>
QStringList textsOf(const Messages& messages)
{
    QStringList texts;
    for (const auto& message : messages) {
        texts.append(message.getText());
    }
    return texts;
}

QJsonValue toJson(const QStringList& values)
{
    if (values.isEmpty()) {
        return QJsonValue();
    }
    return values.size() == 1 ? QJsonValue(values.first())
                              : QJsonValue(QJsonArray::fromStringList(values));
}

/// The number that a plot shows; nothing for other texts and for lists.
std::optional<double> numberOf(const QStringList& values)
{
    if (values.size() != 1) {
        return std::nullopt;
    }
    const QString& text = values.first();
    if (text == QLatin1String("true") || text == QLatin1String("false")) {
        return text.size() == 4 ? 1 : 0;
    }
    bool isNumber = false;
    const double number = text.toDouble(&isNumber);
    return isNumber && qIsFinite(number) ? std::optional<double>(number) : std::nullopt;
}

/// As "/" is lower than any other character, what is below a node follows it at once.
bool isPathBefore(const QString& a, const QString& b)
{
    const auto [inA, inB] = std::mismatch(a.begin(), a.end(), b.begin(), b.end());
    if (inA == a.end() || inB == b.end()) {
        return inB != b.end();
    }
    return *inB != SLASH && (*inA == SLASH || *inA < *inB);
}

} // namespace

/// One link, and the writes that wait for their echo on it.
class GatewayTree::Server : public QObject, public SerialisableDataPacketAcceptorInterface
{
public:
    Server(GatewayTree& owner, int ownIndex, const GatewayServerSettings& settings,
           const TlsSettings& tls, const QString& accessToken)
        : tree(owner)
        , index(ownIndex)
        , name(settings.name)
        , token(accessToken)
    {
        link.getConnection().setTlsSettings(tls);
        // Behind the populator: the mirror has the content by then.
        SerialisableDataPacketDistributor& distributor = link.getManager().getDistributor();
        distributor.registerPacketAcceptor(*this, DatacorePacket::CLASSNAME());
        for (unsigned type = FIRST_RECORD_TYPE; type <= LAST_RECORD_TYPE; ++type) {
            records.push_back(
                std::make_unique<RecordReceiver>(type, distributor.getReceivers(), *this));
        }
        connect(&link, &DatacoreLink::linkIsUp, this, [this] {
            if (!token.isEmpty()) {
                link.getConnection().acceptPacket(DatacoreTokenPacket(token));
            }
        });
        connect(&link, &DatacoreLink::stateChanged, this, &Server::onState);
        connect(&registry(), &ClientDatacoreRegistry::registryHasBeenPopulated, this,
                [this] { enterAll(registry().getPaths()); });
        connect(&registry(), &ClientDatacoreRegistry::mirrorsAdded, this, &Server::enterAll);
        connect(&registry(), &ClientDatacoreRegistry::mirrorsAboutToBeRemoved, this,
                &Server::removeAll);
        connect(&descriptions(), &ClientDatacoreDescriptions::descriptionsReceived, this,
                &Server::takeDescriptions);
        timeouts.setInterval(WRITE_TIMEOUT_MS / 10);
        connect(&timeouts, &QTimer::timeout, this, &Server::endOldWrites);
        clock.start();
    }

    void start(const LinkAddress& address) { link.start(address); }

    ~Server() override { disconnect(&link, nullptr, this, nullptr); }

    GatewayServer describe() const
    {
        return {name, link.getAddress().toString(), textOf(link.getState()), link.getLastProblem(),
                link.getRemainingPauseMs()};
    }

    const QString& getName() const { return name; }
    QString withName(const QString& path) const
    {
        return name.isEmpty() ? path : name + SLASH + path;
    }
    QString withoutName(const QString& path) const
    {
        return name.isEmpty() ? path : path.mid(name.size() + 1);
    }

    void write(int node, const QStringList& values, std::function<void(const WriteAnswer&)> answer)
    {
        if (!isUp()) {
            answer(
                {QStringLiteral("lost"), QStringLiteral("There is no link to the server."), node});
            return;
        }
        const QString path = withoutName(tree.node(node).path);
        const int id = nextWrite++;
        pending[id] = {node, values, std::move(answer), clock.elapsed()};
        if (!timeouts.isActive()) {
            timeouts.start();
        }
        const QJsonObject content{{QStringLiteral("data"), toJson(values)}};
        link.getConnection().acceptPacket(
            DatacorePacket(writerId(), id, {{path.section(SLASH, -1), content}}, path));
    }

    bool canAcceptPacket(QString className) override
    {
        return className == DatacorePacket::CLASSNAME();
    }

    /// Looks for the echoes of writes.
    void acceptPacket(const SerialisableDataPacket& packet) override
    {
        ++tree.receivedCount;
        if (pending.empty()) {
            return;
        }
        bool ok = false;
        const DatacorePacket echo(packet, ok);
        if (!ok || echo.getClientID() != writerId()) {
            return;
        }
        const auto found = pending.find(echo.getPacketID());
        if (found != pending.end()) {
            const Write done = std::move(found->second);
            pending.erase(found);
            const bool isTaken = tree.node(done.node).values == done.values;
            done.answer({isTaken ? QStringLiteral("ok") : QStringLiteral("refused"),
                         isTaken ? QString()
                                 : QStringLiteral("The server has not taken the value; this client "
                                                  "may not write it, or it can't be stored."),
                         done.node});
        }
    }

private:
    struct Write
    {
        int node;
        QStringList values;
        std::function<void(const WriteAnswer&)> answer;
        qint64 sinceMs;
    };

    class RecordReceiver : public RawDataPacketReceiverInterfaceBase
    {
    public:
        RecordReceiver(unsigned type, RawDataPacketReceivers& linkReceivers, Server& owner)
            : RawDataPacketReceiverInterfaceBase(type, linkReceivers)
            , server(owner)
        {
        }
        void receiveRawPacket(std::shared_ptr<RawDataPacket> packet) override
        {
            Q_EMIT server.tree.recordReceived(server.index, packet);
        }

    private:
        Server& server;
    };

    ClientDatacoreRegistry& registry() { return link.getRegistry(); }
    ClientDatacoreDescriptions& descriptions() { return link.getManager().getDescriptions(); }
    bool isUp() const
    {
        return link.getState() == DatacoreLink::State::Current ||
               link.getState() == DatacoreLink::State::Filling;
    }
    /// Not the link's own id: an echo under that is for the mirror, which has not written.
    QString writerId() { return link.getConnection().getLocalIdentifier() + QStringLiteral("-"); }

    void onState(DatacoreLink::State state)
    {
        if (state == DatacoreLink::State::Current) {
            descriptions().requestDescriptions();
        } else if (!isUp()) {
            endWrites(QStringLiteral("lost"),
                      QStringLiteral("The link to the server broke; it may have taken the value."),
                      clock.elapsed());
        }
        Q_EMIT tree.serverChanged(index);
    }

    void enterAll(const QStringList& paths)
    {
        for (const QString& path : paths) {
            const int node = tree.enter(index, withName(path));
            if (node < 0) {
                continue;
            }
            ClientDatacore* mirror = registry().lookup(path);
            const auto refreshNode = [this, node, mirror] { refresh(node, *mirror); };
            connect(mirror, &ClientDatacore::datacoreUpdated, this, refreshNode);
            connect(mirror, &ClientDatacore::freshnessChanged, this, refreshNode);
            refreshNode();
        }
    }

    void removeAll(const QStringList& paths)
    {
        for (const QString& path : paths) {
            const int node = tree.find(withName(path));
            if (node >= 0) {
                tree.entries[std::size_t(node)].node.isPresent = false;
                tree.touch(node);
            }
        }
    }

    void refresh(int at, const ClientDatacore& mirror)
    {
        GatewayNode& node = tree.entries[std::size_t(at)].node;
        const std::deque<QString> values = mirror.getDataList();
        node.values = QStringList(values.begin(), values.end());
        DatacoreValidStatusMessages invalid;
        DatacoreActiveStatusMessages inactive;
        node.invalidTexts = mirror.isValid(invalid) ? QStringList() : textsOf(invalid);
        node.inactiveTexts = mirror.isActive(inactive) ? QStringList() : textsOf(inactive);
        switch (mirror.getFreshness()) {
        case ClientDatacore::Freshness::NeverReceived:
            node.state = GatewayNode::NeverReceived;
            break;
        case ClientDatacore::Freshness::Current:
            node.state = GatewayNode::Current;
            break;
        case ClientDatacore::Freshness::Stale:
            node.state = GatewayNode::Stale;
            break;
        }
        if (node.state == GatewayNode::Current) {
            if (const std::optional<double> number = numberOf(node.values)) {
                tree.history.add(at, QDateTime::currentMSecsSinceEpoch(), *number);
            }
        }
        tree.touch(at);
    }

    void takeDescriptions()
    {
        QHash<const DatacoreDescription*, int> seen;
        for (const QString& path : registry().getPaths()) {
            const int at = tree.find(withName(path));
            const auto description = descriptions().findDescription(path);
            if (at < 0 || !description) {
                continue;
            }
            auto found = seen.constFind(description.get());
            if (found == seen.constEnd()) {
                found = seen.insert(description.get(), enterDescription(*description));
            }
            GatewayNode& node = tree.entries[std::size_t(at)].node;
            if (node.description != *found) {
                node.description = *found;
                const quint64 contentAt = node.contentAt;
                tree.touch(at);
                node.listedAt = node.revision;
                node.contentAt = contentAt;
            }
        }
    }

    int enterDescription(const DatacoreDescription& description)
    {
        QByteArray json;
        description.appendToJsonText(json);
        auto found = tree.descriptionIndices.constFind(json);
        if (found == tree.descriptionIndices.constEnd()) {
            if (tree.descriptions.size() >= std::size_t(MAX_NODES)) {
                return -1;
            }
            found = tree.descriptionIndices.insert(json, int(tree.descriptions.size()));
            tree.descriptions.push_back({description, json});
        }
        return *found;
    }

    void endOldWrites()
    {
        endWrites(QStringLiteral("timeout"),
                  QStringLiteral("The server has not answered within %1 s; it may have taken the "
                                 "value.")
                      .arg(WRITE_TIMEOUT_MS / 1000),
                  clock.elapsed() - WRITE_TIMEOUT_MS);
        if (pending.empty()) {
            timeouts.stop();
        }
    }

    /// Those that were sent up to a time. An answer may write again.
    void endWrites(const QString& code, const QString& text, qint64 untilMs)
    {
        std::vector<Write> ended;
        while (!pending.empty() && pending.begin()->second.sinceMs <= untilMs) {
            ended.push_back(std::move(pending.begin()->second));
            pending.erase(pending.begin());
        }
        for (const Write& write : ended) {
            write.answer({code, text, write.node});
        }
    }

    GatewayTree& tree;
    const int index;
    const QString name;
    const QString token;
    std::map<int, Write> pending; ///< by packet id, oldest first
    int nextWrite = 0;
    QTimer timeouts;
    QElapsedTimer clock;
    DatacoreLink link;
    std::vector<std::unique_ptr<RecordReceiver>> records; ///< on the link's register
};

GatewayTree::GatewayTree(std::size_t historyBytes, QObject* parent)
    : QObject(parent)
    , history(historyBytes)
{
}

GatewayTree::~GatewayTree() = default;

void GatewayTree::addServer(const GatewayServerSettings& settings, const TlsSettings& tls,
                            const QString& token)
{
    servers.push_back(std::make_unique<Server>(*this, int(servers.size()), settings, tls, token));
    servers.back()->start(settings.address);
}

std::vector<GatewayServer> GatewayTree::getServers() const
{
    std::vector<GatewayServer> list;
    for (const std::unique_ptr<Server>& server : servers) {
        list.push_back(server->describe());
    }
    return list;
}

GatewayServer GatewayTree::getServer(int index) const
{
    return servers[std::size_t(index)]->describe();
}

QString GatewayTree::getServerPath(const GatewayNode& node) const
{
    return servers[std::size_t(node.server)]->withoutName(node.path);
}

const QString& GatewayTree::getServerName(const GatewayNode& node) const
{
    return servers[std::size_t(node.server)]->getName();
}

int GatewayTree::enter(int server, const QString& path)
{
    auto found = indices.constFind(path);
    if (found == indices.constEnd()) {
        if (getNodeCount() >= MAX_NODES) {
            if (!std::exchange(isFull, true)) {
                VELLOG_ERR() << "More than " << MAX_NODES << " paths, " << path
                             << " and all that follow are left out";
            }
            return -1;
        }
        found = indices.insert(path, getNodeCount());
        entries.emplace_back();
        byPath.clear();
    }
    Entry& entry = entries[std::size_t(*found)];
    entry.node.path = path;
    entry.node.server = server;
    entry.node.isPresent = true;
    touch(*found);
    entry.node.listedAt = entry.node.revision;
    return *found;
}

/// Makes it the newest.
void GatewayTree::touch(int index)
{
    Entry& entry = entries[std::size_t(index)];
    if (newest != index) {
        if (entry.older >= 0) {
            entries[std::size_t(entry.older)].newer = entry.newer;
        }
        if (entry.newer >= 0) {
            entries[std::size_t(entry.newer)].older = entry.older;
        }
        entry.older = newest;
        entry.newer = -1;
        if (newest >= 0) {
            entries[std::size_t(newest)].newer = index;
        }
        newest = index;
    }
    entry.node.revision = entry.node.contentAt = ++revision;
    announce();
}

void GatewayTree::announce()
{
    if (!isAnnounced) {
        isAnnounced = true;
        QTimer::singleShot(0, this, [this] {
            isAnnounced = false;
            Q_EMIT changed();
        });
    }
}

std::vector<int> GatewayTree::collectChangedSince(quint64 since) const
{
    std::vector<int> found;
    for (int i = newest; i >= 0 && node(i).revision > since; i = entries[std::size_t(i)].older) {
        found.push_back(i);
    }
    return found;
}

std::vector<int> GatewayTree::collectBelow(const QString& path) const
{
    if (byPath.size() != entries.size()) {
        byPath.resize(entries.size());
        for (std::size_t i = 0; i < byPath.size(); ++i) {
            byPath[i] = static_cast<int>(i);
        }
        std::sort(byPath.begin(), byPath.end(),
                  [this](int a, int b) { return isPathBefore(node(a).path, node(b).path); });
    }
    std::vector<int> found;
    auto at = std::lower_bound(byPath.begin(), byPath.end(), path, [this](int a, const QString& b) {
        return isPathBefore(node(a).path, b);
    });
    for (; at != byPath.end() && (path.isEmpty() || isAtOrBelow(node(*at).path, path)); ++at) {
        if (node(*at).isPresent) {
            found.push_back(*at);
        }
    }
    return found;
}

void GatewayTree::write(const QString& path, const QStringList& values,
                        std::function<void(const WriteAnswer&)> answer)
{
    const int index = find(path);
    if (index < 0 || !node(index).isPresent) {
        answer({QStringLiteral("unknown-path"), QStringLiteral("There is no such path."), -1});
        return;
    }
    const GatewayNode& target = node(index);
    if (target.description >= 0 && descriptions[std::size_t(target.description)].is.isReadOnly) {
        answer({QStringLiteral("not-writable"),
                QStringLiteral("The server does not let clients write this."), index});
        return;
    }
    servers[std::size_t(target.server)]->write(index, values, std::move(answer));
}

std::vector<History::Point> GatewayTree::getHistory(int index, int seconds) const
{
    return history.get(index, QDateTime::currentMSecsSinceEpoch() -
                                  std::min<qint64>(qint64(seconds) * 1000, History::SPAN_MS));
}
