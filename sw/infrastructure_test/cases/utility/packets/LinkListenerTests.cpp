// Both ends of links over every way. The certificates are made by tools/make_certificates.sh.
#include "infrastructure/utility/packets/BasicTestPacket.h"
#include "infrastructure/utility/packets/LinkListener.h"
#include "infrastructure/utility/packets/NetworkConnection.h"
#include "infrastructure/utility/packets/RawDataPacketReceiverInterface.h"
#include "sw/infrastructure_test/DatacoreTest.h"
#include "sw/infrastructure_test/TestSupport.h"

#include <QCoreApplication>
#include <QCryptographicHash>
#include <QFile>
#include <QFileInfo>
#include <QSslCertificate>
#include <QSslSocket>
#include <QTcpServer>
#include <QTemporaryDir>

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

using Way = LinkAddress::Way;
using std::chrono::milliseconds;
using std::chrono::seconds;

const QHostAddress LOOPBACK(QHostAddress::LocalHost);
const QString HOST = "127.0.0.1"_s;

/// Settings from the tests' files; an empty name for none. All certificates but the stranger's have
/// one key.
TlsSettings settingsOf(const char* certificate, const char* trust = "")
{
    const QByteArray name(certificate);
    const char* const key = name.isEmpty()           ? ""
                            : name == "stranger.pem" ? "stranger.key"
                                                     : "end.key";
    QString reason;
    const auto settings = TlsSettings::load(
        {tlsFile(certificate), tlsFile(key), QByteArray(), tlsFile(trust)}, &reason);
    CAPTURE(reason);
    REQUIRE(settings);
    return *settings;
}

struct OwnReceivers
{
    RawDataPacketReceivers own; // outlives who is registered in it
};

/// One end of a link, and what it has received.
struct End : OwnReceivers, RawDataPacketReceiverInterface<SerialisableDataPacket>
{
    End()
        : RawDataPacketReceiverInterface(own)
        , connection(own)
    {
        QObject::connect(&connection, &NetworkConnection::connectedToHost, [this] { ++ups; });
        QObject::connect(&connection, &NetworkConnection::disconnectedFromHost, [&] { ++losses; });
        QObject::connect(&connection, &NetworkConnection::connectingFailed,
                         [this](const QString& reason) { failures.append(reason); });
    }

    void receivePacket(std::shared_ptr<SerialisableDataPacket> packet) override
    {
        bool ok = false;
        received.append(BasicTestPacket(*packet, ok).getTestString());
    }
    void send(const QString& text)
    {
        BasicTestPacket packet;
        packet.setTestString(text);
        connection.acceptPacket(packet);
    }

    NetworkConnection connection;
    QStringList received;
    QStringList failures;
    int ups = 0;
    int losses = 0;
};

/// A listener and the ends of those that it has let in.
struct Server
{
    LinkAddress open(Way way, const TlsSettings& settings = settingsOf("server.pem"))
    {
        QString reason;
        const bool isOpen = way == Way::Tcp   ? listener.listen(LOOPBACK, 0, &reason)
                            : way == Way::Tls ? listener.listenTls(LOOPBACK, 0, settings, &reason)
                                              : listener.listenLocal(path, 0600, &reason);
        CAPTURE(reason);
        REQUIRE(isOpen);
        return {way, way == Way::Local ? QString() : HOST, listener.getPort(way),
                way == Way::Local ? path : QString()};
    }

    const QTemporaryDir directory;
    const QString path = directory.filePath("socket"_s);
    std::vector<std::unique_ptr<End>> ends;
    LinkListener listener{[this](std::unique_ptr<QTcpSocket> socket) {
        ends.push_back(std::make_unique<End>());
        socket->setReadBufferSize(16 << 10);
        ends.back()->connection.adoptSocket(socket);
    }};
};

bool hasLine(const LogCapture& log, const char* part)
{
    return !log.lines().filter(QString::fromLatin1(part)).isEmpty();
}

int optionOf(const QTcpSocket& socket, int level, int option)
{
    int value = -1;
    socklen_t size = sizeof value;
    ::getsockopt(static_cast<int>(socket.socketDescriptor()), level, option, &value, &size);
    return value;
}

} // namespace

