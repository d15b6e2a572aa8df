// watch.
#include "Commands.h"
#include "ValueText.h"

#include <QDateTime>
#include <QSet>

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
        for (const std::unique_ptr<Server>& server : servers) {
            for (const QString& path : selected[server.get()]) {
                const ClientDatacore& datacore = *server->find(path);
                const bool isBare =
                    datacore.getDataCount() == 0 && datacore.isValid() && datacore.isActive();
                if (!settings.isChangesOnly && !isBare) { // which only holds others
                    show(*server, datacore);
                }
            }
        }
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
                        if (watched.remove(server.find(path))) {
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
            watched.insert(&datacore);
            connect(&datacore, &ClientDatacore::datacoreUpdated, this, [this, &server, &datacore] {
                if (isFilled) {
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

    QSet<const ClientDatacore*> watched;
    bool isFilled = false; ///< all servers have sent all values once
};

} // namespace

std::unique_ptr<Command> makeWatch(const Settings& settings)
{
    return std::make_unique<WatchCommand>(settings);
}
