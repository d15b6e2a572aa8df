// A command-line tool for engineers at the instrument: reads from a datacore server and writes to
// it.
//   datacore_client list | get PATH | set PATH VALUE... | watch [PATH-PREFIX] | dump
#include "infrastructure/client/VelClientDatacoreManager.h"
#include "infrastructure/utility/CommandLine.h"
#include "infrastructure/utility/Logging.h"
#include "infrastructure/utility/packets/DatacorePathListPacket.h"
#include "infrastructure/utility/packets/NetworkConnection.h"
#include "infrastructure/utility/packets/SerialisableDataPacketDistributor.h"
#include "infrastructure/utility/QuitOnSignal.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QJsonDocument>
#include <QSet>
#include <QTime>
#include <QTimer>

#include <cstdio>

namespace {

void print(const QString& line)
{
    std::puts(qUtf8Printable(line));
    std::fflush(stdout);
}

/// "5", or "[1, 2]" for a list, "-" for nothing.
QString valueText(const QStringList& values)
{
    if (values.isEmpty()) {
        return QStringLiteral("-");
    }
    return values.size() == 1
               ? values.front()
               : QLatin1Char('[') + values.join(QLatin1String(", ")) + QLatin1Char(']');
}

QStringList valuesOf(const ClientDatacore& datacore)
{
    const std::deque<QString> values = datacore.getDataList();
    return QStringList(values.begin(), values.end());
}

QString statusText(const ClientDatacore& datacore)
{
    QStringList reasons;
    DatacoreValidStatusMessages invalid;
    datacore.isValid(invalid);
    for (const auto& message : invalid) {
        reasons.append(message.getText());
    }
    return (datacore.isValid() ? QStringLiteral("valid") : QStringLiteral("invalid")) +
           (datacore.isActive() ? QStringLiteral(" active") : QStringLiteral(" inactive")) +
           (reasons.isEmpty()
                ? QString()
                : QStringLiteral(" (") + reasons.join(QLatin1String("; ")) + QLatin1Char(')'));
}

/// Puts a node's own content in its place in the tree.
void insertAt(QJsonObject& tree, const QStringList& names, int depth, const QJsonObject& content)
{
    QJsonObject node = tree.value(names[depth]).toObject();
    if (depth + 1 < names.size()) {
        insertAt(node, names, depth + 1, content);
    } else {
        for (auto it = content.begin(); it != content.end(); ++it) {
            node.insert(it.key(), it.value());
        }
    }
    tree.insert(names[depth], node);
}

/// One run of the tool: connects, requests values, and carries out the command when they arrive.
class Tool
{
public:
    Tool(QStringList commandWords, int patienceMs)
        : words(std::move(commandWords))
        , manager(connection, distributor)
    {
        timer.setSingleShot(true);
        timer.setInterval(patienceMs);
        QObject::connect(&timer, &QTimer::timeout, [this] { giveUp(); });
        QObject::connect(&connection, &NetworkConnection::disconnectedFromHost,
                         [this] { fail(QStringLiteral("The server has closed the connection.")); });
        QObject::connect(&registry(), &ClientDatacoreRegistry::registryHasBeenPopulated,
                         [this] { onNames(); });
    }

    bool start(const QString& address, quint16 port)
    {
        if (!connection.connectToHost(address, port)) {
            fail(QStringLiteral("No server at %1 port %2.").arg(address).arg(port));
            return false;
        }
        timer.start();
        QStringList wanted;
        if (command() == QLatin1String("get") || command() == QLatin1String("set")) {
            wanted.append(words[1]);
        } else if (command() == QLatin1String("list")) {
            wanted.append(QStringLiteral("configCoreRouter")); // only the names matter
        }
        connection.acceptPacket(DatacorePathListPacket(connection.getLocalIdentifier(), wanted));
        return true;
    }

    int getExitValue() const { return exitValue; }

private:
    QString command() const { return words.front(); }
    ClientDatacoreRegistry& registry() { return manager.getRegistry(); }

    void finish(int value)
    {
        exitValue = value;
        isFinished = true;
        QCoreApplication::exit(value);
    }
    void fail(const QString& message)
    {
        if (!isFinished) {
            std::fprintf(stderr, "%s\n", qUtf8Printable(message));
            finish(1);
        }
    }
    void giveUp()
    {
        fail(isWriting
                 ? QStringLiteral("The server did not acknowledge the write to %1.").arg(words[1])
                 : QStringLiteral("The server did not answer."));
    }

    /// The names of all datacores are known; values follow.
    void onNames()
    {
        if (command() == QLatin1String("list")) {
            const QStringList paths = registry().getPaths();
            for (const QString& path : paths) {
                print(path);
            }
            finish(0);
        } else if (command() == QLatin1String("watch")) {
            timer.stop();
            watch(words.value(1));
        } else if (command() == QLatin1String("dump")) {
            const QStringList paths = registry().getPaths();
            for (const QString& path : paths) {
                missingValues.insert(path);
                QObject::connect(registry().lookup(path), &ClientDatacore::datacoreInSyncWithServer,
                                 [this, path] { onValueForDump(path); });
            }
        } else {
            ClientDatacore* datacore = registry().lookup(words[1]);
            if (datacore == nullptr) {
                fail(QStringLiteral("There is no datacore %1.").arg(words[1]));
                return;
            }
            QObject::connect(
                datacore, &ClientDatacore::datacoreInSyncWithServer, &timer,
                [this, datacore] { onInSync(datacore); }, Qt::QueuedConnection);
        }
    }

