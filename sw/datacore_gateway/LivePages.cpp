#include "LivePages.h"

#include "Guard.h"
#include "infrastructure/utility/CommandLine.h"
#include "infrastructure/utility/packets/RawDataPacket.h"
#include "infrastructure/utility/ParseJson.h"
#include "JsonText.h"
#include "NodeJson.h"

#include <QDateTime>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSet>

#include <algorithm>
#include <deque>

namespace {

constexpr int POLICY_VIOLATION = 1008; ///< RFC 6455, section 7.4.1
constexpr int TRY_AGAIN_LATER = 1013;
constexpr int MAX_PREFIXES = 1000;
constexpr int HELLO_PROTOCOL = 1;

QByteArray makeAnswer(const QJsonValue& id, const WriteAnswer& answer, const GatewayTree& tree)
{
    QByteArray json = "{\"type\":\"answer\",\"id\":" + QByteArray::number(id.toDouble(), 'g', 17);
    json += answer.isOk() ? ",\"ok\":true" : ",\"ok\":false,\"code\":";
    if (!answer.isOk()) {
        appendJson(json, answer.code);
        json += ",\"text\":";
        appendJson(json, answer.text);
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
    appendJson(json, code);
    json += ",\"text\":";
    appendJson(json, text);
    return json + '}';
}

/// Collects rows in messages of a bounded number of them.
class Rows
{
public:
    Rows(std::vector<QByteArray>& allMessages, const QByteArray& head)
        : messages(allMessages)
        , start(head)
    {
    }
    /// To append one to.
    QByteArray& next()
    {
        if (count == LivePages::ROWS_A_MESSAGE) {
            end("");
        }
        message += count == 0 ? start : QByteArray(",");
        ++count;
        return message;
    }
    void end(const QByteArray& tail)
    {
        if (count > 0) {
            messages.push_back(message + ']' + tail + '}');
            message.clear();
            count = 0;
        }
    }

private:
    std::vector<QByteArray>& messages;
    const QByteArray start;
    QByteArray message;
    int count = 0;
};

} // namespace

void appendChanges(std::vector<QByteArray>& messages, const GatewayTree& tree,
                   const std::vector<int>& nodes, quint64 since, qint64 nowMs)
{
    Rows listed(messages, "{\"type\":\"nodes\",\"list\":[");
    for (auto i = nodes.rbegin(); i != nodes.rend(); ++i) {
        const GatewayNode& node = tree.node(*i);
        if (node.isPresent && node.listedAt > since) {
            QByteArray& json = listed.next();
            json.append('[').append(QByteArray::number(*i)).append(',');
            appendJson(json, node.path);
            json.append(',').append(QByteArray::number(node.description)).append(',');
            appendContent(json, node);
            json.append(']');
        }
    }
    listed.end(",\"last\":true");
    Rows removed(messages, "{\"type\":\"removed\",\"list\":[");
    Rows changed(messages,
                 "{\"type\":\"changes\",\"t\":" + QByteArray::number(nowMs) + ",\"list\":[");
    for (auto i = nodes.rbegin(); i != nodes.rend(); ++i) {
        const GatewayNode& node = tree.node(*i);
        if (!node.isPresent) {
            removed.next().append(QByteArray::number(*i));
        } else if (node.listedAt <= since) {
            QByteArray& json = changed.next();
            json.append('[').append(QByteArray::number(*i)).append(',');
            appendContent(json, node);
            json.append(']');
        }
    }
    removed.end("");
    changed.end("");
}

/// One page. All of its functions may close it; whoever calls them looks at `isClosed`.
class LivePages::Page
{
public:
    Page(LivePages& owner, const HttpRequest& request, HttpServer::Connection httpConnection)
        : pages(owner)
        , peer(request.peer)
        , connection(std::move(httpConnection))
        , openedAtMs(owner.clock.elapsed())
        , wordsAtMs(openedAtMs)
    {
        serversDirty.resize(owner.tree.getServers().size(), false);
    }

