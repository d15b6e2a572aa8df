#include "LivePages.h"

#include "Guard.h"
#include "infrastructure/datacore/JsonString.h"
#include "infrastructure/utility/CommandLine.h"
#include "infrastructure/utility/packets/RawDataPacket.h"
#include "infrastructure/utility/ParseJson.h"
#include "NodeJson.h"

#include <QDateTime>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSet>

#include <algorithm>
#include <utility>

namespace {

constexpr int POLICY_VIOLATION = 1008; ///< RFC 6455, section 7.4.1
constexpr int TRY_AGAIN_LATER = 1013;
constexpr int HELLO_PROTOCOL = 1;

QByteArray makeAnswer(const QJsonValue& id, const WriteAnswer& answer, const GatewayTree& tree)
{
    QByteArray json = "{\"type\":\"answer\",\"id\":" + QByteArray::number(id.toDouble(), 'g', 17);
    json += answer.isOk() ? ",\"ok\":true" : ",\"ok\":false,\"code\":";
    if (!answer.isOk()) {
        appendJsonString(json, answer.code);
        json += ",\"text\":";
        appendJsonString(json, answer.text);
    }
    if (answer.node >= 0) {
        json += ',';
        appendNamedContent(json, tree.node(answer.node));
    }
    return json + '}';
}

QByteArray makeError(const QString& code, const QString& text)
{
    QByteArray json = "{\"type\":\"error\",\"code\":";
    appendJsonString(json, code);
    json += ",\"text\":";
    appendJsonString(json, text);
    return json + '}';
}

} // namespace

ChangeMessages::ChangeMessages(const GatewayTree& gatewayTree, quint64 since, bool withOld)
    : tree(gatewayTree)
    , nodes(gatewayTree.collectChangedSince(withOld ? 0 : since))
{
    nodes.erase(std::remove_if(nodes.begin(), nodes.end(),
                               [&](int index) {
                                   return !tree.node(index).isPresent &&
                                          tree.node(index).revision <= since;
                               }),
                nodes.end());
    std::reverse(nodes.begin(), nodes.end());
    const auto listed = std::stable_partition(nodes.begin(), nodes.end(), [&](int index) {
        return tree.node(index).isPresent && tree.node(index).listedAt > since;
    });
    const auto removed = std::stable_partition(
        listed, nodes.end(), [&](int index) { return !tree.node(index).isPresent; });
    listedEnd = static_cast<std::size_t>(listed - nodes.begin());
    removedEnd = static_cast<std::size_t>(removed - nodes.begin());
}

void ChangeMessages::keepChangesIf(const std::function<bool(const GatewayNode&)>& isWanted)
{
    const auto first = nodes.begin() + static_cast<std::ptrdiff_t>(removedEnd);
    nodes.erase(
        std::remove_if(first, nodes.end(), [&](int index) { return !isWanted(tree.node(index)); }),
        nodes.end());
}

QByteArray ChangeMessages::takeNext()
{
    const bool isListing = next < listedEnd;
    const bool isRemoving = !isListing && next < removedEnd;
    const std::size_t end = isListing ? listedEnd : isRemoving ? removedEnd : nodes.size();
    const std::size_t until = std::min(end, next + LivePages::ROWS_A_MESSAGE);
    QByteArray json = isListing    ? QByteArray("{\"type\":\"nodes\",\"list\":")
                      : isRemoving ? QByteArray("{\"type\":\"removed\",\"list\":")
                                   : "{\"type\":\"changes\",\"t\":" +
                                         QByteArray::number(QDateTime::currentMSecsSinceEpoch()) +
                                         ",\"list\":";
    for (char before = '['; next < until; ++next, before = ',') {
        const GatewayNode& node = tree.node(nodes[next]);
        json.append(before);
        if (isRemoving) {
            json.append(QByteArray::number(nodes[next]));
            continue;
        }
        json.append('[').append(QByteArray::number(nodes[next])).append(',');
        if (isListing) {
            appendJsonString(json, node.path);
            json.append(',').append(QByteArray::number(node.description)).append(',');
        }
        appendContent(json, node);
        json.append(']');
    }
    return json + (isListing && next == listedEnd ? "],\"last\":true}" : "]}");
}