    void watch(const QString& prefix)
    {
        const QStringList paths = registry().getPaths();
        for (const QString& path : paths) {
            if (path.startsWith(prefix)) {
                ClientDatacore* datacore = registry().lookup(path);
                QObject::connect(datacore, &ClientDatacore::datacoreUpdated,
                                 [path, datacore](const QStringList& data) {
                                     print(QTime::currentTime().toString(Qt::ISODateWithMs) +
                                           QLatin1Char(' ') + path + QStringLiteral(" = ") +
                                           valueText(data) + QStringLiteral("  ") +
                                           statusText(*datacore));
                                 });
            }
        }
    }

    /// The one requested value has arrived, or the write is acknowledged.
    void onInSync(ClientDatacore* datacore)
    {
        if (isFinished) {
            return;
        }
        const QStringList wanted = words.mid(2);
        if (command() == QLatin1String("set") && !isWriting && wanted != valuesOf(*datacore)) {
            isWriting = true;
            timer.start();
            if (wanted.size() == 1) {
                datacore->setDataString(wanted.front());
            } else {
                datacore->setDataStringList(wanted);
            }
            return;
        }
        if (datacore->getPendingCount() == 0) {
            print(valueText(valuesOf(*datacore)) + QStringLiteral("  ") + statusText(*datacore));
            finish(0);
        }
    }

    /// Called before each value; the last one is read when control returns.
    void onValueForDump(const QString& path)
    {
        if (missingValues.remove(path) && missingValues.isEmpty()) {
            QTimer::singleShot(0, &timer, [this] { dump(); });
        }
    }

    void dump()
    {
        QJsonObject tree;
        const QStringList paths = registry().getPaths();
        for (const QString& path : paths) {
            QJsonObject own;
            DatacoreJsonMessages messages;
            const ClientDatacore* datacore = registry().lookup(path);
            datacore->appendToJson(QString(), own, false, false, messages);
            insertAt(tree, path.split(QLatin1Char('/')), 0,
                     own.value(datacore->getInstanceName()).toObject());
        }
        print(QString::fromUtf8(QJsonDocument(tree).toJson()));
        finish(0);
    }

    QStringList words;
    NetworkConnection connection;
    SerialisableDataPacketDistributor distributor;
    VelClientDatacoreManager manager;
    QTimer timer;
    QSet<QString> missingValues;
    int exitValue = 0;
    bool isWriting = false;
    bool isFinished = false;
};

/// How many words each command takes, including its own name.
struct Command
{
    const char* name;
    int leastWords;
    int mostWords;
};

constexpr Command COMMANDS[] = {
    {"list", 1, 1}, {"get", 2, 2}, {"set", 3, 10000}, {"watch", 1, 2}, {"dump", 1, 1},
};

bool isCommand(const QStringList& words)
{
    for (const Command& command : COMMANDS) {
        if (!words.isEmpty() && words.front() == QLatin1String(command.name)) {
            return words.size() >= command.leastWords && words.size() <= command.mostWords;
        }
    }
    return false;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Looks at a datacore server and writes to it."));
    const QCommandLineOption addressOption(QStringLiteral("address"),
                                           QStringLiteral("Address of the server."),
                                           QStringLiteral("address"), QStringLiteral("127.0.0.1"));
    const QCommandLineOption portOption(QStringLiteral("port"),
                                        QStringLiteral("Port of the server."),
                                        QStringLiteral("port"), QStringLiteral("4010"));
    const QCommandLineOption timeoutOption(QStringLiteral("timeout"),
                                           QStringLiteral("Milliseconds to wait for an answer."),
                                           QStringLiteral("ms"), QStringLiteral("5000"));
    parser.addOptions({addressOption, portOption, timeoutOption});
    parser.addPositionalArgument(
        QStringLiteral("command"),
        QStringLiteral("list | get PATH | set PATH VALUE... | watch [PATH-PREFIX] | dump"),
        QStringLiteral("command ..."));
    parser.setOptionsAfterPositionalArgumentsMode(
        QCommandLineParser::ParseAsPositionalArguments); // "-5" is a value
    if (const std::optional<int> exitValue = parseCommandLine(parser)) {
        return *exitValue;
    }

    bool isPort = false;
    bool isTimeout = false;
    const quint16 port = parser.value(portOption).toUShort(&isPort);
    const int timeoutMs = parser.value(timeoutOption).toInt(&isTimeout);
    if (!isPort || !isTimeout || timeoutMs <= 0 || !isCommand(parser.positionalArguments())) {
        return refuseCommandLine(parser);
    }
    setupLogging(false, "");
    const bool endsByItself = parser.positionalArguments().front() != QLatin1String("watch");
    quitOnSignal(endsByItself ? 1 : 0);
    Tool tool(parser.positionalArguments(), timeoutMs);
    int result = 1;
    if (tool.start(parser.value(addressOption), port)) {
        result = app.exec();
    }
    tearDownLogging();
    return result;
}
