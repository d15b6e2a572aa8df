#include "sw/infrastructure_test/NetworkConnectionTests.h"
#include "infrastructure/utility/packets/NetworkConnection.h"
#include "infrastructure/utility/packets/RawDataPacketReceiverInterface.h"
#include "sw/infrastructure_test/MemorySocket.h"
#include "sw/infrastructure_test/TestSupport.h"

#include <QBuffer>
#include <QCoreApplication>
#include <QCryptographicHash>
#include <QNetworkProxy>
#include <QPointer>
#include <QTcpServer>
#include <QtEndian>

#include <functional>
#include <numeric>
#include <random>
#include <stdexcept>

namespace {

QByteArray wireBytes(const RawDataPacket& packet)
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    packet.serialiseTo(buffer);
    return buffer.data();
}

QByteArray jsonPacket(int number, int padding = 0)
{
    BasicTestPacket packet;
    packet.setTestInt(number);
    packet.setTestString(QString(padding, QLatin1Char('p')));
    return wireBytes(packet);
}

/// An eye histogram without bins, and bytes behind it that nobody looks at.
QByteArray rawPacket(int payloadBytes)
{
    const QByteArray size = QByteArray::number(payloadBytes, 16).rightJustified(8, '0');
    return QByteArray::fromHex("10110000" + size) + QByteArray(payloadBytes, '\0');
}

/// Notes the number of each JSON packet, then does what the case wants done.
struct Receiver : RawDataPacketReceiverInterface<SerialisableDataPacket>
{
    explicit Receiver(std::function<void()> action = {})
        : then(std::move(action))
    {
    }

    void receivePacket(std::shared_ptr<SerialisableDataPacket> packet) override
    {
        bool ok = false;
        numbers.push_back(BasicTestPacket(*packet, ok).getTestInt());
        if (then) {
            then();
        }
    }

    std::vector<int> numbers;
    std::function<void()> then;
};

/// A connection whose peer is the case.
struct FedConnection
{
    FedConnection()
    {
        std::unique_ptr<QTcpSocket> adopted(socket);
        REQUIRE(connection->adoptSocket(adopted));
    }
    ~FedConnection() { delete connection; }

    QPointer<NetworkConnection> connection{new NetworkConnection};
    QPointer<MemorySocket> socket{new MemorySocket};
};

/// A connection over loopback to a socket from which nothing has been read yet.
struct LoopbackLink
{
    LoopbackLink()
    {
        REQUIRE(server.listen(QHostAddress::Any)); // IPv6, to which the address maps
        REQUIRE(near->connectToHost(QHostAddress(QHostAddress::LocalHost), server.serverPort()));
        REQUIRE(server.waitForNewConnection(5000));
        farSocket.reset(server.nextPendingConnection());
    }

    QTcpServer server;
    std::unique_ptr<NetworkConnection> near = std::make_unique<NetworkConnection>();
    std::unique_ptr<QTcpSocket> farSocket;
};

std::vector<int> numbersUpTo(int count)
{
    std::vector<int> numbers(static_cast<std::size_t>(count));
    std::iota(numbers.begin(), numbers.end(), 0);
    return numbers;
}

} // namespace

TEST_CASE("Ensure tests passed", "[packets]")
{
    REQUIRE(NetworkConnectionTests::testsPassed);
}

TEST_CASE("Packets cut at any byte arrive once each, in order", "[packets]")
{
    const QByteArray stream = jsonPacket(0) + rawPacket(5) + jsonPacket(1) + jsonPacket(2, 30);
    for (int cut = 0; cut <= stream.size(); ++cut) {
        FedConnection link;
        Receiver receiver;
        link.socket->feed(stream.left(cut));
        link.socket->feed(stream.mid(cut));
        REQUIRE(receiver.numbers == numbersUpTo(3));
    }
    FedConnection link;
    Receiver receiver;
    for (const char byte : stream) {
        link.socket->feed(QByteArray(1, byte));
    }
    CHECK(receiver.numbers == numbersUpTo(3));
}