/// One page. All of its functions may close it; whoever calls them looks at `isClosed`.
class LivePages::Page
{
public:
    Page(LivePages& owner, const HttpRequest& request, HttpServer::Connection httpConnection)
        : pages(owner)
        , peer(request.peer)
        , connection(std::move(httpConnection))
        , wordsAtMs(owner.clock.elapsed())
    {
        serversDirty.resize(owner.tree.getServers().size(), false);
    }

    void enter(const AccessRole& newRole)
    {
        role = newRole;
        if (role.mayRead()) {
            hasHello = true;
            std::fill(serversDirty.begin(), serversDirty.end(), false);
            queueAnswer(pages.makeHello(pages.guard.mayWriteAnything(role)));
            update();
        }
    }

    void send(const QByteArray& answer)
    {
        queueAnswer(answer);
        sendNext();
    }

    /// Sends what has changed, if it has taken what came before.
    void update()
    {
        if (!hasHello || isSending || isClosed) {
            return;
        }
        for (std::size_t i = 0; i < serversDirty.size(); ++i) {
            if (serversDirty[i]) {
                serversDirty[i] = false;
                unsent.push_back(pages.makeServer(static_cast<int>(i)));
            }
        }
        if (descriptionsSeen < pages.tree.getDescriptions().size()) {
            unsent.push_back(pages.makeDescriptions(descriptionsSeen));
            descriptionsSeen = pages.tree.getDescriptions().size();
        }
        addRecords();
        addChanges();
        sendNext();
    }

    bool isBehind() const
    {
        return hasHello && !isSending &&
               (revision < pages.tree.getRevision() || isWatchNew ||
                descriptionsSeen < pages.tree.getDescriptions().size() ||
                (recordNumber < pages.recordCount && !recordNames.isEmpty()) ||
                std::find(serversDirty.begin(), serversDirty.end(), true) != serversDirty.end());
    }

    void onSent()
    {
        isSending = false;
        sendNext();
        if (unsent.empty()) {
            answerBytes = 0;
        }
        if (!isSending && isBehind()) {
            pages.schedule();
        }
    }

    void onMessage(const QByteArray& text)
    {
        const qint64 now = pages.clock.elapsed();
        words = std::min<double>(MESSAGE_BURST,
                                 words + double(now - wordsAtMs) * MESSAGES_A_SECOND / 1000);
        wordsAtMs = now;
        words -= 1;
        if (words < 0) {
            shut(POLICY_VIOLATION, "too many messages");
            return;
        }
        const QJsonDocument document = parseJson(text);
        const QJsonObject message = document.object();
        const QString type = message[QLatin1String("type")].toString();
        if (type == QLatin1String("token")) {
            takeToken(message[QLatin1String("token")].toString());
        } else if (!hasHello) {
            shut(POLICY_VIOLATION, "a token is needed first");
        } else if (type == QLatin1String("watch")) {
            watch(message[QLatin1String("nodes")]);
        } else if (type == QLatin1String("write")) {
            write(message);
        } else if (type == QLatin1String("history")) {
            sendHistory(message);
        } else if (type == QLatin1String("records")) {
            recordNames.clear();
            for (const QJsonValue& name : message[QLatin1String("names")].toArray()) {
                recordNames.insert(name.toString());
            }
            recordNumber = 0;
            pages.schedule();
        } else if (type == QLatin1String("describe")) {
            descriptionsSeen = 0;
            pages.schedule();
        } else {
            send(makeError(QStringLiteral("bad-message"),
                           document.isNull()
                               ? QStringLiteral("This is no JSON object.")
                               : QStringLiteral("There is no message of this type.")));
        }
    }

    void shut(int code, const QByteArray& reason)
    {
        connection->close(code, reason);
        hasHello = false;
        isClosed = true;
    }

    LivePages& pages;
    const PeerOrigin peer;
    const HttpServer::Connection connection;
    AccessRole role;
    bool hasHello = false;
    bool isClosed = false;
    std::vector<bool> serversDirty;

private:
    /// An answer is what is sent because the page has sent something.
    void queueAnswer(const QByteArray& text)
    {
        answerBytes += text.size();
        if (answerBytes > MAX_UNSENT_ANSWERS) {
            shut(TRY_AGAIN_LATER, "answers are not read");
        } else {
            unsent.push_back(text);
        }
    }

