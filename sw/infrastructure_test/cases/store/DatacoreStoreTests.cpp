// The store with real files: what comes back, and what becomes of files that are not as they should
// be.
#include "infrastructure/store/DatacoreStore.h"
#include "sw/infrastructure_test/TestSupport.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <sqlite3.h>
#include <sys/stat.h>

#include <future>
#include <map>
#include <optional>

namespace {

using Values = DatacoreStoreInterface::Values;
using Rows = std::map<QString, Values>;

/// What an SQL statement gives: its first column, row by row.
QString sql(const QString& file, const QByteArray& statements)
{
    sqlite3* database = nullptr;
    sqlite3_open(file.toUtf8().constData(), &database);
    QString result;
    const auto take = [](void* to, int, char** columns, char**) {
        *static_cast<QString*>(to) += QString::fromUtf8(columns[0]) + QLatin1Char('\n');
        return 0;
    };
    INFO(statements.constData());
    CHECK(sqlite3_exec(database, statements.constData(), take, &result, nullptr) == SQLITE_OK);
    sqlite3_close(database);
    return result;
}

QByteArray readFile(const QString& name)
{
    QFile file(name);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void writeFile(const QString& name, const QByteArray& bytes)
{
    QFile file(name);
    REQUIRE(file.open(QIODevice::WriteOnly));
    file.write(bytes);
}

Rows read(DatacoreStore& store)
{
    Rows rows;
    store.readLeaves(
        [&](const DatacoreStoreInterface::Leaf& leaf) { rows[leaf.path] = leaf.values; });
    return rows;
}

/// Saves, and waits for the outcome.
DatacoreStoreInterface::Outcome save(DatacoreStore& store, const Rows& rows)
{
    std::promise<DatacoreStoreInterface::Outcome> promise;
    store.setListener([&](const auto& outcome) { promise.set_value(outcome); });
    std::vector<DatacoreStoreInterface::Leaf> leaves;
    for (const auto& [path, values] : rows) {
        leaves.push_back({path, values});
    }
    const auto ticket = store.save(leaves);
    const DatacoreStoreInterface::Outcome outcome = promise.get_future().get();
    store.setListener(nullptr);
    CHECK(outcome.upTo == ticket);
    return outcome;
}

constexpr int LEAVES = 2000;

/// So many leaves that the file has about 40 pages.
Rows manyRows()
{
    Rows rows;
    for (int i = 0; i < LEAVES; ++i) {
        rows["r/leaf%1"_s.arg(i, 4, 10, QLatin1Char('0'))] = {"value %1 "_s.arg(i) +
                                                              QString(50, QLatin1Char('.'))};
    }
    return rows;
}

using Change = std::function<void(const QString& file)>;

struct Folder
{
    QTemporaryDir folder;
    QString file = folder.filePath("store"_s);
};

} // namespace

TEST_CASE("What is saved comes back to the last character, in the known form", "[store]")
{
    const Folder place;
    const Rows rows{
        {"r"_s, {}},
        {"r/p"_s, {"a"_s, QString()}},
        {"r/empty"_s, {""_s}},
        {"r/pfad \xC3\xA4"_s, {"\"\\/\n\t"_s}},
        {"r/control"_s, {QString(QChar(0)) + QChar(1) + QChar(0x7F) + QChar(0xFFFE)}},
        {"r/half"_s, {QString(QChar(0xD800)) + QLatin1Char('x') + QChar(0xDC00)}},
        {"r/emoji"_s, {"\xF0\x9F\x8E\xAC"_s}},
        {"r/long"_s, Values(2500, QString(1000, QChar(0x20AC)))},
    };
    const LogCapture log;
    {
        DatacoreStore store(place.file);
        CHECK((read(store).empty() && save(store, rows).isDurable));
    }
    CHECK(QDir(place.folder.path()).entryList(QDir::Files) == lines({"store"})); // no log is left
    CHECK(sql(place.file, "SELECT data || ' ' || digest FROM leaf WHERE path='r/p';PRAGMA "
                          "application_id; PRAGMA user_version; PRAGMA journal_mode") ==
          "[\"a\",\"\"] 453749074\n1229735473\n1\nwal\n"_s);
    DatacoreStore store(place.file);
    CHECK(read(store) == rows);
    for (const Rows& tooLarge : {Rows{{"r/p"_s, {QString(9'000'000, QLatin1Char('x'))}}},
                                 Rows{{"r/p"_s, {}}, {QString(70'000, QLatin1Char('x')), {}}}}) {
        CHECK(save(store, tooLarge).reason == "string or blob too big"_s);
        store.forgetUnsaved();
    }
    CHECK(read(store) == rows);
    CHECK((store.getFindings().isEmpty() && log.lines().isEmpty()));
}

TEST_CASE("Saves within the interval are one transaction, also at the end", "[store]")
{
    const Folder place;
    const auto numbered = [](int value) {
        return std::vector<DatacoreStoreInterface::Leaf>{{"r/a"_s, {QString::number(value)}}};
    };
    std::vector<quint64> told;
    {
        DatacoreStore store(place.file, 600'000);
        // The first one is written at once.
        CHECK(save(store, {{"r/a"_s, {"1"_s}}}).upTo == 1);
        store.setListener([&](const auto& outcome) { told.push_back(outcome.upTo); });
        store.save(numbered(2));
        store.forgetUnsaved();
        for (int value = 3; value < 10; ++value) {
            CHECK(store.save(numbered(value)) == unsigned(value));
        }
    }
    CHECK(told == std::vector<quint64>{9});
    {
        DatacoreStore store(place.file, 600'000);
        CHECK(read(store) == Rows{{"r/a"_s, {"9"_s}}});
        CHECK(save(store, {{"r/a"_s, {"10"_s}}}).isDurable);
        store.save(numbered(11));
        store.forgetUnsaved();
    }
    DatacoreStore store(place.file);
    CHECK(read(store).begin()->second.front() == "10"_s);
}

TEST_CASE("A file that is damaged or newer is kept aside, and what can be read is used", "[store]")
{
    const auto run = [](const char* statements) {
        return [statements](const QString& file) { sql(file, statements); };
    };
    const auto edit = [](const std::function<void(QByteArray&)>& change) {
        return [change](const QString& file) {
            QByteArray bytes = readFile(file);
            change(bytes);
            writeFile(file, bytes);
        };
    };
    // What, the change, leaves lost at the most, what the old file is called, and the finding.
    const Table<const char*, Change, int, const char*, const char*> rows{
        {"a text", edit([](QByteArray& bytes) { bytes.fill('x'); }), LEAVES, "damaged-1",
         "file is not a database; 0 values are read, 0 or more are lost"},
        {"one value changed",
         edit([](QByteArray& bytes) { bytes[bytes.indexOf("value 77 ") + 6] = '8'; }), 1,
         "damaged-1", "1 rows are not as written; 1999 values are read, 1 are lost"},
        {"a page of noise", edit([](QByteArray& bytes) {
             std::fill_n(bytes.begin() + bytes.size() / 2 / 4096 * 4096, 4096, '\xAB');
         }),
         200, "damaged-1", "are lost; the old file is"},
        {"half of it", edit([](QByteArray& bytes) { bytes.truncate(bytes.size() / 2); }), LEAVES,
         "damaged-1", " or more are lost"},
        {"its last page gone", edit([](QByteArray& bytes) { bytes.chop(4096); }), 60, "damaged-1",
         "malformed; 19"},
        {"no table", run("DROP TABLE leaf"), LEAVES, "damaged-1", "no such table: leaf"},
        {"a view that never ends",
         run("DROP TABLE leaf; CREATE VIEW leaf AS WITH RECURSIVE c(path, data, digest) AS "
             "(VALUES('a', x'', 0) UNION ALL SELECT path || 'a', data, digest FROM c) SELECT * "
             "FROM c"),
         LEAVES, "damaged-1", "0 values are read"},
        {"no form", run("PRAGMA user_version=0"), 0, "damaged-1", "form 0 has never been"},
        {"rows too large",
         run("INSERT INTO leaf VALUES('r/x', zeroblob(9000000), 0);INSERT INTO leaf "
             "VALUES(hex(zeroblob(500000)), '[]', 0)"),
         0, "damaged-1", "2 rows are not as written; 2000 values are read, 2 are lost"},
        {"a row too large for memory",
         run("INSERT INTO leaf VALUES('r/leaf1000x', zeroblob(20000000), 0)"), 0, "damaged-1",
         "1 rows are not as written"},
        {"a path too large for memory",
         run("INSERT INTO leaf VALUES('r/leaf1000x' || hex(zeroblob(10000000)), '[]', 0)"), 0,
         "damaged-1", "string or blob too big; 2000 values are read, 0 or more are lost"},
        {"rows of other kinds",
         run("INSERT INTO leaf VALUES(17, 'x', 'y'); INSERT INTO leaf VALUES('r/y', '{}', 1)"), 0,
         "damaged-1", "2 are lost"},
        {"a newer release", run("ALTER TABLE leaf ADD COLUMN since; PRAGMA user_version=2"), 0,
         "newer-1",
         "a newer release has written it (form 2); 2000 values are read, what else it holds is not "
         "understood"},
        {"a newer release, all different",
         run("DROP TABLE leaf; CREATE TABLE leaves(a);PRAGMA user_version=3"), LEAVES, "newer-1",
         "(form 3); 0 values are read"},
    };
    const Rows all = manyRows();
    const Folder original;
    {
        DatacoreStore store(original.file);
        REQUIRE(save(store, all).isDurable);
    }
    for (const auto& [what, change, lost, name, finding] : rows) {
        INFO(what);
        const Folder place;
        QFile::copy(original.file, place.file);
        change(place.file);
        const QByteArray before = readFile(place.file);
        const QString aside = place.file + QLatin1Char('.') + QLatin1String(name);
        Rows left;
        {
            const LogCapture log;
            DatacoreStore store(place.file);
            REQUIRE(store.getFindings().size() == 1);
            INFO(store.getFindings().first().toStdString());
            CHECK(store.getFindings().first().contains(QLatin1String(finding)));
            CHECK(store.getFindings().first().endsWith(aside));
            CHECK(log.lines() == QStringList{"error: "_s + store.getFindings().first()});
            left = read(store);
            CHECK(int(left.size()) >= LEAVES - lost);
            CHECK(std::all_of(left.begin(), left.end(),
                              [&](const auto& leaf) { return all.at(leaf.first) == leaf.second; }));
            left["r/new"_s] = {"n"_s};
            CHECK(save(store, {{"r/new"_s, {"n"_s}}}).isDurable);
        }
        CHECK(readFile(aside) == before);
        CHECK_FALSE(QFile::exists(place.file + ".salvaged"_s));
        DatacoreStore store(place.file);
        CHECK(store.getFindings().isEmpty());
        CHECK(read(store) == left);
    }
}

TEST_CASE("Damaged files get numbers, of which there are nine", "[store]")
{
    const Folder place;
    for (int i = 1; i <= 11; ++i) {
        const QByteArray content = "not a database " + QByteArray::number(i);
        writeFile(place.file, content);
        const DatacoreStore store(place.file);
        CHECK(readFile(place.file + ".damaged-%1"_s.arg(std::min(i, 9))) == content);
    }
}

TEST_CASE("A replacement that was cut short is finished, without the old file's log", "[store]")
{
    const Folder place;
    const QString salvaged = place.file + ".salvaged"_s;
    {
        DatacoreStore store(salvaged);
        CHECK(save(store, {{"r/a"_s, {"1"_s}}}).isDurable);
    }
    writeFile(place.file + "-wal"_s, "log");
    DatacoreStore store(place.file);
    CHECK(store.getFindings().isEmpty());
    CHECK(read(store).size() == 1);
    CHECK_FALSE(QFile::exists(salvaged));
    CHECK(readFile(place.file + ".damaged-wal"_s) == "log");
}

TEST_CASE("What is no store of ours is left alone, and every save says why", "[store]")
{
    std::optional<DatacoreStore> owner;
    const Table<Change, const char*> rows{
        {[](const QString& file) { QDir().mkdir(file); }, "store is not a file"},
        {[](const QString& file) { mkfifo(QFile::encodeName(file).constData(), 0600); },
         "store is not a file"},
        {[](const QString& file) { mkfifo(QFile::encodeName(file + "-wal"_s), 0600); },
         "store-wal is not a file"},
        {[](const QString& file) { mkfifo(QFile::encodeName(file + "-journal"_s), 0600); },
         "store-journal is not a file"},
        {[](const QString& file) { sql(file, "CREATE TABLE mine(a)"); },
         "it is another program's database"},
        {[](const QString& file) { sql(file, "PRAGMA application_id=5; PRAGMA user_version=1"); },
         "it is another program's database"},
        {[&](const QString& file) { owner.emplace(file); }, "another process has it"},
        {[](const QString& file) { QDir().rmdir(QFileInfo(file).path()); },
         "unable to open database file"},
    };
    for (const auto& [make, reason] : rows) {
        INFO(reason);
        const Folder place;
        make(place.file);
        const QStringList entries =
            QDir(place.folder.path()).entryList(QDir::AllEntries | QDir::System);
        const QByteArray before = QFileInfo(place.file).isFile() ? readFile(place.file) : "";
        {
            DatacoreStore store(place.file);
            REQUIRE(store.getFindings().size() == 1);
            INFO(store.getFindings().first().toStdString());
            CHECK(store.getFindings().first().contains(QLatin1String(reason)));
            CHECK(read(store).empty());
            for (int attempt = 0; attempt < 2; ++attempt) {
                const auto outcome = save(store, {{"r/a"_s, {"1"_s}}});
                CHECK_FALSE((outcome.isDurable || !outcome.reason.contains(QLatin1String(reason))));
                store.forgetUnsaved();
            }
        }
        CHECK(QDir(place.folder.path()).entryList(QDir::AllEntries | QDir::System) == entries);
        CHECK((QFileInfo(place.file).isFile() ? readFile(place.file) : "") == before);
        owner.reset();
    }
}
