#include "infrastructure/store/LeafDatabase_p.h"

#include <QByteArray>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>

#include <fcntl.h>
#include <sqlite3.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>

namespace {

constexpr int BUSY_TIMEOUT_MS = 250; ///< the process before may be about to end
constexpr int MAX_ASIDE = 9;
constexpr qint64 MAX_COPY_BYTES = 64 << 20; ///< of a store that can only be read
/// What SQLite keeps beside a file NAME: NAME-wal and NAME-journal.
const std::array<QLatin1String, 2> COMPANIONS{QLatin1String("-wal"), QLatin1String("-journal")};

/// IEEE 802.3, as zlib's crc32 gives it.
quint32 crc32(quint32 crc, const QByteArray& bytes)
{
    static constexpr auto table = [] {
        std::array<quint32, 256> remainders{};
        for (quint32 byte = 0; byte < remainders.size(); ++byte) {
            quint32 remainder = byte;
            for (int bit = 0; bit < 8; ++bit) {
                remainder = (remainder >> 1) ^ ((remainder & 1) != 0 ? 0xEDB88320U : 0U);
            }
            remainders[byte] = remainder;
        }
        return remainders;
    }();
    crc = ~crc;
    for (const char byte : bytes) {
        crc = (crc >> 8) ^ table[(crc ^ static_cast<quint8>(byte)) & 0xFF];
    }
    return ~crc;
}

quint32 digestOf(const QByteArray& path, const QByteArray& data)
{
    return crc32(crc32(crc32(0, path), QByteArray(1, '\0')), data);
}

QByteArray toData(const DatacoreStoreInterface::Values& values)
{
    QJsonArray array;
    for (const QString& value : values) {
        array.append(value);
    }
    return QJsonDocument(array).toJson(QJsonDocument::Compact);
}

bool fromData(const QByteArray& data, DatacoreStoreInterface::Values& values)
{
    const QJsonDocument document = QJsonDocument::fromJson(data);
    const QJsonArray array = document.array();
    values.clear();
    for (const QJsonValue& value : array) {
        values.append(value.toString());
    }
    return document.isArray() &&
           std::all_of(array.begin(), array.end(),
                       [](const QJsonValue& value) { return value.isString(); });
}

void syncFolderOf(const QString& file)
{
    const QByteArray folder = QFile::encodeName(QFileInfo(file).absolutePath());
    const int descriptor = ::open(folder.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor >= 0) {
        ::fsync(descriptor);
        ::close(descriptor);
    }
}

bool isThere(const QString& file)
{
    return QFileInfo::exists(file);
}

} // namespace

