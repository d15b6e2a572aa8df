#include "WebApi.h"

#include "Guard.h"
#include "infrastructure/datacore/JsonString.h"
#include "infrastructure/utility/ParseJson.h"
#include "LivePages.h"
#include "NodeJson.h"

#include <QCryptographicHash>
#include <QDirIterator>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QUrl>

#include <algorithm>

namespace {

constexpr char JSON_TYPE[] = "application/json";
const QString TREE = QStringLiteral("/api/tree");

HttpResponse makeError(int status, const char* code, const QString& text)
{
    return HttpServer::makeError(status, QLatin1String(code), text);
}

HttpResponse makeMethodError(const char* allowed)
{
    HttpResponse response =
        makeError(405, "method", QStringLiteral("Allowed: %1.").arg(QLatin1String(allowed)));
    response.headers.emplace_back("Allow", allowed);
    return response;
}

QByteArray getContentType(const QString& file)
{
    static constexpr struct
    {
        const char* suffix;
        const char* type;
    } TYPES[] = {
        {".html", "text/html; charset=utf-8"},
        {".css", "text/css; charset=utf-8"},
        {".js", "text/javascript; charset=utf-8"},
        {".mjs", "text/javascript; charset=utf-8"},
        {".json", "application/json"},
        {".svg", "image/svg+xml"},
        {".png", "image/png"},
        {".ico", "image/x-icon"},
        {".webmanifest", "application/manifest+json"},
        {".woff2", "font/woff2"},
        {".txt", "text/plain; charset=utf-8"},
    };
    for (const auto& [suffix, type] : TYPES) {
        if (file.endsWith(QLatin1String(suffix))) {
            return type;
        }
    }
    return "application/octet-stream";
}

/// The status of an answer to a write.
int getStatus(const WriteAnswer& answer)
{
    static constexpr struct
    {
        const char* code;
        int status;
    } STATUSES[] = {{"ok", 200},           {"refused", 409}, {"unknown-path", 404},
                    {"not-writable", 403}, {"lost", 502},    {"timeout", 504}};
    for (const auto& [code, status] : STATUSES) {
        if (answer.code == QLatin1String(code)) {
            return status;
        }
    }
    return 500;
}

/// Writes nodes as nested objects.
class TreeWriter
{
public:
    TreeWriter(const GatewayTree& gatewayTree, const std::vector<int>& nodesInOrder,
               bool valuesOnly)
        : tree(gatewayTree)
        , nodes(nodesInOrder)
        , isValuesOnly(valuesOnly)
    {
    }

    /// The node at a path, which may only hold others, with those below it to a depth.
    void append(QByteArray& json, const QString& path, int depth)
    {
        json += "{\"path\":";
        appendJsonString(json, path);
        if (at < nodes.size() && getPath() == path) {
            appendOwn(json, tree.node(nodes[at]));
            ++at;
        }
        const int start = path.isEmpty() ? 0 : path.size() + 1;
        bool isFirst = true;
        while (at < nodes.size() && (path.isEmpty() || isAtOrBelow(getPath(), path))) {
            const int end = getPath().indexOf(QLatin1Char('/'), start);
            const QString child = getPath().left(end);
            if (depth == 0) {
                ++at;
                continue;
            }
            json += isFirst ? ",\"children\":[" : ",";
            isFirst = false;
            append(json, child, depth - 1);
        }
        json += isFirst ? "}" : "]}";
    }

private:
    const QString& getPath() const { return tree.node(nodes[at]).path; }

    void appendOwn(QByteArray& json, const GatewayNode& node) const
    {
        json += ',';
        if (isValuesOnly) {
            json += "\"values\":";
            appendJsonValues(json, node.values);
            return;
        }
        appendNamedContent(json, node);
        json += ",\"description\":";
        json += node.description < 0 ? QByteArrayLiteral("null")
                                     : tree.getDescriptions()[std::size_t(node.description)].json;
    }

    const GatewayTree& tree;
    const std::vector<int>& nodes;
    const bool isValuesOnly;
    std::size_t at = 0;
};

} // namespace

