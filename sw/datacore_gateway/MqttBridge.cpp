#include "MqttBridge.h"

#include "infrastructure/client/DatacoreLink.h"
#include "infrastructure/datacore/JsonString.h"
#include "infrastructure/utility/Log.h"
#include "infrastructure/utility/packets/TlsSettings.h"
#include "infrastructure/utility/ParseJson.h"
#include "MqttTopics.h"
#include "NodeJson.h"

#include <QCommandLineParser>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QPointer>
#include <QRandomGenerator>
#include <QTimer>

#include <algorithm>

namespace {

constexpr quint16 MQTT_PORT = 1883;
constexpr quint16 MQTT_TLS_PORT = 8883;
constexpr int MAX_ID_LENGTH = 200;
constexpr int MAX_ROOT_BYTES = 200;
constexpr bool RETAINED = true;
const QByteArray SET = QByteArrayLiteral("/set");

QByteArray makePrefix(const QByteArray& root, const QString& serverName)
{
    return serverName.isEmpty() ? root : root + '/' + MqttTopics::fromPath(serverName);
}

/// The first line of the file.
std::optional<QString> readPassword(const QString& path)
{
    QFile file(path);
    constexpr qint64 longest = 1024;
    if (!file.open(QIODevice::ReadOnly)) {
        return std::nullopt;
    }
    QByteArray line = file.readLine(longest);
    while (line.endsWith('\n') || line.endsWith('\r')) {
        line.chop(1);
    }
    return QString::fromUtf8(line);
}

} // namespace

void addMqttOptions(QCommandLineParser& parser)
{
    const auto file = QStringLiteral("file");
    parser.addOptions({
        {QStringLiteral("mqtt"),
         QStringLiteral("Broker of MQTT that gets a topic for each node: HOST[:PORT], or "
                        "tls://HOST[:PORT]."),
         QStringLiteral("address")},
        {QStringLiteral("mqtt-root"), QStringLiteral("Topic that these topics are below."),
         QStringLiteral("topic"), QStringLiteral("datacore")},
        {QStringLiteral("mqtt-user"), QStringLiteral("Name that the broker knows."),
         QStringLiteral("name")},
        {QStringLiteral("mqtt-password-file"),
         QStringLiteral("File whose first line is the name's password."), file},
        {QStringLiteral("mqtt-ca"),
         QStringLiteral("Authorities of the broker's certificate; speaks TLS."), file},
        {QStringLiteral("mqtt-certificate"), QStringLiteral("Certificate to show the broker."),
         file},
        {QStringLiteral("mqtt-key"), QStringLiteral("Its private key."), file},
    });
}

std::optional<MqttSettings> readMqttOptions(const QCommandLineParser& parser, QString& whatIsWrong)
{
    const auto valueOf = [&parser](const char* name) { return parser.value(QLatin1String(name)); };
    MqttSettings settings;
    settings.root = valueOf("mqtt-root").toUtf8();
    MqttBroker& broker = settings.broker;
    broker.user = valueOf("mqtt-user");
    broker.authorities = valueOf("mqtt-ca");
    broker.certificate = valueOf("mqtt-certificate");
    broker.key = valueOf("mqtt-key");
    const QString text = valueOf("mqtt");
    const QString passwordFile = valueOf("mqtt-password-file");
    if (text.isEmpty()) {
        if (parser.isSet(QStringLiteral("mqtt"))) {
            whatIsWrong = QStringLiteral("--mqtt needs the address of a broker");
        }
        return std::nullopt;
    }

    const bool isTls = text.startsWith(QLatin1String("tls:")) || !broker.authorities.isEmpty();
    const auto address = LinkAddress::parse(text, isTls ? MQTT_TLS_PORT : MQTT_PORT, &whatIsWrong);
    if (!address) {
        return std::nullopt;
    }
    broker.address = *address;
    if (address->way == LinkAddress::Way::Local) {
        whatIsWrong = QStringLiteral("--mqtt \"%1\": a broker has a host").arg(text);
    } else if (!MqttTopics::isPublishable(settings.root) || settings.root.startsWith('/') ||
               settings.root.endsWith('/') || settings.root.size() > MAX_ROOT_BYTES) {
        whatIsWrong = QStringLiteral("--mqtt-root \"%1\": a topic without wildcards is needed")
                          .arg(valueOf("mqtt-root"));
    } else if (broker.certificate.isEmpty() != broker.key.isEmpty()) {
        whatIsWrong = QStringLiteral("--mqtt-certificate and --mqtt-key go together");
    } else if (!isTls && !broker.key.isEmpty()) {
        whatIsWrong = QStringLiteral("--mqtt-key is for TLS: --mqtt-ca or --mqtt tls://...");
    } else if (!passwordFile.isEmpty() && broker.user.isEmpty()) {
        whatIsWrong = QStringLiteral("--mqtt-password-file needs --mqtt-user");
    } else if (isTls) {
        broker.address.way = LinkAddress::Way::Tls;
        TlsSettings::load({broker.certificate, broker.key, QByteArray(), broker.authorities},
                          &whatIsWrong);
    }
    if (whatIsWrong.isEmpty() && !passwordFile.isEmpty()) {
        if (const std::optional<QString> password = readPassword(passwordFile)) {
            broker.password = *password;
        } else {
            whatIsWrong = QStringLiteral("%1 can't be read").arg(passwordFile);
        }
    }
    return whatIsWrong.isEmpty() ? std::optional<MqttSettings>(settings) : std::nullopt;
}