TEST_CASE("Garbage between packets is skipped byte by byte", "[packets]")
{
    for (const QByteArray& garbage :
         {QByteArray("x"), QByteArray(100, '\x11'), QByteArray::fromHex("1010000080000000"),
          QByteArray::fromHex("10100000ffffffff"), QByteArray::fromHex("100f000000000000"),
          QByteArray::fromHex("10ff000000000000"), QByteArray::fromHex("10111fffff0010ff")}) {
        CAPTURE(garbage.toHex().toStdString());
        FedConnection link;
        Receiver receiver;
        link.socket->feed(garbage + jsonPacket(0));
        link.socket->feed(garbage + jsonPacket(1) + jsonPacket(2));
        CHECK(receiver.numbers == numbersUpTo(3));
    }
}

TEST_CASE("Above the threshold raw packets are dropped and JSON packets are not", "[packets]")
{
    struct RawReceiver : RawDataPacketReceiverInterfaceBase
    {
        using RawDataPacketReceiverInterfaceBase::RawDataPacketReceiverInterfaceBase;
        void receiveRawPacket(std::shared_ptr<RawDataPacket>) override { ++count; }
        int count = 0;
    };
    RawReceiver rawReceiver(RawPacketType_EyeVerticalHistogram);
    Receiver receiver;
    const LogCapture log;
    FedConnection link;

    const int room = NetworkConnection::DISCARD_THRESHOLD_BYTES - jsonPacket(0).size() - 8;
    link.socket->feed(rawPacket(room) + jsonPacket(0));
    CHECK(log.lines().isEmpty()); // exactly the threshold
    CHECK(rawReceiver.count == 1);

    link.socket->feed(rawPacket(room + 1) + jsonPacket(1));
    CHECK(log.lines() == QStringList{QStringLiteral(
                             "error: Incoming buffer size 131073 Discarding raw data packets")});
    CHECK(rawReceiver.count == 1);

    // One JSON packet above it: a line for each call until it is complete, and it arrives.
    const QByteArray large = jsonPacket(2, 300000);
    link.socket->feed(large.left(200000));
    link.socket->feed(large.mid(200000, 100000));
    link.socket->feed(large.mid(300000));
    CHECK(log.lines().size() == 4);
    CHECK(receiver.numbers == numbersUpTo(3));
}

TEST_CASE("A receiver may destroy itself or another, or make one, during a delivery", "[packets]")
{
    FedConnection link;
    std::string order;
    const Receiver last([&] { order += 'l'; });
    auto oldest = std::make_unique<Receiver>([&] { order += 'o'; });
    const Receiver middle([&] { order += 'm'; });
    std::unique_ptr<Receiver> newest;
    std::unique_ptr<Receiver> made;
    newest = std::make_unique<Receiver>([&] {
        order += 'n';
        oldest.reset();
        made = std::make_unique<Receiver>([&] { order += '+'; });
        newest.reset();
    });
    link.socket->feed(jsonPacket(0) + jsonPacket(1));
    REQUIRE(made != nullptr);
    CHECK((oldest == nullptr && newest == nullptr));
    CHECK(made->numbers == std::vector<int>{1}); // made after the first packet came
    CHECK((middle.numbers == numbersUpTo(2) && last.numbers == numbersUpTo(2)));
    CHECK(order == "nml+ml"); // from the newest to the oldest
}

TEST_CASE("A receiver that pumps the event loop disturbs neither order nor buffer", "[packets]")
{
    FedConnection link;
    int next = 3;
    Receiver receiver;
    receiver.then = [&] {
        if (next < 20) {
            link.socket->feed(jsonPacket(next++, 5000));
        }
        QCoreApplication::processEvents();
    };
    link.socket->feed(jsonPacket(0) + jsonPacket(1) + jsonPacket(2));
    CHECK(receiver.numbers == numbersUpTo(20));
}

