// The mirrored trees of all servers in one table. Lives on one thread, which must run a Qt event
// loop.
#pragma once

#include "History.h"
#include "infrastructure/datacore/DatacoreDescription.h"
#include "infrastructure/utility/packets/LinkAddress.h"
#include "infrastructure/utility/packets/TlsSettings.h"

#include <QHash>
#include <QObject>
#include <QStringList>
#include <QVector>

#include <functional>
#include <memory>
#include <vector>

class RawDataPacket;

/// A server to be mirrored. With a name, paths begin with it: "NAME/configCoreRouter/input1".
struct GatewayServerSettings
{
    QString name;
    LinkAddress address;
};

/// One server as it stands.
struct GatewayServer
{
    QString name;
    QString address;
    QString state; ///< "idle", "connecting", "filling", "current" or "waiting"
    QString problem;
    int retryMs = 0; ///< until the next attempt
};

/// One node as the server gave it. What is written here shows only once the server has echoed it.
struct GatewayNode
{
    enum State {
        NeverReceived,
        Current,
        Stale, ///< the link was lost since
    };

    QString path;
    int server = 0;       ///< index in getServers
    int description = -1; ///< index in getDescriptions; -1: not known
    QStringList values;   ///< none for null
    QStringList invalidTexts;
    QStringList inactiveTexts;
    State state = NeverReceived;
    bool isPresent = false; ///< false: the server has it no more
    quint64 revision = 0;   ///< of its last change of any kind
    quint64 listedAt = 0;   ///< revision at which it came, or its description changed
    quint64 contentAt = 0;  ///< revision at which anything but its description changed
};

/// A description, and its JSON text.
struct GatewayDescription
{
    DatacoreDescription is;
    QByteArray json;
};

/// What became of a write.
struct WriteAnswer
{
    /// "ok"; "refused": the server holds something else; "unknown-path"; "not-writable"; "lost":
    /// there is no link, or it broke; "timeout".
    QString code;
    QString text; ///< a sentence, unless ok
    /// As the server holds it; -1 for an unknown path.
    int node = -1;

    bool isOk() const { return code == QLatin1String("ok"); }
};

/// Owns a link for each server. Each path has one index for the life of the process, also if it
/// goes and comes back.
///
/// Each change gives its node the next revision. Whoever shows the nodes keeps the revision up to
/// which it has seen them and asks from time to time what has changed since: the newest values
/// only, so that a slow reader costs nothing.
class GatewayTree : public QObject
{
    Q_OBJECT

public:
    static constexpr int WRITE_TIMEOUT_MS = 5000;
    /// Paths beyond this are left out, with one log line.
    static constexpr int MAX_NODES = 200'000;

    /// So many bytes at most are kept of the course of numbers.
    explicit GatewayTree(std::size_t historyBytes, QObject* parent = nullptr);
    ~GatewayTree() override;

    /// Adds a server and begins to connect; before the first `changed`. A token is sent to it
    /// unless empty.
    void addServer(const GatewayServerSettings& settings, const TlsSettings& tls,
                   const QString& token);

    std::vector<GatewayServer> getServers() const;
    GatewayServer getServer(int index) const;
    int getNodeCount() const { return static_cast<int>(entries.size()); }
    const GatewayNode& node(int index) const { return entries[std::size_t(index)].node; }
    /// The index of a path; -1 if there was never one.
    int find(const QString& path) const { return indices.value(path, -1); }
    /// The indices of the nodes present at and below a path, each followed by those below it; all
    /// for "".
    std::vector<int> collectBelow(const QString& path) const;
    /// They only grow.
    const std::vector<GatewayDescription>& getDescriptions() const { return descriptions; }
    /// The path as the node's server has it.
    QString getServerPath(const GatewayNode& node) const;
    const QString& getServerName(const GatewayNode& node) const;

    quint64 getRevision() const { return revision; }
    /// The indices of all nodes with a later revision, newest first. Those that are no longer
    /// present are among them. Costs the number of them.
    std::vector<int> collectChangedSince(quint64 since) const;

    /// Sends values to the server; none for null. `answer` is called exactly once, perhaps at
    /// once, unless the tree ends before.
    void write(const QString& path, const QStringList& values,
               std::function<void(const WriteAnswer&)> answer);

    /// The course of a node's number during the last hour, oldest first.
    std::vector<History::Point> getHistory(int index, int seconds) const;

    /// How many values have come from the servers.
    quint64 getReceivedCount() const { return receivedCount; }

Q_SIGNALS:
    /// Nodes have changed, come or gone; at most once in a turn of the event loop.
    void changed();
    /// A link's state has changed; index in getServers.
    void serverChanged(int server);
    /// A measurement record has come.
    void recordReceived(int server, std::shared_ptr<RawDataPacket> packet);

private:
    class Server;
    friend class Server;
    struct Entry
    {
        GatewayNode node;
        int older = -1; ///< in the order of revisions
        int newer = -1;
    };

    int enter(int server, const QString& path);
    void touch(int index);
    void announce();

    std::vector<Entry> entries;
    QHash<QString, int> indices;
    mutable std::vector<int> byPath; ///< all indices in order of paths; made on demand
    int newest = -1;
    quint64 revision = 0;
    quint64 receivedCount = 0;
    bool isAnnounced = false;
    bool isFull = false;
    std::vector<GatewayDescription> descriptions;
    QHash<QByteArray, int> descriptionIndices;
    History history;
    std::vector<std::unique_ptr<Server>> servers; ///< gone first
};
