// How the programs of this project read their command line.
#pragma once

#include <optional>

class QCommandLineParser;

/// Parses the application's arguments, with -h and --help added to the options. If it returns a
/// value, the program should exit with it: 0 after printing the help, 2 after a wrong option, which
/// is reported on standard error.
std::optional<int> parseCommandLine(QCommandLineParser& parser);

/// Prints the usage on standard error and returns 2, the exit value for wrong arguments.
int refuseCommandLine(const QCommandLineParser& parser);
