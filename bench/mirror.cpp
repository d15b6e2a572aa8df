// The mirror of a server's tree beside Qt Remote Objects, with one object of one property for each
// leaf, and beside a plain socket, over loopback. Servers run in their own processes, and so do
// mirrors where there are many: for all sides alike, this program started with other arguments.
//   bench_mirror --serve KIND LEAVES        prints its port; for each byte on standard input it
//                                           changes all its leaves ROUNDS times
//   bench_mirror --mirror KIND PORT LEAVES  prints a line when it is filled, and one each time it
//                                           has taken ROUNDS changes of all leaves
#include "bench/Compare.h"
#include "infrastructure/client/VelClientDatacoreManager.h"
#include "infrastructure/server/DatacoreServer.h"
#include "infrastructure/utility/packets/DatacorePathListPacket.h"
#include "infrastructure/utility/packets/NetworkConnection.h"
#include "infrastructure/utility/packets/SerialisableDataPacketDistributor.h"

#include <QBuffer>
#include <QCoreApplication>
#include <QProcess>
#include <QSocketNotifier>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>

#if BENCH_HAS_REMOTE_OBJECTS
#include "rep_MirrorValue_merged.h"
#endif

#include <sched.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>

namespace {

constexpr int LEAVES = 1000;            ///< of a tree whose values change
constexpr int LEAVES_TO_FILL = 10000;   ///< of a tree that a mirror is filled from
constexpr int LEAVES_PER_GROUP = 100;   ///< a tree has a root, groups and leaves
constexpr int ROUNDS = 20;              ///< changes of each leaf in one measurement
constexpr int WRITES = 1000;            ///< round trips in one measurement
constexpr unsigned ROW_TIMEOUT_S = 100; ///< a row that hangs ends the program

QString rootName()
{
    return QStringLiteral("configCoreRouter");
}

QString groupName(int group)
{
    return QStringLiteral("group%1").arg(group, 3, 10, QLatin1Char('0'));
}

QString leafName(int leaf)
{
    return QStringLiteral("leaf%1").arg(leaf, 5, 10, QLatin1Char('0'));
}

QString leafPath(int leaf)
{
    return rootName() + QLatin1Char('/') + groupName(leaf / LEAVES_PER_GROUP) + QLatin1Char('/') +
           leafName(leaf);
}

/// A unique value, always of the same length.
QString valueText(int number)
{
    return QString::number(10000000 + number);
}

void waitUntil(const std::function<bool()>& isReached)
{
    while (!isReached()) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
}

class OurServer
{
public:
    explicit OurServer(int leafCount)
    {
        for (int leaf = 0; leaf < leafCount; ++leaf) {
            if (leaf % LEAVES_PER_GROUP == 0) {
                groups.push_back(
                    std::make_unique<DatacoreBase>(groupName(leaf / LEAVES_PER_GROUP), &config));
            }
            leaves.push_back(
                std::make_unique<DatacoreBase>(leafName(leaf), groups.back().get(), valueText(0)));
        }
        for (DatacoreBase* root : {&config, &status, &command, &persistentConfig}) {
            root->takeChangedList();
        }
        server.listen(QHostAddress::LocalHost, 0);
    }

    quint16 getPort() const { return server.getPort(); }
    void publish(const QString& value)
    {
        for (const auto& leaf : leaves) {
            leaf->setData(value);
        }
        server.publishChanges();
    }

private:
    DatacoreBase config{rootName(), nullptr};
    DatacoreBase status{QStringLiteral("statusCoreRouter"), nullptr};
    DatacoreBase command{QStringLiteral("commandCoreRouter"), nullptr};
    DatacoreBase persistentConfig{QStringLiteral("persistentConfigCoreRouter"), nullptr};
    std::vector<std::unique_ptr<DatacoreBase>> groups;
    std::vector<std::unique_ptr<DatacoreBase>> leaves;
    DatacoreServer server{{&config, &status, &command, &persistentConfig}};
};

class OurMirror : private SerialisableDataPacketAcceptorInterface
{
public:
    OurMirror(quint16 port, int leafCount)
        : lastLeaf(leafCount - 1)
    {
        // Registered after the manager: a value is counted when its mirror has it.
        distributor.registerPacketAcceptor(*this, DatacorePacket::CLASSNAME());
        connection.connectToHost(QHostAddress(QHostAddress::LocalHost), port);
        connection.acceptPacket(
            DatacorePathListPacket(connection.getLocalIdentifier(), QStringList()));
    }

