// Two ends of a link in one process: one sends a JSON packet, the other prints it.
#include "infrastructure/utility/packets/BasicTestPacket.h"
#include "infrastructure/utility/packets/NetworkConnection.h"
#include "infrastructure/utility/packets/RawDataPacketReceiverInterface.h"

#include <QCoreApplication>
#include <QTcpServer>
#include <QTcpSocket>

#include <cstdio>

class Printer : public RawDataPacketReceiverInterface<SerialisableDataPacket>
{
    void receivePacket(std::shared_ptr<SerialisableDataPacket> packet) override
    {
        bool ok = false;
        const BasicTestPacket test(*packet, ok);
        std::puts(ok ? qPrintable(test.getTestString()) : "some other packet");
        QCoreApplication::quit();
    }
};

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QTcpServer listener;
    listener.listen(QHostAddress::LocalHost);

    NetworkConnection client, server;
    QObject::connect(&listener, &QTcpServer::newConnection, [&] {
        std::unique_ptr<QTcpSocket> accepted(listener.nextPendingConnection());
        server.adoptSocket(accepted);
    });
    if (!client.connectToHost(QHostAddress(QHostAddress::LocalHost), listener.serverPort())) {
        return 1;
    }
    BasicTestPacket packet;
    packet.setTestString(QStringLiteral("Hello World!"));
    client.acceptPacket(packet);

    Printer printer; // takes JSON packets as long as it lives
    return app.exec();
}
