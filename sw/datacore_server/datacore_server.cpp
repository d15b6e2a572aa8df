// A server of four small trees, with leaves of nearly every type, one of which changes by itself.
//   datacore_server [--address ADDRESS] [--port PORT] [--tls-port PORT --tls-certificate FILE
//                   --tls-key FILE] [--local PATH] [--roles FILE]
//                   [--store FILE [--store-interval MS]]
//                   [--demonstration] [--leaves N [--changes-per-second M]]
#include "Demonstration.h"
#include "infrastructure/datacore/DatacoreBool.h"
#include "infrastructure/datacore/DatacoreDescription.h"
#include "infrastructure/datacore/DatacoreMacAddress.h"
#include "infrastructure/datacore/DatacoreNumberLimits.h"
#include "infrastructure/datacore/DatacoreNumberSet.h"
#include "infrastructure/datacore/DatacoreNumberSetLimits.h"
#include "infrastructure/datacore/DatacorePoint.h"
#include "infrastructure/server/AccessRulesFile.h"
#include "infrastructure/server/DatacoreServer.h"
#include "infrastructure/store/DatacoreStore.h"
#include "infrastructure/utility/CommandLine.h"
#include "infrastructure/utility/Logging.h"
#include "infrastructure/utility/packets/TlsOptions.h"
#include "infrastructure/utility/QuitOnSignal.h"
#include "ServiceNotification.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDateTime>
#include <QElapsedTimer>
#include <QTimer>

#include <chrono>
#include <cstdio>
#include <optional>

namespace {

constexpr int STATUS_PERIOD_MS = 250;
constexpr int MAX_STORE_INTERVAL_MS = 60'000;
constexpr int MAX_LOAD_LEAVES = 1'000'000;
constexpr int LOAD_PERIOD_MS = 20;
constexpr quint32 DEMONSTRATION_SEED = 1;
constexpr quint64 DEMONSTRATION_STEPS_A_SHOW = 5; ///< of values; records come with each step

/// The settings of one input.
struct InputConfig : DatacoreBase
{
    InputConfig(const QString& name, DatacoreBase* parentNode)
        : DatacoreBase(name, parentNode)
    {
        label.setNotes({{}, QStringLiteral("Name of the input."), false, 1, 1});
        enabled.setNotes({{}, QStringLiteral("Whether the input is looked at."), false, 1, 1});
        equaliser.setNotes({{}, QStringLiteral("Strength of the cable equaliser."), false, 1, 1});
        cursor.setNotes(
            {QStringLiteral("pixel"), QStringLiteral("Place of the cursor."), false, 1, 1});
    }

    DatacoreBase label{QStringLiteral("label"), this, getInstanceName()};
    DatacoreBool enabled{QStringLiteral("enabled"), this, true};
    DatacoreNumberLimits<int> equaliser{QStringLiteral("equaliser"), this, 0, 15, {4}};
    DatacorePoint cursor{QStringLiteral("cursor"), this, 960, 540};
};

struct ConfigTree : DatacoreBase
{
    ConfigTree()
        : DatacoreBase(QStringLiteral("configCoreRouter"), nullptr)
    {
        subImages.setNotes({{}, QStringLiteral("Inputs that are shown, in their order.")});
        loudnessTarget.setNotes(
            {QStringLiteral("LUFS"), QStringLiteral("Loudness aimed at."), false, 1, 1});
        jitterGain.setNotes({{}, QStringLiteral("Gain of the jitter display."), false, 1, 1});
    }

    InputConfig input1{QStringLiteral("input1"), this};
    InputConfig input2{QStringLiteral("input2"), this};
    InputConfig input3{QStringLiteral("input3"), this};
    InputConfig input4{QStringLiteral("input4"), this};
    DatacoreNumberSetLimits<int> subImages{QStringLiteral("subImages"), this, 0, 4, {1, 2, 3, 4}};
    DatacoreNumber<double> loudnessTarget{QStringLiteral("loudnessTarget"), this, -23.0};
    DatacoreNumber<float> jitterGain{QStringLiteral("jitterGain"), this, 1.0f};
};

struct StatusTree : DatacoreBase
{
    StatusTree()
        : DatacoreBase(QStringLiteral("statusCoreRouter"), nullptr)
    {
        setNotes({{}, QStringLiteral("What the instrument measures."), true});
        temperature.setNotes(
            {QStringLiteral("\u00B0C"), QStringLiteral("Temperature of the FPGA."), false, 1, 1});
        lineOffset.setNotes({QStringLiteral("line"), QStringLiteral("Offset to the reference.")});
        ptpOffset.setNotes({QStringLiteral("ns"), QStringLiteral("Offset to the grandmaster.")});
    }