    bool isFilled() { return !registry().isEmpty() && valuesTaken >= registry().getCount(); }
    /// True when every leaf has a value.
    bool hasAllValues()
    {
        for (int leaf = 0; leaf <= lastLeaf; ++leaf) {
            const ClientDatacore* datacore = registry().lookup(leafPath(leaf));
            if (datacore == nullptr || datacore->getData().isEmpty()) {
                return false;
            }
        }
        return true;
    }
    void onLastLeafChanged(const std::function<void()>& handler)
    {
        QObject::connect(registry().lookup(leafPath(lastLeaf)), &ClientDatacore::datacoreUpdated,
                         handler);
    }
    /// Writes, and returns when the mirror is in sync again.
    void write(const QString& value)
    {
        if (written == nullptr) {
            written = registry().lookup(leafPath(0));
        }
        written->setDataString(value);
        waitUntil([this] { return written->getPendingCount() == 0; });
    }

private:
    bool canAcceptPacket(QString) override { return true; }
    void acceptPacket(const SerialisableDataPacket&) override { ++valuesTaken; }

    ClientDatacoreRegistry& registry() { return manager.getRegistry(); }

    NetworkConnection connection;
    SerialisableDataPacketDistributor distributor;
    VelClientDatacoreManager manager{connection, distributor};
    ClientDatacore* written = nullptr;
    int valuesTaken = 0;
    int lastLeaf;
};

#if BENCH_HAS_REMOTE_OBJECTS
class RemoteObjectsServer
{
public:
    explicit RemoteObjectsServer(int leafCount)
        : host(QUrl(QStringLiteral("tcp://127.0.0.1:0")))
    {
        for (int leaf = 0; leaf < leafCount; ++leaf) {
            sources.push_back(std::make_unique<MirrorValueSimpleSource>());
            sources.back()->setValue(valueText(0));
            host.enableRemoting(sources.back().get(), leafPath(leaf));
        }
    }

    quint16 getPort() const { return static_cast<quint16>(host.hostUrl().port()); }
    void publish(const QString& value)
    {
        for (const auto& source : sources) {
            source->setValue(value);
        }
    }

private:
    std::vector<std::unique_ptr<MirrorValueSimpleSource>> sources;
    QRemoteObjectHost host;
};

class RemoteObjectsMirror
{
public:
    RemoteObjectsMirror(quint16 port, int leafCount)
    {
        node.connectToNode(QUrl(QStringLiteral("tcp://127.0.0.1:%1").arg(port)));
        for (int leaf = 0; leaf < leafCount; ++leaf) {
            replicas.emplace_back(node.acquire<MirrorValueReplica>(leafPath(leaf)));
            QObject::connect(replicas.back().get(), &QRemoteObjectReplica::initialized,
                             [this] { ++initialised; });
        }
    }

    bool isFilled() const { return initialised == replicas.size(); }
    bool hasAllValues() const
    {
        return std::none_of(replicas.begin(), replicas.end(),
                            [](const auto& replica) { return replica->value().isEmpty(); });
    }
    void onLastLeafChanged(const std::function<void()>& handler)
    {
        QObject::connect(replicas.back().get(), &MirrorValueReplica::valueChanged, handler);
    }
    void write(const QString& value)
    {
        MirrorValueReplica& written = *replicas.front();
        if (!isWriteHeard) {
            isWriteHeard = true;
            QObject::connect(&written, &MirrorValueReplica::valueChanged,
                             [this] { isWriting = false; });
        }
        isWriting = true;
        written.pushValue(value);
        waitUntil([this] { return !isWriting; });
    }

private:
    QRemoteObjectNode node;
    std::vector<std::unique_ptr<MirrorValueReplica>> replicas;
    std::size_t initialised = 0;
    bool isWriteHeard = false;
    bool isWriting = false;
};
#endif

/// Sends back whatever comes.
class EchoServer
{
public:
    explicit EchoServer(int)
    {
        QObject::connect(&listener, &QTcpServer::newConnection, [this] {
            QTcpSocket* socket = listener.nextPendingConnection();
            QObject::connect(socket, &QTcpSocket::readyRead, [socket] {
                socket->write(socket->readAll());
                socket->flush();
            });
        });
        listener.listen(QHostAddress::LocalHost, 0);
    }

