// Destination addresses: which are broadcast, and which a flow may be sent to.
#include "infrastructure/ip/Utility.h"
#include "sw/infrastructure_test/Catch.h"

using namespace Tessorn::IpTypes;

namespace {

const QString UNTOUCHED = "untouched"_s;

/// What is said of an address: "valid", a message, or UNTOUCHED with a refusal.
QString verdict(const QHostAddress& address, quint32 subnetBits)
{
    QString message = UNTOUCHED;
    const bool valid = Utility::validateDestinationIpAddress(address, subnetBits, &message);
    CHECK(Utility::validateDestinationIpAddress(address, subnetBits) == valid);
    return valid && message == UNTOUCHED ? "valid"_s : message;
}

} // namespace

TEST_CASE("Broadcast addresses are those with nothing but ones below the prefix", "[ip]")
{
    for (quint32 subnetBits = 0; subnetBits <= 34; ++subnetBits) {
        CHECK(Utility::isBroadcastAddress(0xFFFFFFFF, subnetBits));
        CHECK(Utility::isBroadcastAddress(0, subnetBits) == (subnetBits >= 32));
        for (quint32 bit = 0; bit < 32; ++bit) { // from the prefix's end
            CAPTURE(subnetBits, bit);
            CHECK(Utility::isBroadcastAddress(~(0x80000000u >> bit), subnetBits) ==
                  (bit < subnetBits));
        }
    }
    CHECK(Utility::isBroadcastAddress(0, 0xFFFFFFFF));
    CHECK(Utility::isBroadcastAddress(0xC0ABFFFF, 14)); // 192.171.255.255
}

TEST_CASE("A destination is refused with the reason why", "[ip]")
{
    for (quint32 last = 0; last < 256; ++last) {
        for (const quint32 subnetBits : {0u, 8u, 24u, 32u}) { // 224.0.0.255 is broadcast too
            CHECK(verdict(QHostAddress(0xE0000000 + last), subnetBits) ==
                  "Destination IP is in the IANA Local Network Control Block"_s);
            CHECK(verdict(QHostAddress(0xE0000100 + last), subnetBits) ==
                  "Destination IP is in the IANA Internetwork Control Block"_s);
        }
    }
    const QString broadcast = "Destination IP is a Broadcast IP address"_s;
    for (const quint32 subnetBits : {0u, 1u, 24u, 31u, 32u}) {
        CHECK(verdict(QHostAddress(0xFFFFFFFF), subnetBits) == broadcast);
    }
    CHECK(verdict(QHostAddress("239.145.20.255"_s), 24) == broadcast);
    CHECK(verdict(QHostAddress("239.224.30.1"_s), 32) == broadcast);
    for (const char* valid :
         {"239.224.30.1", "239.255.40.0", "223.255.255.254", "224.0.2.0", "0.0.0.1", "10.0.0.1"}) {
        CHECK(verdict(QHostAddress(QLatin1String(valid)), 24) == "valid"_s);
        CHECK(verdict(QHostAddress(QLatin1String(valid)), 0) == "valid"_s);
    }
    for (const QHostAddress& unsaid :
         {QHostAddress(), QHostAddress("0.0.0.0"_s), QHostAddress(QHostAddress::Any),
          QHostAddress("fe80::1"_s)}) {
        CHECK(verdict(unsaid, 24) == UNTOUCHED);
        CHECK(verdict(unsaid, 32) == UNTOUCHED);
    }
}
