// The file that says who may do what with a server.
//
//   role viewer   read
//   role operator write configCoreRouter/input1 commandCoreRouter
//   role engineer all
//
//   grant viewer   address 192.168.10.0/24
//   grant operator certificate "Control room 2"
//   grant operator token 2bb80d537b1da3e38bd30361aa855686bde0eacd7162fef6a25fe97bf527a25b
//   grant engineer user root
//
//   read-only tree configCoreRouter/input4
//   writable  node configCoreRouter/input4/label
//
// A line is a statement of words; "#" at the beginning of a word starts a comment, and a word with
// blanks stands in double quotes. Text is UTF-8.
#pragma once

#include "infrastructure/server/AccessRules.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <optional>

/// The largest file of rules that is read, in bytes.
constexpr int MAX_ACCESS_RULES_BYTES = 64 << 10;
/// How many errors are told of one file; a line after that counts the rest.
constexpr int MAX_ACCESS_RULES_ERRORS = 20;

/// The rules that a text states. If anything in it is wrong, nothing is returned and `errors` has a
/// line for each error: "line 3: what is wrong; what would be right".
std::optional<AccessRules> readAccessRules(const QByteArray& text, QStringList& errors);

/// The rules in a file. Errors begin with its name, and the file may be missing, no regular file,
/// or larger than MAX_ACCESS_RULES_BYTES. `warnings` tells if other users may write it, or read the
/// tokens in it.
std::optional<AccessRules> loadAccessRules(const QString& path, QStringList& errors,
                                           QStringList& warnings);
