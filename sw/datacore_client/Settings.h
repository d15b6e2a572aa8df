// What the command line asks for.
#pragma once

#include "infrastructure/utility/packets/LinkAddress.h"
#include "infrastructure/utility/packets/TlsSettings.h"

#include <QStringList>

#include <memory>
#include <optional>
#include <vector>

struct Settings;
class Command;

/// A command, by the name under which it is called.
struct CommandForm
{
    const char* name;
    const char* words; ///< behind the name, as the help shows them
    const char* text;  ///< what it does, for the help
    int leastWords;
    int mostWords;
    bool takesManyServers;
    bool takesJson;
    std::unique_ptr<Command> (*make)(const Settings& settings);
};

/// All commands, in the order of the help.
const std::vector<CommandForm>& commandForms();

struct Settings
{
    const CommandForm* command = nullptr;
    QStringList words; ///< behind the command
    std::vector<LinkAddress> servers;
    std::optional<TlsSettings> tls;
    QString token;
    int timeoutMs = 0;
    bool isJson = false;
    bool isChangesOnly = false;
};

/// Reads the program's arguments. Options stand before the command, or behind it if it takes no
/// values, which may begin with a minus sign. Returns a value to exit with if there is nothing to
/// do.
std::optional<int> readSettings(Settings& settings);

/// What the beginning of a command line holds, for the completion of its last word.
struct PartOfCommandLine
{
    Settings settings;
    QStringList options;    ///< all that there are, with "--"
    QString awaitedValueOf; ///< the option whose value is to come, if any
};
/// The words are those between the program's name and the word to be completed.
PartOfCommandLine readPart(const QStringList& words);
