#include "infrastructure/server/AddressRange.h"

#include <arpa/inet.h>

#include <algorithm>

namespace {

constexpr int ALL_BITS = 128;
constexpr int MAPPED_BITS = 96; ///< in front of an IPv4 address
constexpr unsigned char MAPPED[] = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0xFF};

bool isMapped(const Q_IPV6ADDR& address)
{
    return std::equal(std::begin(MAPPED), std::end(MAPPED), address.c);
}

/// The address with zeros behind the first `bits`.
Q_IPV6ADDR cut(Q_IPV6ADDR address, int bits)
{
    for (int byte = 0; byte < int(sizeof(address.c)); ++byte) {
        const int kept = std::clamp(bits - byte * 8, 0, 8);
        address.c[byte] = static_cast<unsigned char>(address.c[byte] & (0xFF00 >> kept));
    }
    return address;
}

bool isSame(const Q_IPV6ADDR& a, const Q_IPV6ADDR& b)
{
    return std::equal(std::begin(a.c), std::end(a.c), std::begin(b.c));
}

} // namespace

std::optional<AddressRange> AddressRange::parse(const QString& text, QString& whatIsWrong)
{
    const int slash = text.indexOf(QLatin1Char('/'));
    const QByteArray address = text.left(slash).toLatin1(); // what is not ASCII becomes "?"
    AddressRange range;
    int shift = 0;
    if (inet_pton(AF_INET, address.constData(), range.first.c + MAPPED_BITS / 8) == 1) {
        std::copy(std::begin(MAPPED), std::end(MAPPED), range.first.c);
        shift = MAPPED_BITS;
    } else if (inet_pton(AF_INET6, address.constData(), range.first.c) != 1) {
        whatIsWrong = QStringLiteral("\"%1\" is no address; write it as in 192.168.10.0/24 or "
                                     "fd00::/8")
                          .arg(text);
        return std::nullopt;
    }
    range.bits = ALL_BITS;
    if (slash >= 0) {
        const QString length = text.mid(slash + 1);
        bool ok = false;
        const uint number = length.toUInt(&ok);
        const uint most = uint(ALL_BITS - shift);
        if (!ok || number > most || QString::number(number) != length) {
            whatIsWrong =
                QStringLiteral("\"%1\" has no length; after / comes a number from 0 to %2")
                    .arg(text)
                    .arg(most);
            return std::nullopt;
        }
        range.bits = int(number) + shift;
    }
    const Q_IPV6ADDR first = cut(range.first, range.bits);
    if (!isSame(first, range.first)) {
        const QHostAddress shown(first);
        whatIsWrong =
            QStringLiteral("\"%1\" has bits behind its first %2; write %3/%2")
                .arg(text)
                .arg(range.bits - shift)
                .arg(shift > 0 ? QHostAddress(shown.toIPv4Address()).toString() : shown.toString());
        return std::nullopt;
    }
    return range;
}

bool AddressRange::contains(const QHostAddress& address) const
{
    if (address.isNull()) {
        return false;
    }
    const Q_IPV6ADDR bytes = address.toIPv6Address();
    const bool isIPv4Range = bits >= MAPPED_BITS && isMapped(first);
    return isMapped(bytes) == isIPv4Range && isSame(cut(bytes, bits), first);
}

bool AddressRange::operator==(const AddressRange& other) const
{
    return bits == other.bits && isSame(first, other.first);
}
