// Acknowledged writes to a tree that a store keeps, from clients over loopback that wait for each
// acknowledgement, beside the bare SQLite calls with the same transactions on the same disk.
// Server, clients and store are in one process; the files are made in the current folder.
#include "bench/Compare.h"
#include "infrastructure/datacore/DatacoreBase.h"
#include "infrastructure/server/DatacoreServer.h"
#include "infrastructure/store/DatacoreStore.h"
#include "infrastructure/utility/packets/DatacorePacket.h"
#include "infrastructure/utility/packets/NetworkConnection.h"
#include "infrastructure/utility/packets/SerialisableDataPacketDistributor.h"

#include <QCoreApplication>
#include <QDir>
#include <QTemporaryDir>

#include <sqlite3.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <mutex>

namespace {

constexpr int WRITES = 200; ///< of all clients together, in one measurement
constexpr int LEAVES = 10;

QString leafName(int leaf)
{
    return QStringLiteral("leaf%1").arg(leaf);
}

QString leafPath(int leaf)
{
    return QStringLiteral("persistentConfigCoreRouter/") + leafName(leaf);
}

/// The store, with a look at what it makes one transaction.
class Watched : public DatacoreStoreInterface
{
public:
    explicit Watched(const QString& file)
        : store(file, 0)
    {
    }

    void readLeaves(const std::function<void(const Leaf&)>& take) override
    {
        store.readLeaves(take);
    }
    Ticket save(const std::vector<Leaf>& leaves) override { return store.save(leaves); }
    void setListener(Listener listener) override
    {
        store.setListener([this, listener, last = Ticket(0)](const Outcome& outcome) mutable {
            {
                const std::lock_guard<std::mutex> lock(mutex);
                transactions.push_back(static_cast<int>(outcome.upTo - last));
            }
            last = outcome.upTo;
            if (listener) {
                listener(outcome);
            }
        });
    }
    void forgetUnsaved() override
    {
        std::fputs("The disk is full\n", stderr);
        std::exit(1);
    }

    /// The writes in each since the last call.
    std::vector<int> takeTransactions()
    {
        const std::lock_guard<std::mutex> lock(mutex);
        return std::exchange(transactions, {});
    }

private:
    DatacoreStore store;
    std::mutex mutex;
    std::vector<int> transactions;
};

/// Writes its leaf again each time its write is acknowledged.
class Client : private SerialisableDataPacketAcceptorInterface
{
public:
    Client(quint16 port, int leafIndex)
        : leaf(leafIndex)
    {
        distributor.registerPacketAcceptor(*this, DatacorePacket::CLASSNAME());
        connection.connectToHost(QHostAddress(QHostAddress::LocalHost), port);
    }

    void write()
    {
        const QJsonObject content{{QStringLiteral("data"), QString::number(++number)}};
        connection.acceptPacket(DatacorePacket(connection.getLocalIdentifier(), number,
                                               {{leafName(leaf), content}}, leafPath(leaf)));
    }

    std::function<void()> onAcknowledged;

private:
    bool canAcceptPacket(QString) override { return true; }
    void acceptPacket(const SerialisableDataPacket& source) override
    {
        bool ok = false;
        const DatacorePacket packet(source, ok);
        if (packet.getClientID() == connection.getLocalIdentifier()) {
            onAcknowledged();
        }
    }

    int leaf;
    int number = 0;
    RawDataPacketReceivers receivers;
    NetworkConnection connection{receivers};
    SerialisableDataPacketDistributor distributor{receivers};
};

/// The tree, with or without a store, and its clients.
class Ours
{
public:
    Ours(int clientCount, const QString& file)
    {
        for (int leaf = 0; leaf < LEAVES; ++leaf) {
            leaves.push_back(std::make_unique<DatacoreBase>(leafName(leaf), &persistent));
        }
        store = std::make_unique<Watched>(file);
        server.setStore(*store);
        server.listen(QHostAddress(QHostAddress::LocalHost), 0);
        for (int client = 0; client < clientCount; ++client) {
            clients.push_back(std::make_unique<Client>(server.getPort(), client));
            clients.back()->onAcknowledged = [this, writer = clients.back().get()] {
                ++acknowledged;
                if (toWrite > 0) {
                    --toWrite;
                    writer->write();
                }
            };
        }
        while (server.getClientCount() < clientCount) {
            QCoreApplication::processEvents();
        }
    }

