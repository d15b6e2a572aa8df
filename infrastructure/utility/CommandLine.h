// How the programs of this project read their command line.
#pragma once

#include <QString>
#include <QStringList>

#include <optional>

class QCommandLineParser;

/// The version of this project, such as "0.1.0".
const char* getProjectVersion();

/// Parses the application's arguments, with -h, --help and --version added to the options. If it
/// returns a value, the program should exit with it: 0 after printing the help, which shows the
/// options' defaults, or the version; 2 after a wrong option, which is reported on standard error.
std::optional<int> parseCommandLine(QCommandLineParser& parser);

/// The same for a program without such a parser, with `usage` for the help: answers only if one of
/// these options is the only argument. A null `usage` leaves the help to others.
std::optional<int> answerHelpOrVersion(int argc, const char* const* argv, const char* usage);

/// The options that a parser knows, each with its "--".
QStringList getOptionNames(const QCommandLineParser& parser);

/// The whole number that an option holds. Out of range, or no number, it gives nothing, and tells
/// in `whatIsWrong` what would be right.
std::optional<int> readNumber(const QCommandLineParser& parser, const QString& option, int least,
                              int most, QString& whatIsWrong);

/// `whatIsWrong`, and which of the candidates `name` may have been meant for.
///     "no command \"wach\"", "wach", {"watch", ...} => "no command \"wach\"; did you mean watch?"
QString withSuggestion(const QString& whatIsWrong, const QString& name,
                       const QStringList& candidates);

/// Says on standard error what is wrong and where to look, and returns 2, the exit value for wrong
/// arguments.
int refuseCommandLine(const QString& whatIsWrong);

/// Prints the usage on standard error and returns 2.
int refuseCommandLine(const QCommandLineParser& parser);
