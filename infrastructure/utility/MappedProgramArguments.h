// A command line as a multi-map from keys to values. There is no list of known options: any word is
// a key, and a word with "=" gives a key and a value. A value type.
#pragma once

#include <QMultiMap>
#include <QString>
#include <QStringList>

#include <iosfwd>

class QCoreApplication;

/// The words of a command line, by key. A word that "=" splits into no part or more than two is
/// logged at level err and left out.
///     testSources=/some/dir => key "testSources", value "/some/dir"
///     key, key=, =key       => key "key", null value
///     a==b                  => key "a", value "b"
class MappedProgramArguments
{
public:
    /// All of the application's arguments; the program's name is the first key.
    /// With `stripOptionPrefix` a leading "-D", "--" or "-" is removed from each word.
    MappedProgramArguments(const QCoreApplication& app, bool stripOptionPrefix);

    /// The same from the words of `main`, read as Latin-1. An `argc` of 0 or less gives an empty
    /// map.
    MappedProgramArguments(int argc, char** argv, bool stripOptionPrefix);

    /// True if the key is there; keys are case-sensitive.
    bool contains(const QString& key) const;

    /// The last value given for the key; for a missing key a null string and a log line.
    QString value(const QString& key) const;

    /// Each key once, in order.
    QStringList keys() const;

private:
    friend std::ostream& operator<<(std::ostream& stream, const MappedProgramArguments& arguments);

    void insertWord(QString word, bool stripOptionPrefix);

    QMultiMap<QString, QString> arguments;
};

/// One line per key: "key[x] : values[2, 1]", newest value first.
std::ostream& operator<<(std::ostream& stream, const MappedProgramArguments& arguments);
