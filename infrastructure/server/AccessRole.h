// What a client may do. A value.
#pragma once

#include <QString>
#include <QStringList>
#include <QStringView>

/// A right, with the names of the roles that it comes from. Whoever may write may read.
struct AccessRole
{
    enum class Right { None, Read, Write, All };

    QStringList names;
    Right right = Right::None;
    QStringList prefixes; ///< of Write: full paths

    bool mayRead() const { return right != Right::None; }
    /// True if the node at a full path is at or below a prefix, or the right is All.
    bool mayWrite(QStringView path) const;
    /// Both together: the higher right, and the prefixes of either.
    void add(const AccessRole& other);

    QString getRightText() const; ///< "none", "read", "write" or "all"
    /// For a log line: "role viewer", "roles viewer, operator", "no role"; "right all" if the
    /// roles have no names.
    QString toString() const;
};

/// True if `path` is `prefix` or leads to something below it: "a/b" is below "a", "ab" is not.
bool isAtOrBelow(QStringView path, QStringView prefix);