WebApi::WebApi(GatewayTree& gatewayTree, Guard& accessGuard, LivePages& livePages,
               const QString& pageFolder)
    : tree(gatewayTree)
    , guard(accessGuard)
    , pages(livePages)
    , metrics(gatewayTree)
{
    findFiles(pageFolder);
    timer.setInterval(EVENT_PERIOD_MS);
    connect(&timer, &QTimer::timeout, this, &WebApi::updateListeners);
}

WebApi::~WebApi()
{
    for (const std::unique_ptr<Listener>& listener : listeners) {
        listener->connection->onSent = nullptr;
        listener->connection->onClosed = nullptr;
    }
}

/// Only what is found here is ever served, so no request can lead out of the folder.
void WebApi::findFiles(const QString& folder)
{
    const QDir root(folder);
    QDirIterator found(folder, QDir::Files | QDir::NoSymLinks, QDirIterator::Subdirectories);
    while (!folder.isEmpty() && found.hasNext() && getFileCount() < MAX_FILES) {
        const QString file = found.next();
        files[QLatin1Char('/') + root.relativeFilePath(file)] = file;
    }
    const auto index = files.find(QStringLiteral("/index.html"));
    if (index != files.end()) {
        files[QStringLiteral("/")] = index->second;
    }
}

void WebApi::finish(const HttpServer::Connection& connection, HttpResponse response) const
{
    const std::pair<const char*, const char*> common[] = {
        {"Content-Security-Policy",
         "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self' data:; "
         "font-src 'self'; connect-src 'self'; manifest-src 'self'; base-uri 'none'; "
         "form-action 'none'; frame-ancestors 'none'"},
        {"X-Content-Type-Options", "nosniff"},
        {"Referrer-Policy", "no-referrer"},
        {"Cross-Origin-Resource-Policy", "same-origin"},
        {"Cross-Origin-Opener-Policy", "same-origin"},
    };
    for (const auto& [name, value] : common) {
        response.headers.emplace_back(name, value);
    }
    const bool hasCaching =
        std::any_of(response.headers.begin(), response.headers.end(),
                    [](const auto& header) { return header.first == "Cache-Control"; });
    if (!hasCaching) {
        response.headers.emplace_back("Cache-Control", "no-store");
    }
    connection->respond(response);
}

void WebApi::handle(const HttpRequest& request, const HttpServer::Connection& connection)
{
    ++requestCount;
    const QUrl url(QString::fromLatin1(request.target), QUrl::StrictMode);
    const QString path = url.path(QUrl::FullyDecoded);
    const bool isPage =
        !path.startsWith(QLatin1String("/api/")) && path != QLatin1String("/metrics");
    std::optional<HttpResponse> refusal = guard.refuse(request, isPage);
    if (refusal) {
        finish(connection, *refusal);
        return;
    }
    if (!url.isValid() || !request.target.startsWith('/') || request.target.startsWith("//")) {
        finish(connection, makeError(400, "bad-request", QStringLiteral("This is no path.")));
        return;
    }
    const bool isGet = request.method == "GET" || request.method == "HEAD";
    if (path == QLatin1String("/api/live")) {
        if (request.isUpgrade) {
            pages.open(request, connection);
        } else {
            HttpResponse response =
                makeError(426, "upgrade", QStringLiteral("This is for a WebSocket."));
            response.headers.emplace_back("Upgrade", "websocket");
            finish(connection, response);
        }
        return;
    }
    if (isPage) { // the same for everybody: it holds nothing of the tree
        finish(connection, isGet ? serveFile(request, path) : makeMethodError("GET, HEAD"));
        return;
    }
    const AccessRole role = guard.getRole(request, refusal);
    if (refusal) {
        finish(connection, *refusal);
        return;
    }
    Call call{request, connection, QString(), QUrlQuery(url)};
    if (path == TREE || path.startsWith(TREE + QLatin1Char('/'))) {
        call.path = path.mid(TREE.size() + 1);
        if (isGet) {
            finish(connection, getTree(call));
            return;
        }
        if (request.method != "PUT") {
            finish(connection, makeMethodError("GET, HEAD, PUT"));
            return;
        }
        const int node = tree.find(call.path);
        if (node >= 0 && !guard.mayWrite(role, call.path, tree.getServerPath(tree.node(node)))) {
            finish(connection,
                   makeError(403, "not-allowed",
                             guard.mayWriteAnything(role)
                                 ? QStringLiteral("This client may not write this.")
                                 : QStringLiteral("The gateway is read-only for this client.")));
            return;
        }
        put(call);
        return;
    }
    HttpResponse response = makeMethodError("GET, HEAD");
    if (path == QLatin1String("/api/events") && request.method == "GET") {
        listen(call);
        return;
    }
    if (isGet && path == QLatin1String("/api/servers")) {
        response = getServers();
    } else if (isGet && path == QLatin1String("/metrics")) {
        response = getMetrics();
    } else if (isGet && path == QLatin1String("/api/openapi.json")) {
        QFile file(QStringLiteral(":/datacore_gateway/openapi.json"));
        file.open(QIODevice::ReadOnly);
        response = {200, JSON_TYPE, file.readAll(), {}};
    } else if (isGet) {
        response = makeError(404, "not-found", QStringLiteral("There is nothing at this path."));
    }
    finish(connection, response);
}

