// A server of four small trees, with leaves of nearly every type, one of which changes by itself.
//   datacore_server [--address ADDRESS] [--port PORT] [--store FILE [--store-interval MS]]
#include "infrastructure/datacore/DatacoreBool.h"
#include "infrastructure/datacore/DatacoreMacAddress.h"
#include "infrastructure/datacore/DatacoreNumberLimits.h"
#include "infrastructure/datacore/DatacoreNumberSet.h"
#include "infrastructure/datacore/DatacoreNumberSetLimits.h"
#include "infrastructure/datacore/DatacorePoint.h"
#include "infrastructure/server/DatacoreServer.h"
#include "infrastructure/store/DatacoreStore.h"
#include "infrastructure/utility/CommandLine.h"
#include "infrastructure/utility/Logging.h"
#include "infrastructure/utility/QuitOnSignal.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QTimer>

#include <cstdio>
#include <optional>

namespace {

constexpr int STATUS_PERIOD_MS = 250;
constexpr int MAX_STORE_INTERVAL_MS = 60'000;

/// The settings of one input.
struct InputConfig : DatacoreBase
{
    InputConfig(const QString& name, DatacoreBase* parentNode)
        : DatacoreBase(name, parentNode)
    {
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
    }

    DatacoreMacAddress macAddress{
        QStringLiteral("macAddress"), this, {0x02, 0x15, 0xE9, 0x2B, 0x99, 0x3C}};
    DatacoreNumberSet<int> licences{QStringLiteral("licences"), this, {3, 7}};
    DatacoreBase name{QStringLiteral("name"), this, QStringLiteral("instrument")};
};

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
    const QCommandLineOption storeOption(
        QStringLiteral("store"),
        QStringLiteral("SQLite file that keeps the persistent tree; without it, nothing does."),
        QStringLiteral("file"));
    const QCommandLineOption storeIntervalOption(
        QStringLiteral("store-interval"),
        QStringLiteral("Least milliseconds from one commit of the store to the next."),
        QStringLiteral("ms"), QString::number(DatacoreStore::DEFAULT_COMMIT_INTERVAL_MS));
    parser.addOptions({addressOption, portOption});
    parser.addOptions({storeOption, storeIntervalOption});
    if (const std::optional<int> exitValue = parseCommandLine(parser)) {
        return *exitValue;
    }

    bool isPort = false;
    const quint16 port = parser.value(portOption).toUShort(&isPort);
    const QHostAddress address(parser.value(addressOption));
    bool isInterval = false;
    const uint storeInterval = parser.value(storeIntervalOption).toUInt(&isInterval);
    isInterval = isInterval && storeInterval <= MAX_STORE_INTERVAL_MS;
    if (!isInterval || (parser.isSet(storeOption) && parser.value(storeOption).isEmpty())) {
        return refuseCommandLine(parser);
    }
    if (!isPort || address.isNull() || !parser.positionalArguments().isEmpty()) {
        return refuseCommandLine(parser);
    }

    setupLogging(false, "");
    quitOnSignal();
    ConfigTree config;
    StatusTree status;
    CommandTree command;
    PersistentConfigTree persistentConfig;
    std::optional<DatacoreStore> store;
    if (parser.isSet(storeOption)) {
        store.emplace(parser.value(storeOption), static_cast<int>(storeInterval));
        for (const QString& finding : store->getFindings()) {
            std::fprintf(stderr, "%s\n", qPrintable(finding));
        }
    }
    DatacoreServer server({&config, &status, &command, &persistentConfig});
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
    std::fflush(stdout);

    unsigned long long frames = 0;
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, [&] {
        frames += 15;
        status.framesSeen.setData(QString::number(frames));
        server.publishChanges();
    });
    timer.start(STATUS_PERIOD_MS);
    const int result = app.exec();
    tearDownLogging();
    return result;
}
