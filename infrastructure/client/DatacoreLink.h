// A client that stays connected: link and mirrors of one server. Lives on one thread, which must
// run a Qt event loop.
#pragma once

#include "infrastructure/client/VelClientDatacoreManager.h"
#include "infrastructure/utility/packets/LinkAddress.h"
#include "infrastructure/utility/packets/NetworkConnection.h"
#include "infrastructure/utility/packets/RawDataPacketReceiverInterfaceBase.h"

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>

/// How a DatacoreLink waits. Pauses between attempts grow, so that a server that is down, or that
/// drops its clients, is not called upon without end; chance spreads the clients of one server.
struct DatacoreLinkTimes
{
    int firstPauseMs = 250;
    double factor = 2.0; ///< each pause beside the one before; below 1 counts as 1
    int longestPauseMs = 30000;
    double jitter = 0.25;  ///< the share of a pause that chance may take away, 0 to 1
    int patienceMs = 5000; ///< for connecting, and for the server's names once connected

    /// The pause after a number of failures, 1 or more; `chance` is from 0 to 1. At least 1 ms.
    int getPauseMs(int failures, double chance) const;
};

/// Connects to a server, asks for values, keeps the mirrors through losses of the link, and
/// connects again. Its packets are not seen by other links of the process.
///
///     start -> Connecting -> Filling -> Current
///                  ^  \         |          |
///                  |   v        v          v
///                  +--- Waiting <----------+     stop -> Idle, from anywhere
///
/// Pauses begin anew after a link that was current for longer than the last pause.
/// What was lost and what has changed meanwhile is told by the registry. Delete this object with
/// deleteLater in slots of its own, its registry's or its mirrors' signals.
class DatacoreLink : public QObject
{
    Q_OBJECT

public:
    /// What the link is doing.
    enum class State {
        Idle,       ///< not started, or stopped
        Connecting, ///< being made
        Filling,    ///< up; values are still on their way
        Current,    ///< up and filled
        Waiting,    ///< for the next attempt; see getRemainingPauseMs and getLastProblem
    };
    Q_ENUM(State)

    explicit DatacoreLink(const DatacoreLinkTimes& linkTimes = DatacoreLinkTimes(),
                          QObject* parent = nullptr);
    ~DatacoreLink() override;

    /// The values to ask for from the next link on; none for all of them. Other mirrors get a value
    /// when it changes.
    void setWantedPaths(const QStringList& paths) { wantedPaths = paths; }
    /// Begins to connect, at once. An existing link is dropped; the mirrors are kept, and filled
    /// with what the new server has.
    void start(const LinkAddress& serverAddress);
    /// Drops the link. The mirrors stay, as stale.
    void stop();
    /// Ends a pause.
    void reconnectNow();

    State getState() const { return state; }
    const LinkAddress& getAddress() const { return address; }
    /// Why the last attempt or link failed; empty if none has.
    const QString& getLastProblem() const { return lastProblem; }
    /// Milliseconds until the next attempt; 0 unless waiting.
    int getRemainingPauseMs() const;

    /// The connection, for what it needs to know before it connects.
    NetworkConnection& getConnection() { return connection; }
    /// What fills the mirrors.
    VelClientDatacoreManager& getManager() { return manager; }
    /// The mirrors. They are kept when the link is lost; see ClientDatacoreRegistry.
    ClientDatacoreRegistry& getRegistry() { return manager.getRegistry(); }

Q_SIGNALS:
    /// The link is up, and nothing was asked for yet: for packets that must come first.
    void linkIsUp();
    /// Emitted after the change.
    void stateChanged(DatacoreLink::State now);

protected:
    /// Has onAlarm called once after so many milliseconds, in place of any earlier alarm; never if
    /// negative.
    virtual void setAlarm(int milliseconds);
    /// A clock that never jumps.
    virtual qint64 getNowMs() const;
    /// What setAlarm was for is due.
    void onAlarm();

private:
    void attempt();
    void onConnected();
    void onLinkLost();
    void onFilled();
    void fail(const QString& problem);
    void dropLink();
    void enter(State newState, int alarmMs);

    DatacoreLinkTimes times;
    RawDataPacketReceivers receivers;
    NetworkConnection connection{receivers};
    VelClientDatacoreManager manager{connection};
    LinkAddress address;
    QStringList wantedPaths;
    QString lastProblem;
    QTimer alarm;
    QElapsedTimer clock;
    State state = State::Idle;
    bool isDropping = false; ///< the link's end is being told of
    int failures = 0;        ///< since pauses began anew
    int pauseMs = 0;         ///< the last one
    qint64 enteredAtMs = 0;  ///< the present state
};