TEST_CASE("Over every way the same packets arrive at both ends", "[packets]")
{
    const Way way = GENERATE(Way::Tcp, Way::Tls, Way::Local);
    const bool isAwaited = GENERATE(true, false);
    CAPTURE(int(way), isAwaited);
    const LogCapture log;
    Server server;
    const LinkAddress address = server.open(way);
    End near;
    near.connection.setTlsSettings(settingsOf("", "authority.pem"));
    if (isAwaited && way != Way::Tls) { // of which both ends would have to run
        REQUIRE(near.connection.connectTo(address));
    } else {
        near.connection.startConnecting(address);
        CHECK_FALSE(near.connection.isConnected());
        REQUIRE(waitFor([&] { return near.ups == 1; }));
    }
    CHECK(near.connection.isConnected());
    REQUIRE(waitFor([&] { return server.ends.size() == 1; }));
    End& far = *server.ends.front();
    CHECK(far.connection.isConnected());
    CHECK(near.connection.getLocalIdentifier() == far.connection.getPeerIdentifier());
    CHECK(near.connection.getPeerIdentifier() == far.connection.getLocalIdentifier());
    const PeerOrigin& origin = far.connection.getPeerOrigin();
    CHECK(origin.way == way);
    CHECK(origin.userId == (way == Way::Local ? std::optional<quint32>(::getuid()) : std::nullopt));
    CHECK(origin.address == (way == Way::Local ? QHostAddress() : LOOPBACK));

    // Until the system takes no more, in packets of all sizes; over TLS too, what waits is counted.
    QStringList sent;
    for (int i = 0; near.connection.getUnsentBytes() < 1'000'000; ++i) {
        REQUIRE(i < 10'000);
        sent.append(QString(i * 37 % 20'000 + (i % 50 == 0 ? 300'000 : 0), QLatin1Char('t')) +
                    QString::number(i));
        near.send(sent.back());
        far.send(sent.back());
    }
    REQUIRE(waitFor(
        [&] { return far.received.size() == sent.size() && near.received.size() == sent.size(); }));
    CHECK((far.received == sent && near.received == sent));
    CHECK(near.connection.getUnsentBytes() == 0);

    // A second link has a name of its own; a lost one is announced once, and makes no other suffer.
    End second;
    second.connection.setTlsSettings(settingsOf("", "authority.pem"));
    second.connection.startConnecting(address);
    REQUIRE(waitFor([&] { return second.ups == 1 && server.ends.size() == 2; }));
    CHECK(second.connection.getLocalIdentifier() != near.connection.getLocalIdentifier());
    CHECK(log.lines().filter("Discarding raw data packets"_s) == log.lines());
    server.ends.erase(server.ends.begin());
    REQUIRE(waitFor([&] { return near.losses > 0; }));
    CHECK_FALSE(near.connection.isConnected());
    second.send("after"_s);
    REQUIRE(waitFor([&] { return !server.ends.front()->received.isEmpty(); }));
    CHECK((near.losses == 1 && near.failures.isEmpty() && second.losses == 0));
}

