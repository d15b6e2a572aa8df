// The tree of a server as retained topics at a broker of MQTT. Lives on the tree's thread.
#pragma once

#include "GatewayTree.h"
#include "MqttConnection.h"

#include <QElapsedTimer>

#include <memory>
#include <optional>
#include <vector>

class QCommandLineParser;

struct MqttSettings
{
    MqttBroker broker;
    QByteArray root;
    bool mayWrite = false;
};

/// Adds --mqtt, --mqtt-root, --mqtt-user, --mqtt-password-file, --mqtt-ca, --mqtt-certificate and
/// --mqtt-key to a program's options.
void addMqttOptions(QCommandLineParser& parser);
/// What these options say; nothing without --mqtt. Options that don't fit together, and files that
/// can't be used, give the reason in `whatIsWrong`.
std::optional<MqttSettings> readMqttOptions(const QCommandLineParser& parser, QString& whatIsWrong);

/// Keeps a topic for each node of one server, and one that says whether they are kept:
///
///     ROOT/PATH             {"values":…,"invalid":[…],"inactive":[…],"state":"current"}
///     ROOT/NAME/$available  "online" or "offline"; ROOT/$available for a server without a name
///     ROOT/PATH/set         takes {"values":…,"answer":"TOPIC","id":"TEXT"}
///     TOPIC                 gets {"ok":true,"path":…,"id":…,"values":…,"invalid":[…],…} or
///                           {"ok":false,"code":…,"text":…,…}, with what stands if the node is
///                           known
///
/// PATH is escaped by MqttTopics. The broker gets each node's newest value: what changes faster
/// than it takes is left out, and after a loss of the connection all nodes are published again. A
/// node that the server has no more has its topic cleared. "online" comes behind all values.
class MqttBridge : public QObject
{
    Q_OBJECT

public:
    /// `server` is an index in the tree's servers. Begins to connect, and goes on until this ends.
    MqttBridge(GatewayTree& gatewayTree, int serverIndex, MqttSettings mqttSettings);
    ~MqttBridge() override;

    bool isConnected() const { return isUp; }
    quint64 getPublishedCount() const { return publishedCount; }

private:
    void connectToBroker();
    void onConnected();
    void onLost(const QString& reason);
    void publishChanges();
    void publishNode(int index);
    void publishAvailability(bool isOnline);
    void subscribeTo(int levels);
    void takeWrite(const MqttMessage& message);
    void answer(const QString& topic, const QString& id, const QString& path,
                const WriteAnswer& outcome);

    GatewayTree& tree;
    const int server;
    const MqttSettings settings;
    const QByteArray prefix; ///< of the server's topics
    std::unique_ptr<MqttConnection> connection;
    bool isUp = false;
    std::vector<quint64> published; ///< revision of each node's content that the broker has
    std::vector<int> round;         ///< nodes to be published, oldest first
    std::size_t next = 0;           ///< in the round
    std::optional<quint64> seen;    ///< revision of the tree when the round was made
    bool wasCurrent = false;        ///< the link to the server, then
    QByteArray availability;        ///< as published
    int subscribedLevels = 0;
    int failures = 0;
    int pauseMs = 0;
    QString lastReason;
    QElapsedTimer upSince;
    quint64 publishedCount = 0;
};
