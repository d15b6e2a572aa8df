#include "infrastructure/utility/packets/LinkAddress.h"

#include <QStringView>

namespace {

const QLatin1String TLS_PREFIX("tls://");
const QLatin1String LOCAL_PREFIX("unix:");

std::optional<LinkAddress> refuse(QString* whatIsWrong, const QString& reason)
{
    if (whatIsWrong != nullptr) {
        *whatIsWrong = reason;
    }
    return std::nullopt;
}

} // namespace

std::optional<LinkAddress> LinkAddress::parse(const QString& text, quint16 defaultPort,
                                              QString* whatIsWrong)
{
    LinkAddress address;
    if (text.startsWith(LOCAL_PREFIX)) {
        address.way = Way::Local;
        address.path = text.mid(LOCAL_PREFIX.size());
        if (!address.path.startsWith(QLatin1Char('/'))) {
            return refuse(
                whatIsWrong,
                QStringLiteral("\"%1\": the path after unix: must begin with /").arg(text));
        }
        return address;
    }
    const bool isTls = text.startsWith(TLS_PREFIX);
    address.way = isTls ? Way::Tls : Way::Tcp;
    const QStringView rest = QStringView(text).mid(isTls ? TLS_PREFIX.size() : 0);

    // Colons within brackets, or several without any, belong to an IPv6 address.
    int hostEnd = static_cast<int>(rest.size());
    int portBegin = -1;
    if (rest.startsWith(QLatin1Char('['))) {
        const int closing = static_cast<int>(rest.indexOf(QLatin1Char(']')));
        hostEnd = closing;
        if (closing < 0 || (closing + 1 < rest.size() && rest[closing + 1] != QLatin1Char(':'))) {
            return refuse(
                whatIsWrong,
                QStringLiteral("\"%1\": an address in brackets is [ADDRESS]:PORT").arg(text));
        }
        portBegin = closing + 1 < rest.size() ? closing + 2 : -1;
    } else if (rest.count(QLatin1Char(':')) == 1) {
        hostEnd = static_cast<int>(rest.indexOf(QLatin1Char(':')));
        portBegin = hostEnd + 1;
    }
    const int hostBegin = rest.startsWith(QLatin1Char('[')) ? 1 : 0;
    address.host = rest.mid(hostBegin, hostEnd - hostBegin).toString();
    if (address.host.isEmpty()) {
        return refuse(whatIsWrong, QStringLiteral("\"%1\" names no host").arg(text));
    }
    address.port = defaultPort;
    if (portBegin >= 0) {
        bool ok = false;
        address.port = rest.mid(portBegin).toUShort(&ok);
        if (!ok || address.port == 0) {
            return refuse(whatIsWrong,
                          QStringLiteral("\"%1\": a port is a number from 1 to 65535").arg(text));
        }
    }
    return address;
}

QString LinkAddress::toString() const
{
    if (way == Way::Local) {
        return LOCAL_PREFIX + path;
    }
    const bool isIPv6 = host.contains(QLatin1Char(':'));
    return (way == Way::Tls ? QString(TLS_PREFIX) : QString()) +
           (isIPv6 ? QLatin1Char('[') + host + QLatin1Char(']') : host) + QLatin1Char(':') +
           QString::number(port);
}

bool LinkAddress::operator==(const LinkAddress& other) const
{
    return way == other.way && host == other.host && port == other.port && path == other.path;
}