TEST_CASE("A receiver may delete or reconnect the connection that delivers to it", "[packets]")
{
    QTcpServer server;
    REQUIRE(server.listen(QHostAddress::LocalHost, 0));
    const QHostAddress host(QHostAddress::LocalHost);
    QTcpSocket* far = nullptr;

    QPointer<NetworkConnection> connection(new NetworkConnection);
    const auto linkUp = [&] {
        REQUIRE(connection->connectToHost(host, server.serverPort()));
        REQUIRE(waitFor([&] { return server.hasPendingConnections(); }));
        far = server.nextPendingConnection();
    };
    linkUp();
    SECTION("deleted")
    {
        Receiver receiver([&] { delete connection.data(); });
        far->write(jsonPacket(0) + jsonPacket(1));
        REQUIRE(waitFor([&] { return connection.isNull(); }));
        CHECK(receiver.numbers == numbersUpTo(1));
    }
    SECTION("connected anew")
    {
        int losses = 0;
        QObject::connect(connection, &NetworkConnection::disconnectedFromHost,
                         [&losses] { ++losses; });
        Receiver receiver;
        receiver.then = [&] {
            if (receiver.numbers.size() == 1) {
                linkUp();
            }
        };
        // What follows on the old link is gone with it, half a packet too.
        far->write(jsonPacket(0) + jsonPacket(9) + jsonPacket(9).left(20));
        REQUIRE(waitFor([&] { return receiver.numbers.size() == 1; }));
        CHECK(losses == 1);
        far->write(jsonPacket(1));
        REQUIRE(waitFor([&] { return receiver.numbers.size() == 2; }));
        CHECK(receiver.numbers == numbersUpTo(2));
        CHECK(losses == 1);
        delete connection;
    }
    SECTION("deleted when the link breaks")
    {
        QObject::connect(connection, &NetworkConnection::disconnectedFromHost,
                         [&] { delete connection.data(); });
        far->abort();
        REQUIRE(waitFor([&] { return connection.isNull(); }));
    }
}

TEST_CASE("A receiver's exception passes through and leaves the buffer as it was", "[packets]")
{
    FedConnection link;
    Receiver receiver([] { throw std::runtime_error("full"); });
    CHECK_THROWS_AS(link.socket->feed(jsonPacket(0) + jsonPacket(1)), std::runtime_error);
    receiver.then = {};
    link.socket->feed(jsonPacket(2).left(10));
    link.socket->feed(jsonPacket(2).mid(10));
    CHECK(receiver.numbers == std::vector<int>{0, 0, 1, 2});
}

TEST_CASE("After random bytes in random pieces the link works again", "[packets]")
{
    constexpr int total = 4 << 20;
    std::mt19937 random(3);
    QByteArray garbage(total, '\0');
    for (char& byte : garbage) {
        byte = static_cast<char>(random());
    }
    // What looks like a header claims less than 64 KiB, so that each claim comes to an end.
    for (int i = 0; i + 8 < total; ++i) {
        if (RawDataPacketHeader::isPacketType(qFromBigEndian<quint16>(garbage.constData() + i))) {
            garbage[i + 4] = garbage[i + 5] = '\0';
        }
    }
    FedConnection link;
    Receiver receiver;
    std::uniform_int_distribution<int> pieceBytes(1, 20000);
    for (int sent = 0; sent < total;) {
        const QByteArray piece = garbage.mid(sent, pieceBytes(random));
        link.socket->feed(piece);
        sent += piece.size();
    }
    link.socket->feed(QByteArray(0x10000 + 8, '\0'));
    const std::size_t before = receiver.numbers.size();
    link.socket->feed(jsonPacket(77));
    CHECK(before > 0); // some of it passed for JSON packets
    REQUIRE(receiver.numbers.size() == before + 1);
    CHECK(receiver.numbers.back() == 77);
}