TEST_CASE("Only a peer whose certificate is good gets or sends anything", "[packets]")
{
    const char* const NONE = "";
    const char* const BROKEN_OFF = "refused, TLS handshake: broken off by the peer";
    const char* const AUTHORITY = "authority.pem";
    const char* const REFUSED = "it may refuse this end's certificate";
    using Text = const char*;
    // Certificate and trust of the server, which asks clients for a certificate if it has trust,
    // and whether it requires one; certificate and trust of the client, and the name it looks for;
    // what the client says, in the log or as the reason, and what the server says where they don't
    // agree.
    const Table<Text, Text, bool, Text, Text, Text, Text, Text> rows{
        {"server.pem", NONE, false, NONE, AUTHORITY, NONE, NONE, NONE},
        {"server.pem", NONE, false, "client.pem", AUTHORITY, "instrument.test", NONE, NONE},
        {"server.pem", AUTHORITY, false, NONE, AUTHORITY, NONE, NONE, NONE},
        {"server.pem", AUTHORITY, false, "client.pem", AUTHORITY, NONE, NONE, NONE},
        {"server.pem", AUTHORITY, true, "client.pem", AUTHORITY, NONE, NONE, NONE},
        {"server.pem", NONE, false, NONE, NONE, NONE, "handshake: The issuer cert", BROKEN_OFF},
        {"stranger.pem", NONE, false, NONE, AUTHORITY, NONE,
         "TLS handshake: The certificate is self-signed", BROKEN_OFF},
        {"server.pem", NONE, false, NONE, AUTHORITY, "other.test", "The host name did not match",
         BROKEN_OFF},
        {"server.pem", AUTHORITY, true, NONE, AUTHORITY, NONE,
         "it may refuse this end's certificate, or want one", "The peer did not present any cert"},
        {"server.pem", AUTHORITY, false, "stranger.pem", AUTHORITY, NONE, REFUSED,
         "is self-signed"},
        {"server.pem", AUTHORITY, true, "stranger.pem", AUTHORITY, NONE, REFUSED, "is self-signed"},
    };
    for (const auto& [certificate, trust, isRequired, shows, trusts, name, clientSays, serverSays] :
         rows) {
        CAPTURE(certificate, trust, isRequired, shows, trusts, name);
        const LogCapture log;
        Server server;
        TlsSettings ofServer = settingsOf(certificate, trust);
        ofServer.setRequiresCertificate(isRequired);
        TlsSettings ofClient = settingsOf(shows, trusts);
        ofClient.setPeerName(QString::fromLatin1(name));
        End client;
        client.connection.setTlsSettings(ofClient);
        client.connection.startConnecting(server.open(Way::Tls, ofServer));
        client.send("early"_s); // kept until the link is up
        if (*serverSays == '\0') {
            REQUIRE(waitFor([&] {
                return server.ends.size() == 1 && server.ends.front()->received.size() == 1;
            }));
            CHECK((client.ups == 1 && client.failures.isEmpty()));
            const PeerOrigin& origin = server.ends.front()->connection.getPeerOrigin();
            const bool isNamed = *trust != '\0' && *shows != '\0';
            CHECK(origin.certificateName == (isNamed ? "operator"_s : QString()));
            const auto shown = isNamed ? QSslCertificate::fromPath(tlsFile(shows))
                                             .value(0)
                                             .digest(QCryptographicHash::Sha256)
                                       : QByteArray();
            CHECK(origin.certificateSha256 == shown);
            CHECK(log.lines().isEmpty());
            continue;
        }
        REQUIRE(waitFor([&] {
            return client.failures.size() + client.losses == 1 && hasLine(log, serverSays);
        }));
        CHECK(client.failures.size() + client.ups == 1);
        CHECK_FALSE((client.connection.isConnected() || !hasLine(log, clientSays)));
        CHECK((client.failures.isEmpty() ||
               client.failures.first().contains(QString::fromLatin1(clientSays))));
        CHECK(server.ends.empty());
        CHECK(server.listener.getHandshakeCount() == 0);
    }

    // A server that shows an expired certificate, which the settings would not load.
    struct ExpiredServer : QTcpServer
    {
        void incomingConnection(qintptr descriptor) override
        {
            auto* socket = new QSslSocket(this);
            socket->setSocketDescriptor(descriptor);
            QSslConfiguration expired = settingsOf("server.pem").getServerConfiguration();
            expired.setLocalCertificateChain(QSslCertificate::fromPath(tlsFile("expired.pem")));
            socket->setSslConfiguration(expired);
            socket->startServerEncryption();
        }
    } expiredServer;
    REQUIRE(expiredServer.listen(LOOPBACK));
    End wary;
    wary.connection.setTlsSettings(settingsOf("", AUTHORITY));
    wary.connection.startConnecting({Way::Tls, HOST, expiredServer.serverPort(), QString()});
    REQUIRE(waitFor([&] { return wary.failures.size() == 1; }));
    CHECK(wary.failures.first() == "TLS handshake: The certificate has expired"_s);

    // Unless it asks for none.
    Server server;
    TlsSettings careless = settingsOf("");
    careless.setVerifiesPeer(false);
    End client;
    client.connection.setTlsSettings(careless);
    client.connection.startConnecting(server.open(Way::Tls, settingsOf("stranger.pem")));
    REQUIRE(waitFor([&] { return client.ups == 1; }));
    CHECK(client.connection.getPeerOrigin().certificateName.isEmpty());
}

