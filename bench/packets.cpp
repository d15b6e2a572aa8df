// The packet link beside plain QTcpSocket, over loopback: framing of data that arrives in large
// pieces, and sending one by one. The far end is a thread that only writes or reads bytes.
#include "bench/Compare.h"
#include "infrastructure/utility/packets/BasicTestPacket.h"
#include "infrastructure/utility/packets/NetworkConnection.h"
#include "infrastructure/utility/packets/RawDataPacketReceiverInterface.h"
#include "sw/infrastructure_test/MemorySocket.h"

#include <QBuffer>
#include <QCoreApplication>
#include <QTcpServer>
#include <QTcpSocket>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <thread>

namespace {

constexpr qint64 RECEIVED_BYTES = 64 << 20; ///< sent to the receiver in one measurement
constexpr int PIECE_BYTES = 1 << 20;        ///< about what the writer hands over in one call

QByteArray wireBytes(const RawDataPacket& packet)
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    packet.serialiseTo(buffer);
    return buffer.data();
}

/// A JSON packet of 200 bytes on the wire, shaped like the update of one value.
BasicTestPacket smallPacket()
{
    BasicTestPacket packet;
    packet.setTestInt(1234);
    packet.setTestBool(true);
    packet.setTestString(QStringLiteral("configCoreRouter/input/one/standard"));
    packet.setTestArray({QStringLiteral("1080p59.94"), QStringLiteral("21307064334004")});
    packet.setTestPacket(SerialisableDataPacket(QString(200 - wireBytes(packet).size() - 27, // text
                                                        QLatin1Char('x'))));
    return packet;
}

class RawRecord : public RawDataPacket
{
public:
    explicit RawRecord(int size)
        : content(size, '\x55')
    {
    }
    QByteArray serialisePayload() const override { return content; }
    quint16 getPacketType() const override { return RawPacketType_VideoPitHistogram; }

private:
    QByteArray content;
};

/// Counts the bytes that have arrived, all of which the reader takes at once: so the end of a
/// measurement shows in the same way for everyone.
class CountingSocket : public QTcpSocket
{
public:
    CountingSocket()
    {
        connect(this, &QTcpSocket::readyRead, this, [this] { taken += bytesAvailable(); });
    }
    qint64 taken = 0;
};

class CountingServer : public QTcpServer
{
protected:
    void incomingConnection(qintptr descriptor) override
    {
        auto* socket = new CountingSocket;
        socket->setSocketDescriptor(descriptor);
        addPendingConnection(socket);
    }
};