TEST_CASE("Without a link sending is a no-op and nothing is connected", "[packets]")
{
    const LogCapture log;
    NetworkConnection connection(nullptr, 7);
    CHECK(connection.getConnectionContext() == 7);
    CHECK_FALSE(connection.isConnected());
    connection.acceptPacket(BasicTestPacket());
    connection.sendRawPacket(nullptr);
    connection.sendRawPacket(std::make_shared<BasicTestPacket>());
    connection.acceptPackets({BasicTestPacket()});
    CHECK(connection.getUnsentBytes() == 0);
    CHECK(connection.canAcceptPacket("anything"_s));

    std::unique_ptr<QTcpSocket> nothing;
    CHECK_FALSE(connection.adoptSocket(nothing));
    std::unique_ptr<QTcpSocket> unconnected(new QTcpSocket);
    CHECK_FALSE((connection.adoptSocket(unconnected) || connection.isConnected()));
    connection.acceptPacket(BasicTestPacket());

    QTcpServer closed;
    REQUIRE(closed.listen(QHostAddress::LocalHost, 0));
    const quint16 port = closed.serverPort();
    closed.close();
    CHECK_FALSE(connection.connectToHost(QHostAddress(QHostAddress::LocalHost), port));
    CHECK_FALSE(connection.isConnected());
    CHECK(log.lines() == QStringList{"info: QAbstractSocket::ConnectionRefusedError"_s});
}

TEST_CASE("A flood is read piece by piece, and the size of the pieces may be given", "[packets]")
{
    FedConnection link;
    CHECK(link.socket->readBufferSize() > NetworkConnection::DISCARD_THRESHOLD_BYTES);
    std::unique_ptr<QTcpSocket> small(new MemorySocket);
    small->setReadBufferSize(10);
    const QTcpSocket& adopted = *small;
    REQUIRE(link.connection->adoptSocket(small));
    CHECK(adopted.readBufferSize() == 10);
}

TEST_CASE("No proxy comes between two ends", "[packets]")
{
    QTcpServer server;
    REQUIRE(server.listen(QHostAddress::LocalHost, 0));
    QNetworkProxy::setApplicationProxy(QNetworkProxy(QNetworkProxy::Socks5Proxy, "127.0.0.1"_s, 1));
    NetworkConnection connection;
    // This host by its other name: Qt itself goes past a proxy for a loopback address.
    const bool isConnected = connection.connectToHost("0.0.0.0"_s, server.serverPort());
    QNetworkProxy::setApplicationProxy(QNetworkProxy::NoProxy);
    CHECK(isConnected);
}

TEST_CASE("Both ends name each other, and a lost link is announced once", "[packets]")
{
    LoopbackLink link;
    NetworkConnection& near = *link.near;
    NetworkConnection far;
    REQUIRE(far.adoptSocket(link.farSocket));
    CHECK(link.farSocket == nullptr);
    CHECK(far.isConnected());
    CHECK(far.getLocalIdentifier() == "2130706433"_s + QString::number(link.server.serverPort()));
    CHECK(near.getPeerIdentifier() == far.getLocalIdentifier());

    int losses = 0;
    QObject::connect(&near, &NetworkConnection::disconnectedFromHost, [&losses] { ++losses; });
    const LogCapture log;
    std::unique_ptr<QTcpSocket> other(new MemorySocket);
    REQUIRE(far.adoptSocket(other));
    REQUIRE(other != nullptr); // the socket held before comes back, closed
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    CHECK(other->state() == QAbstractSocket::UnconnectedState); // it is nobody else's
    REQUIRE(waitFor([&] { return losses > 0; }));
    CHECK_FALSE(near.isConnected());
    CHECK(losses == 1);
    CHECK(log.contains("info: QAbstractSocket::RemoteHostClosedError"_s));
}

