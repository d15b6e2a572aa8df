// Destination addresses, against calculations on their bits one by one and on the text.
#include "infrastructure/ip/Utility.h"
#include "sw/infrastructure_test/Catch.h"

#include <random>

using namespace Tessorn::IpTypes;

namespace {

/// Addresses at and around what the rules look at, and random ones.
std::vector<quint32> interestingAddresses()
{
    std::vector<quint32> addresses;
    for (const quint32 around : {0x00000000u, 0xE0000000u, 0xE0000100u, 0xE0000200u, 0xFFFFFFFFu,
                                 0xC0A80000u, 0x7FFFFFFFu, 0x80000000u, 0xEF9114FFu}) {
        for (quint32 offset = 0; offset < 5; ++offset) {
            addresses.push_back(around + offset - 2);
        }
    }
    std::mt19937 random(13);
    for (int i = 0; i < 1000; ++i) {
        const auto address = static_cast<quint32>(random());
        addresses.push_back(address);
        addresses.push_back(address | ((1u << (random() % 32)) - 1)); // ends in ones
    }
    return addresses;
}

/// Bit by bit: none of the host's bits is 0; prefix 0 has 32 of them.
bool isBroadcastBitByBit(quint32 address, quint32 subnetBits)
{
    for (quint32 bit = subnetBits; bit < 32; ++bit) {
        if ((address >> (31 - bit) & 1) == 0) {
            return false;
        }
    }
    return true;
}

/// By the address's text.
QString expectedMessage(quint32 address, quint32 subnetBits)
{
    const QString text = QHostAddress(address).toString();
    if (text.startsWith(QStringLiteral("224.0.0."))) {
        return QStringLiteral("Destination IP is in the IANA Local Network Control Block");
    }
    if (text.startsWith(QStringLiteral("224.0.1."))) {
        return QStringLiteral("Destination IP is in the IANA Internetwork Control Block");
    }
    if (address != 0 && isBroadcastBitByBit(address, subnetBits)) {
        return QStringLiteral("Destination IP is a Broadcast IP address");
    }
    return QStringLiteral("untouched");
}

} // namespace

TEST_CASE("Broadcast addresses are those with nothing but ones below the prefix", "[ip]")
{
    for (const quint32 address : interestingAddresses()) {
        for (quint32 subnetBits = 0; subnetBits <= 34; ++subnetBits) {
            CAPTURE(address, subnetBits);
            REQUIRE(Utility::isBroadcastAddress(address, subnetBits) ==
                    isBroadcastBitByBit(address, subnetBits));
        }
        REQUIRE(Utility::isBroadcastAddress(address, 0) == (address == 0xFFFFFFFF));
        REQUIRE(Utility::isBroadcastAddress(address, 0xFFFFFFFF));
    }

    struct Row
    {
        const char* address;
        quint32 subnetBits;
        bool broadcast;
    };
    const Row rows[] = {
        {"192.255.255.255", 8, true},  {"192.255.255.255", 9, true},  {"192.191.255.255", 10, true},
        {"192.191.255.255", 11, true}, {"192.175.255.255", 12, true}, {"192.171.255.255", 14, true},
        {"192.168.255.255", 16, true}, {"192.168.1.255", 23, true},   {"192.168.0.15", 28, true},
        {"192.168.0.1", 31, true},     {"192.168.0.1", 24, false},    {"239.145.20.1", 16, false},
        {"239.4.20.1", 8, false},
    };
    for (const Row& row : rows) {
        CAPTURE(row.address, row.subnetBits);
        const QHostAddress address{QLatin1String(row.address)};
        CHECK(Utility::isBroadcastAddress(address.toIPv4Address(), row.subnetBits) ==
              row.broadcast);
    }
}

TEST_CASE("A destination is refused with the reason why", "[ip]")
{
    std::vector<quint32> addresses = interestingAddresses();
    for (quint32 i = 0; i < 512; ++i) {
        addresses.push_back(0xE0000000 + i); // both control blocks, every address
    }
    for (const quint32 address : addresses) {
        for (quint32 subnetBits = 0; subnetBits <= 34; ++subnetBits) {
            CAPTURE(address, subnetBits);
            const QString expected = expectedMessage(address, subnetBits);
            const bool valid = address != 0 && expected == QStringLiteral("untouched");
            QString message = QStringLiteral("untouched");
            REQUIRE(Utility::validateDestinationIpAddress(QHostAddress(address), subnetBits,
                                                          &message) == valid);
            REQUIRE(message == expected);
            REQUIRE(Utility::validateDestinationIpAddress(QHostAddress(address), subnetBits) ==
                    valid);
            REQUIRE((valid == false || subnetBits < 32));
        }
    }
}

TEST_CASE("What is no IPv4 address is refused without a word", "[ip]")
{
    for (const QHostAddress& address :
         {QHostAddress(), QHostAddress(QStringLiteral("0.0.0.0")), QHostAddress(QHostAddress::Any),
          QHostAddress(QStringLiteral("fe80::1"))}) {
        QString message = QStringLiteral("untouched");
        CHECK_FALSE(Utility::validateDestinationIpAddress(address, 24, &message));
        CHECK(message == QStringLiteral("untouched"));
    }
    CHECK(Utility::validateDestinationIpAddress(QHostAddress(QStringLiteral("239.224.30.1")), 24));
    CHECK(Utility::validateDestinationIpAddress(QHostAddress(QStringLiteral("239.255.40.1")), 27));
}
