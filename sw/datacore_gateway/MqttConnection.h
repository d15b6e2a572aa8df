// One connection to a broker of MQTT, from the attempt to its end.
#pragma once

#include "infrastructure/utility/packets/LinkAddress.h"

#include <QByteArray>
#include <QObject>
#include <QSemaphore>
#include <QString>

#include <atomic>
#include <functional>
#include <memory>
#include <thread>

struct mosquitto;

/// Where a broker is, and who it is told that this is.
struct MqttBroker
{
    LinkAddress address; ///< Tcp or Tls
    QString user;        ///< empty for none
    QString password;
    // PEM files, for TLS alone.
    QString authorities; ///< that have signed the broker's certificate; empty for the system's
    QString certificate; ///< that this shows, with its key; empty for none
    QString key;
};

/// A message that has come. As long as a copy of `slot` lives, it counts as being worked on.
struct MqttMessage
{
    QByteArray topic;
    QByteArray payload; ///< empty if it is larger than MqttConnection::MAX_PAYLOAD_BYTES
    bool isRetained = false;
    std::shared_ptr<void> slot;
};

/// Speaks MQTT 3.1.1 at QoS 1 in a clean session, by libmosquitto in a thread of its own: the
/// library looks a broker's name up while its caller waits. Whoever makes this is told of what
/// happens by functions that are called on the maker's thread, which must run a Qt event loop.
class MqttConnection
{
public:
    /// Messages that the broker has not acknowledged; the publisher keeps the rest to itself.
    static constexpr int WINDOW = 256;
    /// Messages that have come and are being worked on. The broker keeps the rest.
    static constexpr int MAX_MESSAGES = 256;
    static constexpr int MAX_PAYLOAD_BYTES = 64 << 10;

    struct Events
    {
        std::function<void()> connected;
        std::function<void(const QString& reason)> lost; ///< the last event
        std::function<void()> hasRoom;                   ///< half the window again
        std::function<void(const MqttMessage&)> received;
    };

    /// Begins to connect. When this ends without a word, the broker publishes "offline" at the
    /// topic of the will, retained.
    MqttConnection(const MqttBroker& broker, const QByteArray& willTopic, Events eventHandlers);
    /// Closes the socket without a word. Waits for the thread, which may be looking up a name. Not
    /// to be called from a handler.
    ~MqttConnection();
    Q_DISABLE_COPY(MqttConnection)

    bool hasRoom() const { return inFlight < WINDOW; }
    /// False if the library refuses it, as for text that is not UTF-8.
    bool publish(const QByteArray& topic, const QByteArray& payload, bool isRetained);
    void subscribe(const QByteArray& filter);

private:
    struct Callbacks;

    void run();
    bool prepare();
    void post(std::function<void()> event);

    const MqttBroker broker;
    const QByteArray will;
    const Events events;
    mosquitto* client;
    QObject context; ///< of posted events, which end with it
    std::shared_ptr<QSemaphore> freeSlots = std::make_shared<QSemaphore>(MAX_MESSAGES);
    std::atomic<int> inFlight{0};
    std::atomic<bool> isEnding{false};
    QString refusal;   ///< the broker's; of the thread
    bool isUp = false; ///< of the thread
    std::thread thread;
};
