// The file of a DatacoreStore. One thread at a time.
#pragma once

#include "infrastructure/server/DatacoreStoreInterface.h"

#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <functional>
#include <map>
#include <memory>
#include <optional>

/// An SQLite database with one table, a row a leaf:
///
///   leaf(path TEXT PRIMARY KEY, data BLOB, digest INTEGER)
///
/// `data` is the list of values as a JSON array of texts, `digest` the CRC-32 of path, a zero byte
/// and data, since SQLite does not notice a changed value. application_id says that the file is
/// ours, user_version is SCHEMA_VERSION.
class LeafDatabase
{
public:
    using Leaf = DatacoreStoreInterface::Leaf;
    using Values = DatacoreStoreInterface::Values;

    static constexpr int APPLICATION_ID = 0x494C4631; ///< "ILF1"
    static constexpr int SCHEMA_VERSION = 1;
    /// A row with more is not ours.
    static constexpr int MAX_PATH_BYTES = 64 << 10;
    static constexpr int MAX_DATA_BYTES = 8 << 20;

    explicit LeafDatabase(const QString& fileName);
    LeafDatabase(const LeafDatabase&) = delete;
    LeafDatabase& operator=(const LeafDatabase&) = delete;
    ~LeafDatabase();

    /// What was wrong with the file and what was lost.
    const QStringList& getFindings() const { return findings; }
    /// Every row that can be read.
    void read(const std::function<void(const Leaf&)>& take);
    /// Writes all of them in one transaction, or says why it can't. They are durable then.
    bool write(const std::map<QString, Values>& leaves, QString& reason);

private:
    class Connection;
    enum class Condition {
        Good,
        Newer,   ///< a later release's
        Damaged, ///< in part or all
        ReadOnly,
        Unusable,
    };
    struct Reading
    {
        int good = 0;
        int bad = 0;             ///< rows that are not as they were written
        bool isComplete = false; ///< otherwise there may have been more rows
    };

    void open();
    Condition openInPlace(QString& reason);
    Condition examine(QString& reason);
    bool prepareForWriting(QString& reason);
    bool replace(const QString& reason, Condition condition);
    bool moveAside(const QString& aside);
    void finishReplacement();
    void openCopy(const QString& reason);
    Reading readRows(const std::function<void(const Leaf&)>& take);

    const QString file;
    const QString salvaged; ///< what a replacement is called until the old file is aside
    QStringList findings;
    QString refusal; ///< why nothing can be written; empty if it can
    bool isPrepared = false;
    std::optional<QTemporaryDir> copyFolder;
    std::unique_ptr<Connection> connection; ///< null if there is nothing to read
};