TEST_CASE("Whoever speaks the wrong language at a port is told apart and dropped", "[packets]")
{
    const LogCapture log;
    Server server;
    LinkAddress tls = server.open(Way::Tls);
    LinkAddress plain = server.open(Way::Tcp);
    std::swap(tls.port, plain.port);

    End client;
    client.connection.startConnecting(plain);
    REQUIRE(waitFor([&] { return client.ups == 1; }));
    client.send("plain"_s);
    REQUIRE(waitFor([&] { return client.losses == 1; }));
    CHECK(server.ends.empty());
    CHECK(hasLine(log, "refused, TLS handshake: the peer does not speak TLS"));
    CHECK(hasLine(log, "closed the link before it sent anything; the port may be one of TLS"));

    End other;
    other.connection.startConnecting(tls);
    REQUIRE(waitFor([&] { return other.failures.size() == 1; }));
    CHECK(other.failures.first().contains("the port may not be one of TLS"_s));
    CHECK(other.ups == 0);
    REQUIRE(server.ends.size() == 1);
    CHECK((server.ends.front()->losses == 1 && server.ends.front()->received.isEmpty()));
    CHECK(hasLine(log, "speaks TLS to a port that is not for it, link closed"));
}

TEST_CASE("Handshakes that don't end keep nobody out, and end by time", "[packets]")
{
    const LogCapture log;
    Server server;
    server.listener.setHandshakeTimeLimit(milliseconds(300));
    const LinkAddress address = server.open(Way::Tls);
    std::vector<std::unique_ptr<QTcpSocket>> crowd;
    for (int i = 0; i < 3 * LinkListener::MAX_HANDSHAKES; ++i) {
        crowd.push_back(std::make_unique<QTcpSocket>());
        crowd.back()->connectToHost(LOOPBACK, address.port);
        REQUIRE(crowd.back()->waitForConnected());
        crowd.back()->write((QByteArray::fromHex("160301020001000001fc0303") + "half")
                                .left(i % 3 == 2 ? 99 : i % 3));
        crowd.back()->flush();
        if (i % 16 == 0) { // fewer than wait in the system's queue
            QCoreApplication::processEvents();
        }
    }
    End client;
    client.connection.setTlsSettings(settingsOf("", "authority.pem"));
    client.connection.startConnecting(address);
    REQUIRE(waitFor([&] {
        CHECK(server.listener.getHandshakeCount() <= LinkListener::MAX_HANDSHAKES);
        return client.ups == 1 && server.ends.size() == 1;
    }));
    REQUIRE(waitFor([&] { return server.listener.getHandshakeCount() == 0; }));
    CHECK(hasLine(log, "64 TLS handshakes under way, the oldest make room"));
    CHECK(hasLine(log, "refused, TLS handshake: not done in time"));
    client.send("still up"_s);
    REQUIRE(waitFor([&] { return server.ends.front()->received.size() == 1; }));
}

TEST_CASE("A connection that is not made within the time limit is given up", "[packets]")
{
    QTcpServer silent;
    REQUIRE(silent.listen(LOOPBACK));
    End client;
    client.connection.setConnectTimeLimit(milliseconds(30));
    client.connection.startConnecting({Way::Tls, HOST, silent.serverPort(), QString()});
    REQUIRE(waitFor([&] { return !client.failures.isEmpty(); }));
    CHECK_FALSE(client.connection.connectTo({Way::Tls, HOST, silent.serverPort(), QString()}));
    CHECK_FALSE(client.connection.isConnected());
    CHECK(client.failures == lines({"no TLS handshake within 30 ms"}));
    CHECK(client.losses + client.ups == 0);
}

