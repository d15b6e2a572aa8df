// The WebSocket that a page keeps open: subprotocol "datacore.1", JSON texts. Lives on the tree's
// thread.
#pragma once

#include "GatewayTree.h"
#include "HttpServer.h"
#include "RecordJson.h"

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>

#include <map>
#include <memory>
#include <vector>

class Guard;

/// Keeps all pages up to date: each at most every PERIOD_MS, with the newest values, and only when
/// it has taken what it was sent before. What many pages get is built once.
class LivePages : public QObject
{
    Q_OBJECT

public:
    static constexpr int PERIOD_MS = 50;
    static constexpr int RECORD_PERIOD_MS = 100;
    static constexpr int MAX_PAGES = 64;
    static constexpr int ROWS_A_MESSAGE = 500;
    static constexpr int MESSAGES_A_SECOND = 50; ///< from a page
    static constexpr int MESSAGE_BURST = 1000;
    static constexpr int MAX_OPEN_WRITES = 256;        ///< of a page
    static constexpr int MAX_UNSENT_ANSWERS = 4 << 20; ///< bytes that a page leaves unread
    static constexpr int TOKEN_WAIT_MS = 5000;         ///< for one that may do nothing without

    /// The subprotocol, as RFC 6455 calls it.
    static QByteArray PROTOCOL() { return QByteArrayLiteral("datacore.1"); }

    LivePages(GatewayTree& gatewayTree, Guard& accessGuard);
    ~LivePages() override;

    /// Answers a request for a WebSocket that the guard has let through.
    void open(const HttpRequest& request, const HttpServer::Connection& connection);

    int getPageCount() const { return static_cast<int>(pages.size()); }
    quint64 getMessageCount() const { return messageCount; }

private:
    class Page;
    using Messages = std::vector<QByteArray>;
    struct Portion
    {
        quint64 since;
        Messages messages;
    };
    struct Record
    {
        int server;
        QString name;
        qint64 ms;
        quint64 number;     ///< of all that have come
        QByteArray message; ///< made on demand
    };

    void schedule();
    void tick();
    void close(Page& page);
    const Messages& getChanges(quint64 since);
    QByteArray makeHello(bool mayWrite) const;
    QByteArray makeServer(int server) const;
    QByteArray makeDescriptions(std::size_t from) const;
    void keepRecord(int server, const std::shared_ptr<RawDataPacket>& packet);

    GatewayTree& tree;
    Guard& guard;
    std::map<int, RecordJson> recordJson; ///< by server
    std::vector<std::unique_ptr<Page>> pages;
    std::vector<Record> records; ///< the newest of each kind
    quint64 recordCount = 0;
    QTimer timer;
    QElapsedTimer clock;
    qint64 tickedAtMs = 0;
    quint64 portionsAt = 0;        ///< the revision up to which the following go
    std::vector<Portion> portions; ///< what pages that see everything lack
    quint64 messageCount = 0;
};

/// Appends "nodes", "removed" and "changes" messages: what has happened to these nodes, newest
/// first, since a revision. The last "nodes" message says so.
void appendChanges(std::vector<QByteArray>& messages, const GatewayTree& tree,
                   const std::vector<int>& nodes, quint64 since, qint64 nowMs);
