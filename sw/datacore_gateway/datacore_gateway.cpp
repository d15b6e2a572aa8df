// Shows the trees of datacore servers to browsers, scripts and fleets.
//   datacore_gateway --server [NAME=]ADDRESS ... [--address ADDRESS] [--port PORT] [--page DIR]
//                    [--allow-writes] [--roles FILE] [--allow-host NAME ...]
//                    [--mqtt ADDRESS]
#include "Guard.h"
#include "HttpServer.h"
#include "infrastructure/server/AccessRulesFile.h"
#include "infrastructure/utility/CommandLine.h"
#include "infrastructure/utility/Logging.h"
#include "infrastructure/utility/packets/TlsOptions.h"
#include "infrastructure/utility/QuitOnSignal.h"
#include "LivePages.h"
#include "MqttBridge.h"
#include "sw/datacore_server/ServiceNotification.h"
#include "WebApi.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QRegularExpression>

#include <cstdio>
#include <deque>

namespace {

constexpr quint16 SERVER_PORT = 4010;
constexpr int MAX_SERVERS = 100;

QCommandLineOption makeOption(const char* name, const char* text, const char* value = "",
                              const char* standard = "")
{
    return {QLatin1String(name), QLatin1String(text), QLatin1String(value),
            QLatin1String(standard)};
}

/// "NAME=ADDRESS", or the one and only ADDRESS.
std::vector<GatewayServerSettings> readServers(const QStringList& texts, QString& whatIsWrong)
{
    std::vector<GatewayServerSettings> servers;
    static const QRegularExpression named(QStringLiteral("^([A-Za-z0-9_.-]+)=(.*)$"));
    QStringList names;
    for (const QString& text : texts) {
        const QRegularExpressionMatch match = named.match(text);
        const QString name = match.hasMatch() ? match.captured(1) : QString();
        const auto address = LinkAddress::parse(match.hasMatch() ? match.captured(2) : text,
                                                SERVER_PORT, &whatIsWrong);
        if (!address) {
            return {};
        }
        names.append(name);
        servers.push_back({name, *address});
    }
    if (texts.size() > MAX_SERVERS) {
        whatIsWrong = QStringLiteral("--server: no more than %1 servers").arg(MAX_SERVERS);
    } else if (names.removeDuplicates() > 0 || (texts.size() > 1 && names.contains(QString()))) {
        whatIsWrong = QStringLiteral("--server: each of several needs a name of its own, as in "
                                     "--server studio1=192.168.1.5:4010");
    }
    return servers;
}

/// The one beside the program where it was built, or the installed one.
QString findPageFolder()
{
    const QDir own(QCoreApplication::applicationDirPath());
    const QString beside = own.filePath(QStringLiteral("page"));
    return QDir(beside).exists() ? beside
                                 : own.filePath(QStringLiteral("../share/datacore_gateway/page"));
}

/// The first line of a file; nothing if it can't be read.
std::optional<QString> readToken(const QString& path)
{
    QFile file(path);
    constexpr qint64 longest = 1024;
    if (!file.open(QIODevice::ReadOnly)) {
        return std::nullopt;
    }
    return QString::fromUtf8(file.readLine(longest)).trimmed();
}

std::optional<AccessRules> readRules(const QCommandLineParser& parser)
{
    const QString file = parser.value(QStringLiteral("roles"));
    if (file.isEmpty()) {
        return AccessRules::forThisMachine();
    }
    QStringList errors, warnings;
    const std::optional<AccessRules> rules = loadAccessRules(file, errors, warnings);
    for (const QString& line : errors + warnings) {
        std::fprintf(stderr, "%s\n", qPrintable(line));
    }
    return rules;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Shows the trees of datacore servers to browsers and scripts."));
    parser.addOptions({
        makeOption(
            "server",
            "Server to show; for several, each with its name: NAME=ADDRESS. Addresses as for "
            "datacore_client.",
            "address", "127.0.0.1:4010"),
        makeOption("address", "Address to listen at.", "address", "127.0.0.1"),
        makeOption("port", "Port to listen at; 0 for any.", "port", "8080"),
        makeOption("page", "Folder of the page.", "folder"),
        makeOption("allow-writes", "Let clients write what their role covers."),
        makeOption("roles",
                   "Who may do what; without it, whoever is on this machine may do all, "
                   "and nobody else anything.",
                   "file"),
        makeOption("allow-host", "Name of this machine in requests; may come several times.",
                   "name"),
        makeOption("https-certificate", "Speak TLS, with this certificate.", "file"),
        makeOption("https-key", "Its private key.", "file"),
        makeOption("https-trust", "Authorities of clients' certificates, which are asked for then.",
                   "file"),
        makeOption("history-memory", "MiB for the last hour of numbers, 0 to 1024.", "MiB", "16"),
        makeOption("token-file", "Token that shows the servers who the gateway is.", "file"),
    });
    addTlsOptions(parser, TlsEnd::Client);
    addMqttOptions(parser);
    if (const std::optional<int> exitValue = parseCommandLine(parser)) {
        return *exitValue;
    }
    QString whatIsWrong;
    const std::optional<int> port =
        readNumber(parser, QStringLiteral("port"), 0, 65535, whatIsWrong);
    const std::optional<int> historyMib =
        readNumber(parser, QStringLiteral("history-memory"), 0, 1024, whatIsWrong);
    const QHostAddress address(parser.value(QStringLiteral("address")));
    const std::vector<GatewayServerSettings> servers =
        readServers(parser.values(QStringLiteral("server")), whatIsWrong);
    if (address.isNull()) {
        whatIsWrong = QStringLiteral("--address \"%1\": an IP address is needed")
                          .arg(parser.value(QStringLiteral("address")));
    } else if (!parser.positionalArguments().isEmpty()) {
        whatIsWrong = QStringLiteral("\"%1\" is not an option")
                          .arg(parser.positionalArguments().constFirst());
    } else if (parser.isSet(QStringLiteral("https-certificate")) !=
               parser.isSet(QStringLiteral("https-key"))) {
        whatIsWrong = QStringLiteral("--https-certificate and --https-key go together");
    }
    std::optional<MqttSettings> mqtt;
    if (whatIsWrong.isEmpty()) {
        mqtt = readMqttOptions(parser, whatIsWrong);
    }
    if (!whatIsWrong.isEmpty()) {
        return refuseCommandLine(whatIsWrong);
    }
    const std::optional<AccessRules> rules = readRules(parser);
    if (!rules) {
        return 1;
    }
    const std::optional<TlsSettings> tls = readTlsOptions(parser, TlsEnd::Client, &whatIsWrong);
    if (!tls) {
        std::fprintf(stderr, "%s\n", qPrintable(whatIsWrong));
        return 1;
    }
    QString token;
    if (parser.isSet(QStringLiteral("token-file"))) {
        const std::optional<QString> read = readToken(parser.value(QStringLiteral("token-file")));
        if (!read || read->isEmpty()) {
            std::fprintf(stderr, "%s: there is no token in it\n",
                         qPrintable(parser.value(QStringLiteral("token-file"))));
            return 1;
        }
        token = *read;
    }

    setupLogging(false, "");
    quitOnSignal();
    int result = 1;
    {
        WebApi* api = nullptr;
        // Ends last: what comes after it holds connections.
        HttpServer http(
            [&api](const HttpRequest& request, const HttpServer::Connection& connection) {
                api->handle(request, connection);
            });
        GatewayTree tree(std::size_t(*historyMib) << 20);
        Guard guard({*rules, parser.isSet(QStringLiteral("allow-writes")),
                     parser.values(QStringLiteral("allow-host"))});
        LivePages pages(tree, guard);
        WebApi webApi(tree, guard, pages,
                      parser.isSet(QStringLiteral("page")) ? parser.value(QStringLiteral("page"))
                                                           : findPageFolder());
        api = &webApi;
        webApi.setServer(http);
        if (!http.listen(address, static_cast<quint16>(*port),
                         {parser.value(QStringLiteral("https-certificate")),
                          parser.value(QStringLiteral("https-key")),
                          parser.value(QStringLiteral("https-trust"))},
                         whatIsWrong)) {
            std::fprintf(stderr, "Can't listen at %s port %d: %s\n", qPrintable(address.toString()),
                         *port, qPrintable(whatIsWrong));
            return 1;
        }
        for (const GatewayServerSettings& server : servers) {
            tree.addServer(server, *tls, token);
        }
        std::deque<MqttBridge> bridges;
        if (mqtt) {
            mqtt->mayWrite = parser.isSet(QStringLiteral("allow-writes"));
            for (std::size_t server = 0; server < servers.size(); ++server) {
                bridges.emplace_back(tree, static_cast<int>(server), *mqtt);
            }
        }
        std::printf("Listening at %s port %u\n", qPrintable(address.toString()),
                    unsigned(http.getPort()));
        std::fflush(stdout);
        notifyServiceManager("READY=1");
        result = QCoreApplication::exec();
        notifyServiceManager("STOPPING=1");
    }
    tearDownLogging();
    return result;
}