    quint16 getPort() const { return listener.serverPort(); }
    void publish(const QString&) {}

private:
    QTcpServer listener;
};

/// A client of the echo server that sends the bytes of a write.
class EchoClient
{
public:
    EchoClient(quint16 port, int)
    {
        socket.connectToHost(QHostAddress(QHostAddress::LocalHost), port);
        socket.waitForConnected();
        QObject::connect(&socket, &QTcpSocket::readyRead,
                         [this] { missing -= socket.readAll().size(); });

        QBuffer buffer;
        buffer.open(QIODevice::WriteOnly);
        const QJsonObject value{{leafName(0), QJsonObject{{QStringLiteral("data"), valueText(0)}}}};
        DatacorePacket(QStringLiteral("213070643340040"), 0, value, leafPath(0))
            .serialiseTo(buffer);
        bytes = buffer.data();
    }

    bool isFilled() const { return socket.state() == QAbstractSocket::ConnectedState; }
    void write(const QString&)
    {
        missing = bytes.size();
        socket.write(bytes);
        socket.flush();
        waitUntil([this] { return missing == 0; });
    }

private:
    QTcpSocket socket;
    QByteArray bytes;
    int missing = 0;
};

/// Another process of this program, which ends when its standard input does.
class Child
{
public:
    explicit Child(const QStringList& arguments)
    {
        process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        process.start(QCoreApplication::applicationFilePath(), arguments);
        process.waitForStarted();
    }
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;
    ~Child()
    {
        process.closeWriteChannel();
        if (!process.waitForFinished(5000)) {
            process.kill();
            process.waitForFinished();
        }
    }

    /// The next line of the child's standard output.
    QString readLine()
    {
        while (!process.canReadLine()) {
            if (!process.waitForReadyRead(-1)) {
                std::fputs("A child process has ended.\n", stderr);
                std::exit(1);
            }
        }
        return QString::fromUtf8(process.readLine()).trimmed();
    }
    void nudge()
    {
        process.write("\n");
        process.waitForBytesWritten();
    }

private:
    QProcess process;
};

void printLine(const QByteArray& line)
{
    std::puts(line.constData());
    std::fflush(stdout);
}

/// Calls the handler for each byte of standard input, and ends the program when that ends.
void onNudge(const std::function<void()>& handler)
{
    auto* notifier =
        new QSocketNotifier(STDIN_FILENO, QSocketNotifier::Read, QCoreApplication::instance());
    QObject::connect(notifier, &QSocketNotifier::activated, [handler] {
        char byte = 0;
        if (::read(STDIN_FILENO, &byte, sizeof byte) == 1) {
            handler();
        } else {
            QCoreApplication::quit();
        }
    });
}

template <typename Server>
int serve(int leafCount)
{
    Server server(leafCount);
    int roundsLeft = 0;
    int number = 0;
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, [&] {
        server.publish(valueText(++number));
        if (--roundsLeft == 0) {
            timer.stop();
        }
    });
    onNudge([&] {
        roundsLeft += ROUNDS;
        timer.start(0);
    });
    printLine(QByteArray::number(server.getPort()));
    return QCoreApplication::exec();
}

template <typename Mirror>
int mirror(quint16 port, int leafCount)
{
    Mirror mirrored(port, leafCount);
    waitUntil([&] { return mirrored.isFilled(); });
    int rounds = 0;
    mirrored.onLastLeafChanged([&] {
        if (++rounds % ROUNDS == 0) {
            printLine("taken");
        }
    });
    onNudge([] {});
    printLine("filled");
    return QCoreApplication::exec();
}

