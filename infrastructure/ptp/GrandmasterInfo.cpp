#include "infrastructure/ptp/GrandmasterInfo.h"

#include "infrastructure/utility/FieldList.h"

#include <QByteArray>
#include <QtEndian>

namespace Tessorn {
namespace IpTypes {

namespace {

using Info = GrandmasterInfo;
using Flag = FlagCodec<TrueFalse>;
using Fields =
    FieldList<Field<&Info::clockIdentity>, Field<&Info::priority1>, Field<&Info::clockClass>,
              Field<&Info::clockAccuracy>, Field<&Info::offsetScaledLogVariance>,
              Field<&Info::priority2>, Field<&Info::stepsRemoved>, Field<&Info::timeSource>,
              Field<&Info::currentUtcOffset>, Field<&Info::currentUtcOffsetValid, Flag>,
              Field<&Info::leap59, Flag>, Field<&Info::leap61, Flag>,
              Field<&Info::timeTraceable, Flag>, Field<&Info::frequencyTraceable, Flag>,
              Field<&Info::ptpTimescale, Flag>>;

} // namespace

QString GrandmasterInfo::serialise() const
{
    FieldText text;
    Fields::write(text, u',', *this);
    return toQString(text);
}

GrandmasterInfo GrandmasterInfo::deserialise(QStringView text, bool& ok)
{
    GrandmasterInfo info;
    ok = Fields::read(text, u',', info);
    return ok ? info : GrandmasterInfo();
}

QString GrandmasterInfo::clockIdentityToString() const
{
    const quint64 bigEndian = qToBigEndian(clockIdentity);
    const QByteArray octets(reinterpret_cast<const char*>(&bigEndian), sizeof bigEndian);
    return QString::fromLatin1(octets.toHex('-').toUpper());
}

bool operator==(const GrandmasterInfo& a, const GrandmasterInfo& b)
{
    return Fields::same(a, b);
}

} // namespace IpTypes
} // namespace Tessorn