/// An open database with its statements.
class LeafDatabase::Connection
{
public:
    /// Opens the file, or makes it with SQLITE_OPEN_CREATE among the flags; see getCode.
    Connection(const QString& file, int flags)
    {
        // A path is absolute, so it is never one of SQLite's special names.
        const QByteArray path = QFileInfo(file).absoluteFilePath().toUtf8();
        code = sqlite3_open_v2(path.constData(), &database,
                               flags | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_EXRESCODE, nullptr);
        if (code != SQLITE_OK) {
            return;
        }
        sqlite3_busy_timeout(database, BUSY_TIMEOUT_MS);
        sqlite3_limit(database, SQLITE_LIMIT_LENGTH, 2 * MAX_DATA_BYTES);
        // Nothing in the file is to be run, and only a file that has been found good is tidied up.
        for (const int option : {SQLITE_DBCONFIG_ENABLE_TRIGGER, SQLITE_DBCONFIG_ENABLE_VIEW,
                                 SQLITE_DBCONFIG_TRUSTED_SCHEMA}) {
            sqlite3_db_config(database, option, 0, nullptr);
        }
        sqlite3_db_config(database, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
        setTidyUp(false);
        // No other process, so no shared memory either.
        execute("PRAGMA locking_mode=EXCLUSIVE");
    }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;
    ~Connection()
    {
        sqlite3_finalize(upsert);
        sqlite3_close_v2(database);
    }

    /// SQLite's extended code of the latest call, and what it says.
    int getCode() const { return code; }
    QString getReason() const
    {
        const bool isOwn = database != nullptr && code == sqlite3_extended_errcode(database);
        return QString::fromUtf8(isOwn ? sqlite3_errmsg(database) : sqlite3_errstr(code));
    }
    bool isReadOnly() const { return sqlite3_db_readonly(database, "main") == 1; }
    void setTidyUp(bool isWanted)
    {
        sqlite3_db_config(database, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, isWanted ? 0 : 1, nullptr);
    }

    /// Reads even a file that is shorter than it says.
    void readWhatIsThere()
    {
        sqlite3_db_config(database, SQLITE_DBCONFIG_DEFENSIVE, 0, nullptr);
        execute("PRAGMA writable_schema=ON");
    }

    bool execute(const char* statements)
    {
        code = sqlite3_exec(database, statements, nullptr, nullptr, nullptr);
        return code == SQLITE_OK;
    }
    /// The first column of the first row; none if there is no row.
    std::optional<QString> ask(const char* question)
    {
        sqlite3_stmt* statement = nullptr;
        code = sqlite3_prepare_v2(database, question, -1, &statement, nullptr);
        std::optional<QString> answer;
        if (code == SQLITE_OK && (code = sqlite3_step(statement)) == SQLITE_ROW) {
            answer =
                QString::fromUtf8(reinterpret_cast<const char*>(sqlite3_column_text(statement, 0)));
        }
        sqlite3_finalize(statement);
        return answer;
    }

    /// Makes an empty database ours, in one transaction.
    bool makeSchema()
    {
        const QByteArray statements =
            "BEGIN IMMEDIATE;"
            "CREATE TABLE leaf(path TEXT PRIMARY KEY NOT NULL, data BLOB NOT NULL,"
            " digest INTEGER NOT NULL) WITHOUT ROWID;"
            "PRAGMA application_id=" +
            QByteArray::number(APPLICATION_ID) +
            ";"
            "PRAGMA user_version=" +
            QByteArray::number(SCHEMA_VERSION) + ";";
        return execute(statements.constData()) && execute("COMMIT");
    }

    bool put(const QString& path, const Values& values)
    {
        if (upsert == nullptr) {
            code = sqlite3_prepare_v3(database, "REPLACE INTO leaf VALUES(?,?,?)", -1,
                                      SQLITE_PREPARE_PERSISTENT, &upsert, nullptr);
            if (code != SQLITE_OK) {
                return false;
            }
        }
        const QByteArray name = path.toUtf8();
        const QByteArray data = toData(values);
        if (name.size() > MAX_PATH_BYTES || data.size() > MAX_DATA_BYTES) {
            code = SQLITE_TOOBIG; // it would not be read again
            return false;
        }
        code = sqlite3_bind_text(upsert, 1, name.constData(), name.size(), SQLITE_STATIC);
        if (code == SQLITE_OK) {
            code = sqlite3_bind_blob(upsert, 2, data.constData(), data.size(), SQLITE_STATIC);
        }
        if (code == SQLITE_OK) {
            sqlite3_bind_int64(upsert, 3, digestOf(name, data));
            sqlite3_step(upsert);
            code = sqlite3_reset(upsert);
        }
        return code == SQLITE_OK;
    }
    void rollBack()
    {
        if (sqlite3_get_autocommit(database) == 0) {
            sqlite3_exec(database, "ROLLBACK", nullptr, nullptr, nullptr);
        }
    }

    /// Hands over rows in the order of their paths, or in the reverse, as far as `until`, which is
    /// left out. False if it ends before; a damaged file may repeat rows without end. `lastPath`
    /// is that of the last row.
    template <typename Take>
    bool walk(bool isReverse, const QByteArray& until, QByteArray& lastPath, Take take)
    {
        sqlite3_stmt* statement = nullptr;
        const QByteArray question =
            "SELECT path, CASE WHEN length(data) <= " + QByteArray::number(MAX_DATA_BYTES) +
            " THEN data END, digest FROM leaf ORDER BY path" + (isReverse ? " DESC" : "");
        code = sqlite3_prepare_v2(database, question.constData(), -1, &statement, nullptr);
        bool isInOrder = true;
        while (code == SQLITE_OK || code == SQLITE_ROW) {
            code = sqlite3_step(statement);
            if (code != SQLITE_ROW) {
                break;
            }
            const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement, 0));
            const QByteArray path(text, sqlite3_column_bytes(statement, 0));
            isInOrder = lastPath.isNull() || (isReverse ? path < lastPath : lastPath < path);
            if (!isInOrder || (isReverse && path <= until)) {
                break;
            }
            lastPath = path.isNull() ? QByteArray("") : path;
            const QByteArray data(static_cast<const char*>(sqlite3_column_blob(statement, 1)),
                                  sqlite3_column_bytes(statement, 1));
            take(path, data, sqlite3_column_int64(statement, 2));
        }
        sqlite3_finalize(statement);
        return isInOrder && code == SQLITE_DONE;
    }

