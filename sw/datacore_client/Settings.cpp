#include "Settings.h"

#include "Commands.h"
#include "infrastructure/utility/CommandLine.h"
#include "infrastructure/utility/packets/TlsOptions.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QFile>

#include <algorithm>
#include <cstring>

namespace {

constexpr QLatin1String SERVER("server");
constexpr QLatin1String ADDRESS("address");
constexpr QLatin1String PORT("port");
constexpr QLatin1String TIMEOUT("timeout");
constexpr QLatin1String TOKEN_FILE("token-file");
constexpr QLatin1String JSON("json");
constexpr QLatin1String CHANGES_ONLY("changes-only");

constexpr int MOST_WORDS = 1 << 20;
constexpr int MOST_TIMEOUT_MS = 24 * 3600 * 1000;
constexpr int MAX_TOKEN_BYTES = 4096;

void addOptions(QCommandLineParser& parser)
{
    parser.addOptions(
        {{SERVER,
          QStringLiteral("A server: HOST:PORT, tls://HOST:PORT or unix:/PATH. list, get and watch "
                         "take several."),
          QStringLiteral("address")},
         {ADDRESS, QStringLiteral("Host of the server, without --server."), QStringLiteral("host"),
          QStringLiteral("127.0.0.1")},
         {PORT, QStringLiteral("Port of servers whose address names none."), QStringLiteral("port"),
          QStringLiteral("4010")},
         {TIMEOUT, QStringLiteral("Milliseconds to wait for an answer."), QStringLiteral("ms"),
          QStringLiteral("5000")},
         {TOKEN_FILE, QStringLiteral("File whose first line is shown to the server as a token."),
          QStringLiteral("file")},
         {JSON, QStringLiteral("Print JSON objects, one a line (get, watch, describe).")},
         {CHANGES_ONLY, QStringLiteral("Leave out the values at the beginning (watch).")}});
    addTlsOptions(parser, TlsEnd::Client);
}

QString helpText()
{
    QString text = QStringLiteral("Looks at datacore servers and writes to them.\n");
    for (const CommandForm& form : commandForms()) {
        text += QStringLiteral("\n  %1 %2")
                    .arg(QLatin1String(form.name), -8)
                    .arg(QLatin1String(form.words), -22) +
                QLatin1String(form.text);
    }
    return text +
           QStringLiteral("\n\nA PATH may have * for characters within a name and ** for names; it "
                          "is\nquoted then, as the shell has its own use for them.");
}

const CommandForm* findForm(const QString& name)
{
    const std::vector<CommandForm>& forms = commandForms();
    const auto found = std::find_if(forms.begin(), forms.end(), [&](const CommandForm& form) {
        return name == QLatin1String(form.name);
    });
    return found != forms.end() ? &*found : nullptr;
}

/// Command and words. Nothing behind a command that takes values is an option.
void readCommand(const QCommandLineParser& parser, Settings& settings)
{
    settings.words = parser.positionalArguments();
    settings.command = findForm(settings.words.value(0));
    if (settings.command != nullptr) {
        settings.words.removeFirst();
    }
}

bool takesValues(const QStringList& arguments, QCommandLineParser& parser)
{
    parser.setOptionsAfterPositionalArgumentsMode(QCommandLineParser::ParseAsPositionalArguments);
    parser.parse(arguments);
    const QString command = parser.positionalArguments().value(0);
    return command == QLatin1String("set") || command == QLatin1String(COMPLETE);
}

/// False, with the reason, if the options name servers that can't be meant.
bool readServers(const QCommandLineParser& parser, Settings& settings, QString& whatIsWrong)
{
    const std::optional<int> port = readNumber(parser, PORT, 1, 65535, whatIsWrong);
    if (!port) {
        return false;
    }
    if (!parser.isSet(SERVER)) {
        LinkAddress address;
        address.host = parser.value(ADDRESS);
        address.port = static_cast<quint16>(*port);
        settings.servers = {address};
        return true;
    }
    if (parser.isSet(ADDRESS)) {
        whatIsWrong = QStringLiteral("--address and --server can't be used together");
        return false;
    }
    const QStringList texts = parser.values(SERVER);
    for (const QString& text : texts) {
        const std::optional<LinkAddress> address =
            LinkAddress::parse(text, static_cast<quint16>(*port), &whatIsWrong);
        if (!address) {
            whatIsWrong.prepend(QStringLiteral("--server "));
            return false;
        }
        settings.servers.push_back(*address);
    }
    return true;
}

bool readToken(const QString& path, QString& token, QString& whatIsWrong)
{
    QFile file(path);
    const bool isOpen = file.open(QIODevice::ReadOnly);
    const QByteArray line = isOpen ? file.readLine(MAX_TOKEN_BYTES).trimmed() : QByteArray();
    token = QString::fromUtf8(line);
    if (line.isEmpty()) {
        whatIsWrong =
            QStringLiteral("--token-file %1: %2")
                .arg(path, isOpen ? QStringLiteral("the first line is empty") : file.errorString());
    }
    return !line.isEmpty();
}

bool readOptions(const QCommandLineParser& parser, Settings& settings, QString& whatIsWrong)
{
    settings.isJson = parser.isSet(JSON);
    settings.isChangesOnly = parser.isSet(CHANGES_ONLY);
    const std::optional<int> timeout = readNumber(parser, TIMEOUT, 1, MOST_TIMEOUT_MS, whatIsWrong);
    if (!timeout || !readServers(parser, settings, whatIsWrong) ||
        (parser.isSet(TOKEN_FILE) &&
         !readToken(parser.value(TOKEN_FILE), settings.token, whatIsWrong))) {
        return false;
    }
    settings.timeoutMs = *timeout;
    settings.tls = readTlsOptions(parser, TlsEnd::Client, &whatIsWrong);
    return settings.tls.has_value();
}

/// What is wrong with the command or with how it goes with the options; empty if nothing is.
QString findFault(const QCommandLineParser& parser, const Settings& settings)
{
    if (settings.command == nullptr) {
        const QString name = parser.positionalArguments().value(0);
        QStringList names;
        for (const CommandForm& form : commandForms()) {
            names.append(QLatin1String(form.name));
        }
        return name.isEmpty()
                   ? QStringLiteral("a command is needed: ") + names.join(QLatin1String(", "))
                   : withSuggestion(QStringLiteral("no command \"%1\"").arg(name), name, names);
    }
    const CommandForm& form = *settings.command;
    const auto usage = [&form](const char* what) {
        return QStringLiteral("%1: %2 %3")
            .arg(QLatin1String(what), QLatin1String(form.name), QLatin1String(form.words));
    };
    const auto isNamed = [&form](const char* name) { return std::strcmp(form.name, name) == 0; };
    if (settings.words.size() < form.leastWords) {
        return usage("something is missing");
    }
    if (settings.words.size() > form.mostWords) {
        return usage("too many words");
    }
    const bool isBatch = settings.words.value(0) == QLatin1String("-");
    if (isNamed("set") && isBatch != (settings.words.size() == 1)) {
        return isBatch ? QStringLiteral("set - reads paths and values from standard input only")
                       : QStringLiteral("set needs a value; to leave %1 without one: unset %1")
                             .arg(settings.words[0]);
    }
    if (settings.servers.size() > 1 && !form.takesManyServers) {
        return QStringLiteral("%1 takes one --server").arg(QLatin1String(form.name));
    }
    if (settings.isJson && !form.takesJson) {
        return QStringLiteral("%1 does not take --json").arg(QLatin1String(form.name));
    }
    if (settings.isChangesOnly && !isNamed("watch")) {
        return QStringLiteral("only watch takes --changes-only");
    }
    return {};
}

} // namespace

