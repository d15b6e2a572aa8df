// The command line as all these programs take it.
#pragma once

#include <QCommandLineParser>
#include <QCoreApplication>

#include <cstdio>
#include <optional>

/// Prints how the program is called, and gives the exit value for wrong arguments, 2.
inline int refuseCommandLine(const QCommandLineParser& parser)
{
    std::fputs(qPrintable(parser.helpText()), stderr);
    return 2;
}

/// Parses the arguments. A value is what to exit with: 0 after --help, and 2 after a wrong option,
/// which standard error tells of.
inline std::optional<int> parseCommandLine(QCommandLineParser& parser)
{
    const QCommandLineOption help({QStringLiteral("h"), QStringLiteral("help")},
                                  QStringLiteral("Print this summary of the options."));
    parser.addOption(help);
    if (!parser.parse(QCoreApplication::arguments())) {
        std::fprintf(stderr, "%s\n", qPrintable(parser.errorText()));
        return 2;
    }
    if (parser.isSet(help)) {
        std::fputs(qPrintable(parser.helpText()), stdout);
        return 0;
    }
    return std::nullopt;
}
