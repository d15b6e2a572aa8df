// The names of a tree of datacores. A value type.
#pragma once

#include <QJsonObject>
#include <QString>
#include <QStringList>

#include <deque>

/// One node: its own path component and its children, in order. On the wire it is an object with
/// "Core", the name, and "Kids", an array of such objects that is left out when empty. The start of
/// a path is thus sent only once, in the path's ancestors.
struct DatacorePathRadixTreeNode
{
    QString name;
    std::deque<DatacorePathRadixTreeNode> kids;

    /// The JSON form has these keys.
    static QString NAME_KEY() { return QStringLiteral("Core"); }
    static QString KIDS_KEY() { return QStringLiteral("Kids"); }

    /// Reads the JSON form. Missing parts give an empty name or no kids; nothing fails.
    static DatacorePathRadixTreeNode fromJson(const QJsonObject& json);

    /// Appends the full path of each node, ancestors before descendants. Takes time in proportion
    /// to the text of the paths.
    ///     A with kids B and C, C with kid D => A, A/B, A/C, A/C/D
    void appendPathsTo(QStringList& paths) const;
};

bool operator==(const DatacorePathRadixTreeNode& a, const DatacorePathRadixTreeNode& b);
bool operator!=(const DatacorePathRadixTreeNode& a, const DatacorePathRadixTreeNode& b);