    void enter(const AccessRole& newRole)
    {
        role = newRole;
        if (role.mayRead()) {
            hasHello = true;
            unsent.push_back(pages.makeHello(pages.guard.mayWriteAnything(role)));
            std::fill(serversDirty.begin(), serversDirty.end(), false);
            update();
        }
    }

    /// An answer: what is sent because the page has sent something.
    void send(const QByteArray& text)
    {
        answerBytes += text.size();
        if (answerBytes > MAX_UNSENT_ANSWERS) {
            shut(TRY_AGAIN_LATER, "answers are not read");
            return;
        }
        unsent.push_back(text);
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
        if (revision < pages.tree.getRevision() || isWatchNew) {
            if (seesAll && !isWatchNew) {
                const Messages& messages = pages.getChanges(revision);
                unsent.insert(unsent.end(), messages.begin(), messages.end());
            } else {
                addWatched();
            }
            revision = pages.tree.getRevision();
        }
        addRecords();
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
        if (!isSending) {
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
    const qint64 openedAtMs;
    AccessRole role;
    bool hasHello = false;
    bool isClosed = false;
    std::vector<bool> serversDirty;

private:
    void sendNext()
    {
        if (!isSending && !unsent.empty() && !isClosed) {
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
            if (prefixes.size() < MAX_PREFIXES) {
                prefixes.append(prefix.toString());
            }
        }
        isWatchNew = true;
        pages.schedule();
    }

    /// All nodes that come and go, changes of those watched; their content in any case if that is
    /// asked for anew.
    void addWatched()
    {
        const auto isWatched = [this](const GatewayNode& node) {
            return seesAll ||
                   std::any_of(prefixes.begin(), prefixes.end(), [&node](const QString& prefix) {
                       return isAtOrBelow(node.path, prefix);
                   });
        };
        std::vector<int> wanted;
        for (const int index : pages.tree.collectChangedSince(isWatchNew ? 0 : revision)) {
            const GatewayNode& node = pages.tree.node(index);
            const bool isListed =
                node.listedAt > revision || (!node.isPresent && node.revision > revision);
            if (isListed || (node.isPresent && isWatched(node))) {
                wanted.push_back(index);
            }
        }
        isWatchNew = false;
        Messages messages;
        appendChanges(messages, pages.tree, wanted, revision, QDateTime::currentMSecsSinceEpoch());
        unsent.insert(unsent.end(), messages.begin(), messages.end());
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
                    appendJson(record.message,
                               pages.tree.getServers()[std::size_t(record.server)].name);
                    record.message += ",\"name\":";
                    appendJson(record.message, record.name);
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
        appendJson(json, path);
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
    QStringList prefixes;
    QSet<QString> recordNames;
    quint64 recordNumber = 0;
    qint64 recordsAtMs = 0;
    std::deque<QByteArray> unsent;
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
        if (tree.getServers()[std::size_t(server)].state == QLatin1String("waiting")) {
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
        QTimer::singleShot(TOKEN_WAIT_MS, this, [this] {
            for (const std::unique_ptr<Page>& each : pages) {
                if (!each->hasHello && clock.elapsed() - each->openedAtMs >= TOKEN_WAIT_MS) {
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

/// Since a revision until now, for all pages that ask within the same tick.
const LivePages::Messages& LivePages::getChanges(quint64 since)
{
    if (portionsAt != tree.getRevision()) {
        portionsAt = tree.getRevision();
        portions.clear();
    }
    const auto found =
        std::find_if(portions.begin(), portions.end(),
                     [since](const Portion& portion) { return portion.since == since; });
    if (found != portions.end()) {
        return found->messages;
    }
    portions.push_back({since, {}});
    appendChanges(portions.back().messages, tree, tree.collectChangedSince(since), since,
                  QDateTime::currentMSecsSinceEpoch());
    return portions.back().messages;
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
    appendServer(json, tree.getServers()[std::size_t(server)]);
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