private:
    sqlite3* database = nullptr;
    sqlite3_stmt* upsert = nullptr;
    int code = SQLITE_OK;
};

LeafDatabase::LeafDatabase(const QString& fileName)
    : file(QFileInfo(fileName).absoluteFilePath())
    , salvaged(file + QLatin1String(".salvaged"))
{
    open();
}

LeafDatabase::~LeafDatabase() = default;

void LeafDatabase::open()
{
    // Opening a pipe would wait for its other end.
    for (const QString& name : {file, file + COMPANIONS[0], file + COMPANIONS[1]}) {
        if (isThere(name) && !QFileInfo(name).isFile()) {
            refusal = QStringLiteral("%1 is not a file").arg(name);
            findings.append(QStringLiteral("Store: %1; nothing is read or saved").arg(refusal));
            return;
        }
    }
    finishReplacement();
    QString reason;
    const Condition condition = openInPlace(reason);
    if (condition == Condition::Good) {
        return;
    }
    if ((condition == Condition::Damaged || condition == Condition::Newer) &&
        replace(reason, condition)) {
        return;
    }
    refusal = reason;
    if (condition == Condition::ReadOnly) {
        openCopy(reason);
    } else if (condition == Condition::Unusable) {
        connection.reset();
        findings.append(QStringLiteral("Store %1: %2; nothing is read or saved").arg(file, reason));
    }
}

LeafDatabase::Condition LeafDatabase::openInPlace(QString& reason)
{
    connection = std::make_unique<Connection>(file, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE);
    const Condition condition = examine(reason);
    if (condition == Condition::Good) {
        connection->setTidyUp(true);
        QString problem;
        if (!prepareForWriting(problem)) { // each write tries again
            findings.append(
                QStringLiteral("Store %1: %2; nothing can be saved now").arg(file, problem));
        }
    }
    return condition;
}

