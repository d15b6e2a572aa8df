// A server of many leaves that change all the time, for tests under load: each takes the time of
// its change, in microseconds since 1970.
//   busy_server LEAVES CHANGES_A_SECOND [PORT]
#include "infrastructure/datacore/DatacoreDescription.h"
#include "infrastructure/datacore/DatacoreNumber.h"
#include "infrastructure/server/DatacoreServer.h"
#include "infrastructure/utility/QuitOnSignal.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTimer>

#include <chrono>
#include <cstdio>
#include <cstdlib>

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    if (argc < 3) {
        return 2;
    }
    const int leafCount = std::atoi(argv[1]);
    const int changesASecond = std::atoi(argv[2]);
    quitOnSignal();
    DatacoreBase config(QStringLiteral("configCoreRouter"), nullptr);
    DatacoreBase status(QStringLiteral("statusCoreRouter"), nullptr);
    DatacoreBase command(QStringLiteral("commandCoreRouter"), nullptr);
    DatacoreBase persistent(QStringLiteral("persistentConfigCoreRouter"), nullptr);
    std::vector<std::unique_ptr<DatacoreBase>> groups;
    std::vector<std::unique_ptr<DatacoreNumber<long long>>> leaves;
    constexpr int inGroup = 100;
    for (int i = 0; i < leafCount; ++i) {
        if (i % inGroup == 0) {
            groups.push_back(std::make_unique<DatacoreBase>(
                QStringLiteral("group%1").arg(i / inGroup), &status));
        }
        leaves.push_back(std::make_unique<DatacoreNumber<long long>>(
            QStringLiteral("leaf%1").arg(i), groups.back().get(), 0));
        leaves.back()->setNotes(
            {QStringLiteral("us"), QStringLiteral("Time of change %1.").arg(i % inGroup), true});
    }
    DatacoreServer server({&config, &status, &command, &persistent});
    if (!server.listen(QHostAddress(QHostAddress::LocalHost),
                       argc > 3 ? quint16(std::atoi(argv[3])) : quint16(0))) {
        return 1;
    }
    std::printf("Listening at 127.0.0.1 port %u\n", unsigned(server.getPort()));
    std::fflush(stdout);

    QElapsedTimer clock;
    clock.start();
    long long done = 0;
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, [&] {
        using namespace std::chrono;
        const auto now = duration_cast<microseconds>(system_clock::now().time_since_epoch());
        for (const long long due = clock.elapsed() * changesASecond / 1000; done < due; ++done) {
            leaves[std::size_t(done % leafCount)]->setData(QString::number(now.count()));
        }
        server.publishChanges();
    });
    timer.start(5);
    return QCoreApplication::exec();
}