    void sendNext()
    {
        if (isSending || isClosed) {
            return;
        }
        if (portion && portion->isAtEnd()) {
            portion.reset();
        }
        if (unsent.empty() && portion) {
            unsent.push_back(portion->takeNext());
        }
        if (!unsent.empty()) {
            isSending = true;
            const QByteArray text = unsent.front();
            unsent.pop_front();
            ++pages.messageCount;
            connection->send(text);
        }
    }

    void takeToken(const QString& token)
    {
        const std::optional<AccessRole> added = pages.guard.getTokenRole(peer, token);
        if (!added) {
            send(makeError(QStringLiteral("token"), QStringLiteral("The token is not taken.")));
            return;
        }
        AccessRole both = role;
        both.add(*added);
        enter(both);
    }

    void watch(const QJsonValue& nodes)
    {
        const QJsonArray list = nodes.toArray();
        seesAll = !nodes.isArray();
        prefixes.clear();
        for (const QJsonValue& prefix : list) {
            prefixes.insert(prefix.toString());
        }
        isWatchNew = true;
        pages.schedule();
    }

    bool isWatched(const GatewayNode& node) const
    {
        for (int end = node.path.size(); end > 0;
             end = node.path.lastIndexOf(QLatin1Char('/'), end - 1)) {
            if (prefixes.contains(node.path.left(end))) {
                return true;
            }
        }
        return false;
    }

    /// All nodes that come and go, changes of those watched; their content in any case if that is
    /// asked for anew.
    void addChanges()
    {
        const quint64 since = std::exchange(revision, pages.tree.getRevision());
        if (seesAll && !isWatchNew) {
            portion = pages.takeChanges(since, unsent);
            return;
        }
        portion = std::make_unique<ChangeMessages>(pages.tree, since, isWatchNew);
        if (!seesAll) {
            portion->keepChangesIf([this](const GatewayNode& node) { return isWatched(node); });
        }
        isWatchNew = false;
    }

    void addRecords()
    {
        if (recordNames.isEmpty() || recordNumber == pages.recordCount ||
            pages.clock.elapsed() - recordsAtMs < RECORD_PERIOD_MS) {
            return;
        }
        recordsAtMs = pages.clock.elapsed();
        for (Record& record : pages.records) {
            if (record.number > recordNumber && recordNames.contains(record.name)) {
                if (record.message.isEmpty()) {
                    record.message = "{\"type\":\"record\",\"server\":";
                    appendJsonString(record.message, pages.tree.getServer(record.server).name);
                    record.message += ",\"name\":";
                    appendJsonString(record.message, record.name);
                    record.message += ",\"t\":" + QByteArray::number(record.ms) + ",\"data\":" +
                                      pages.recordJson[record.server].toJson(record.name) + '}';
                }
                unsent.push_back(record.message);
            }
        }
        recordNumber = pages.recordCount;
    }

    void write(const QJsonObject& message)
    {
        const QJsonValue id = message[QLatin1String("id")];
        const QString path = message[QLatin1String("path")].toString();
        const std::optional<QStringList> values = readValues(message[QLatin1String("values")]);
        const int node = pages.tree.find(path);
        const auto refuse = [&](const QString& code, const QString& text) {
            send(makeAnswer(id, {code, text, node}, pages.tree));
        };
        if (!values || !message.contains(QLatin1String("values"))) {
            refuse(QStringLiteral("bad-values"),
                   QStringLiteral("Values are null, a text, or a list of texts."));
        } else if (node >= 0 && !pages.guard.mayWrite(
                                    role, path, pages.tree.getServerPath(pages.tree.node(node)))) {
            refuse(
                QStringLiteral("not-allowed"),
                pages.guard.mayWriteAnything(role)
                    ? QStringLiteral("This page may not write this.")
                    : QStringLiteral("This page may not write; the gateway is read-only for it."));
        } else if (*openWrites >= MAX_OPEN_WRITES) {
            refuse(QStringLiteral("too-many"),
                   QStringLiteral("Too many writes of this page are still without an answer."));
        } else {
            ++*openWrites;
            const std::weak_ptr<int> alive = openWrites;
            pages.tree.write(path, *values, [this, alive, id](const WriteAnswer& answer) {
                if (const std::shared_ptr<int> count = alive.lock()) {
                    --*count;
                    send(makeAnswer(id, answer, pages.tree));
                }
            });
        }
    }

