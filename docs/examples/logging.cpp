#include "infrastructure/utility/Logging.h"
#include "infrastructure/utility/Log.h"
#include "infrastructure/utility/MappedProgramArguments.h"
#include "infrastructure/utility/MovingAverage.h"

#include <cstdio>
#include <iostream>

QString expensiveText()
{
    std::puts("never called: trace is silent");
    return QString();
}

int main()
{
    VELLOG_ERR() << "before set-up a line goes nowhere";
    setupLogging(true, ""); // standard output, and syslog
    VELLOG_INFO() << "Connected to " << QStringLiteral("127.0.0.1") << " port " << 4004;
    VELLOG_ERR() << "Paths left out: " << QStringList{QStringLiteral("a"), QStringLiteral("b")};
    VELLOG_TRACE() << expensiveText();

    char program[] = "host", source[] = "--testSources=/some/dir", flag[] = "-v";
    char* words[] = {program, source, flag};
    std::cout << MappedProgramArguments(3, words, true);

    MovingAverage<int> average(3);
    for (int sample : {8, 8, 9, 90}) {
        std::cout << average.addSample(sample) << ' ';
    }
    std::cout << std::endl;
    tearDownLogging();
}
