#include "infrastructure/client/ClientDatacore.h"
#include "infrastructure/utility/packets/DatacorePacket.h"

#include <cstdio>

int main()
{
    const QString path = QStringLiteral("configCoreRouter/level");
    DatacoreBase server(QStringLiteral("level"), nullptr, QStringLiteral("64"));
    ClientDatacore mirror(QStringLiteral("DatacoreBase"), QStringLiteral("level"), nullptr, path);

    QObject::connect(&mirror, &ClientDatacore::datacoreUpdated, [](const QStringList& data) {
        std::printf("shows %s\n", qPrintable(data.join(QLatin1Char(','))));
    });
    QObject::connect(&mirror, &ClientDatacore::datacoreInSyncWithServer,
                     [] { std::puts("in sync"); });
    DatacorePacket write(QJsonObject(), path);
    QObject::connect(&mirror, &ClientDatacore::clientDatacoreHasUpdateForServer,
                     [&](int id, ClientDatacore* node) { // ClientDatacoreMonitor's part
                         write = DatacorePacket(QStringLiteral("me"), id, *node, true, path);
                         std::printf("sends %s\n", write.toJson().constData());
                     });

    // A value of the server's, a write of our own, the server's part, its echo.
    mirror.populateFromPacket(DatacorePacket(server, false, path), false);
    mirror.setDataInt(100);
    std::printf("pending %d\n", mirror.getPendingCount());
    DatacoreJsonMessages messages;
    server.populateFromJson(QString(), write.getDatacoreJsonObject(), true, messages);
    const DatacorePacket echo(write.getClientID(), write.getPacketID(), server, false, path);
    mirror.populateFromPacket(echo, true);
    std::printf("pending %d\n", mirror.getPendingCount());
}
