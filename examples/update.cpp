// Firmware updates over the state tree, with two files in place of flash:
//   update FOLDER [PORT [BLOCK_MS]]
//   datacore_client --port PORT set commandCoreRouter/update/image IMAGE
#include "infrastructure/platform/leaves/FirmwareUpdateTree.h"
#include "infrastructure/server/DatacoreServer.h"
#include "infrastructure/utility/QuitOnSignal.h"

#include <QCoreApplication>
#include <QFile>
#include <QTimer>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <thread>

/// As slow as flash: files are not.
struct SlowUpdate : FirmwareUpdateThread
{
    SlowUpdate(const FirmwareTarget& target, int blockTimeMs)
        : FirmwareUpdateThread(target)
        , blockMs(blockTimeMs)
    {
    }
    ~SlowUpdate() override { stopThread(); }
    bool onProgress(const FirmwareProgress& progress) override
    {
        std::this_thread::sleep_for(std::chrono::milliseconds(blockMs));
        return FirmwareUpdateThread::onProgress(progress);
    }
    int blockMs;
};

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    if (argc < 2 || argc > 4) {
        std::fprintf(stderr, "usage: update FOLDER [PORT [BLOCK_MS]]\n");
        return 2;
    }
    const std::string folder = argv[1];
    FirmwareTarget target; // on an instrument: FirmwareTarget::find("fpga", ...)
    target.name = "fpga";
    target.device = "part-1";
    target.recordFolder = folder;
    for (const char* name : {"fpga_a", "fpga_b"}) {
        target.banks.push_back({name, folder + '/' + name});
        QFile bank(QString::fromStdString(folder + '/' + name));
        if (!bank.exists() && !(bank.open(QIODevice::WriteOnly) && bank.resize(1 << 20))) {
            std::fprintf(stderr, "%s: can't be made\n", qPrintable(bank.fileName()));
            return 1;
        }
    }

    DatacoreBase config(QStringLiteral("configCoreRouter"), nullptr);
    DatacoreBase status(QStringLiteral("statusCoreRouter"), nullptr);
    DatacoreBase command(QStringLiteral("commandCoreRouter"), nullptr);
    DatacoreBase persistent(QStringLiteral("persistentConfigCoreRouter"), nullptr);
    SlowUpdate update(target, argc > 3 ? std::atoi(argv[3]) : 0);
    FirmwareUpdateTree tree(update, &command, &status);
    update.startThread();

    DatacoreServer server({&config, &status, &command, &persistent});
    const auto port = static_cast<quint16>(argc > 2 ? std::atoi(argv[2]) : 4010);
    if (!server.listen(QHostAddress(QHostAddress::LocalHost), port)) {
        std::fprintf(stderr, "port %u is taken\n", unsigned(port));
        return 1;
    }
    std::printf("Listening at port %u\n", unsigned(server.getPort()));
    std::fflush(stdout);
    quitOnSignal();
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, [&] {
        tree.refresh();
        server.publishChanges();
    });
    timer.start(50);
    return app.exec();
}
