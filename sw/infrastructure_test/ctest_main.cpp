// The runner behind CTest: the host's cases with an exit value that counts failures.
//   infrastructure_ctest TESTSOURCES [Catch arguments]
#include "infrastructure/utility/Logging.h"
#include "sw/infrastructure_test/DatacoreTest.h"
#include "sw/infrastructure_test/NetworkConnectionTests.h"
#include "sw/infrastructure_test/RunCases.h"

#include <QCoreApplication>

#include <cstdio>

int main(int argc, char** argv)
{
    if (argc < 2) {
        std::fprintf(stderr, "usage: %s TESTSOURCES [Catch arguments]\n", argv[0]);
        return 2;
    }
    stopCasesOnSignal();
    setupLogging(false, "");
    QCoreApplication app(argc, argv);

    // Any free port: several runners may be running on one machine.
    NetworkConnectionTests connectionTests(&app, 0);
    connectionTests.run();

    DatacoreTest::testSourceDirectory = QString::fromLocal8Bit(argv[1]);
    argv[1] = argv[0];
    const int result = runCases(argc - 1, argv + 1);
    tearDownLogging();
    return exitValueAfterSignal(result);
}
