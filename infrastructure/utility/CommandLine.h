// The command line as the programs of this project take it.
#pragma once

#include <optional>

class QCommandLineParser;

/// Parses the application's arguments, with -h and --help added to the options. A value is what to
/// exit with: 0 after the help has been printed, and 2 after a wrong option, which standard error
/// tells of.
std::optional<int> parseCommandLine(QCommandLineParser& parser);

/// Prints on standard error how the program is called, and gives the exit value for wrong
/// arguments, 2.
int refuseCommandLine(const QCommandLineParser& parser);
