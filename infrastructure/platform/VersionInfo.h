// The process-wide table of versions, which the status display shows. Any thread may read it.
#pragma once

#include <QPair>
#include <QString>
#include <QVector>

namespace Tessorn {
class PlatformAbstractionInterface;
}

/// Versions of the software, fixed when it was built, and of the hardware; "Unknown" if the board
/// does not tell.
class VersionInfo
{
public:
    /// Key and value, as the display shows them.
    using Entry = QPair<QString, QString>;

    /// The table of this machine, made at first use.
    static const VersionInfo& getInstance();

    /// The table for another board.
    explicit VersionInfo(Tessorn::PlatformAbstractionInterface& platform);

    /// Keys and values, in the order of the display.
    const QVector<Entry>& getEntries() const { return entries; }
    /// The value of a key; empty if there is no such key.
    QString value(const QString& key) const;
    /// The product model: the value of "Main" as a number, 0 if unknown.
    int boardModel() const;

private:
    QVector<Entry> entries;
};
