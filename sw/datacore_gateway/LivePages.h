// The WebSocket that a page keeps open: subprotocol "datacore.1", JSON texts. Lives on the tree's
// thread.
#pragma once

#include "GatewayTree.h"
#include "HttpServer.h"
#include "RecordJson.h"

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>

#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <vector>

class Guard;

/// "nodes", "removed" and "changes" messages about what has happened to nodes since a revision,
/// with the values that they have when a message is made. The last "nodes" message says so.
class ChangeMessages
{
public:
    /// `withOld`: with the values of nodes that have not changed.
    ChangeMessages(const GatewayTree& gatewayTree, quint64 since, bool withOld = false);

    /// Leaves out "changes" of other nodes.
    void keepChangesIf(const std::function<bool(const GatewayNode&)>& isWanted);
    std::size_t getSize() const { return nodes.size(); }
    bool isAtEnd() const { return next == nodes.size(); }
    /// The next message, of LivePages::ROWS_A_MESSAGE nodes at most.
    QByteArray takeNext();

private:
    const GatewayTree& tree;
    std::vector<int> nodes; ///< oldest first: those listed, then those removed, then changes
    std::size_t listedEnd = 0;
    std::size_t removedEnd = 0;
    std::size_t next = 0;
};

/// Keeps all pages up to date: each at most every PERIOD_MS, with the newest values, and only when
/// it has taken what it was sent before. What many pages get is built once.
class LivePages : public QObject
{
    Q_OBJECT

public:
    static constexpr int PERIOD_MS = 50;
    static constexpr int RECORD_PERIOD_MS = 100;
    static constexpr int MAX_PAGES = 64;
    static constexpr std::size_t ROWS_A_MESSAGE = 500;
    static constexpr std::size_t SHARED_ROWS =
        4000;                                    ///< more are written for each page, as it reads
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
    using Messages = std::deque<QByteArray>;
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
    std::unique_ptr<ChangeMessages> takeChanges(quint64 since, Messages& unsent);
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
