// Which IPv4 addresses a flow may be sent to.
//
// Normative references: RFC 919 (broadcast), RFC 5771 clauses 4 and 5 (multicast control blocks).
#pragma once

#include <QHostAddress>
#include <QString>

namespace Tessorn {
namespace IpTypes {
namespace Utility {

/// True if all bits of `address` after a prefix of `subnetBits` are 1. With a prefix of 0 that is
/// only 255.255.255.255; with 32 or more no bits are left, so every address is one.
constexpr bool isBroadcastAddress(quint32 address, quint32 subnetBits)
{
    const quint32 hostBits = subnetBits < 32 ? 0xFFFFFFFFu >> subnetBits : 0;
    return (address & hostBits) == hostBits;
}

/// True if a flow may be sent to `address` from a subnet with this prefix: it is IPv4, not zero,
/// not a broadcast address, and not in the control blocks 224.0.0.0 to 224.0.1.255. So nothing
/// passes with a prefix of 32 or more. If the address itself is at fault, `message` is set to say
/// why; a null or zero address leaves it alone.
bool validateDestinationIpAddress(const QHostAddress& address, quint32 subnetBits,
                                  QString* message = nullptr);

} // namespace Utility
} // namespace IpTypes
} // namespace Tessorn
