#include "infrastructure/client/DatacoreLink.h"

#include "infrastructure/utility/Log.h"
#include "infrastructure/utility/packets/DatacorePathListPacket.h"

#include <QRandomGenerator>
#include <QTcpSocket>

#include <algorithm>
#include <cmath>
#include <memory>

int DatacoreLinkTimes::getPauseMs(int failures, double chance) const
{
    const double grown = std::max(firstPauseMs, 1) * std::pow(std::max(factor, 1.0), failures - 1);
    const double longest = std::min<double>(grown, longestPauseMs);
    const double taken = std::clamp(jitter, 0.0, 1.0) * chance;
    return static_cast<int>(std::max(longest * (1 - taken), 1.0));
}

DatacoreLink::DatacoreLink(const DatacoreLinkTimes& linkTimes, QObject* parent)
    : QObject(parent)
    , times(linkTimes)
{
    clock.start();
    alarm.setSingleShot(true);
    connect(&alarm, &QTimer::timeout, this, &DatacoreLink::onAlarm);
    connect(&connection, &NetworkConnection::connectedToHost, this, &DatacoreLink::onConnected);
    connect(&connection, &NetworkConnection::connectingFailed, this, [this](const QString& reason) {
        if (state == State::Connecting) {
            fail(reason);
        }
    });
    connect(&connection, &NetworkConnection::disconnectedFromHost, this, &DatacoreLink::onLinkLost);
    connect(&getRegistry(), &ClientDatacoreRegistry::mirrorsFilled, this, &DatacoreLink::onFilled);
    getRegistry().setKeepMirrors(true);
}

DatacoreLink::~DatacoreLink() = default;

void DatacoreLink::start(const LinkAddress& serverAddress)
{
    address = serverAddress;
    failures = 0;
    attempt();
}

void DatacoreLink::stop()
{
    state = State::Idle;
    dropLink();
    if (state == State::Idle) { // a slot may have started it anew
        enter(State::Idle, -1);
    }
}

void DatacoreLink::reconnectNow()
{
    if (state == State::Waiting) {
        attempt();
    }
}

int DatacoreLink::getRemainingPauseMs() const
{
    const qint64 remaining = enteredAtMs + pauseMs - getNowMs();
    return state == State::Waiting ? static_cast<int>(std::max<qint64>(remaining, 0)) : 0;
}

void DatacoreLink::attempt()
{
    enter(State::Connecting, times.patienceMs);
    if (state == State::Connecting) {
        dropLink();
    }
}

void DatacoreLink::onConnected()
{
    if (state != State::Connecting) {
        return;
    }
    getRegistry().setAwaitedPaths(wantedPaths);
    enter(State::Filling, times.patienceMs);
    if (state == State::Filling) {
        Q_EMIT linkIsUp();
    }
    if (state == State::Filling) {
        connection.acceptPacket(
            DatacorePathListPacket(connection.getLocalIdentifier(), wantedPaths));
    }
}

void DatacoreLink::onFilled()
{
    if (state == State::Filling) {
        enter(State::Current, -1);
    }
}

void DatacoreLink::onLinkLost()
{
    if (state == State::Current && getNowMs() - enteredAtMs > pauseMs) {
        failures = 0;
    }
    if (state == State::Current || state == State::Filling) {
        fail(QStringLiteral("The server has closed the link"));
    }
}

void DatacoreLink::onAlarm()
{
    switch (state) {
    case State::Waiting:
        attempt();
        break;
    case State::Connecting:
        fail(QStringLiteral("No link within %1 ms").arg(times.patienceMs));
        break;
    case State::Filling:
        if (getRegistry().isFilling()) {
            setAlarm(times.patienceMs); // the registry has a patience of its own
        } else {
            fail(QStringLiteral("No answer within %1 ms").arg(times.patienceMs));
        }
        break;
    case State::Idle:
    case State::Current:
        break;
    }
}

void DatacoreLink::fail(const QString& problem)
{
    lastProblem = problem;
    pauseMs = times.getPauseMs(++failures, QRandomGenerator::global()->generateDouble());
    state = State::Waiting; // whatever the end of the link brings about is no second failure
    VELLOG_INFO() << "Link to " << address.toString() << ": " << problem << ", next attempt in "
                  << pauseMs << " ms";
    dropLink();
    if (state == State::Waiting) { // a slot may have stopped it
        enter(State::Waiting, pauseMs);
    }
}

/// Ends the link, if there is one, and begins the next if that is what the state, or a slot that
/// was told of the end, wants.
void DatacoreLink::dropLink()
{
    if (isDropping) {
        return;
    }
    isDropping = true;
    std::unique_ptr<QTcpSocket> none;
    connection.adoptSocket(none);
    isDropping = false;
    if (state == State::Connecting) {
        connection.startConnecting(address);
    }
}

void DatacoreLink::enter(State newState, int alarmMs)
{
    state = newState;
    enteredAtMs = getNowMs();
    setAlarm(alarmMs);
    Q_EMIT stateChanged(newState);
}

void DatacoreLink::setAlarm(int milliseconds)
{
    if (milliseconds < 0) {
        alarm.stop();
    } else {
        alarm.start(milliseconds);
    }
}

qint64 DatacoreLink::getNowMs() const
{
    return clock.elapsed();
}
