#include "infrastructure/ip/flows/FlowFields_p.h"

namespace Tessorn {
namespace IpTypes {

namespace {

/// Cuts a number from 0 to 255 without leading zeros off the front.
bool readOctet(QStringView& text, quint32& octet)
{
    qsizetype digits = 0;
    octet = 0;
    for (; digits < text.size(); ++digits) {
        const auto digit = static_cast<quint32>(text[digits].unicode()) - u'0';
        if (digit > 9) {
            break;
        }
        octet = octet * 10 + digit;
        if (octet > 255 || (digits > 0 && text[0] == QLatin1Char('0'))) {
            return false;
        }
    }
    text = text.mid(digits);
    return digits > 0;
}

} // namespace

void Ipv4Codec::write(FieldText& text, const QHostAddress& address)
{
    bool isIpv4 = false;
    const quint32 value = address.toIPv4Address(&isIpv4);
    if (!isIpv4) { // null, or an address without IPv4 form
        return;
    }
    for (quint32 shift = 32; shift > 0; shift -= 8) {
        FieldCodec<quint32>::write(text, value >> (shift - 8) & 0xFF);
        if (shift > 8) {
            text.append(QChar(u'.'));
        }
    }
}

bool Ipv4Codec::read(QStringView text, QHostAddress& address)
{
    if (text.isEmpty()) {
        address.clear();
        return true;
    }
    quint32 value = 0;
    for (int i = 0; i < 4; ++i) {
        if (i > 0) {
            if (text.isEmpty() || text.front() != QLatin1Char('.')) {
                return false;
            }
            text = text.mid(1);
        }
        quint32 octet = 0;
        if (!readOctet(text, octet)) {
            return false;
        }
        value = value << 8 | octet;
    }
    if (!text.isEmpty()) {
        return false;
    }
    address.setAddress(value);
    return true;
}

QString addressToString(const QHostAddress& address)
{
    FieldText text;
    Ipv4Codec::write(text, address);
    return toQString(text);
}

} // namespace IpTypes
} // namespace Tessorn