/// A server in a process of its own.
class ServerProcess
{
public:
    ServerProcess(const QString& kind, int leafCount)
        : child({QStringLiteral("--serve"), kind, QString::number(leafCount)})
        , port(child.readLine().toUShort())
    {
    }

    quint16 getPort() const { return port; }
    void startRounds() { child.nudge(); }

private:
    Child child;
    quint16 port;
};

/// A server and its mirrors, each a process.
class Fleet
{
public:
    Fleet(const QString& kind, int mirrorCount)
        : server(kind, LEAVES)
    {
        for (int i = 0; i < mirrorCount; ++i) {
            mirrors.push_back(std::make_unique<Child>(QStringList{QStringLiteral("--mirror"), kind,
                                                                  QString::number(server.getPort()),
                                                                  QString::number(LEAVES)}));
        }
        takeLines(); // they are filled
    }

    /// Changes all leaves ROUNDS times, until all mirrors have all changes.
    void runRounds()
    {
        server.startRounds();
        takeLines();
    }

private:
    void takeLines()
    {
        for (const auto& child : mirrors) {
            child->readLine();
        }
    }

    ServerProcess server;
    std::vector<std::unique_ptr<Child>> mirrors;
};

QString ours()
{
    return QStringLiteral("ours");
}

QString echo()
{
    return QStringLiteral("echo");
}

[[maybe_unused]] QString remoteObjects()
{
    return QStringLiteral("remoteobjects");
}

double percentile(std::vector<double> values, int percent)
{
    const auto place =
        values.begin() +
        static_cast<std::ptrdiff_t>(values.size() * static_cast<std::size_t>(percent) / 100);
    std::nth_element(values.begin(), place, values.end());
    return *place;
}

/// A client in this process and its server.
template <typename Client>
class Writer
{
public:
    explicit Writer(const QString& kind)
        : server(kind, LEAVES)
        , client(server.getPort(), LEAVES)
    {
        waitUntil([this] { return client.isFilled(); });
        write(); // connections and caches are warm
        tookUs.clear();
    }

    void write()
    {
        for (int i = 0; i < WRITES; ++i) {
            const QString value = valueText(++number);
            tookUs.push_back(bench::seconds([&] { client.write(value); }) * 1e6);
        }
    }
    const std::vector<double>& getTimesUs() const { return tookUs; }

private:
    ServerProcess server;
    Client client;
    std::vector<double> tookUs;
    int number = 0;
};

/// Keeps this process and its children on one core. With two, the scheduler would decide the
/// result: it puts one pair of processes on one core and the next on two, where waking the other
/// core is most of a round trip.
class OneCore
{
public:
    OneCore()
    {
        ::sched_getaffinity(0, sizeof before, &before);
        cpu_set_t one;
        CPU_ZERO(&one);
        CPU_SET(static_cast<std::size_t>(::sched_getcpu()), &one);
        ::sched_setaffinity(0, sizeof one, &one);
    }
    OneCore(const OneCore&) = delete;
    OneCore& operator=(const OneCore&) = delete;
    ~OneCore() { ::sched_setaffinity(0, sizeof before, &before); }

private:
    cpu_set_t before;
};

template <typename Peer>
void compareRoundTrip(benchmark::State& state, const QString& peerKind, double must, double aim)
{
    ::alarm(ROW_TIMEOUT_S);
    const OneCore held;
    Writer<OurMirror> mine(ours());
    Writer<Peer> peer(peerKind);
    for (auto _ : state) {
        state.SetIterationTime(bench::seconds([&] { mine.write(); }) / WRITES);
        peer.write();
    }
    state.counters["p50us"] = percentile(mine.getTimesUs(), 50);
    state.counters["p99us"] = percentile(mine.getTimesUs(), 99);
    state.counters["peerP50us"] = percentile(peer.getTimesUs(), 50);
    state.counters["peerP99us"] = percentile(peer.getTimesUs(), 99);
    state.counters["ratio"] = percentile(peer.getTimesUs(), 50) / percentile(mine.getTimesUs(), 50);
    state.counters["must"] = must;
    state.counters["aim"] = aim;
}