TEST_CASE("A socket file is made for whom it is for, and a dead server's is replaced", "[packets]")
{
    Server server;
    const QByteArray path = QFile::encodeName(server.path);
    sockaddr_un name = {};
    name.sun_family = AF_UNIX;
    std::strncpy(name.sun_path, path.constData(), sizeof name.sun_path - 1);
    const int dead = ::socket(AF_UNIX, SOCK_STREAM, 0);
    REQUIRE(::bind(dead, reinterpret_cast<const sockaddr*>(&name), sizeof name) == 0);
    ::close(dead); // its file stays

    const LinkAddress address = server.open(Way::Local);
    struct stat found = {};
    REQUIRE(::stat(path.constData(), &found) == 0);
    CHECK((found.st_mode & 0777) == 0600);

    // More than the queue holds at once: they wait for their turn.
    std::vector<std::unique_ptr<End>> clients(100);
    for (auto& client : clients) {
        client = std::make_unique<End>();
        client->connection.startConnecting(address);
    }
    const auto isUp = [](const auto& client) { return client->ups == 1; };
    REQUIRE(waitFor([&] { return std::all_of(clients.begin(), clients.end(), isUp); }));

    LinkListener second([](std::unique_ptr<QTcpSocket>) {});
    QString reason;
    CHECK_FALSE(second.listenLocal(server.path, 0600, &reason));
    CHECK(reason == "another server listens there"_s);
    const QString file = server.directory.filePath("file"_s);
    REQUIRE(QFile(file).open(QIODevice::WriteOnly));
    CHECK_FALSE(second.listenLocal(file, 0600, &reason));
    CHECK(reason == "there is a file that is no socket"_s);
    CHECK(QFileInfo(file).isFile());
    CHECK_FALSE(second.listenLocal(server.directory.filePath("no/socket"_s), 0600, &reason));
    CHECK(reason == "No such file or directory"_s);

    const QString longest = server.directory.filePath(QString(107, QLatin1Char('s'))).left(107);
    {
        LinkListener third([](std::unique_ptr<QTcpSocket>) {});
        REQUIRE(third.listenLocal(longest, 0666, &reason));
        CHECK_FALSE(second.listenLocal(longest + QLatin1Char('s'), 0666, &reason));
        CHECK(reason.endsWith("this one has 108"_s));
        REQUIRE(clients[0]->connection.connectTo({Way::Local, QString(), 0, longest}));
        // A successor's file is not the listener's own.
        REQUIRE(QFile::remove(longest));
        REQUIRE(second.listenLocal(longest, 0600, &reason));
    }
    CHECK(QFileInfo::exists(longest));
    {
        const LinkListener last = LinkListener({});
    }

    const LogCapture log;
    clients[1]->connection.startConnecting({Way::Local, QString(), 0, file});
    REQUIRE(waitFor([&] { return clients[1]->failures.size() == 1; }));
    CHECK(clients[1]->failures == lines({"Connection refused"}));
    CHECK_FALSE(clients[1]->connection.connectTo({Way::Local, QString(), 0, longest + file}));
    CHECK_FALSE(clients[1]->connection.isConnected());
    CHECK(hasLine(log, "the path of a socket has 1 to 107 bytes"));
}

TEST_CASE("A dead peer is looked for as the setting says", "[packets]")
{
    QTcpServer server;
    REQUIRE(server.listen(LOOPBACK));
    auto client = std::make_unique<QTcpSocket>();
    const QTcpSocket& socket = *client;
    client->connectToHost(LOOPBACK, server.serverPort());
    REQUIRE(client->waitForConnected());
    NetworkConnection connection;
    REQUIRE(connection.adoptSocket(client));
    CHECK(optionOf(socket, SOL_SOCKET, SO_KEEPALIVE) == 0);

    // On, seconds until the first probe, between probes, probes, milliseconds of unread bytes.
    for (const auto& [timeout, expected] :
         Table<int, std::vector<int>>{{10, {1, 5, 1, 5, 10'000}},
                                      {1, {1, 1, 1, 1, 2'000}},
                                      {27, {1, 15, 2, 6, 27'000}},
                                      {99'999, {1, 16'387, 3'276, 5, 32'767'000}},
                                      {0, {0, 16'387, 3'276, 5, 0}}}) {
        connection.setDeadPeerTimeout(seconds(timeout));
        std::vector<int> options{optionOf(socket, SOL_SOCKET, SO_KEEPALIVE)};
        for (const int option : {TCP_KEEPIDLE, TCP_KEEPINTVL, TCP_KEEPCNT, TCP_USER_TIMEOUT}) {
            options.push_back(optionOf(socket, IPPROTO_TCP, option));
        }
        CHECK(options == expected);
    }

    // Set ahead of the link, it holds for the link.
    connection.setDeadPeerTimeout(seconds(10));
    REQUIRE(connection.connectToHost(LOOPBACK, server.serverPort()));
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete); // the socket before it
    const auto* made = connection.findChild<QTcpSocket*>();
    REQUIRE(made != nullptr);
    CHECK(optionOf(*made, SOL_SOCKET, SO_KEEPALIVE) == 1);
    CHECK(optionOf(*made, IPPROTO_TCP, TCP_USER_TIMEOUT) == 10'000);
}