    void sendHistory(const QJsonObject& message)
    {
        const QString path = message[QLatin1String("path")].toString();
        QByteArray json = "{\"type\":\"history\",\"id\":" +
                          QByteArray::number(message[QLatin1String("id")].toDouble(), 'g', 17) +
                          ",\"path\":";
        appendJsonString(json, path);
        json += ",\"points\":[";
        const int seconds = message[QLatin1String("seconds")].toInt(3600);
        bool isFirst = true;
        for (const History::Point& point : pages.tree.getHistory(pages.tree.find(path), seconds)) {
            json += isFirst ? "[" : ",[";
            json +=
                QByteArray::number(point.ms) + ',' + QByteArray::number(point.value, 'g', 17) + ']';
            isFirst = false;
        }
        send(json + "]}");
    }

    quint64 revision = 0;
    bool isWatchNew = false;
    std::size_t descriptionsSeen = 0;
    bool seesAll = true;
    QSet<QString> prefixes;
    std::unique_ptr<ChangeMessages> portion; ///< made while it is sent
    QSet<QString> recordNames;
    quint64 recordNumber = 0;
    qint64 recordsAtMs = 0;
    Messages unsent;
    bool isSending = false;
    int answerBytes = 0;          ///< since all had been sent
    double words = MESSAGE_BURST; ///< messages that it may still send
    qint64 wordsAtMs;
    std::shared_ptr<int> openWrites = std::make_shared<int>(0);
};

LivePages::LivePages(GatewayTree& gatewayTree, Guard& accessGuard)
    : tree(gatewayTree)
    , guard(accessGuard)
{
    clock.start();
    timer.setSingleShot(true);
    timer.setTimerType(Qt::PreciseTimer);
    connect(&timer, &QTimer::timeout, this, &LivePages::tick);
    connect(&tree, &GatewayTree::changed, this, &LivePages::schedule);
    connect(&tree, &GatewayTree::recordReceived, this, &LivePages::keepRecord);
    connect(&tree, &GatewayTree::serverChanged, this, [this](int server) {
        for (const std::unique_ptr<Page>& page : pages) {
            page->serversDirty[std::size_t(server)] = true;
        }
        if (tree.getServer(server).state == QLatin1String("waiting")) {
            recordJson.erase(server); // the next link begins anew
            records.erase(
                std::remove_if(records.begin(), records.end(),
                               [server](const Record& record) { return record.server == server; }),
                records.end());
        }
        schedule();
    });
}

LivePages::~LivePages()
{
    for (const std::unique_ptr<Page>& page : pages) {
        page->connection->onMessage = nullptr;
        page->connection->onSent = nullptr;
        page->connection->onClosed = nullptr;
    }
}

void LivePages::open(const HttpRequest& request, const HttpServer::Connection& connection)
{
    const QList<QByteArray> offered = request.subprotocols.split(',');
    const bool isKnown = std::any_of(offered.begin(), offered.end(), [](const QByteArray& name) {
        return name.trimmed() == PROTOCOL();
    });
    std::optional<HttpResponse> refusal;
    const AccessRole role = guard.getRole(request, refusal);
    if (!isKnown) {
        connection->respond(
            HttpServer::makeError(400, QStringLiteral("subprotocol"),
                                  QStringLiteral("The subprotocol \"datacore.1\" is needed.")));
        return;
    }
    // A page can't set a header; its token comes in its first message.
    if (refusal && (!guard.knowsTokens() || !request.authorization.isEmpty())) {
        connection->respond(*refusal);
        return;
    }
    if (getPageCount() >= MAX_PAGES) {
        connection->respond(HttpServer::makeError(503, QStringLiteral("too-many"),
                                                  QStringLiteral("Too many pages are open.")));
        return;
    }
    connection->acceptWebSocket(PROTOCOL());
    pages.push_back(std::make_unique<Page>(*this, request, connection));
    Page* page = pages.back().get();
    connection->onMessage = [page](const QByteArray& text) {
        if (!page->isClosed) {
            page->onMessage(text);
        }
    };
    connection->onSent = [page] { page->onSent(); };
    connection->onClosed = [this, page] { close(*page); };
    page->enter(role);
    if (!page->hasHello) {
        // By the connection, not by the time: a timer may be early.
        QTimer::singleShot(TOKEN_WAIT_MS, this, [this, late = std::weak_ptr(connection)] {
            for (const std::unique_ptr<Page>& each : pages) {
                if (!each->hasHello && each->connection == late.lock()) {
                    each->shut(POLICY_VIOLATION, "no token has come");
                }
            }
        });
    }
}

