// A client for the test of server and mirrors, controlled by lines on standard input.
//   mirror_client PORT SEED
//   write N   write N random values to random leaves, as fast as the event loop allows
//   reset     break the link hard, connect again and wait for all values
//   settle    answer "settled" when nothing is pending any more
//   sync      answer "synced" when everything that the server has sent so far has arrived
//   dump      answer with all values as one line of JSON
//   quit
#include "infrastructure/client/VelClientDatacoreManager.h"
#include "infrastructure/utility/packets/DatacorePathListPacket.h"
#include "infrastructure/utility/packets/NetworkConnection.h"
#include "infrastructure/utility/packets/SerialisableDataPacketDistributor.h"

#include <QCoreApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QRegularExpression>
#include <QSet>
#include <QSocketNotifier>
#include <QTcpSocket>
#include <QTimer>

#include <chrono>
#include <cstdio>
#include <random>
#include <sys/socket.h>
#include <unistd.h>

namespace {

constexpr int WRITES_A_TURN = 20;

void answer(const QByteArray& line)
{
    std::puts(line.constData());
    std::fflush(stdout);
}

class MirrorClient : public QObject
{
public:
    MirrorClient(quint16 serverPort, unsigned seed)
        : port(serverPort)
        , random(seed)
        , manager(connection, distributor)
    {
        connect(&manager.getRegistry(), &ClientDatacoreRegistry::registryHasBeenPopulated, this,
                [this] { onNames(); });
        connect(&input, &QSocketNotifier::activated, this, [this] { readCommands(); });
        connection.setDeadPeerTimeout(std::chrono::seconds(2));
        start();
    }

private:
    void start()
    {
        auto socket = std::make_unique<QTcpSocket>();
        socket->connectToHost(QHostAddress::LocalHost, port);
        if (!socket->waitForConnected(5000)) {
            std::fputs("no server\n", stderr);
            std::exit(1);
        }
        descriptor = static_cast<int>(socket->socketDescriptor());
        std::unique_ptr<QTcpSocket> adopted = std::move(socket);
        connection.adoptSocket(adopted);
        connection.acceptPacket(
            DatacorePathListPacket(connection.getLocalIdentifier(), QStringList()));
    }

    void onNames()
    {
        const QStringList paths = manager.getRegistry().getPaths();
        leaves = paths.filter(QRegularExpression(QStringLiteral("^configCoreRouter/")));
        missing = {paths.begin(), paths.end()};
        for (const QString& path : paths) {
            connect(manager.getRegistry().lookup(path), &ClientDatacore::datacoreInSyncWithServer,
                    this, [this, path] {
                        if (missing.remove(path) && missing.isEmpty()) {
                            answer("ready");
                        }
                    });
        }
    }

    void readCommands()
    {
        char bytes[4096];
        const ssize_t size = ::read(STDIN_FILENO, bytes, sizeof bytes);
        waiting += size > 0 ? QByteArray(bytes, static_cast<int>(size)) : "quit\n";
        for (int end = waiting.indexOf('\n'); end >= 0; end = waiting.indexOf('\n')) {
            const QByteArray command = waiting.left(end);
            waiting.remove(0, end + 1);
            obey(command);
        }
    }

    void obey(const QByteArray& command)
    {
        if (command.startsWith("write ")) {
            writesLeft += command.mid(6).toInt();
            write();
        } else if (command == "reset") {
            reset();
        } else if (command == "settle") {
            settle();
        } else if (command == "sync") {
            sync();
        } else if (command == "dump") {
            dump();
        } else {
            QCoreApplication::quit();
        }
    }

    void write()
    {
        for (int i = 0; i < WRITES_A_TURN && writesLeft > 0 && !leaves.isEmpty(); ++i) {
            const auto which = random() % static_cast<unsigned>(leaves.size());
            if (ClientDatacore* leaf =
                    manager.getRegistry().lookup(leaves[static_cast<int>(which)])) {
                leaf->setDataStringList(randomValues());
            }
            --writesLeft;
        }
        if (writesLeft > 0) {
            QTimer::singleShot(0, this, [this] { write(); });
        } else {
            answer("written");
        }
    }

    /// Mostly one number, sometimes a list of texts, which may be empty.
    QStringList randomValues()
    {
        if (random() % 4 != 0) {
            return {QString::number(random())};
        }
        QStringList texts;
        for (auto left = random() % 4; left > 0; --left) {
            texts.append(QStringLiteral("\"\\/ \u00e4\u20ac %1").arg(random()));
        }
        return texts;
    }

    /// Gives the peer a reset instead of an orderly end, in the middle of a packet.
    void reset()
    {
        const linger hard = {1, 0};
        ::setsockopt(descriptor, SOL_SOCKET, SO_LINGER, &hard, sizeof hard);
        const QByteArray half = QByteArray::fromHex("1010000000000100");
        static_cast<void>(!::send(descriptor, half.constData(), size_t(half.size()), MSG_NOSIGNAL));
        start(); // takes the place of the old link, which is closed
    }

    bool isSettled()
    {
        ClientDatacoreRegistry& registry = manager.getRegistry();
        const QStringList paths = registry.getPaths();
        return !registry.isEmpty() &&
               std::all_of(paths.begin(), paths.end(), [&registry](const QString& path) {
                   return registry.lookup(path)->getPendingCount() == 0;
               });
    }

    void settle()
    {
        if (isSettled()) {
            answer("settled");
        } else {
            QTimer::singleShot(5, this, [this] { settle(); });
        }
    }

    /// Asks for one value: everything that the server has sent before arrives first.
    void sync()
    {
        const QString path = QStringLiteral("persistentConfigCoreRouter/name");
        auto* once = new QObject(this);
        connect(manager.getRegistry().lookup(path), &ClientDatacore::datacoreInSyncWithServer, once,
                [once] {
                    answer("synced");
                    once->deleteLater();
                });
        connection.acceptPacket(
            DatacorePathListPacket(connection.getLocalIdentifier(), QStringList{path}));
    }

    void dump()
    {
        QJsonObject values;
        ClientDatacoreRegistry& registry = manager.getRegistry();
        const QStringList paths = registry.getPaths();
        for (const QString& path : paths) {
            QJsonArray list;
            for (const QString& value : registry.lookup(path)->getDataList()) {
                list.append(value);
            }
            values.insert(path, list);
        }
        answer(QJsonDocument(values).toJson(QJsonDocument::Compact));
    }

    quint16 port;
    std::mt19937 random;
    NetworkConnection connection;
    SerialisableDataPacketDistributor distributor;
    VelClientDatacoreManager manager;
    QSocketNotifier input{STDIN_FILENO, QSocketNotifier::Read};
    QByteArray waiting;
    QStringList leaves;
    QSet<QString> missing; ///< without a value yet
    int descriptor = -1;
    int writesLeft = 0;
};

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    MirrorClient client(static_cast<quint16>(QByteArray(argv[1]).toUInt()),
                        QByteArray(argv[2]).toUInt());
    return app.exec();
}