    DatacoreNumber<unsigned long long> framesSeen{QStringLiteral("framesSeen"), this, 0};
    DatacoreNumber<int> temperature{QStringLiteral("temperature"), this, 41};
    DatacoreNumber<short> lineOffset{QStringLiteral("lineOffset"), this, -3};
    DatacoreNumber<unsigned short> lines{QStringLiteral("lines"), this, 1125};
    DatacoreNumber<unsigned int> crcErrors{QStringLiteral("crcErrors"), this, 0};
    DatacoreNumber<long long> ptpOffset{QStringLiteral("ptpOffset"), this, -12};
    DatacoreBase log{QStringLiteral("log"), this,
                     std::deque<QString>{QStringLiteral("started"), QStringLiteral("listening")}};
};

struct CommandTree : DatacoreBase
{
    CommandTree()
        : DatacoreBase(QStringLiteral("commandCoreRouter"), nullptr)
    {
        seek.setNotes({QStringLiteral("frame"), QStringLiteral("Where to play from.")});
        capture.setNotes({QStringLiteral("frame"), QStringLiteral("How much to capture.")});
    }

    DatacoreBool recalibrate{QStringLiteral("recalibrate"), this, false};
    DatacoreNumber<long> seek{QStringLiteral("seek"), this, 0};
    DatacoreNumber<unsigned long> capture{QStringLiteral("capture"), this, 0};
};

struct PersistentConfigTree : DatacoreBase
{
    PersistentConfigTree()
        : DatacoreBase(QStringLiteral("persistentConfigCoreRouter"), nullptr)
    {
        licences.setNotes({{}, QStringLiteral("Numbers of the options that were bought.")});
        name.setNotes({{}, QStringLiteral("Name of the instrument."), false, 1, 1});
    }

