#include "infrastructure/utility/CommandLine.h"

#include <QCommandLineParser>
#include <QCoreApplication>

#include <cstdio>

namespace {

constexpr int WRONG_ARGUMENTS = 2;

}

std::optional<int> parseCommandLine(QCommandLineParser& parser)
{
    const QCommandLineOption help({QStringLiteral("h"), QStringLiteral("help")},
                                  QStringLiteral("Print this summary of the options."));
    parser.addOption(help);
    if (!parser.parse(QCoreApplication::arguments())) {
        std::fprintf(stderr, "%s\n", qPrintable(parser.errorText()));
        return WRONG_ARGUMENTS;
    }
    if (parser.isSet(help)) {
        std::fputs(qPrintable(parser.helpText()), stdout);
        return 0;
    }
    return std::nullopt;
}

int refuseCommandLine(const QCommandLineParser& parser)
{
    std::fputs(qPrintable(parser.helpText()), stderr);
    return WRONG_ARGUMENTS;
}