/// One write: sent, applied, echoed, and in sync again.
void roundTripBesideSocket(benchmark::State& state)
{
    compareRoundTrip<EchoClient>(state, echo(), 1 / 1.25, 1 / 1.1);
}

#if BENCH_HAS_REMOTE_OBJECTS
void roundTripBesideRemoteObjects(benchmark::State& state)
{
    compareRoundTrip<RemoteObjectsMirror>(state, remoteObjects(), 0, 0);
}

/// Changes at the server, until range(0) mirrors have taken all of them.
void updatesBesideRemoteObjects(benchmark::State& state)
{
    ::alarm(ROW_TIMEOUT_S);
    const int mirrorCount = static_cast<int>(state.range(0));
    Fleet mine(ours(), mirrorCount);
    Fleet peer(remoteObjects(), mirrorCount);
    bench::compare(
        state, 1, 2.5, [&] { mine.runRounds(); }, [&] { peer.runRounds(); });
    state.SetItemsProcessed(state.iterations() * LEAVES * ROUNDS);
}

/// The seconds from nothing to a mirror that has all values.
template <typename Mirror>
double fill(const ServerProcess& server, bool& isWhole)
{
    std::unique_ptr<Mirror> filled;
    const double took = bench::seconds([&] {
        filled = std::make_unique<Mirror>(server.getPort(), LEAVES_TO_FILL);
        waitUntil([&] { return filled->isFilled(); });
    });
    isWhole = isWhole && filled->hasAllValues();
    return took;
}

void fillBesideRemoteObjects(benchmark::State& state)
{
    ::alarm(ROW_TIMEOUT_S);
    const ServerProcess mine(ours(), LEAVES_TO_FILL);
    const ServerProcess peer(remoteObjects(), LEAVES_TO_FILL);
    bool isWhole = true;
    std::vector<double> ratios;
    for (auto _ : state) {
        const double took = fill<OurMirror>(mine, isWhole);
        state.SetIterationTime(took);
        ratios.push_back(fill<RemoteObjectsMirror>(peer, isWhole) / took);
    }
    if (!isWhole) {
        state.SkipWithError("a value is missing");
    }
    state.counters["ratio"] = bench::median(std::move(ratios));
    state.counters["must"] = 2;
    state.counters["aim"] = 1 / 0.3;
}
#else
void skip(benchmark::State& state)
{
    state.SkipWithError("Qt Remote Objects is not installed");
}
void roundTripBesideRemoteObjects(benchmark::State& state)
{
    skip(state);
}
void updatesBesideRemoteObjects(benchmark::State& state)
{
    skip(state);
}
void fillBesideRemoteObjects(benchmark::State& state)
{
    skip(state);
}
#endif

BENCHMARK(roundTripBesideSocket)->Iterations(10)->UseManualTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(roundTripBesideRemoteObjects)
    ->Iterations(10)
    ->UseManualTime()
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(updatesBesideRemoteObjects)
    ->Arg(1)
    ->Arg(10)
    ->Iterations(5)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK(fillBesideRemoteObjects)->Iterations(5)->UseManualTime()->Unit(benchmark::kMillisecond);

int runAsChild(const QStringList& words)
{
    const QString kind = words.value(2);
    if (words[1] == QLatin1String("--serve")) {
        const int leafCount = words.value(3).toInt();
        if (kind == ours()) {
            return serve<OurServer>(leafCount);
        }
        if (kind == echo()) {
            return serve<EchoServer>(leafCount);
        }
#if BENCH_HAS_REMOTE_OBJECTS
        return serve<RemoteObjectsServer>(leafCount);
#endif
    }
    const quint16 port = words.value(3).toUShort();
    const int leafCount = words.value(4).toInt();
#if BENCH_HAS_REMOTE_OBJECTS
    if (kind == remoteObjects()) {
        return mirror<RemoteObjectsMirror>(port, leafCount);
    }
#endif
    return mirror<OurMirror>(port, leafCount);
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const QStringList words = QCoreApplication::arguments();
    if (words.value(1) == QLatin1String("--serve") || words.value(1) == QLatin1String("--mirror")) {
        return runAsChild(words);
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
}
