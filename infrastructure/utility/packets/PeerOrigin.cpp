#include "infrastructure/utility/packets/PeerOrigin.h"

QString PeerOrigin::toString() const
{
    if (way == LinkAddress::Way::Local) {
        return userId ? QStringLiteral("user %1").arg(*userId) : QStringLiteral("unknown user");
    }
    const QString host =
        LinkAddress{LinkAddress::Way::Tcp, address.toString(), port, QString()}.toString();
    if (way == LinkAddress::Way::Tcp) {
        return host;
    }
    return QStringLiteral("tls ") + host +
           (certificateName.isEmpty() ? QString()
                                      : QStringLiteral(" (CN %1)").arg(certificateName));
}
