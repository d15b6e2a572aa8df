// The grandmaster's data set, as its announce messages give it.
// IEEE 1588-2008: parentDS 8.2.3, timePropertiesDS 8.2.4.
#pragma once

#include <QString>
#include <QStringView>

namespace Tessorn {
namespace IpTypes {

/// What a grandmaster announces about itself. Codes are as on the wire.
struct GrandmasterInfo
{
    quint64 clockIdentity = 0; ///< first octet in the highest byte
    quint8 priority1 = 0;
    quint8 clockClass = 0;
    quint8 clockAccuracy = 0; ///< clockAccuracyToString has the texts
    quint16 offsetScaledLogVariance = 0;
    quint8 priority2 = 0;
    quint16 stepsRemoved = 0;
    /// A PtpTimeSource; toString has the texts. PtpTimeSource_Unknown does not fit a byte and can't
    /// occur here.
    quint8 timeSource = 0;
    qint16 currentUtcOffset = 0; ///< seconds that TAI is ahead of UTC; PtpTimestamp::toUtc takes it
    bool currentUtcOffsetValid = false;
    bool leap59 = false;
    bool leap61 = false;
    bool timeTraceable = false;
    bool frequencyTraceable = false;
    bool ptpTimescale = false;

    /// The fields in the order above as decimal numbers and "true" or "false", joined by commas.
    QString serialise() const;

    /// The value that `serialise` made `text` from. Text of another form gives a default-made value
    /// and sets `ok` to false.
    static GrandmasterInfo deserialise(QStringView text, bool& ok);

    /// The identity in hexadecimal, as in "00-1D-C1-FF-FE-12-34-56".
    QString clockIdentityToString() const;
};

bool operator==(const GrandmasterInfo& a, const GrandmasterInfo& b);
inline bool operator!=(const GrandmasterInfo& a, const GrandmasterInfo& b)
{
    return !(a == b);
}

} // namespace IpTypes
} // namespace Tessorn
