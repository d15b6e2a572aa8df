#include "infrastructure/ip/Utility.h"

namespace Tessorn {
namespace IpTypes {
namespace Utility {

namespace {

constexpr quint32 LOCAL_NETWORK_CONTROL_BLOCK = 0xE0000000; ///< 224.0.0.0/24
constexpr quint32 INTERNETWORK_CONTROL_BLOCK = 0xE0000100;  ///< 224.0.1.0/24
constexpr quint32 BLOCK_MASK = 0xFFFFFF00;

/// What is wrong with an address, or a null text.
QString findFault(quint32 address, quint32 subnetBits)
{
    if ((address & BLOCK_MASK) == LOCAL_NETWORK_CONTROL_BLOCK) {
        return QStringLiteral("Destination IP is in the IANA Local Network Control Block");
    }
    if ((address & BLOCK_MASK) == INTERNETWORK_CONTROL_BLOCK) {
        return QStringLiteral("Destination IP is in the IANA Internetwork Control Block");
    }
    if (isBroadcastAddress(address, subnetBits)) { // 255.255.255.255 with any prefix
        return QStringLiteral("Destination IP is a Broadcast IP address");
    }
    return {};
}

} // namespace

bool validateDestinationIpAddress(const QHostAddress& address, quint32 subnetBits, QString* message)
{
    const quint32 ipv4 = address.toIPv4Address();
    if (address.isNull() || ipv4 == 0) {
        return false;
    }
    const QString fault = findFault(ipv4, subnetBits);
    if (fault.isNull()) {
        return true;
    }
    if (message != nullptr) {
        *message = fault;
    }
    return false;
}

} // namespace Utility
} // namespace IpTypes
} // namespace Tessorn