HttpResponse WebApi::serveFile(const HttpRequest& request, const QString& path) const
{
    const auto found = files.find(path);
    QFile file(found == files.end() ? QString() : found->second);
    if (found == files.end() || !file.open(QIODevice::ReadOnly) || file.size() > MAX_FILE_BYTES) {
        return makeError(404, "not-found", QStringLiteral("There is no such file."));
    }
    HttpResponse response{200, getContentType(found->second), file.readAll(), {}};
    const QByteArray tag =
        '"' + QCryptographicHash::hash(response.body, QCryptographicHash::Sha256).toHex().left(32) +
        '"';
    response.headers = {{"ETag", tag}, {"Cache-Control", "no-cache"}};
    if (request.ifNoneMatch == tag) {
        response.status = 304;
        response.body.clear();
    }
    return response;
}

HttpResponse WebApi::getTree(const Call& call) const
{
    const QString depthText = call.query.queryItemValue(QStringLiteral("depth"));
    const QString form = call.query.queryItemValue(QStringLiteral("form"));
    bool isNumber = true;
    constexpr int ALL = 1000;
    const int depth =
        depthText.isEmpty() || depthText == QLatin1String("all") ? ALL : depthText.toInt(&isNumber);
    if (!isNumber || depth < 0) {
        return makeError(400, "bad-request",
                         QStringLiteral("depth is a number from 0 on, or \"all\"."));
    }
    if (!form.isEmpty() && form != QLatin1String("values") && form != QLatin1String("full")) {
        return makeError(400, "bad-request", QStringLiteral("form is \"values\" or \"full\"."));
    }
    const std::vector<int> nodes = tree.collectBelow(call.path);
    if (nodes.empty() && !call.path.isEmpty()) {
        return makeError(404, "unknown-path", QStringLiteral("There is no such path."));
    }
    if (isOverloaded()) {
        return makeError(503, "too-many", QStringLiteral("Too many answers are still unread."));
    }
    HttpResponse response{200, JSON_TYPE, {}, {}};
    TreeWriter(tree, nodes, form == QLatin1String("values"))
        .append(response.body, call.path, std::min(depth, ALL));
    response.body += '\n';
    return response;
}

HttpResponse WebApi::getServers() const
{
    HttpResponse response{200, JSON_TYPE, "{\"servers\":[", {}};
    bool isFirst = true;
    for (const GatewayServer& server : tree.getServers()) {
        response.body += isFirst ? "{" : ",{";
        appendServer(response.body, server);
        response.body += '}';
        isFirst = false;
    }
    response.body += "]}\n";
    return response;
}

/// Whole trees may be large; their readers slow, and many.
bool WebApi::isOverloaded() const
{
    return http != nullptr && http->getCounts().unsentBytes > MAX_UNSENT_BYTES;
}

