// The frame rate of a video essence on IP, as a whole number and its divisor.
//
// Normative reference: SMPTE ST 2110-20:2017, clause 7.2 (exactframerate).
#pragma once

#include "infrastructure/utility/video/IpVideoVocabulary.h"

#include <QString>
#include <QStringView>

namespace Tessorn {
namespace IpTypes {

/// rate * 1000 / denominator hertz: 60 and 1001 are 59.94 Hz.
struct FrameRate2110
{
    quint32 rate = 25;
    quint32 denominator = 1000;

    /// True for the rates that exist: 24, 25, 30, 48, 50, 60, 96, 100 and 120 over 1000, and those
    /// of them that are not multiples of 25 over 1001 too.
    bool isValid() const;
    constexpr bool is1001() const { return denominator == 1001; }

    /// The frame rate, or the doubled field rate: 30 over 1001 => "29.97", of fields => "59.94".
    QString toString(bool ofFields = false) const
    {
        return IpTypes::toString(IpFrameRate{rate, denominator}, ofFields);
    }

    /// Reads both "59.94" and "60000/1001", and the other rates from 23.98 to 60 likewise. Any
    /// other text gives 60 over 1000 and sets *ok to false.
    static FrameRate2110 fromString(QStringView text, bool* ok = nullptr)
    {
        const IpFrameRate read = parseIpFrameRate(text, ok);
        return {read.rate, read.divisor};
    }
};

constexpr bool operator==(const FrameRate2110& a, const FrameRate2110& b)
{
    return a.rate == b.rate && a.denominator == b.denominator;
}
constexpr bool operator!=(const FrameRate2110& a, const FrameRate2110& b)
{
    return !(a == b);
}

} // namespace IpTypes
} // namespace Tessorn