MqttBridge::MqttBridge(GatewayTree& gatewayTree, int serverIndex, MqttSettings mqttSettings)
    : tree(gatewayTree)
    , server(serverIndex)
    , settings(std::move(mqttSettings))
    , prefix(makePrefix(settings.root, tree.getServer(serverIndex).name))
{
    connect(&tree, &GatewayTree::changed, this, &MqttBridge::publishChanges);
    connect(&tree, &GatewayTree::serverChanged, this, &MqttBridge::publishChanges);
    connectToBroker();
}

MqttBridge::~MqttBridge() = default;

void MqttBridge::connectToBroker()
{
    connection.reset();
    connection = std::make_unique<MqttConnection>(
        settings.broker, prefix + "/$available",
        MqttConnection::Events{[this] { onConnected(); },
                               [this](const QString& reason) { onLost(reason); },
                               [this] { publishChanges(); },
                               [this](const MqttMessage& message) { takeWrite(message); }});
}

/// Everything is published anew: a broker may have lost what it had, and of what was on its way
/// nobody knows whether it has come.
void MqttBridge::onConnected()
{
    VELLOG_INFO() << "The broker of MQTT at " << settings.broker.address.toString()
                  << " has the topics below " << QString::fromUtf8(prefix);
    isUp = true;
    upSince.start();
    lastReason.clear();
    published.clear();
    round.clear();
    next = 0;
    seen.reset();
    availability.clear();
    subscribedLevels = 0;
    subscribeTo(MqttTopics::countLevels(prefix) + 1);
    publishChanges();
}

void MqttBridge::onLost(const QString& reason)
{
    failures = isUp && upSince.elapsed() > pauseMs ? 1 : failures + 1;
    isUp = false;
    if (reason != lastReason) {
        VELLOG_WARN() << "No broker of MQTT at " << settings.broker.address.toString() << ": "
                      << reason;
        lastReason = reason;
    }
    pauseMs =
        DatacoreLinkTimes().getPauseMs(failures, QRandomGenerator::global()->generateDouble());
    QTimer::singleShot(pauseMs, this, [this] { connectToBroker(); });
}

/// Goes round after round through what has changed, oldest first, while the broker takes it. A node
/// that changes again meanwhile does not keep the others waiting. Behind each round goes whether
/// the link to the server was current when it began.
void MqttBridge::publishChanges()
{
    const bool isCurrent = tree.getServer(server).state == QLatin1String("current");
    while (isUp && connection->hasRoom()) {
        if (next < round.size()) {
            publishNode(round[next++]);
            continue;
        }
        if (seen) {
            publishAvailability(wasCurrent);
        }
        if (seen == tree.getRevision() && wasCurrent == isCurrent) {
            return;
        }
        round = tree.collectChangedSince(seen.value_or(0));
        std::reverse(round.begin(), round.end());
        next = 0;
        seen = tree.getRevision();
        wasCurrent = isCurrent;
    }
}