    DatacoreMacAddress macAddress{
        QStringLiteral("macAddress"), this, {0x02, 0x15, 0xE9, 0x2B, 0x99, 0x3C}};
    DatacoreNumberSet<int> licences{QStringLiteral("licences"), this, {3, 7}};
    DatacoreBase name{QStringLiteral("name"), this, QStringLiteral("instrument")};
};

/// The rules in a file; without one, whoever is on this machine may do all. Nothing, with the
/// reason on standard error, if the file is no good.
std::optional<AccessRules> getAccessRules(const std::optional<QString>& file)
{
    if (!file) {
        return AccessRules::forThisMachine();
    }
    QStringList errors, warnings;
    const std::optional<AccessRules> rules = loadAccessRules(*file, errors, warnings);
    for (const QString& error : errors) {
        std::fprintf(stderr, "%s\n", qPrintable(error));
    }
    for (const QString& warning : warnings) {
        std::fprintf(stderr, "warning: %s\n", qPrintable(warning));
    }
    return rules;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Serves four datacore trees to clients."));
    const QCommandLineOption addressOption(QStringLiteral("address"),
                                           QStringLiteral("Address to listen at."),
                                           QStringLiteral("address"), QStringLiteral("127.0.0.1"));
    const QCommandLineOption portOption(QStringLiteral("port"),
                                        QStringLiteral("Port to listen at; 0 for any."),
                                        QStringLiteral("port"), QStringLiteral("4010"));
    const QCommandLineOption rolesOption(
        QStringLiteral("roles"),
        QStringLiteral("Who may do what; without it, whoever is on this machine may do all and "
                       "nobody else anything."),
        QStringLiteral("file"));
    const QCommandLineOption tlsPortOption(
        QStringLiteral("tls-port"), QStringLiteral("Port to listen at for TLS as well; 0 for any."),
        QStringLiteral("port"));
    const QCommandLineOption localOption(
        QStringLiteral("local"),
        QStringLiteral("Path of a socket to listen at as well, for processes of this machine."),
        QStringLiteral("path"));
    const QCommandLineOption localModeOption(
        QStringLiteral("local-mode"),
        QStringLiteral("Permissions of that socket, octal: who may write to it may connect."),
        QStringLiteral("mode"), QStringLiteral("0660"));
    const QCommandLineOption deadPeerOption(
        QStringLiteral("dead-peer-timeout"),
        QStringLiteral("Seconds after which a client that can't be reached is dropped, 2 to 32767; "
                       "0 for never."),
        QStringLiteral("seconds"), QStringLiteral("10"));
    parser.addOptions({addressOption, portOption, tlsPortOption});
    addTlsOptions(parser, TlsEnd::Server);
    const QCommandLineOption storeOption(
        QStringLiteral("store"),
        QStringLiteral("SQLite file that keeps the persistent tree; without it, nothing does."),
        QStringLiteral("file"));
    const QCommandLineOption storeIntervalOption(
        QStringLiteral("store-interval"),
        QStringLiteral("Least milliseconds from one commit of the store to the next."),
        QStringLiteral("ms"), QString::number(DatacoreStore::DEFAULT_COMMIT_INTERVAL_MS));
    const QCommandLineOption demonstrationOption(
        QStringLiteral("demonstration"),
        QStringLiteral("Show made-up measurements: values that move, and records."));
    const QCommandLineOption leavesOption(QStringLiteral("leaves"),
                                          QStringLiteral("Number of leaves to add for load tests."),
                                          QStringLiteral("number"), QStringLiteral("0"));
    const QCommandLineOption changesOption(
        QStringLiteral("changes-per-second"),
        QStringLiteral("How many of these leaves change in a second, in turn."),
        QStringLiteral("number"), QStringLiteral("0"));
    parser.addOptions({localOption, localModeOption, deadPeerOption, rolesOption, storeOption,
                       storeIntervalOption, demonstrationOption, leavesOption, changesOption});
    if (const std::optional<int> exitValue = parseCommandLine(parser)) {
        return *exitValue;
    }

    QString whatIsWrong;
    const std::optional<int> givenPort =
        readNumber(parser, QStringLiteral("port"), 0, 65535, whatIsWrong);
    const QHostAddress address(parser.value(addressOption));
    const std::optional<int> tlsPort =
        parser.isSet(tlsPortOption)
            ? readNumber(parser, QStringLiteral("tls-port"), 0, 65535, whatIsWrong)
            : 0;
    constexpr int longestTimeout = 32767;
    const std::optional<int> deadPeerTimeout =
        readNumber(parser, QStringLiteral("dead-peer-timeout"), 0, longestTimeout, whatIsWrong);
    const std::optional<int> storeInterval =
        readNumber(parser, QStringLiteral("store-interval"), 0, MAX_STORE_INTERVAL_MS, whatIsWrong);
    const std::optional<int> leafCount =
        readNumber(parser, QStringLiteral("leaves"), 0, MAX_LOAD_LEAVES, whatIsWrong);
    const std::optional<int> changeRate =
        readNumber(parser, QStringLiteral("changes-per-second"), 0, MAX_LOAD_LEAVES, whatIsWrong);
    constexpr quint32 allPermissions = 0777;
    bool isMode = false;
    const quint32 localMode = parser.value(localModeOption).toUInt(&isMode, 8);
    if (address.isNull()) {
        whatIsWrong = QStringLiteral("--address \"%1\": an IP address is needed")
                          .arg(parser.value(addressOption));
    } else if (!isMode || localMode > allPermissions) {
        whatIsWrong = QStringLiteral("--local-mode \"%1\": permissions from 0 to 0777 are needed")
                          .arg(parser.value(localModeOption));
    } else if (parser.isSet(storeOption) && parser.value(storeOption).isEmpty()) {
        whatIsWrong = QStringLiteral("--store needs the name of a file");
    } else if (!parser.positionalArguments().isEmpty()) {
        whatIsWrong = QStringLiteral("\"%1\" is not an option")
                          .arg(parser.positionalArguments().constFirst());
    }
    if (!whatIsWrong.isEmpty()) {
        return refuseCommandLine(whatIsWrong);
    }
    const auto port = static_cast<quint16>(*givenPort);

    const std::optional<AccessRules> rules =
        getAccessRules(parser.isSet(rolesOption) ? std::optional<QString>(parser.value(rolesOption))
                                                 : std::nullopt);
    if (!rules) {
        return 1;
    }
    std::optional<TlsSettings> tlsSettings;
    if (parser.isSet(tlsPortOption)) {
        tlsSettings = readTlsOptions(parser, TlsEnd::Server, &whatIsWrong);
        if (!tlsSettings) {
            std::fprintf(stderr, "%s\n", qPrintable(whatIsWrong));
            return 1;
        }
    }

    setupLogging(false, "");
    quitOnSignal();
    ConfigTree config;
    StatusTree status;
    CommandTree command;
    PersistentConfigTree persistentConfig;
    std::optional<DemonstrationTree> demonstration;
    if (parser.isSet(demonstrationOption)) {
        demonstration.emplace(status);
    }
    std::optional<LoadTree> load;
    if (*leafCount > 0) {
        load.emplace(status, *leafCount);
    }
    std::optional<DatacoreStore> store;
    if (parser.isSet(storeOption)) {
        store.emplace(parser.value(storeOption), *storeInterval);
        for (const QString& finding : store->getFindings()) {
            std::fprintf(stderr, "%s\n", qPrintable(finding));
        }
    }
    DatacoreServer server({&config, &status, &command, &persistentConfig});
    server.setAccessRules(*rules);
    server.setDeadPeerTimeout(std::chrono::seconds(*deadPeerTimeout));
    if (store) {
        server.setStore(*store);
    }
    if (!server.listen(address, port)) {
        std::fprintf(stderr, "Can't listen at %s port %u\n", qPrintable(address.toString()),
                     unsigned(port));
        return 1;
    }
    std::printf("Listening at %s port %u\n", qPrintable(address.toString()),
                unsigned(server.getPort()));
    if (tlsSettings) {
        if (!server.listenTls(address, static_cast<quint16>(*tlsPort), *tlsSettings,
                              &whatIsWrong)) {
            std::fprintf(stderr, "Can't listen at %s port %u: %s\n", qPrintable(address.toString()),
                         unsigned(*tlsPort), qPrintable(whatIsWrong));
            return 1;
        }
        std::printf("Listening with TLS at %s port %u\n", qPrintable(address.toString()),
                    unsigned(server.getTlsPort()));
    }
    if (parser.isSet(localOption)) {
        const QString path = parser.value(localOption);
        if (!server.listenLocal(path, localMode, &whatIsWrong)) {
            std::fprintf(stderr, "Can't listen at %s: %s\n", qPrintable(path),
                         qPrintable(whatIsWrong));
            return 1;
        }
        std::printf("Listening at %s\n", qPrintable(path));
    }
    std::fflush(stdout);
    notifyServiceManager("READY=1");

    unsigned long long frames = 0;
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, [&] {
        frames += 15;
        status.framesSeen.setData(QString::number(frames));
        server.publishChanges();
    });
    timer.start(STATUS_PERIOD_MS);

    quint64 step = 0;
    QTimer demonstrationTimer;
    QObject::connect(&demonstrationTimer, &QTimer::timeout, [&] {
        for (const auto& record : makeDemonstrationRecords(DEMONSTRATION_SEED, step)) {
            server.sendRecord(record);
        }
        if (step++ % DEMONSTRATION_STEPS_A_SHOW == 0) {
            demonstration->show(makeDemonstrationValues(DEMONSTRATION_SEED, step), config);
            server.publishChanges();
        }
    });
    if (demonstration) {
        demonstrationTimer.start(DEMONSTRATION_STEP_MS);
    }

    qint64 changes = 0;
    QElapsedTimer clock;
    clock.start();
    QTimer loadTimer;
    QObject::connect(&loadTimer, &QTimer::timeout, [&] {
        const qint64 due = clock.elapsed() * *changeRate / 1000;
        load->change(static_cast<int>(due - changes), QDateTime::currentMSecsSinceEpoch());
        changes = due;
        server.publishChanges();
    });
    if (load && *changeRate > 0) {
        loadTimer.start(LOAD_PERIOD_MS);
    }
    const int result = app.exec();
    notifyServiceManager("STOPPING=1");
    tearDownLogging();
    return result;
}