    void run()
    {
        acknowledged = 0;
        toWrite = WRITES - static_cast<int>(clients.size());
        for (const auto& client : clients) {
            client->write();
        }
        while (acknowledged < WRITES) {
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        }
    }

    std::vector<int> takeTransactions() { return store->takeTransactions(); }

private:
    DatacoreBase config{QStringLiteral("configCoreRouter"), nullptr};
    DatacoreBase status{QStringLiteral("statusCoreRouter"), nullptr};
    DatacoreBase command{QStringLiteral("commandCoreRouter"), nullptr};
    DatacoreBase persistent{QStringLiteral("persistentConfigCoreRouter"), nullptr};
    std::vector<std::unique_ptr<DatacoreBase>> leaves;
    std::unique_ptr<Watched> store;
    DatacoreServer server{{&config, &status, &command, &persistent}};
    std::vector<std::unique_ptr<Client>> clients;
    int acknowledged = 0;
    int toWrite = 0;
};

/// The same table, journal and statements.
class Bare
{
public:
    explicit Bare(const QString& file)
    {
        sqlite3_open(file.toUtf8().constData(), &database);
        execute("PRAGMA locking_mode=EXCLUSIVE");
        execute("CREATE TABLE leaf(path TEXT PRIMARY KEY NOT NULL, data BLOB NOT NULL, "
                "digest INTEGER NOT NULL) WITHOUT ROWID");
        execute("PRAGMA journal_mode=WAL");
        execute("PRAGMA synchronous=FULL");
        sqlite3_prepare_v2(database, "REPLACE INTO leaf VALUES(?,?,?)", -1, &replace, nullptr);
    }
    Bare(const Bare&) = delete;
    Bare& operator=(const Bare&) = delete;
    ~Bare()
    {
        sqlite3_finalize(replace);
        sqlite3_close(database);
    }

    void run(const std::vector<int>& transactions)
    {
        int leaf = 0;
        for (const int writes : transactions) {
            execute("BEGIN IMMEDIATE");
            for (int i = 0; i < writes; ++i) {
                const QByteArray path = leafPath(leaf++ % LEAVES).toUtf8();
                const QByteArray data = "[\"" + QByteArray::number(++number) + "\"]";
                sqlite3_bind_text(replace, 1, path.constData(), path.size(), SQLITE_STATIC);
                sqlite3_bind_blob(replace, 2, data.constData(), data.size(), SQLITE_STATIC);
                sqlite3_bind_int64(replace, 3, number);
                sqlite3_step(replace);
                sqlite3_reset(replace);
            }
            execute("COMMIT");
        }
    }

private:
    void execute(const char* statement)
    {
        if (sqlite3_exec(database, statement, nullptr, nullptr, nullptr) != SQLITE_OK) {
            std::fprintf(stderr, "%s: %s\n", statement, sqlite3_errmsg(database));
            std::exit(1);
        }
    }

    sqlite3* database = nullptr;
    sqlite3_stmt* replace = nullptr;
    int number = 0;
};

void durableWrites(benchmark::State& state)
{
    const QTemporaryDir folder(QDir::current().filePath(QStringLiteral("store-XXXXXX")));
    Ours ours(static_cast<int>(state.range(0)), folder.filePath(QStringLiteral("ours")));
    Bare bare(folder.filePath(QStringLiteral("bare")));
    std::vector<int> transactions;
    bench::compare(
        state, 0.5, 0.8,
        [&] {
            ours.run();
            transactions = ours.takeTransactions();
        },
        [&] { bare.run(transactions); });
    state.SetItemsProcessed(state.iterations() * WRITES);
    state.counters["a commit"] = double(WRITES) / double(transactions.size());
}

BENCHMARK(durableWrites)
    ->Arg(1)
    ->Arg(10)
    ->ArgName("clients")
    ->Iterations(10)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
}
