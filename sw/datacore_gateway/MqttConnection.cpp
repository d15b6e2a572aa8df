#include "MqttConnection.h"

#include <QElapsedTimer>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <mosquitto.h>

namespace {

constexpr int KEEP_ALIVE_S = 10;
constexpr int LOOP_MS = 200;
constexpr qint64 CONNECT_MS = 10'000;
constexpr int QOS = 1;
constexpr const char* SYSTEM_AUTHORITIES = "/etc/ssl/certs";

/// Null for an empty text, as the library has it.
const char* orNull(const QByteArray& text)
{
    return text.isEmpty() ? nullptr : text.constData();
}

QString explain(int result)
{
    return QString::fromLocal8Bit(result == MOSQ_ERR_ERRNO ? std::strerror(errno)
                                                           : mosquitto_strerror(result));
}

} // namespace

/// What the library calls, on the connection's thread.
struct MqttConnection::Callbacks
{
    static MqttConnection& self(void* object) { return *static_cast<MqttConnection*>(object); }

    static void onConnect(mosquitto*, void* object, int result)
    {
        if (result != 0) {
            self(object).refusal = QString::fromLatin1(mosquitto_connack_string(result));
            return;
        }
        self(object).isUp = true;
        self(object).post(self(object).events.connected);
    }

    static void onPublish(mosquitto*, void* object, int)
    {
        if (self(object).inFlight.fetch_sub(1) == WINDOW / 2 + 1) {
            self(object).post(self(object).events.hasRoom);
        }
    }

    static void onMessage(mosquitto*, void* object, const mosquitto_message* message)
    {
        MqttConnection& connection = self(object);
        if (connection.isEnding) {
            return; // nobody makes room any more
        }
        connection.freeSlots->acquire();
        const std::shared_ptr<QSemaphore> freeSlots = connection.freeSlots;
        const std::shared_ptr<void> slot(nullptr, [freeSlots](void*) { freeSlots->release(); });
        const bool fits = message->payloadlen <= MAX_PAYLOAD_BYTES;
        const MqttMessage copy{
            QByteArray(message->topic),
            QByteArray(static_cast<const char*>(message->payload), fits ? message->payloadlen : 0),
            message->retain, slot};
        connection.post([&connection, copy] { connection.events.received(copy); });
    }
};

MqttConnection::MqttConnection(const MqttBroker& mqttBroker, const QByteArray& willTopic,
                               Events eventHandlers)
    : broker(mqttBroker)
    , will(willTopic)
    , events(std::move(eventHandlers))
{
    static const int initialised = mosquitto_lib_init();
    Q_UNUSED(initialised)
    constexpr bool isCleanSession = true;
    client = mosquitto_new(nullptr, isCleanSession, this);
    Q_CHECK_PTR(client);
    thread = std::thread([this] { run(); });
}

MqttConnection::~MqttConnection()
{
    isEnding = true;
    freeSlots->release(MAX_MESSAGES); // for a message that waits
    thread.join();
    mosquitto_destroy(client);
}

bool MqttConnection::publish(const QByteArray& topic, const QByteArray& payload, bool isRetained)
{
    ++inFlight;
    const int result = mosquitto_publish(client, nullptr, topic.constData(), payload.size(),
                                         payload.constData(), QOS, isRetained);
    const bool isQueued = result == MOSQ_ERR_SUCCESS || result == MOSQ_ERR_NO_CONN ||
                          result == MOSQ_ERR_CONN_LOST; // then `lost` comes
    if (!isQueued) {
        --inFlight;
    }
    return isQueued;
}

void MqttConnection::subscribe(const QByteArray& filter)
{
    mosquitto_subscribe(client, nullptr, filter.constData(), QOS);
}

/// The thread that does it also lets go of what the event holds.
void MqttConnection::post(std::function<void()> event)
{
    QMetaObject::invokeMethod(
        &context,
        [event = std::move(event)]() mutable {
            const std::function<void()> own = std::move(event);
            own();
        },
        Qt::QueuedConnection);
}

/// Tells the library all but whom to connect to.
bool MqttConnection::prepare()
{
    constexpr bool isRetained = true;
    static constexpr char offline[] = "offline";
    mosquitto_threaded_set(client, true);
    mosquitto_connect_callback_set(client, Callbacks::onConnect);
    mosquitto_publish_callback_set(client, Callbacks::onPublish);
    mosquitto_message_callback_set(client, Callbacks::onMessage);
    mosquitto_max_inflight_messages_set(client, WINDOW);
    mosquitto_int_option(client, MOSQ_OPT_TCP_NODELAY, 1);
    int result =
        mosquitto_will_set(client, will.constData(), sizeof offline - 1, offline, QOS, isRetained);
    if (result == MOSQ_ERR_SUCCESS && !broker.user.isEmpty()) {
        result = mosquitto_username_pw_set(client, broker.user.toUtf8().constData(),
                                           broker.password.toUtf8().constData());
    }
    if (result == MOSQ_ERR_SUCCESS && broker.address.way == LinkAddress::Way::Tls) {
        const QByteArray authorities = broker.authorities.toLocal8Bit();
        const QByteArray certificate = broker.certificate.toLocal8Bit();
        const QByteArray key = broker.key.toLocal8Bit();
        result = mosquitto_tls_set(client, orNull(authorities),
                                   authorities.isEmpty() ? SYSTEM_AUTHORITIES : nullptr,
                                   orNull(certificate), orNull(key), nullptr);
    }
    if (result != MOSQ_ERR_SUCCESS) {
        refusal = explain(result);
    }
    return result == MOSQ_ERR_SUCCESS;
}

void MqttConnection::run()
{
    sigset_t
        all; // signals are for other threads, and a write to a closed socket is no reason to end
    sigfillset(&all);
    pthread_sigmask(SIG_BLOCK, &all, nullptr);
    QElapsedTimer clock;
    clock.start();
    int result = MOSQ_ERR_INVAL;
    if (prepare()) {
        result = mosquitto_connect_async(client, broker.address.host.toUtf8().constData(),
                                         broker.address.port, KEEP_ALIVE_S);
    }
    while (result == MOSQ_ERR_SUCCESS && !isEnding) {
        result = mosquitto_loop(client, LOOP_MS, 1);
        if (!isUp && result == MOSQ_ERR_SUCCESS && clock.elapsed() > CONNECT_MS) {
            refusal = QStringLiteral("it does not answer");
            break;
        }
    }
    const QString reason = refusal.isEmpty() ? explain(result) : refusal;
    post([this, reason] { events.lost(reason); });
}
