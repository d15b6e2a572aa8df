// Small records that video code passes around: positions in a picture and in a frame, samples.
// Values; each compares field by field.
#pragma once

#include <QtGlobal>
#include <QVector>

#include <iosfwd>
#include <tuple>
#include <vector>

class QTextStream;

namespace Tessorn {
namespace Types {

/// The two links of a dual-link interface (SMPTE ST 372).
enum DualLinkLink {
    DualLinkLink_A,
    DualLinkLink_B,
};

/// A position in a picture.
struct PixelCoordinates
{
    quint32 x = 0;
    quint32 y = 0;
};

/// A location in a stored frame, both from 0. Sample 0 is the first word of the end-of-active-video
/// timing reference: horizontal blanking comes before the picture.
struct SampleLocation
{
    constexpr SampleLocation() = default;
    constexpr SampleLocation(quint32 sample, quint32 line)
        : sampleIndex(sample)
        , lineIndex(line)
    {
    }

    quint32 sampleIndex = 0;
    quint32 lineIndex = 0;
};

/// A location as the digital interface counts it: sample 0 is the first of the active picture, line
/// 1 the first of the frame.
struct DigitalInterfaceSampleLocation
{
    constexpr DigitalInterfaceSampleLocation() = default;
    constexpr DigitalInterfaceSampleLocation(quint32 sample, quint32 line)
        : sampleIndex(sample)
        , lineNumber(line)
    {
    }

    quint32 sampleIndex = 0;
    quint32 lineNumber = 1;
};

/// Two 10-bit words that travel together, luma and chroma of a 4:2:2 stream for example.
///
///   store word   31 ... 20 | 19 ... 10   | 9 ... 0
///                0         | channelTwo  | channelOne
struct Sdi20BitSample
{
    quint16 channelOne = 0;
    quint16 channelTwo = 0;

    /// Bits 31 to 20 are ignored.
    static constexpr Sdi20BitSample fromStoreWord(quint32 word)
    {
        return {static_cast<quint16>(word & 0x3FFu), static_cast<quint16>((word >> 10) & 0x3FFu)};
    }

    /// Bits above the 10 of a channel are dropped.
    constexpr quint32 toStoreWord() const
    {
        return (channelOne & 0x3FFu) | ((channelTwo & 0x3FFu) << 10);
    }
};

/// One row of a sample grid: samples, their description, and the row's position and size.
struct RawSdiSampleGridRow
{
    std::vector<Sdi20BitSample> lineSamples;
    QVector<qint32> rowDescriptor; ///< the same for all rows of a grid, which share one copy
    qint32 rowField1 = 0;
    qint32 rowField2 = 0;
    qint32 rowField3 = 0;
    qint32 rowField4 = 0;
    qint32 rowField5 = 0;
    qint32 rowField6 = 0;
    qint32 rowField7 = 0;
};

/// Samples of a part of a picture, as the instrument shows them in numbers.
struct RawSdiSampleGrid
{
    std::vector<RawSdiSampleGridRow> rows;
};

constexpr bool operator==(const PixelCoordinates& a, const PixelCoordinates& b)
{
    return a.x == b.x && a.y == b.y;
}
constexpr bool operator!=(const PixelCoordinates& a, const PixelCoordinates& b)
{
    return !(a == b);
}

constexpr bool operator==(const SampleLocation& a, const SampleLocation& b)
{
    return a.sampleIndex == b.sampleIndex && a.lineIndex == b.lineIndex;
}
constexpr bool operator!=(const SampleLocation& a, const SampleLocation& b)
{
    return !(a == b);
}

constexpr bool operator==(const DigitalInterfaceSampleLocation& a,
                          const DigitalInterfaceSampleLocation& b)
{
    return a.sampleIndex == b.sampleIndex && a.lineNumber == b.lineNumber;
}
constexpr bool operator!=(const DigitalInterfaceSampleLocation& a,
                          const DigitalInterfaceSampleLocation& b)
{
    return !(a == b);
}

constexpr bool operator==(const Sdi20BitSample& a, const Sdi20BitSample& b)
{
    return a.channelOne == b.channelOne && a.channelTwo == b.channelTwo;
}
constexpr bool operator!=(const Sdi20BitSample& a, const Sdi20BitSample& b)
{
    return !(a == b);
}

/// "Pixel[x:1, y:2]"
QTextStream& operator<<(QTextStream& stream, const PixelCoordinates& coordinates);
std::ostream& operator<<(std::ostream& stream, const PixelCoordinates& coordinates);
/// "Sample[sampleIndex:280, lineIndex:41]"
QTextStream& operator<<(QTextStream& stream, const SampleLocation& location);
std::ostream& operator<<(std::ostream& stream, const SampleLocation& location);
/// "Sample[digital sample:0, line:42]"
QTextStream& operator<<(QTextStream& stream, const DigitalInterfaceSampleLocation& location);
std::ostream& operator<<(std::ostream& stream, const DigitalInterfaceSampleLocation& location);
/// "Sample[64, 512]"
QTextStream& operator<<(QTextStream& stream, const Sdi20BitSample& sample);
std::ostream& operator<<(std::ostream& stream, const Sdi20BitSample& sample);

inline bool operator==(const RawSdiSampleGridRow& a, const RawSdiSampleGridRow& b)
{
    const auto fields = [](const RawSdiSampleGridRow& row) {
        return std::tie(row.lineSamples, row.rowDescriptor, row.rowField1, row.rowField2,
                        row.rowField3, row.rowField4, row.rowField5, row.rowField6, row.rowField7);
    };
    return fields(a) == fields(b);
}
inline bool operator!=(const RawSdiSampleGridRow& a, const RawSdiSampleGridRow& b)
{
    return !(a == b);
}

inline bool operator==(const RawSdiSampleGrid& a, const RawSdiSampleGrid& b)
{
    return a.rows == b.rows;
}
inline bool operator!=(const RawSdiSampleGrid& a, const RawSdiSampleGrid& b)
{
    return !(a == b);
}

} // namespace Types
} // namespace Tessorn
