// Links over TLS beside a bare QSslSocket, and over a socket of the machine beside TCP: bytes go to
// a far end that sends them back. All ends share one event loop, so that all their work counts.
#include "bench/Compare.h"
#include "infrastructure/utility/packets/BasicTestPacket.h"
#include "infrastructure/utility/packets/LinkListener.h"
#include "infrastructure/utility/packets/NetworkConnection.h"
#include "infrastructure/utility/packets/RawDataPacketReceiverInterface.h"

#include <QCoreApplication>
#include <QSslSocket>
#include <QTemporaryDir>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <vector>

namespace {

using Way = LinkAddress::Way;

constexpr int BATCH_BYTES = 51200; ///< handed over in one call, as a server's changes are
constexpr int BATCHES = 100;       ///< in one measurement

[[noreturn]] void end(const QString& reason)
{
    std::fprintf(stderr, "%s\n", qPrintable(reason));
    std::exit(1);
}

TlsSettings settings(const char* certificate, const char* key, const char* trust)
{
    const auto path = [](const char* name) {
        return *name == '\0' ? QString()
                             : QStringLiteral(BENCH_CERTIFICATES "/") + QLatin1String(name);
    };
    QString reason;
    const auto loaded = TlsSettings::load({path(certificate), path(key), {}, path(trust)}, &reason);
    if (!loaded) {
        end(reason);
    }
    return *loaded;
}

template <typename Condition>
void runUntil(Condition&& condition)
{
    while (!condition()) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
}

/// Sends back whatever comes.
class EchoServer
{
public:
    explicit EchoServer(Way wayIn)
        : way(wayIn)
    {
        const QHostAddress loopback(QHostAddress::LocalHost);
        QString reason;
        const bool isOpen =
            way == Way::Local ? listener.listenLocal(path, 0600, &reason)
            : way == Way::Tcp
                ? listener.listen(loopback, 0, &reason)
                : listener.listenTls(loopback, 0, settings("server.pem", "end.key", ""), &reason);
        if (!isOpen) {
            end(reason);
        }
    }

    LinkAddress getAddress() const
    {
        return {way, QStringLiteral("127.0.0.1"), listener.getPort(way), path};
    }

private:
    const Way way;
    const QTemporaryDir directory;
    const QString path = directory.filePath(QStringLiteral("socket"));
    std::vector<std::unique_ptr<QTcpSocket>> sockets;
    LinkListener listener{[this](std::unique_ptr<QTcpSocket> accepted) {
        QTcpSocket* const socket = accepted.get();
        socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
        QObject::connect(socket, &QTcpSocket::readyRead, [socket] {
            socket->write(socket->readAll());
            socket->flush();
        });
        sockets.push_back(std::move(accepted));
    }};
};

/// A JSON packet of so many bytes on the wire.
BasicTestPacket makePacket(int wireBytes)
{
    BasicTestPacket packet;
    packet.setTestInt(1234);
    packet.setTestString(QString(wireBytes - 71, QLatin1Char('x')));
    return packet;
}

/// A record that nobody receives.
class Record : public RawDataPacket
{
public:
    explicit Record(int wireBytes)
        : content(wireBytes - RawDataPacketHeader::SIZE_BYTES, '\x55')
    {
    }
    QByteArray serialisePayload() const override { return content; }
    quint16 getPacketType() const override { return RawPacketType_VideoPitHistogram; }

private:
    QByteArray content;
};

class Link : public RawDataPacketReceiverInterface<SerialisableDataPacket>
{
public:
    Link(Way way, int wireBytes)
        : server(way)
        , packets(std::size_t(BATCH_BYTES / wireBytes), makePacket(wireBytes))
    {
        connection.setTlsSettings(settings("", "", "authority.pem"));
        QObject::connect(&connection, &NetworkConnection::connectingFailed, end);
        connection.startConnecting(server.getAddress());
        runUntil([this] { return connection.isConnected(); });
    }
    void receivePacket(std::shared_ptr<SerialisableDataPacket>) override { ++received; }

    void exchangeRecords(int wireBytes)
    {
        const auto record = std::make_shared<Record>(wireBytes);
        received = 0;
        for (int batch = 1; batch <= BATCHES; ++batch) {
            for (int i = 0; i < BATCH_BYTES / wireBytes; ++i) {
                connection.sendRawPacket(record);
            }
            connection.acceptPacket(packets.front());
            runUntil([&] { return received == std::size_t(batch); });
        }
    }

    void exchangeUpdates()
    {
        received = 0;
        for (int batch = 1; batch <= BATCHES; ++batch) {
            connection.acceptPackets(packets);
            runUntil([&] { return received == std::size_t(batch) * packets.size(); });
        }
    }

private:
    EchoServer server;
    NetworkConnection connection;
    const std::vector<SerialisableDataPacket> packets;
    std::size_t received = 0;
};

class BareTls
{
public:
    BareTls()
    {
        socket.setSslConfiguration(settings("", "", "authority.pem").getClientConfiguration());
        const LinkAddress address = server.getAddress();
        socket.connectToHostEncrypted(address.host, address.port);
        runUntil([this] { return socket.isEncrypted(); });
        socket.setSocketOption(QAbstractSocket::LowDelayOption, 1);
        QObject::connect(&socket, &QSslSocket::readyRead,
                         [this] { received += socket.readAll().size(); });
    }

    /// In pieces of these sizes.
    void exchange(const std::vector<int>& sizes)
    {
        const QByteArray bytes(BATCH_BYTES, 'x');
        received = 0;
        qint64 sent = 0;
        for (int batch = 0; batch < BATCHES; ++batch) {
            for (const int size : sizes) {
                socket.write(bytes.constData(), size);
                socket.flush();
                sent += size;
            }
            runUntil([&] { return received == sent; });
        }
    }

private:
    EchoServer server{Way::Tls};
    QSslSocket socket;
    qint64 received = 0;
};

constexpr int UPDATE_BYTES = 200;

void tlsEchoRecords(benchmark::State& state)
{
    const int wireBytes = static_cast<int>(state.range(0));
    Link ours(Way::Tls, UPDATE_BYTES);
    BareTls bare;
    std::vector<int> sizes(std::size_t(BATCH_BYTES / wireBytes), wireBytes);
    sizes.push_back(UPDATE_BYTES);
    bench::compare(
        state, 0.8, 0.92, [&] { ours.exchangeRecords(wireBytes); }, [&] { bare.exchange(sizes); });
    state.SetBytesProcessed(state.iterations() * BATCHES * BATCH_BYTES);
}

void tlsEchoUpdates(benchmark::State& state)
{
    Link ours(Way::Tls, UPDATE_BYTES);
    BareTls bare;
    bench::compare(
        state, 0.5, 0.8, [&] { ours.exchangeUpdates(); }, [&] { bare.exchange({BATCH_BYTES}); });
    state.SetBytesProcessed(state.iterations() * BATCHES * BATCH_BYTES);
}

void localEchoBesideTcp(benchmark::State& state)
{
    Link local(Way::Local, UPDATE_BYTES);
    Link tcp(Way::Tcp, UPDATE_BYTES);
    bench::compare(
        state, 0.9, 1, [&] { local.exchangeUpdates(); }, [&] { tcp.exchangeUpdates(); });
    state.SetBytesProcessed(state.iterations() * BATCHES * BATCH_BYTES);
}

BENCHMARK(tlsEchoRecords)
    ->Arg(200)
    ->Arg(BATCH_BYTES)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK(tlsEchoUpdates)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(localEchoBesideTcp)->UseManualTime()->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
}
