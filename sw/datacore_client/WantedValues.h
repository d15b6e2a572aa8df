// What nodes are to hold, as files of users say it.
#pragma once

#include <QStringList>

#include <optional>
#include <vector>

/// What a node is to hold.
struct Wanted
{
    QString path;
    QStringList values;
};

/// What a file that dump has written holds, or standard input for "-", in order. A file that can't
/// be read, is larger than MAX_JSON_FILE_BYTES or is no such JSON gives nothing, and the reason.
std::optional<std::vector<Wanted>> readDump(const QString& name, QString& whatIsWrong);

/// A line PATH VALUE... of standard input for each write; empty lines and those that begin with #
/// are left out. A line that is wrong gives nothing, and the reason.
std::optional<std::vector<Wanted>> readLines(QString& whatIsWrong);
