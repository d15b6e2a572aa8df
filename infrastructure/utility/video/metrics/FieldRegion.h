// A rectangle of a stored frame: samples across, lines down, both from 0 in store order.
// A value; pure functions.
#pragma once

#include "infrastructure/utility/video/types/VideoTypes.h"

#include <QtGlobal>

#include <iosfwd>

class QTextStream;

/// Arithmetic is modulo 2^32, so the last sample of a region without width is the one before its
/// first.
class FieldRegion
{
public:
    /// An empty region.
    constexpr FieldRegion() = default;
    constexpr FieldRegion(quint32 firstSample, quint32 firstLine, quint32 widthSamples,
                          quint32 heightLines)
        : firstSampleIndex(firstSample)
        , firstLineIndex(firstLine)
        , height(heightLines)
        , width(widthSamples)
    {
    }

    constexpr quint32 getWidth() const { return width; }
    constexpr quint32 getHeight() const { return height; }
    constexpr quint32 getFirstSampleIndex() const { return firstSampleIndex; }
    constexpr quint32 getFirstLineIndex() const { return firstLineIndex; }
    constexpr quint32 getLastSampleIndex() const { return firstSampleIndex + width - 1; }
    constexpr quint32 getLastLineIndex() const { return firstLineIndex + height - 1; }

    constexpr Tessorn::Types::SampleLocation getLocatioanOfFirstSampleInRegion() const
    {
        return {getFirstSampleIndex(), getFirstLineIndex()};
    }
    constexpr Tessorn::Types::SampleLocation getLocatioanOfLastSampleInRegion() const
    {
        return {getLastSampleIndex(), getLastLineIndex()};
    }

    /// Samples in the whole region.
    constexpr quint32 getSize() const { return width * height; }

    /// The edges are inside; a region without samples contains nothing.
    constexpr bool contains(quint32 sampleIndex, quint32 lineIndex) const
    {
        return width != 0 && height != 0 && firstSampleIndex <= sampleIndex &&
               firstLineIndex <= lineIndex && getLastSampleIndex() >= sampleIndex &&
               getLastLineIndex() >= lineIndex;
    }
    constexpr bool contains(const Tessorn::Types::SampleLocation& location) const
    {
        return contains(location.sampleIndex, location.lineIndex);
    }

    friend constexpr bool operator==(const FieldRegion& a, const FieldRegion& b)
    {
        return a.firstSampleIndex == b.firstSampleIndex && a.firstLineIndex == b.firstLineIndex &&
               a.height == b.height && a.width == b.width;
    }
    friend constexpr bool operator!=(const FieldRegion& a, const FieldRegion& b)
    {
        return !(a == b);
    }

private:
    quint32 firstSampleIndex = 0;
    quint32 firstLineIndex = 0;
    quint32 height = 0;
    quint32 width = 0;
};

/// "Region[sampleIndex:280, lineIndex:41, samples:1920, lines:1080]"
QTextStream& operator<<(QTextStream& stream, const FieldRegion& region);
std::ostream& operator<<(std::ostream& stream, const FieldRegion& region);
