// Internet addresses that begin with the same bits (RFC 4632, RFC 4291). A value.
#pragma once

#include <QHostAddress>
#include <QString>

#include <optional>

/// "192.168.10.0/24", "fd00::/8", or a single address. An IPv4 address is the same whether it comes
/// by itself or mapped into IPv6 ("::ffff:192.168.10.7"), and lies in no range of IPv6.
class AddressRange
{
public:
    /// The range that `text` names. Nothing for any other text, among them those with bits behind
    /// the range's own, shortened addresses ("10.1") and zones ("fe80::1%eth0"); the reason is put
    /// in `whatIsWrong`.
    static std::optional<AddressRange> parse(const QString& text, QString& whatIsWrong);

    bool contains(const QHostAddress& address) const;
    bool operator==(const AddressRange& other) const;

private:
    Q_IPV6ADDR first{}; ///< IPv4 mapped
    int bits = 0;       ///< of all 128
};