HttpResponse WebApi::getMetrics()
{
    if (isOverloaded()) {
        return makeError(503, "too-many", QStringLiteral("Too many answers are still unread."));
    }
    GatewayCounts counts;
    counts.requests = requestCount;
    counts.refusedRequests = guard.getRefusedCount();
    counts.pages = static_cast<quint64>(pages.getPageCount());
    counts.listeners = listeners.size();
    counts.sentMessages = pages.getMessageCount();
    if (http != nullptr) {
        counts.http = http->getCounts();
    }
    return {200, "text/plain; version=0.0.4; charset=utf-8", metrics.write(counts), {}};
}

void WebApi::put(const Call& call)
{
    const QJsonDocument document = parseJson(call.request.body);
    const QJsonObject body = document.object();
    const QString key = QStringLiteral("values");
    const std::optional<QStringList> values = readValues(body[key]);
    if (!values || !body.contains(key)) {
        finish(call.connection,
               makeError(400, "bad-values",
                         QStringLiteral("The body is {\"values\":…}: null, a text, or a list of "
                                        "texts.")));
        return;
    }
    const HttpServer::Connection connection = call.connection;
    tree.write(call.path, *values, [this, connection, path = call.path](const WriteAnswer& answer) {
        HttpResponse response{200, JSON_TYPE, "{", {}};
        if (!answer.isOk()) {
            response = HttpServer::makeError(getStatus(answer), answer.code, answer.text);
            response.body.chop(2); // what stands comes as well
        }
        if (answer.node >= 0) {
            response.body += answer.isOk() ? "\"path\":" : ",\"path\":";
            appendJsonString(response.body, path);
            response.body += ',';
            appendNamedContent(response.body, tree.node(answer.node));
        }
        response.body += "}\n";
        finish(connection, response);
    });
}

void WebApi::listen(const Call& call)
{
    if (listeners.size() >= MAX_LISTENERS) {
        finish(call.connection, makeError(503, "too-many", QStringLiteral("Too many listeners.")));
        return;
    }
    auto listener = std::make_unique<Listener>();
    Listener* raw = listener.get();
    raw->connection = call.connection;
    raw->under = call.query.queryItemValue(QStringLiteral("under"), QUrl::FullyDecoded);
    raw->connection->onSent = [this, raw] {
        raw->isSending = false;
        if (raw->next < raw->round.size()) {
            sendNext(*raw);
        }
    };
    raw->connection->onClosed = [this, raw] {
        listeners.erase(std::find_if(listeners.begin(), listeners.end(),
                                     [raw](const auto& each) { return each.get() == raw; }));
    };
    raw->connection->beginStream(
        {200,
         "text/event-stream",
         {},
         {{"Cache-Control", "no-store"}, {"X-Content-Type-Options", "nosniff"}}});
    raw->connection->send(": changes follow the present values\n\n");
    listeners.push_back(std::move(listener));
    timer.start();
}

void WebApi::updateListeners()
{
    for (const std::unique_ptr<Listener>& listener : listeners) {
        listener->silentMs += EVENT_PERIOD_MS;
        if (!listener->isSending) {
            sendNext(*listener);
        }
    }
    if (listeners.empty()) {
        timer.stop();
    }
}

/// Sends a bounded number of events, the newest values of what has changed since the last round.
void WebApi::sendNext(Listener& listener)
{
    if (listener.next == listener.round.size()) {
        listener.round = tree.collectChangedSince(listener.revision);
        std::reverse(listener.round.begin(), listener.round.end());
        listener.next = 0;
        listener.revision = tree.getRevision();
    }
    QByteArray events;
    for (; listener.next < listener.round.size() && events.size() < EVENT_BYTES; ++listener.next) {
        const GatewayNode& node = tree.node(listener.round[listener.next]);
        if (!listener.under.isEmpty() && !isAtOrBelow(node.path, listener.under)) {
            continue;
        }
        events +=
            node.isPresent ? "event: change\ndata: {\"path\":" : "event: removed\ndata: {\"path\":";
        appendJsonString(events, node.path);
        if (node.isPresent) {
            events += ',';
            appendNamedContent(events, node);
        }
        events += "}\n\n";
    }
    if (events.isEmpty() && listener.silentMs >= SILENCE_MS) {
        events = ": alive\n\n";
    }
    if (!events.isEmpty()) {
        listener.silentMs = 0;
        listener.isSending = true;
        listener.connection->send(events);
    }
}
