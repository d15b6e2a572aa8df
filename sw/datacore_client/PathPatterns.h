// Which nodes of a server the words of a command line stand for.
#pragma once

#include <QStringList>

#include <optional>

/// What a path on the command line reaches.
enum class Reach {
    Node,     ///< the node itself
    Children, ///< the node and all below it
};

/// True if the word has a "*".
bool isPattern(const QString& word);

/// The paths, of all that there are in order, that the words stand for, in order and each once. A
/// word is a full path or a pattern: "*" stands for any characters within a name, "**" in place of
/// a name for any number of names (at the end for one or more). Without words it is all paths.
/// `*unmatched`, unless null, becomes the first word that fits none.
///     "config/in*1/label"  "config/**/label"  "config/**"
QStringList matchPaths(const QStringList& words, const QStringList& allPaths, Reach reach,
                       QString* unmatched = nullptr);

/// The same, but a word that fits none gives nothing; `whatIsWrong` then names it and what may have
/// been meant.
std::optional<QStringList> selectPaths(const QStringList& words, const QStringList& allPaths,
                                       Reach reach, QString& whatIsWrong);

/// "There is no datacore config/inptu1; did you mean config/input1?"
QString describeUnknownPath(const QString& path, const QStringList& allPaths);