LeafDatabase::Condition LeafDatabase::examine(QString& reason)
{
    Connection& database = *connection;
    reason = database.getReason();
    if (database.getCode() != SQLITE_OK) {
        return isThere(file) ? Condition::ReadOnly : Condition::Unusable;
    }
    if (database.isReadOnly()) {
        reason = QStringLiteral("it can't be written");
        return Condition::ReadOnly;
    }
    const std::optional<QString> version = database.ask("PRAGMA user_version");
    if (!version) {
        reason = database.getReason();
        switch (database.getCode() & 0xFF) {
        case SQLITE_BUSY:
            reason = QStringLiteral("another process has it");
            return Condition::Unusable;
        case SQLITE_CANTOPEN:
        case SQLITE_PERM:
        case SQLITE_READONLY:
            return Condition::ReadOnly;
        case SQLITE_FULL:
            return Condition::ReadOnly;
        default:
            return Condition::Damaged;
        }
    }
    const std::optional<QString> application = database.ask("PRAGMA application_id");
    if (application != QString::number(APPLICATION_ID)) {
        if (application == QLatin1String("0") && version == QLatin1String("0") &&
            database.ask("SELECT count(*) FROM sqlite_schema") == QLatin1String("0")) {
            return Condition::Good; // an empty one
        }
        reason = QStringLiteral("it is another program's database");
        return Condition::Unusable;
    }
    if (version->toInt() > SCHEMA_VERSION) {
        reason = QStringLiteral("a newer release has written it (form %1)").arg(*version);
        return Condition::Newer;
    }
    if (version->toInt() < 1) {
        reason = QStringLiteral("form %1 has never been").arg(*version);
        return Condition::Damaged;
    }
    const std::optional<QString> check = database.ask("PRAGMA quick_check(1)");
    if (check != QLatin1String("ok")) {
        reason = check ? check->simplified() : database.getReason();
        return Condition::Damaged;
    }
    const Reading reading = readRows([](const Leaf&) {});
    if (!reading.isComplete || reading.bad > 0) {
        reason = reading.isComplete ? QStringLiteral("%1 rows are not as written").arg(reading.bad)
                                    : database.getReason();
        return Condition::Damaged;
    }
    return Condition::Good;
}

/// What a database needs that has been found good. An older form would be brought up to date here.
bool LeafDatabase::prepareForWriting(QString& reason)
{
    Connection& database = *connection;
    isPrepared = (database.ask("PRAGMA user_version") == QString::number(SCHEMA_VERSION) ||
                  database.makeSchema()) &&
                 // With the log, a commit is one fsync rather than three; FULL makes it one at each
                 // commit, where NORMAL would leave the latest ones to chance.
                 database.ask("PRAGMA journal_mode=WAL") == QLatin1String("wal") &&
                 database.execute("PRAGMA synchronous=FULL");
    if (!isPrepared) {
        reason = database.getReason();
        database.rollBack();
    }
    return isPrepared;
}

/// Puts a database with the readable rows in the file's place. At each instant one of the two has
/// the file's name, or finishReplacement gives it to the new one.
bool LeafDatabase::replace(const QString& reason, Condition condition)
{
    QFile::remove(salvaged);
    QFile::remove(salvaged + COMPANIONS[1]);
    Reading reading;
    connection.reset();
    connection = std::make_unique<Connection>(file, SQLITE_OPEN_READWRITE);
    connection->readWhatIsThere();
    {
        Connection fresh(salvaged, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE);
        bool isWritten = fresh.getCode() == SQLITE_OK && fresh.makeSchema() &&
                         fresh.execute("PRAGMA synchronous=EXTRA; BEGIN");
        reading = readRows(
            [&](const Leaf& leaf) { isWritten = isWritten && fresh.put(leaf.path, leaf.values); });
        if (!isWritten || !fresh.execute("COMMIT")) {
            findings.append(
                QStringLiteral("Store %1: %2; %3 values are read, nothing is saved: %4")
                    .arg(file, reason, QString::number(reading.good), fresh.getReason()));
            return false;
        }
    }
    connection.reset();
    QString aside;
    for (int i = 1; i <= MAX_ASIDE && (aside.isEmpty() || isThere(aside)); ++i) {
        aside = QStringLiteral("%1.%2-%3")
                    .arg(file, QLatin1String(condition == Condition::Newer ? "newer" : "damaged"),
                         QString::number(i));
    }
    QString problem;
    if (!moveAside(aside) || openInPlace(problem) != Condition::Good) {
        findings.append(QStringLiteral("Store %1: %2; it can't be replaced").arg(file, reason));
        return false;
    }
    const QString lost = condition == Condition::Damaged
                             ? QStringLiteral("%1%2 are lost")
                                   .arg(QString::number(reading.bad),
                                        QLatin1String(reading.isComplete ? "" : " or more"))
                             : QStringLiteral("what else it holds is not understood");
    findings.append(QStringLiteral("Store %1: %2; %3 values are read, %4; the old file is %5")
                        .arg(file, reason, QString::number(reading.good), lost, aside));
    return true;
}

