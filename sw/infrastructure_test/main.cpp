// The verification host: one live exercise of the link, then the cases. The exit value is the
// exercise's; failed cases show in the runner's report. After SIGINT or SIGTERM it is 128 and the
// signal's number.
#include "infrastructure/utility/CommandLine.h"
#include "infrastructure/utility/Logging.h"
#include "infrastructure/utility/MappedProgramArguments.h"
#include "sw/infrastructure_test/DatacoreTest.h"
#include "sw/infrastructure_test/NetworkConnectionTests.h"
#include "sw/infrastructure_test/RunCases.h"

#include <QCoreApplication>

#include <cstdio>

int main(int argc, char** argv)
{
    if (const std::optional<int> answer = answerHelpOrVersion(argc, argv, nullptr)) {
        return *answer; // the version; --help is the runner's
    }
    stopCasesOnSignal();
    setupLogging(false, "/home/transfer/log/");
    QCoreApplication app(argc, argv);

    NetworkConnectionTests connectionTests(&app);
    const int exitValue = connectionTests.run() ? 0 : 1;
    if (exitValue != 0) {
        std::fprintf(stderr, "%s: %s\n", argv[0], qPrintable(connectionTests.getFailure()));
    }

    const MappedProgramArguments arguments(app, true);
    const QString testSources = QStringLiteral("testSources");
    if (arguments.contains(testSources) && argc > 1) { // the program's own name is a key too
        DatacoreTest::testSourceDirectory = arguments.value(testSources);
        // The runner takes the next word for the program's name.
        runCases(argc - 1, argv + 1);
    } else {
        DatacoreTest::testSourceDirectory =
            QStringLiteral("../../vel/sw/infrastructure_test/testsources");
        runCases(argc, argv);
    }

    tearDownLogging();
    return exitValueAfterSignal(exitValue);
}