/// A loopback link: a Qt socket on this thread and a bare descriptor at the far end.
class Loopback
{
public:
    Loopback()
    {
        CountingServer server;
        server.listen(QHostAddress::LocalHost, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(server.serverPort());
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        farDescriptor = ::socket(AF_INET, SOCK_STREAM, 0);
        if (::connect(farDescriptor, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
            !server.waitForNewConnection(5000)) {
            std::perror("loopback");
            std::exit(1);
        }
        near.reset(static_cast<CountingSocket*>(server.nextPendingConnection()));
        near->setParent(nullptr);
    }
    Loopback(const Loopback&) = delete;
    Loopback& operator=(const Loopback&) = delete;
    ~Loopback() { ::close(farDescriptor); }

    std::unique_ptr<CountingSocket> near;
    int farDescriptor = -1;
};

/// Moves the near end of a link into a connection.
CountingSocket* adopt(NetworkConnection& connection, Loopback& link)
{
    CountingSocket* socket = link.near.get();
    std::unique_ptr<QTcpSocket> adopted(link.near.release());
    connection.adoptSocket(adopted);
    return socket;
}

void writeAll(int descriptor, const QByteArray& piece, qint64 pieces)
{
    for (; pieces > 0; --pieces) {
        for (qint64 offset = 0; offset < piece.size();) {
            offset +=
                std::max<ssize_t>(::send(descriptor, piece.constData() + offset,
                                         static_cast<size_t>(piece.size() - offset), MSG_NOSIGNAL),
                                  0);
        }
    }
}

/// Sends whole pieces to the socket until it has received at least RECEIVED_BYTES.
void receive(CountingSocket& socket, int farDescriptor, const QByteArray& piece)
{
    const qint64 pieces = (RECEIVED_BYTES + piece.size() - 1) / piece.size();
    const qint64 end = socket.taken + pieces * piece.size();
    std::thread writer([&] { writeAll(farDescriptor, piece, pieces); });
    while (socket.taken < end) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    writer.join();
}

class TakingReceiver : public RawDataPacketReceiverInterface<SerialisableDataPacket>
{
public:
    void receivePacket(std::shared_ptr<SerialisableDataPacket> packet) override
    {
        benchmark::DoNotOptimize(packet);
        ++count;
    }
    qint64 count = 0;
};

/// The class name decides who gets a JSON packet, so this is the minimum of routing.
class ReadingReceiver : public RawDataPacketReceiverInterface<SerialisableDataPacket>
{
public:
    void receivePacket(std::shared_ptr<SerialisableDataPacket> packet) override
    {
        benchmark::DoNotOptimize(packet->getPacketClassName());
    }
};

void compareReceiving(benchmark::State& state, const QByteArray& packet, double must, double aim)
{
    const QByteArray piece = packet.repeated(std::max(PIECE_BYTES / packet.size(), 1));
    Loopback plain;
    QObject::connect(plain.near.get(), &QTcpSocket::readyRead,
                     [&plain] { benchmark::DoNotOptimize(plain.near->readAll()); });

    Loopback ours;
    NetworkConnection connection;
    CountingSocket* socket = adopt(connection, ours);

    bench::compare(
        state, must, aim, [&] { receive(*socket, ours.farDescriptor, piece); },
        [&] { receive(*plain.near, plain.farDescriptor, piece); });
    state.SetBytesProcessed(state.iterations() * RECEIVED_BYTES);
}

void receiveSmallNoReceiver(benchmark::State& state)
{
    compareReceiving(state, wireBytes(smallPacket()), 0.4, 0.65);
}

void receiveSmallOneReceiver(benchmark::State& state)
{
    TakingReceiver receiver;
    compareReceiving(state, wireBytes(smallPacket()), 0.2, 0.3);
    if (receiver.count == 0) {
        state.SkipWithError("no packet was delivered");
    }
}

void receiveSmallAndParse(benchmark::State& state)
{
    ReadingReceiver receiver;
    compareReceiving(state, wireBytes(smallPacket()), 0, 0);
}

void receiveRecords64KiB(benchmark::State& state)
{
    compareReceiving(state, wireBytes(RawRecord(65536)), 0.85, 0.95);
}

/// Delivery with range(0) packets in the buffer, beside delivery with one.
void deliverBuffered(benchmark::State& state)
{
    constexpr int total = 100000;
    TakingReceiver receiver;
    const QByteArray packet = wireBytes(smallPacket());
    NetworkConnection connection;
    auto* socket = new MemorySocket;
    std::unique_ptr<QTcpSocket> adopted(socket);
    connection.adoptSocket(adopted);

    const auto deliver = [&](int atOnce) {
        const QByteArray piece = packet.repeated(atOnce);
        return [socket, piece, atOnce] {
            for (int sent = 0; sent < total; sent += atOnce) {
                socket->feed(piece);
            }
        };
    };
    bench::compare(state, 1, 1, deliver(static_cast<int>(state.range(0))), deliver(1));
}

/// Discards what arrives at the far end, until it is told to stop.
class Drain
{
public:
    explicit Drain(int descriptor)
        : thread([descriptor] {
            std::vector<char> scratch(1 << 20);
            for (;;) {
                const ssize_t size = ::recv(descriptor, scratch.data(), scratch.size(), 0);
                if (size <= 0) {
                    return;
                }
            }
        })
    {
    }
    void join() { thread.join(); }

private:
    std::thread thread;
};

void compareSending(benchmark::State& state, const RawDataPacket& packet, int count, double must,
                    double aim, const std::function<void(NetworkConnection&)>& sendOne)
{
    const QByteArray bytes = wireBytes(packet);
    Loopback plain;
    Loopback ours;
    Drain plainDrain(plain.farDescriptor);
    Drain oursDrain(ours.farDescriptor);
    NetworkConnection connection;
    QTcpSocket* socket = adopt(connection, ours);

    bench::compare(
        state, must, aim,
        [&] {
            for (int i = 0; i < count; ++i) {
                sendOne(connection);
            }
            while (socket->bytesToWrite() > 0) {
                socket->waitForBytesWritten();
            }
        },
        [&] {
            for (int i = 0; i < count; ++i) {
                plain.near->write(bytes);
                plain.near->flush();
            }
            while (plain.near->bytesToWrite() > 0) {
                plain.near->waitForBytesWritten();
            }
        });
    state.SetBytesProcessed(state.iterations() * count * bytes.size());
    plain.near->disconnectFromHost();
    socket->disconnectFromHost();
    plainDrain.join();
    oursDrain.join();
}

void sendSmall(benchmark::State& state)
{
    const BasicTestPacket packet = smallPacket();
    compareSending(state, packet, 10000, 0.8, 0.95,
                   [&packet](NetworkConnection& connection) { connection.acceptPacket(packet); });
}

/// Each packet is built afresh, so that its JSON text is made each time; the bare write makes none.
void sendSmallBuiltAnew(benchmark::State& state)
{
    const BasicTestPacket packet = smallPacket();
    compareSending(state, packet, 10000, 0, 0, [&packet](NetworkConnection& connection) {
        connection.acceptPacket(SerialisableDataPacket(packet.getJsonObject()));
    });
}

void sendRecords64KiB(benchmark::State& state)
{
    const auto record = std::make_shared<RawRecord>(65536);
    compareSending(state, *record, 500, 0.85, 0.95,
                   [&record](NetworkConnection& connection) { connection.sendRawPacket(record); });
}

BENCHMARK(receiveSmallNoReceiver)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(receiveSmallOneReceiver)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(receiveSmallAndParse)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(receiveRecords64KiB)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(deliverBuffered)
    ->Arg(100)
    ->Arg(1000)
    ->Arg(10000)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK(sendSmall)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(sendSmallBuiltAnew)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(sendRecords64KiB)->UseManualTime()->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
}
