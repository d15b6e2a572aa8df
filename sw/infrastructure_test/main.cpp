// The verification host: one live exercise of the link, then the cases. The exit value is the
// exercise's; failed cases show in the runner's report.
#define CATCH_CONFIG_RUNNER
#include <catch2/catch.hpp>

#include "infrastructure/utility/Logging.h"
#include "infrastructure/utility/MappedProgramArguments.h"
#include "sw/infrastructure_test/DatacoreTest.h"
#include "sw/infrastructure_test/NetworkConnectionTests.h"

#include <QCoreApplication>

int main(int argc, char** argv)
{
    setupLogging(false, "/home/transfer/log/");
    QCoreApplication app(argc, argv);

    NetworkConnectionTests connectionTests(&app);
    const int exitValue = connectionTests.run() ? 0 : 1;

    const MappedProgramArguments arguments(app, true);
    const QString testSources = QStringLiteral("testSources");
    if (arguments.contains(testSources) && argc > 1) { // the program's own name is a key too
        DatacoreTest::testSourceDirectory = arguments.value(testSources);
        // The runner takes the word after the program's name for the program's name.
        Catch::Session().run(argc - 1, argv + 1);
    } else {
        DatacoreTest::testSourceDirectory =
            QStringLiteral("../../vel/sw/infrastructure_test/testsources");
        Catch::Session().run(argc, argv);
    }

    tearDownLogging();
    return exitValue;
}
