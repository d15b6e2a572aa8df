// A mirror that outlives its server: the server ends and comes back with another value.
#include "infrastructure/client/DatacoreLink.h"
#include "infrastructure/datacore/DatacoreBase.h"
#include "infrastructure/server/DatacoreServer.h"

#include <QCoreApplication>

#include <cstdio>
#include <memory>

/// A server whose only leaf is configCoreRouter/level.
struct Instrument
{
    explicit Instrument(const QString& value, quint16 port = 0)
        : level(QStringLiteral("level"), &config, value)
    {
        server.listen(QHostAddress::LocalHost, port);
    }

    DatacoreBase config{QStringLiteral("configCoreRouter"), nullptr};
    DatacoreBase status{QStringLiteral("statusCoreRouter"), nullptr};
    DatacoreBase command{QStringLiteral("commandCoreRouter"), nullptr};
    DatacoreBase persistentConfig{QStringLiteral("persistentConfigCoreRouter"), nullptr};
    DatacoreBase level;
    DatacoreServer server{{&config, &status, &command, &persistentConfig}};
};

int main(int argc, char** argv)
{
    const QCoreApplication app(argc, argv);
    auto instrument = std::make_unique<Instrument>(QStringLiteral("64"));
    const quint16 port = instrument->server.getPort();

    DatacoreLinkTimes times;
    times.firstPauseMs = 10;
    DatacoreLink link(times);
    ClientDatacoreRegistry& registry = link.getRegistry();
    const QString path = QStringLiteral("configCoreRouter/level");

    QObject::connect(
        &registry, &ClientDatacoreRegistry::mirrorsFilled, [&](const MirrorChanges& changes) {
            std::printf("level %s, changed: %s\n", qPrintable(registry.lookup(path)->getData()),
                        qPrintable(changes.changed.join(QLatin1Char(' '))));
            if (changes.changed.isEmpty()) {
                instrument.reset();
            } else {
                QCoreApplication::quit();
            }
        });
    QObject::connect(&registry, &ClientDatacoreRegistry::mirrorsBecameStale, [&] {
        std::puts("stale");
        registry.lookup(path)->setDataInt(70); // refused: nobody would take it
        instrument = std::make_unique<Instrument>(QStringLiteral("100"), port);
    });
    QObject::connect(&registry, &ClientDatacoreRegistry::writesLost,
                     [](const QVector<LostWrite>& writes) {
                         for (const LostWrite& write : writes) {
                             std::printf("lost %s\n", qPrintable(write.path));
                         }
                     });
    link.start({LinkAddress::Way::Tcp, QStringLiteral("127.0.0.1"), port, QString()});
    return QCoreApplication::exec();
}
