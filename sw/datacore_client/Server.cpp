#include "Server.h"

#include "infrastructure/utility/packets/DatacoreAccessPacket.h"
#include "infrastructure/utility/packets/DatacorePathListPacket.h"
#include "infrastructure/utility/packets/DatacoreTokenPacket.h"
#include "infrastructure/utility/packets/SerialisableDataPacketDistributor.h"

#include <QTimer>

namespace {

/// A command that ends by itself has a time of its own.
DatacoreLinkTimes timesOf(const Settings& settings)
{
    constexpr int LATER_MS = 1000;
    DatacoreLinkTimes times;
    times.patienceMs = settings.timeoutMs + LATER_MS;
    times.longestPauseMs = 5000; // somebody is watching
    return times;
}

} // namespace

Server::Server(const LinkAddress& where, const Settings& settings, QObject* parent)
    : QObject(parent)
    , address(where)
    , token(settings.token)
    , link(timesOf(settings))
{
    link.getConnection().setTlsSettings(*settings.tls);
    link.getManager().getDistributor().registerPacketAcceptor(*this,
                                                              DatacoreAccessPacket::CLASSNAME());
    connect(&link, &DatacoreLink::linkIsUp, this, [this] {
        wasUp = true;
        if (!token.isEmpty()) {
            link.getConnection().acceptPacket(DatacoreTokenPacket(token));
        }
    });
    connect(&link, &DatacoreLink::stateChanged, this, &Server::onState);
    connect(&registry(), &ClientDatacoreRegistry::registryHasBeenPopulated, this, &Server::named);
    connect(&descriptions(), &ClientDatacoreDescriptions::descriptionsReceived, this,
            &Server::described);
}

Server::~Server()
{
    disconnect(&link, nullptr, this, nullptr);
}

void Server::start()
{
    // The names come with any answer; this one is short.
    link.setWantedPaths({QStringLiteral("configCoreRouter")});
    link.start(address);
}

void Server::readValues(const QStringList& paths)
{
    reading = std::make_unique<QObject>();
    awaited = QSet<QString>(paths.begin(), paths.end());
    for (const QString& path : paths) {
        connect(find(path), &ClientDatacore::datacoreInSyncWithServer, reading.get(),
                [this, path] { onValue(path); });
    }
    wanted = paths.size() == registry().getCount() ? QStringList() : paths;
    link.setWantedPaths(wanted);
    request(wanted);
}

void Server::readMore(const QStringList& paths)
{
    if (!paths.isEmpty() && !wanted.isEmpty()) {
        wanted += paths;
        link.setWantedPaths(wanted);
        request(paths);
    }
}

void Server::request(const QStringList& paths)
{
    link.getConnection().acceptPacket(
        DatacorePathListPacket(link.getConnection().getLocalIdentifier(), paths));
}

void Server::readDescriptions(const QStringList& paths)
{
    descriptions().requestDescriptions(paths);
}

/// Called before each value is taken; the last one is there when control returns.
void Server::onValue(const QString& path)
{
    if (awaited.remove(path) && awaited.isEmpty()) {
        QTimer::singleShot(0, this, [this] {
            reading.reset();
            Q_EMIT valuesRead();
        });
    }
}

void Server::onState(DatacoreLink::State state)
{
    if (state == DatacoreLink::State::Waiting && !isGone) {
        isGone = true;
        // A server has nothing to say to a client that it does not know.
        Q_EMIT failed(QStringLiteral("%1: %2%3")
                          .arg(getName(), link.getLastProblem(),
                               wasUp && registry().isEmpty()
                                   ? QStringLiteral("; it may have no role for this client")
                                   : QString()));
    } else if (state == DatacoreLink::State::Current && isGone) {
        isGone = false;
        Q_EMIT isBack();
    }
}

bool Server::canAcceptPacket(QString className)
{
    return className == DatacoreAccessPacket::CLASSNAME();
}

void Server::acceptPacket(const SerialisableDataPacket& packet)
{
    bool ok = false;
    const DatacoreAccessPacket access(packet, ok);
    if (ok && access.containsTokenTaken() && !access.isTokenTaken()) {
        Q_EMIT failed(
            QStringLiteral("%1: the server does not take the token%2")
                .arg(getName(), access.getRetryAfterMs() > 0
                                    ? QStringLiteral("; the next is looked at after %1 ms")
                                          .arg(access.getRetryAfterMs())
                                    : QString()));
    }
}