const std::vector<CommandForm>& commandForms()
{
    static const std::vector<CommandForm> forms = {
        {"list", "[PATH...]", "prints the paths of nodes", 0, MOST_WORDS, true, false, makeList},
        {"get", "PATH...", "prints values", 1, MOST_WORDS, true, true, makeGet},
        {"describe", "PATH...", "prints what nodes take", 1, MOST_WORDS, false, true, makeDescribe},
        {"set", "PATH VALUE...", "writes a value; set - reads lines PATH VALUE...", 1, MOST_WORDS,
         false, false, makeSet},
        {"unset", "PATH...", "leaves nodes without a value", 1, MOST_WORDS, false, false,
         makeUnset},
        {"watch", "[PATH...]", "prints values as they change", 0, MOST_WORDS, true, true,
         makeWatch},
        {"dump", "[PATH...]", "prints values as JSON", 0, MOST_WORDS, false, false, makeDump},
        {"load", "FILE [PATH...]", "writes what differs from a dump", 1, MOST_WORDS, false, false,
         makeLoad},
        {"diff", "FILE [PATH...]", "prints what differs from a dump", 1, MOST_WORDS, false, false,
         makeDiff},
    };
    return forms;
}

std::optional<int> readSettings(Settings& settings)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(helpText());
    parser.addPositionalArgument(QStringLiteral("command"), QStringLiteral("One of the above."),
                                 QStringLiteral("command ..."));
    addOptions(parser);
    const QStringList arguments = QCoreApplication::arguments();
    if (!takesValues(arguments, parser)) {
        parser.setOptionsAfterPositionalArgumentsMode(QCommandLineParser::ParseAsOptions);
    }
    if (const std::optional<int> exitValue = parseCommandLine(parser)) {
        return exitValue;
    }
    if (parser.positionalArguments().value(0) == QLatin1String(COMPLETE)) {
        return complete(parser.positionalArguments().value(1));
    }
    readCommand(parser, settings);
    QString whatIsWrong;
    if (readOptions(parser, settings, whatIsWrong)) {
        whatIsWrong = findFault(parser, settings);
    }
    if (!whatIsWrong.isEmpty()) {
        return refuseCommandLine(whatIsWrong);
    }
    return std::nullopt;
}

PartOfCommandLine readPart(const QStringList& words)
{
    PartOfCommandLine part;
    QCommandLineParser parser;
    addOptions(parser);
    part.options = getOptionNames(parser);
    const QStringList arguments = QStringList{QString()} + words;
    if (!takesValues(arguments, parser)) {
        parser.setOptionsAfterPositionalArgumentsMode(QCommandLineParser::ParseAsOptions);
    }
    if (!parser.parse(arguments) && part.options.contains(words.value(words.size() - 1))) {
        part.awaitedValueOf = words.constLast();
    }
    readCommand(parser, part.settings);
    QString whatIsWrong;
    if (!readOptions(parser, part.settings, whatIsWrong)) {
        part.settings.servers.clear();
    }
    return part;
}
