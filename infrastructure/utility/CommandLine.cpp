#include "infrastructure/utility/CommandLine.h"

#include "infrastructure/utility/NearestNames.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QFileInfo>
#include <QRegularExpression>

#include <cstdio>
#include <cstring>

namespace {

constexpr int WRONG_ARGUMENTS = 2;
constexpr int LINE_CHARACTERS = 79;

QString programName()
{
    return QFileInfo(QCoreApplication::arguments().value(0)).fileName();
}

/// Qt's help, with the default behind the text of each option that has one.
QString helpWithDefaults(QCommandLineParser& parser)
{
    parser.parse({programName()}); // so that each option has its default
    static const QRegularExpression option(QStringLiteral("^ +(?:-\\w, )?--([\\w-]+) <"));
    QStringList lines = parser.helpText().split(QLatin1Char('\n'));
    for (int i = 0; i < lines.size(); ++i) {
        const QString name = option.match(lines[i]).captured(1);
        const QString value = name.isEmpty() ? QString() : parser.value(name);
        if (value.isEmpty()) {
            continue;
        }
        int column = lines[i].lastIndexOf(QLatin1String("  ")) + 2;
        while (i + 1 < lines.size() && lines[i + 1].startsWith(QLatin1String("     "))) {
            ++i; // the text goes on
        }
        const QString text = QStringLiteral("(default: %1)").arg(value);
        if (lines[i].size() + 1 + text.size() <= LINE_CHARACTERS) {
            lines[i] += QLatin1Char(' ') + text;
        } else {
            lines.insert(++i, QString(column, QLatin1Char(' ')) + text);
        }
    }
    return lines.join(QLatin1Char('\n'));
}

} // namespace

const char* getProjectVersion()
{
    return INFRASTRUCTURE_VERSION;
}

std::optional<int> parseCommandLine(QCommandLineParser& parser)
{
    const QCommandLineOption help({QStringLiteral("h"), QStringLiteral("help")},
                                  QStringLiteral("Print this summary of the options."));
    const QCommandLineOption version(QStringLiteral("version"),
                                     QStringLiteral("Print the version."));
    parser.addOptions({help, version});
    if (!parser.parse(QCoreApplication::arguments())) {
        QString error = parser.errorText();
        error.chop(error.endsWith(QLatin1Char('.')) ? 1 : 0);
        return refuseCommandLine(
            withSuggestion(error, QLatin1String("--") + parser.unknownOptionNames().value(0),
                           getOptionNames(parser)));
    }
    if (parser.isSet(help)) {
        std::fputs(qUtf8Printable(helpWithDefaults(parser)), stdout);
        return 0;
    }
    if (parser.isSet(version)) {
        std::printf("%s %s\n", qPrintable(programName()), getProjectVersion());
        return 0;
    }
    return std::nullopt;
}

std::optional<int> answerHelpOrVersion(int argc, const char* const* argv, const char* usage)
{
    const char* word = argc == 2 ? argv[1] : "";
    if (usage != nullptr && (std::strcmp(word, "-h") == 0 || std::strcmp(word, "--help") == 0)) {
        std::fputs(usage, stdout);
        return 0;
    }
    if (std::strcmp(word, "--version") == 0) {
        const char* slash = std::strrchr(argv[0], '/');
        std::printf("%s %s\n", slash != nullptr ? slash + 1 : argv[0], getProjectVersion());
        return 0;
    }
    return std::nullopt;
}

QStringList getOptionNames(const QCommandLineParser& parser)
{
    // Only the help tells.
    static const QRegularExpression option(QStringLiteral("^ +(?:-\\w, )?(--[\\w-]+)"),
                                           QRegularExpression::MultilineOption);
    QStringList names;
    for (auto found = option.globalMatch(parser.helpText()); found.hasNext();) {
        names.append(found.next().captured(1));
    }
    return names;
}

std::optional<int> readNumber(const QCommandLineParser& parser, const QString& option, int least,
                              int most, QString& whatIsWrong)
{
    bool ok = false;
    const QString text = parser.value(option);
    const int number = text.toInt(&ok);
    if (ok && number >= least && number <= most) {
        return number;
    }
    whatIsWrong = QStringLiteral("--%1 \"%2\": a number from %3 to %4 is needed")
                      .arg(option, text)
                      .arg(least)
                      .arg(most);
    return std::nullopt;
}

QString withSuggestion(const QString& whatIsWrong, const QString& name,
                       const QStringList& candidates)
{
    const QStringList near = findNearestNames(name, candidates);
    return near.isEmpty()
               ? whatIsWrong
               : whatIsWrong +
                     QStringLiteral("; did you mean %1?").arg(near.join(QLatin1String(" or ")));
}

int refuseCommandLine(const QString& whatIsWrong)
{
    std::fprintf(stderr, "%s: %s\nSee %s --help\n", qUtf8Printable(programName()),
                 qUtf8Printable(whatIsWrong), qUtf8Printable(programName()));
    return WRONG_ARGUMENTS;
}

int refuseCommandLine(const QCommandLineParser& parser)
{
    std::fputs(qPrintable(parser.helpText()), stderr);
    return WRONG_ARGUMENTS;
}