void MqttBridge::publishNode(int index)
{
    const GatewayNode& node = tree.node(index);
    if (node.server != server) {
        return;
    }
    published.resize(std::max(published.size(), static_cast<std::size_t>(index) + 1));
    quint64& revision = published[static_cast<std::size_t>(index)];
    if (revision == node.contentAt ||
        (node.isPresent && node.state == GatewayNode::NeverReceived)) {
        return;
    }
    const bool isFirst = revision == 0;
    revision = node.contentAt;
    const QByteArray topic = settings.root + '/' + MqttTopics::fromPath(node.path);
    QByteArray json;
    if (node.isPresent) {
        json.append('{');
        appendNamedContent(json, node);
        json.append('}');
    }
    if (MqttTopics::isPublishable(topic) && connection->publish(topic, json, RETAINED)) {
        ++publishedCount;
        subscribeTo(MqttTopics::countLevels(topic));
    } else if (isFirst) {
        VELLOG_ERR() << "No topic of MQTT can have the path " << node.path.left(MAX_ID_LENGTH);
    }
}

void MqttBridge::publishAvailability(bool isOnline)
{
    const QByteArray text = isOnline ? QByteArrayLiteral("online") : QByteArrayLiteral("offline");
    if (text != availability) {
        availability = text;
        connection->publish(prefix + "/$available", text, RETAINED);
    }
}

/// Asks for the writes to all topics of up to so many levels. A filter that ends in "set" can't
/// have a wildcard for any number of levels before it.
void MqttBridge::subscribeTo(int levels)
{
    const int least = MqttTopics::countLevels(prefix) + 1;
    for (int level = std::max(least, subscribedLevels + 1); level <= levels; ++level) {
        connection->subscribe(prefix + QByteArrayLiteral("/+").repeated(level - least + 1) + SET);
        subscribedLevels = level;
    }
}

void MqttBridge::takeWrite(const MqttMessage& message)
{
    const QJsonObject json = parseJson(message.payload).object();
    const QString topic = json[QLatin1String("answer")].toString();
    const QString id = json[QLatin1String("id")].toString().left(MAX_ID_LENGTH);
    const QByteArray levels = message.topic.mid(settings.root.size() + 1);
    const QString path = MqttTopics::toPath(levels.left(levels.size() - SET.size()));
    const auto values = json.contains(QLatin1String("values"))
                            ? readValues(json[QLatin1String("values")])
                            : std::nullopt;
    const auto refuse = [&](const char* code, const char* text) {
        answer(topic, id, path,
               {QString::fromLatin1(code), QString::fromLatin1(text), tree.find(path)});
    };
    if (message.isRetained) {
        refuse("retained", "A write must not be retained: it would be made again later.");
    } else if (!values) {
        refuse("bad-request", "An object with \"values\" is needed: null, a text or an array of "
                              "texts.");
    } else if (!settings.mayWrite) {
        refuse("not-allowed", "The gateway was started without --allow-writes.");
    } else {
        tree.write(path, *values,
                   [self = QPointer<MqttBridge>(this), topic, id, path,
                    slot = message.slot](const WriteAnswer& outcome) {
                       if (self) {
                           self->answer(topic, id, path, outcome);
                       }
                   });
    }
}

void MqttBridge::answer(const QString& topic, const QString& id, const QString& path,
                        const WriteAnswer& outcome)
{
    const QByteArray bytes = topic.toUtf8();
    if (!MqttTopics::isPublishable(bytes) || bytes == settings.root ||
        bytes.startsWith(settings.root + '/')) {
        if (!outcome.isOk() || !topic.isEmpty()) {
            VELLOG_WARN() << "A write by MQTT to " << path.left(MAX_ID_LENGTH) << " is answered \""
                          << outcome.code << "\", but its answer topic is no good";
        }
        return;
    }
    QByteArray json = outcome.isOk() ? "{\"ok\":true,\"path\":" : "{\"ok\":false,\"path\":";
    appendJsonString(json, path);
    if (!id.isEmpty()) {
        json.append(",\"id\":");
        appendJsonString(json, id);
    }
    if (!outcome.isOk()) {
        json.append(",\"code\":");
        appendJsonString(json, outcome.code);
        json.append(",\"text\":");
        appendJsonString(json, outcome.text);
    }
    if (outcome.node >= 0) {
        json.append(',');
        appendNamedContent(json, tree.node(outcome.node));
    }
    json.append('}');
    if (isUp) {
        connection->publish(bytes, json, !RETAINED);
    }
}