bool LeafDatabase::moveAside(const QString& aside)
{
    const auto rename = [](const QString& from, const QString& to) {
        return std::rename(QFile::encodeName(from).constData(),
                           QFile::encodeName(to).constData()) == 0;
    };
    if (!rename(file, aside)) {
        return false;
    }
    syncFolderOf(file);
    for (const QLatin1String companion : COMPANIONS) {
        if (isThere(file + companion) && !rename(file + companion, aside + companion)) {
            return false;
        }
    }
    syncFolderOf(file);
    const bool isMoved = rename(salvaged, file);
    syncFolderOf(file);
    return isMoved;
}

/// The process may have ended within a replacement. The old file's log must not meet the new file.
void LeafDatabase::finishReplacement()
{
    if (isThere(file) || !isThere(salvaged)) {
        return;
    }
    for (const QLatin1String companion : COMPANIONS) {
        QFile::rename(file + companion, file + QLatin1String(".damaged") + companion);
    }
    QFile::rename(salvaged, file);
    syncFolderOf(file);
}

/// SQLite needs to write beside a file even to read it, if its log is not empty.
void LeafDatabase::openCopy(const QString& reason)
{
    connection.reset();
    copyFolder.emplace();
    const QString copy = copyFolder->filePath(QStringLiteral("store"));
    const QString log = file + COMPANIONS[0];
    if (QFileInfo(file).size() + QFileInfo(log).size() > MAX_COPY_BYTES ||
        !QFile::copy(file, copy) || (isThere(log) && !QFile::copy(log, copy + COMPANIONS[0]))) {
        findings.append(QStringLiteral("Store %1: %2; nothing is read or saved").arg(file, reason));
        return;
    }
    for (const QString& name : {copy, copy + COMPANIONS[0]}) {
        QFile::setPermissions(name, QFile::ReadOwner | QFile::WriteOwner);
    }
    connection = std::make_unique<Connection>(copy, SQLITE_OPEN_READWRITE);
    const Reading reading = readRows([](const Leaf&) {});
    findings.append(QStringLiteral("Store %1: %2; %3 values are read%4, nothing is saved")
                        .arg(file, reason, QString::number(reading.good),
                             QLatin1String(reading.isComplete ? "" : ", others are lost")));
}

void LeafDatabase::read(const std::function<void(const Leaf&)>& take)
{
    if (connection) {
        readRows(take);
    }
}

/// From the first row to the first that can't be reached, then from the last back to the same.
LeafDatabase::Reading LeafDatabase::readRows(const std::function<void(const Leaf&)>& take)
{
    Reading reading;
    const auto takeRow = [&](const QByteArray& path, const QByteArray& data, qint64 digest) {
        Leaf leaf{QString::fromUtf8(path), {}};
        if (path.size() <= MAX_PATH_BYTES && digest == digestOf(path, data) &&
            fromData(data, leaf.values)) {
            ++reading.good;
            take(leaf);
        } else {
            ++reading.bad;
        }
    };
    constexpr bool isReverse = true;
    QByteArray last;
    reading.isComplete = connection->walk(!isReverse, {}, last, takeRow);
    if (!reading.isComplete) {
        QByteArray lastInReverse;
        connection->walk(isReverse, last, lastInReverse, takeRow);
    }
    return reading;
}

bool LeafDatabase::write(const std::map<QString, Values>& leaves, QString& reason)
{
    if (!refusal.isEmpty()) {
        reason = refusal;
        return false;
    }
    if (!isPrepared && !prepareForWriting(reason)) {
        return false;
    }
    Connection& database = *connection;
    const bool isWritten =
        database.execute("BEGIN IMMEDIATE") &&
        std::all_of(leaves.begin(), leaves.end(),
                    [&](const auto& leaf) { return database.put(leaf.first, leaf.second); }) &&
        database.execute("COMMIT");
    if (!isWritten) {
        reason = database.getReason();
        database.rollBack();
    }
    return isWritten;
}
