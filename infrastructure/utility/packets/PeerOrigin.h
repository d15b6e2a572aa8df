// How a peer came, for whoever decides what it may do.
#pragma once

#include "infrastructure/utility/packets/LinkAddress.h"

#include <QByteArray>
#include <QHostAddress>
#include <QString>

#include <optional>

/// What this end can vouch for of the far end of a link.
struct PeerOrigin
{
    LinkAddress::Way way = LinkAddress::Way::Tcp;
    QHostAddress address;          ///< of Tcp and Tls; null for Local
    quint16 port = 0;              ///< of Tcp and Tls
    std::optional<quint32> userId; ///< of Local: the user, as the kernel names it
    QString certificateName;       ///< of Tls: common name of the verified client certificate
    QByteArray certificateSha256;  ///< of Tls: fingerprint of that certificate, 32 bytes or empty

    /// For a log line: "192.168.1.7:40112", "user 1000", "tls 192.168.1.7:40112 (CN operator)".
    QString toString() const;
};
