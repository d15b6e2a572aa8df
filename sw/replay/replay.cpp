// Records a link to a file, and plays either side of it back.
//   replay record FILE | to-server FILE | to-client FILE | show FILE...
#include "infrastructure/utility/CommandLine.h"
#include "infrastructure/utility/packets/SerialisableDataPacket.h"
#include "infrastructure/utility/QuitOnSignal.h"
#include "sw/replay/Player.h"
#include "sw/replay/Recorder.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDateTime>
#include <QJsonDocument>

#include <cstdio>

namespace {

constexpr int CONNECT_TIMEOUT_MS = 5000;

struct Endpoint
{
    QHostAddress address;
    quint16 port = 0;
};

struct Options
{
    QStringList files;
    Endpoint server;
    Endpoint listen;
    bool isFast = false;
};

/// "127.0.0.1:4010". Port 0 is left to the caller.
bool parseEndpoint(const QString& text, Endpoint& endpoint)
{
    const int colon = text.lastIndexOf(QLatin1Char(':'));
    bool isPort = false;
    endpoint.port = text.mid(colon + 1).toUShort(&isPort);
    return colon > 0 && isPort && endpoint.address.setAddress(text.left(colon)) &&
           endpoint.address.protocol() == QAbstractSocket::IPv4Protocol;
}

int fail(const QString& message)
{
    std::fprintf(stderr, "%s\n", qUtf8Printable(message));
    return 1;
}

int failToListen(const Endpoint& endpoint)
{
    return fail(QStringLiteral("Can't listen at %1 port %2")
                    .arg(endpoint.address.toString())
                    .arg(endpoint.port));
}

void printListening(const Endpoint& endpoint, quint16 port)
{
    std::printf("Listening at %s port %u\n", qPrintable(endpoint.address.toString()),
                unsigned(port));
    std::fflush(stdout);
}

/// Ends the event loop with the exit value for this error, or for none.
void quit(const QString& error)
{
    QCoreApplication::exit(error.isEmpty() ? 0 : fail(error));
}

int record(const Options& options)
{
    if (QFile::exists(options.files.front())) {
        return fail(QStringLiteral("%1 exists already").arg(options.files.front()));
    }
    Recorder recorder(options.files.front(), options.server.address, options.server.port, quit);
    if (!recorder.listen(options.listen.address, options.listen.port)) {
        return failToListen(options.listen);
    }
    printListening(options.listen, recorder.getPort());
    const int result = QCoreApplication::exec();
    std::printf("Recorded %d packets from the client and %d from the server\n",
                recorder.getPacketCount(Side_Client), recorder.getPacketCount(Side_Server));
    return result;
}

int report(const Player& player, int result)
{
    std::printf("Played %d packets, received %d\n", player.getSentCount(),
                player.getReceivedCount());
    return result;
}

int failToOpen(const QString& fileName, const QString& error)
{
    return fail(QStringLiteral("%1: %2").arg(fileName, error));
}

int playToServer(const Options& options)
{
    QTcpSocket socket;
    Player player(Side_Client, options.isFast, quit);
    if (!player.open(options.files.front())) {
        return failToOpen(options.files.front(), player.getError());
    }
    socket.connectToHost(options.server.address, options.server.port);
    if (!socket.waitForConnected(CONNECT_TIMEOUT_MS)) {
        return fail(QStringLiteral("No server at %1 port %2")
                        .arg(options.server.address.toString())
                        .arg(options.server.port));
    }
    QTimer::singleShot(0, &player, [&] { player.start(socket); });
    return report(player, QCoreApplication::exec());
}

int playToClient(const Options& options)
{
    QTcpServer listener;
    Player player(Side_Server, options.isFast, quit);
    if (!player.open(options.files.front())) {
        return failToOpen(options.files.front(), player.getError());
    }
    QObject::connect(&listener, &QTcpServer::newConnection, &player, [&] {
        QTcpSocket* const client = listener.nextPendingConnection();
        listener.close();
        player.start(*client);
    });
    if (!listener.listen(options.listen.address, options.listen.port)) {
        return failToListen(options.listen);
    }
    printListening(options.listen, listener.serverPort());
    return report(player, QCoreApplication::exec());
}

/// "DatacorePacket configCoreRouter/input1 213070643340000 0"
QString describe(const StreamPiece& piece)
{
    if (!piece.isPacket()) {
        return QStringLiteral("no packet");
    }
    if (piece.packetType != RawPacketType_SerialisableData) {
        return QStringLiteral("record 0x%1").arg(piece.packetType, 0, 16);
    }
    QJsonParseError error;
    const QJsonObject json = SerialisableDataPacket(piece.getText(), &error).getJsonObject();
    QStringList words;
    for (const char* key : {"Class", "Path", "ClientID", "ClientId", "PacketID"}) {
        const QVariant value = json.value(QLatin1String(key)).toVariant();
        if (value.isValid()) {
            words.append(value.toString());
        }
    }
    return words.isEmpty() ? QStringLiteral("JSON without class") : words.join(QLatin1Char(' '));
}

void show(qint64 timeUs, Side side, const QString& what)
{
    // Not with printf alone, which writes a comma in some locales.
    std::printf("%12s  %s  %s\n",
                qPrintable(QString::number(static_cast<double>(timeUs) / 1e6, 'f', 6)),
                side == Side_Client ? "client" : "server", qUtf8Printable(what));
}

bool showFile(const QString& fileName)
{
    LinkRecordingReader recording;
    LinkRecord record;
    PacketStream streams[2];
    if (recording.open(fileName)) {
        const LinkRecordingHeader& header = recording.getHeader();
        const QDateTime start =
            QDateTime::fromMSecsSinceEpoch(static_cast<qint64>(header.startMs), Qt::UTC);
        std::printf("%s: client %s port %u, %s\n", qUtf8Printable(fileName),
                    qPrintable(header.clientAddress.toString()), unsigned(header.clientPort),
                    qPrintable(start.toString(Qt::ISODateWithMs)));
        while (recording.read(record)) {
            PacketStream& stream = streams[record.side];
            for (const StreamPiece& piece : stream.take(record.bytes)) {
                show(record.timeUs, record.side,
                     QStringLiteral("%1 bytes  %2").arg(piece.bytes.size()).arg(describe(piece)));
            }
            if (stream.isOverfull()) {
                return failToOpen(fileName, PacketStream::overfullText()) == 0;
            }
            if (record.isClose) {
                show(record.timeUs, record.side, QStringLiteral("closed"));
            }
        }
    }
    for (const Side side : {Side_Client, Side_Server}) {
        if (const int rest = streams[side].takeRest().size()) {
            show(record.timeUs, side, QStringLiteral("%1 bytes of an unfinished packet").arg(rest));
        }
    }
    return recording.getError().isEmpty() || failToOpen(fileName, recording.getError()) == 0;
}

int showFiles(const Options& options)
{
    int result = 0;
    for (const QString& fileName : options.files) {
        result |= showFile(fileName) ? 0 : 1;
    }
    return result;
}

struct Command
{
    const char* name;
    int mostFiles;
    int (*run)(const Options& options);
};

constexpr Command COMMANDS[] = {
    {"record", 1, record},
    {"to-server", 1, playToServer},
    {"to-client", 1, playToClient},
    {"show", 100000, showFiles},
};

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Records a link between a client and a server, and plays it back.\n\n"
                       "  record FILE     takes one client, passes on to the server, writes FILE\n"
                       "  to-server FILE  plays the client's side to the server\n"
                       "  to-client FILE  takes one client and plays the server's side to it\n"
                       "  show FILE...    prints a line for each packet"));
    const QCommandLineOption serverOption(
        QStringLiteral("server"), QStringLiteral("Where the server is."),
        QStringLiteral("address:port"), QStringLiteral("127.0.0.1:4010"));
    const QCommandLineOption listenOption(
        QStringLiteral("listen"), QStringLiteral("Where to wait for the client; port 0 for any."),
        QStringLiteral("address:port"), QStringLiteral("127.0.0.1:4011"));
    const QCommandLineOption fastOption(
        QStringLiteral("fast"), QStringLiteral("As fast as possible, not at the recorded speed."));
    parser.addOptions({serverOption, listenOption, fastOption});
    parser.addPositionalArgument(QStringLiteral("command"),
                                 QStringLiteral("record | to-server | to-client | show"));
    parser.addPositionalArgument(QStringLiteral("file"), QStringLiteral("The recording."));
    if (const std::optional<int> exitValue = parseCommandLine(parser)) {
        return *exitValue;
    }

    Options options;
    options.files = parser.positionalArguments().mid(1);
    options.isFast = parser.isSet(fastOption);
    for (const auto& [option, endpoint] :
         {std::pair(&serverOption, &options.server), std::pair(&listenOption, &options.listen)}) {
        const QString text = parser.value(*option);
        if (!parseEndpoint(text, *endpoint)) {
            return refuseCommandLine(
                QStringLiteral("--%1 \"%2\": an IP address, a colon and a port are needed")
                    .arg(option->names().constFirst(), text));
        }
    }
    const QString name = parser.positionalArguments().value(0);
    QStringList names;
    for (const Command& command : COMMANDS) {
        names.append(QLatin1String(command.name));
        if (name != names.constLast()) {
            continue;
        }
        if (options.files.isEmpty() || options.files.size() > command.mostFiles) {
            return refuseCommandLine(options.files.isEmpty()
                                         ? QStringLiteral("%1 needs a file").arg(name)
                                         : QStringLiteral("%1 takes one file, not %2")
                                               .arg(name)
                                               .arg(options.files.size()));
        }
        quitOnSignal(command.run == record ? 0 : 1); // a recording may be ended at any time
        return command.run(options);
    }
    return refuseCommandLine(
        name.isEmpty()
            ? QStringLiteral("a command is needed: %1").arg(names.join(QLatin1String(", ")))
            : withSuggestion(QStringLiteral("no command \"%1\"").arg(name), name, names));
}
