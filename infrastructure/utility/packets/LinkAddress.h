// Where a server of packets is reached, in one text.
#pragma once

#include <QString>

#include <optional>

/// A way to a server and what it needs:
///     "192.168.1.5:4010", "[::1]:4010", "localhost:4010"   TCP
///     "tls://instrument.example:4011"                      TLS over TCP
///     "unix:/run/instrument.socket"                        a socket of this machine
struct LinkAddress
{
    enum class Way { Tcp, Tls, Local };

    Way way = Way::Tcp;
    QString host;     ///< name or address of Tcp and Tls, without brackets
    quint16 port = 0; ///< of Tcp and Tls
    QString path;     ///< absolute, of Local

    /// The address that `text` names. Without ":PORT" it gets `defaultPort`. Anything else gives
    /// nothing, with the reason in `*whatIsWrong` unless that is null.
    static std::optional<LinkAddress> parse(const QString& text, quint16 defaultPort,
                                            QString* whatIsWrong = nullptr);
    /// The text that `parse` reads.
    QString toString() const;

    bool operator==(const LinkAddress& other) const;
    bool operator!=(const LinkAddress& other) const { return !(*this == other); }
};
