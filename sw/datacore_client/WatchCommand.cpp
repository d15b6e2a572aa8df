// watch.
#include "Commands.h"
#include "ValueText.h"

#include <QDateTime>
#include <QHash>

namespace {

/// "2026-11-22 09:40:20.689", in the digits of every locale's machine.
QString timeText()
{
    return QDateTime::currentDateTime()
        .toString(Qt::ISODateWithMs)
        .replace(QLatin1Char('T'), QLatin1Char(' '));
}

class WatchCommand : public Command
{
public:
    using Command::Command;

private:
    void onNames() override
    {
        if (!select(0, Reach::Children)) {
            return;
        }
        for (const std::unique_ptr<Server>& server : servers) {
            follow(*server);
        }
        readValues();
    }

    void onValues() override
    {
        isFilled = true;
        awaitNothing();
    }

    /// Before all servers have told their values, a wrong address is the likely reason.
    void onFailure(Server& server, const QString& why) override
    {
        if (isFilled) {
            complain(timeText() + QLatin1Char(' ') + why);
        } else {
            Command::onFailure(server, why);
        }
    }

    void follow(Server& server)
    {
        watch(server, selected[&server]);
        connect(&server, &Server::isBack, this, [&server] {
            complain(timeText() + QLatin1Char(' ') + server.getName() +
                     QStringLiteral(": connected again"));
        });
        connect(&server.registry(), &ClientDatacoreRegistry::mirrorsAboutToBeRemoved, this,
                [this, &server](const QStringList& paths) {
                    for (const QString& path : paths) {
                        if (receivedCounts.remove(server.find(path)) > 0) {
                            complain(timeText() + QLatin1Char(' ') + prefixFor(server) +
                                     printable(path) + QStringLiteral(" is gone"));
                        }
                    }
                });
        connect(&server.registry(), &ClientDatacoreRegistry::mirrorsAdded, this,
                [this, &server](const QStringList& paths) {
                    const QStringList more = matchPaths(settings.words, paths, Reach::Children);
                    watch(server, more);
                    server.readMore(more);
                });
    }

    void watch(Server& server, const QStringList& paths)
    {
        for (const QString& path : paths) {
            ClientDatacore& datacore = *server.find(path);
            receivedCounts.insert(&datacore, 0);
            connect(&datacore, &ClientDatacore::datacoreInSyncWithServer, this,
                    [this, &datacore] { ++receivedCounts[&datacore]; });
            connect(&datacore, &ClientDatacore::datacoreUpdated, this, [this, &server, &datacore] {
                if (!settings.isChangesOnly || isFilled || receivedCounts.value(&datacore) > 1) {
                    show(server, datacore);
                }
            });
        }
    }

    void show(const Server& server, const ClientDatacore& datacore)
    {
        print(settings.isJson ? jsonLine(server, datacore, true)
                              : timeText() + QLatin1Char(' ') + prefixFor(server) +
                                    printable(datacore.getPath()) + QStringLiteral(" = ") +
                                    valueText(valuesOf(datacore)) + QStringLiteral("  ") +
                                    statusText(datacore));
    }

    QHash<const ClientDatacore*, int> receivedCounts; ///< of values, for each that is watched
    bool isFilled = false;                            ///< all servers have sent all values once
};

} // namespace

std::unique_ptr<Command> makeWatch(const Settings& settings)
{
    return std::make_unique<WatchCommand>(settings);
}
