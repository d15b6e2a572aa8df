#include "infrastructure/utility/packets/LinkAddress.h"
#include "infrastructure/utility/packets/NetworkConnection.h"
#include "sw/infrastructure_test/TestSupport.h"

#include <QTcpServer>

using Way = LinkAddress::Way;

TEST_CASE("The address of a server is read from a text and written again", "[packets]")
{
    const Table<const char*, LinkAddress, const char*> rows{
        {"192.168.1.5", {Way::Tcp, "192.168.1.5"_s, 4010, {}}, "192.168.1.5:4010"},
        {"localhost:65535", {Way::Tcp, "localhost"_s, 65535, {}}, "localhost:65535"},
        {"::1", {Way::Tcp, "::1"_s, 4010, {}}, "[::1]:4010"},
        {"tls://[fe80::2]:1", {Way::Tls, "fe80::2"_s, 1, {}}, "tls://[fe80::2]:1"},
        {"tls://[::1]", {Way::Tls, "::1"_s, 4010, {}}, "tls://[::1]:4010"},
        {"tls://name:7", {Way::Tls, "name"_s, 7, {}}, "tls://name:7"},
        {"unix:/run/a:b", {Way::Local, {}, 0, "/run/a:b"_s}, "unix:/run/a:b"},
    };
    for (const auto& [text, expected, written] : rows) {
        const auto address = LinkAddress::parse(QString::fromLatin1(text), 4010);
        REQUIRE(address);
        CHECK(*address == expected);
        CHECK(address->toString() == QLatin1String(written));
    }
    for (const char* text : {"", ":4010", "tls://", "host:", "host:0", "host:65536", "host:4x",
                             "[::1", "[::1]4010", "[::1]:", "[]:5", "unix:relative", "unix:"}) {
        CAPTURE(text);
        QString reason;
        CHECK_FALSE(LinkAddress::parse(QString::fromLatin1(text), 4010, &reason));
        CHECK(reason.contains(QLatin1String(text)));
    }
}

TEST_CASE("A link is made without waiting, or refused", "[packets]")
{
    QTcpServer listener;
    REQUIRE(listener.listen(QHostAddress::LocalHost));
    LinkAddress address{Way::Tcp, "127.0.0.1"_s, listener.serverPort(), QString()};

    auto connection = std::make_unique<NetworkConnection>();
    int connected = 0;
    QString failure;
    QObject::connect(connection.get(), &NetworkConnection::connectedToHost, [&] { ++connected; });
    QObject::connect(connection.get(), &NetworkConnection::connectingFailed,
                     [&](const QString& reason) {
                         failure = reason;
                         connection.reset(); // in the middle of the socket's own signal
                     });
    connection->startConnecting(address);
    CHECK_FALSE(connection->isConnected());
    REQUIRE(waitFor([&] { return connected == 1; }));
    CHECK(connection->isConnected());
    CHECK(connection->getPeerOrigin().toString() == address.toString());

    listener.close();
    connection->startConnecting(address);
    REQUIRE(waitFor([&] { return connection == nullptr; }));
    CHECK(failure == "Connection refused"_s);
    CHECK(connected == 1);
}
