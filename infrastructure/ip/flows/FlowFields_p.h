// What the texts of all flows share: how an address is written, and how an identity goes ahead of
// further fields, as in "96,192.168.0.1,239.1.2.3,5004,5006,1234,,0+1|2".
#pragma once

#include "infrastructure/ip/flows/IpMediaFlow.h"
#include "infrastructure/utility/FieldList.h"

namespace Tessorn {
namespace IpTypes {

/// An IPv4 address as four decimal numbers, or nothing for a null one. Reading refuses everything
/// else, including leading zeros.
struct Ipv4Codec
{
    static void write(FieldText& text, const QHostAddress& address);
    static bool read(QStringView text, QHostAddress& address);
    static bool same(const QHostAddress& a, const QHostAddress& b)
    {
        return a.toIPv4Address() == b.toIPv4Address();
    }
};

/// The address as Ipv4Codec writes it.
QString addressToString(const QHostAddress& address);

/// IpMediaFlow's own comparison, for flows of all kinds.
inline bool isSameIdentity(const IpMediaFlow& a, const IpMediaFlow& b)
{
    return a == b;
}

/// Appends the identity's fields.
void writeIdentity(FieldText& text, const IpMediaFlow& flow);
/// Reads what writeIdentity wrote. False for any other text; fields before the bad one are then
/// set.
bool readIdentity(QStringView text, IpMediaFlow& flow);

/// The identity, "+", and the fields of `List` joined by `separator`.
template <typename List, char16_t separator, typename Flow>
QString writeFlow(const Flow& flow)
{
    FieldText text;
    writeIdentity(text, flow);
    text.append(QChar(u'+'));
    List::write(text, separator, flow);
    return toQString(text);
}

/// The flow that writeFlow wrote. Any other text gives a default-made one and sets `ok` to false.
template <typename List, char16_t separator, typename Flow>
Flow readFlow(QStringView text, bool& ok)
{
    Flow flow;
    const qsizetype plus = text.indexOf(u'+');
    // No field accepts a second "+", so there are exactly two parts.
    ok = plus >= 0 && readIdentity(text.left(plus), flow) &&
         List::read(text.mid(plus + 1), separator, flow);
    return ok ? flow : Flow();
}

} // namespace IpTypes
} // namespace Tessorn