void LivePages::close(Page& page)
{
    pages.erase(std::find_if(pages.begin(), pages.end(),
                             [&page](const auto& each) { return each.get() == &page; }));
}

void LivePages::schedule()
{
    if (!timer.isActive() && !pages.empty()) {
        const qint64 sinceMs = clock.elapsed() - tickedAtMs;
        timer.start(static_cast<int>(std::clamp<qint64>(PERIOD_MS - sinceMs, 0, PERIOD_MS)));
    }
}

void LivePages::tick()
{
    tickedAtMs = clock.elapsed();
    bool isLeft = false;
    for (const std::unique_ptr<Page>& page : pages) {
        page->update();
        isLeft = isLeft || page->isBehind();
    }
    if (isLeft) { // records, which are slower
        schedule();
    }
}

/// What has changed since a revision: what is little is written once for all pages that ask within
/// the same tick, and appended; much is returned, to be written while a page takes it.
std::unique_ptr<ChangeMessages> LivePages::takeChanges(quint64 since, Messages& unsent)
{
    if (portionsAt != tree.getRevision()) {
        portionsAt = tree.getRevision();
        portions.clear();
    }
    auto found = std::find_if(portions.begin(), portions.end(),
                              [since](const Portion& portion) { return portion.since == since; });
    if (found == portions.end()) {
        auto changes = std::make_unique<ChangeMessages>(tree, since);
        if (changes->getSize() > SHARED_ROWS) {
            return changes;
        }
        found = portions.insert(portions.end(), {since, {}});
        while (!changes->isAtEnd()) {
            found->messages.push_back(changes->takeNext());
        }
    }
    unsent.insert(unsent.end(), found->messages.begin(), found->messages.end());
    return nullptr;
}

QByteArray LivePages::makeHello(bool mayWrite) const
{
    QByteArray json = "{\"type\":\"hello\",\"protocol\":" + QByteArray::number(HELLO_PROTOCOL) +
                      ",\"mayWrite\":" + (mayWrite ? "true" : "false") + ",\"version\":\"" +
                      getProjectVersion() + "\",\"servers\":[";
    bool isFirst = true;
    for (const GatewayServer& server : tree.getServers()) {
        json += isFirst ? "{" : ",{";
        appendServer(json, server);
        json += '}';
        isFirst = false;
    }
    return json + "]}";
}

QByteArray LivePages::makeServer(int server) const
{
    QByteArray json = "{\"type\":\"server\",";
    appendServer(json, tree.getServer(server));
    return json + '}';
}

QByteArray LivePages::makeDescriptions(std::size_t from) const
{
    QByteArray json =
        "{\"type\":\"descriptions\",\"from\":" + QByteArray::number(quint64(from)) + ",\"list\":[";
    const std::vector<GatewayDescription>& list = tree.getDescriptions();
    for (std::size_t i = from; i < list.size(); ++i) {
        json += (i == from ? QByteArray() : QByteArray(",")) + list[i].json;
    }
    return json + "]}";
}

void LivePages::keepRecord(int server, const std::shared_ptr<RawDataPacket>& packet)
{
    const QString name = recordJson[server].take(packet);
    if (name.isEmpty()) {
        return;
    }
    auto found = std::find_if(records.begin(), records.end(), [&](const Record& record) {
        return record.server == server && record.name == name;
    });
    if (found == records.end()) {
        found = records.insert(records.end(), Record());
    }
    *found = {server, name, QDateTime::currentMSecsSinceEpoch(), ++recordCount, {}};
    schedule();
}