TEST_CASE("Packets that came before a socket was adopted are delivered", "[packets]")
{
    LoopbackLink link;
    BasicTestPacket packet;
    packet.setTestInt(0);
    link.near->acceptPacket(packet);
    REQUIRE(waitFor([&] { return link.farSocket->bytesAvailable() > 0; }));

    Receiver receiver;
    NetworkConnection connection;
    REQUIRE(connection.adoptSocket(link.farSocket));
    CHECK(waitFor([&] { return receiver.numbers == numbersUpTo(1); }));
}

TEST_CASE("More than can be held for a packet closes the link", "[packets]")
{
    struct FullSocket : MemorySocket
    {
        qint64 bytesAvailable() const override
        {
            return NetworkConnection::MAX_BUFFERED_BYTES + qint64(1);
        }
    };
    const LogCapture log;
    NetworkConnection connection;
    auto* const socket = new FullSocket;
    std::unique_ptr<QTcpSocket> adopted(socket);
    REQUIRE(connection.adoptSocket(adopted));
    socket->feed(QByteArray());
    CHECK_FALSE(connection.isConnected());
    CHECK(log.lines() ==
          QStringList{"error: Incoming packet exceeds %1 bytes, closing link to 00"_s.arg(
              NetworkConnection::MAX_BUFFERED_BYTES)});
}

TEST_CASE("Socket errors have names", "[packets]")
{
    const auto name = [](int error) {
        return getSocketErrorName(static_cast<QAbstractSocket::SocketError>(error));
    };
    QByteArray names;
    for (int error = -1; error <= 18; ++error) {
        names += error == 13 ? QByteArray() : name(error).toUtf8() + '\n';
    }
    // That of "QAbstractSocket::UnknownSocketError\n" and so on, as Qt documents the names.
    CHECK(QCryptographicHash::hash(names, QCryptographicHash::Sha256).toHex() ==
          "a7a36fa0024e59bff185b9f47fa683f435eaef2da7a2739381ff7907ae9a7c37");
    for (const int illegal : {-2, 13, 19, 1000}) {
        CHECK(name(illegal) == "illegal value for QAbstractSocket::SocketError: %1"_s.arg(illegal));
    }
}

TEST_CASE("Packets beyond what the system takes at once arrive whole and in order", "[packets]")
{
    LoopbackLink link;
    std::vector<SerialisableDataPacket> packets;
    int number = 0;
    const auto makePacket = [&number](int textBytes) {
        BasicTestPacket packet;
        packet.setTestInt(number++);
        packet.setTestString(QString(textBytes, QLatin1Char('t')));
        return packet;
    };
    link.near->acceptPacket(makePacket(10));
    CHECK(link.near->getUnsentBytes() == 0); // the system has it
    while (link.near->getUnsentBytes() == 0) {
        link.near->acceptPacket(makePacket(100000));
    }
    link.near->acceptPacket(makePacket(10)); // behind what waits
    for (int i = 0; i < 1000; ++i) {
        packets.push_back(makePacket(100));
    }
    link.near->acceptPackets(packets);

    Receiver receiver;
    NetworkConnection far;
    REQUIRE(far.adoptSocket(link.farSocket));
    REQUIRE(waitFor([&] { return static_cast<int>(receiver.numbers.size()) >= number; }));
    CHECK(receiver.numbers == numbersUpTo(number));
    CHECK(link.near->getUnsentBytes() == 0);
}

TEST_CASE("A connection may be deleted when its link breaks among many packets", "[packets]")
{
    LoopbackLink link;
    link.farSocket->abort(); // with a reset, for the second write to meet
    QObject::connect(link.near.get(), &NetworkConnection::disconnectedFromHost,
                     [&link] { delete link.near.release(); });
    const LogCapture log;
    const std::vector<SerialisableDataPacket> packets(10000, SerialisableDataPacket("Lost"_s));
    while (link.near != nullptr) {
        link.near->acceptPackets(packets);
        QCoreApplication::processEvents();
    }
    CHECK(link.near == nullptr);
}
