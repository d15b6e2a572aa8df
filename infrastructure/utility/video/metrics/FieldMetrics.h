// The layout of one field in the frame store: what is blanking and what is picture, and conversion
// between the store's coordinates and the digital interface's. A value; pure functions, no
// allocation.
//
//                 sample 0                                  whole width - 1
//   whole first line  +------------------------------------------+
//                     | pre-picture vertical blanking            |
//                     +---------------------+--------------------+
//                     | horizontal blanking | active picture     |
//                     | EAV LN CRC ... SAV  |                    |
//                     +---------------------+--------------------+
//                     | post-picture vertical blanking           |
//   whole last line   +------------------------------------------+
//
// The digital interface counts lines from 1, and samples from the first of the active picture, so
// that horizontal blanking comes after it (SMPTE ST 274:2008, clause 8).
#pragma once

#include "infrastructure/utility/video/metrics/FieldRegion.h"

/// The regions of one field, and its size in the terms of store and interface.
class FieldMetrics
{
public:
    /// The other three regions follow from these two. The picture is taken as given; one that is
    /// not within the field gives regions that wrap around 2^32.
    constexpr FieldMetrics(const FieldRegion& wholeField, const FieldRegion& activePicture)
        : whole(wholeField)
        , prePictureBlanking(wholeField.getFirstSampleIndex(), wholeField.getFirstLineIndex(),
                             wholeField.getWidth(),
                             activePicture.getFirstLineIndex() - wholeField.getFirstLineIndex())
        , horizontalBlanking(
              wholeField.getFirstSampleIndex(), prePictureBlanking.getLastLineIndex() + 1,
              wholeField.getWidth() - activePicture.getWidth(), activePicture.getHeight())
        , active(activePicture)
        , postPictureBlanking(wholeField.getFirstSampleIndex(),
                              activePicture.getLastLineIndex() + 1, wholeField.getWidth(),
                              wholeField.getLastLineIndex() - activePicture.getLastLineIndex())
    {
    }

    constexpr FieldRegion getWholeFieldRegion() const { return whole; }
    constexpr FieldRegion getPrePictureVerticalBlankingRegion() const { return prePictureBlanking; }
    constexpr FieldRegion getHorizontalBlankingRegion() const { return horizontalBlanking; }
    constexpr FieldRegion getActivePictureRegion() const { return active; }
    constexpr FieldRegion getPostPictureVerticalBlankingRegion() const
    {
        return postPictureBlanking;
    }

    /// Samples of a line, blanking included.
    constexpr quint32 getWidth() const { return whole.getWidth(); }
    /// Lines of the field, blanking included.
    constexpr quint32 getHeight() const { return whole.getHeight(); }
    constexpr quint32 getActiveWidth() const { return active.getWidth(); }
    constexpr quint32 getActiveHeight() const { return active.getHeight(); }
    /// Samples of the field, blanking included.
    constexpr quint32 getTotalSamples() const { return whole.getSize(); }

    /// Offset of the first active sample from the first of the field, in samples of the store.
    constexpr quint32 getFirstActiveSampleOffset() const
    {
        return whole.getWidth() * prePictureBlanking.getHeight() + active.getFirstSampleIndex();
    }

    // In terms of the digital interface.

    constexpr quint32 getLastActiveSample() const { return active.getWidth() - 1; }
    constexpr quint32 getFirstSampleOfStartOfActiveVideo() const { return whole.getWidth() - 4; }
    constexpr quint32 getLastSampleOfLine() const { return whole.getWidth() - 1; }
    constexpr quint32 getFirstLineNumber() const { return whole.getFirstLineIndex() + 1; }
    constexpr quint32 getLastLineNumber() const { return whole.getLastLineIndex() + 1; }
    constexpr quint32 getFirstActiveLineNumber() const { return active.getFirstLineIndex() + 1; }
    constexpr quint32 getLastActiveLineNumber() const { return active.getLastLineIndex() + 1; }

    /// 0, 42 => 280, 41 in a field of 2200 samples of which 1920 are active.
    constexpr Tessorn::Types::SampleLocation
    toSampleLocation(const Tessorn::Types::DigitalInterfaceSampleLocation& location) const
    {
        const quint32 sample = location.sampleIndex;
        return {sample < active.getWidth() ? sample + horizontalBlanking.getWidth()
                                           : sample - active.getWidth(),
                location.lineNumber - 1};
    }
    /// 280, 41 => 0, 42 in such a field.
    constexpr Tessorn::Types::DigitalInterfaceSampleLocation
    toDigitalInterfaceSampleLocation(const Tessorn::Types::SampleLocation& location) const
    {
        const quint32 sample = location.sampleIndex;
        return {sample >= horizontalBlanking.getWidth() ? sample - horizontalBlanking.getWidth()
                                                        : sample + active.getWidth(),
                location.lineIndex + 1};
    }

    /// True if the location is within the field, blanking included.
    constexpr bool contains(const Tessorn::Types::SampleLocation& location) const
    {
        return whole.contains(location);
    }
    constexpr bool contains(const Tessorn::Types::DigitalInterfaceSampleLocation& location) const
    {
        return whole.contains(toSampleLocation(location));
    }
    /// True if the region's first and last samples are within the field.
    constexpr bool contains(const FieldRegion& region) const
    {
        return contains(region.getLocatioanOfFirstSampleInRegion()) &&
               contains(region.getLocatioanOfLastSampleInRegion());
    }

    /// True for a location in the active picture. With `secondFieldLineEarlier`, the picture of a
    /// field that does not begin the frame is taken to be one line higher.
    constexpr bool isInActivePicture(const Tessorn::Types::SampleLocation& location,
                                     bool secondFieldLineEarlier) const
    {
        if (!secondFieldLineEarlier || getFirstLineNumber() == 1) {
            return active.contains(location);
        }
        return FieldRegion(active.getFirstSampleIndex(), active.getFirstLineIndex() - 1,
                           active.getWidth(), active.getHeight())
            .contains(location);
    }

    // Which word of a line a store's sample is. `multiplexed` is set for a stream that interleaves
    // two 10-bit sources word by word, so that each word comes twice (SMPTE ST 292-1, clause 5).

    /// Words 4 and 5 of a line are its number: these tell the first, the second, either.
    static constexpr bool isFirstLineNumberWord(quint32 sample, bool multiplexed)
    {
        return isWord(sample, 4, 1, multiplexed);
    }
    static constexpr bool isSecondLineNumberWord(quint32 sample, bool multiplexed)
    {
        return isWord(sample, 5, 1, multiplexed);
    }
    static constexpr bool isLineNumberWord(quint32 sample, bool multiplexed)
    {
        return isWord(sample, 4, 2, multiplexed);
    }
    /// Words 6 and 7 are its CRC: these tell the first, the second, either.
    static constexpr bool isFirstCrcWord(quint32 sample, bool multiplexed)
    {
        return isWord(sample, 6, 1, multiplexed);
    }
    static constexpr bool isSecondCrcWord(quint32 sample, bool multiplexed)
    {
        return isWord(sample, 7, 1, multiplexed);
    }
    static constexpr bool isCrcWord(quint32 sample, bool multiplexed)
    {
        return isWord(sample, 6, 2, multiplexed);
    }
    /// True for the last words of the horizontal blanking: four, or eight multiplexed.
    constexpr bool isInStartOfActiveVideo(quint32 sample, bool multiplexed) const
    {
        return horizontalBlanking.getWidth() - 1 - sample <= (multiplexed ? 7u : 3u);
    }

    friend constexpr bool operator==(const FieldMetrics& a, const FieldMetrics& b)
    {
        return a.whole == b.whole && a.prePictureBlanking == b.prePictureBlanking &&
               a.horizontalBlanking == b.horizontalBlanking && a.active == b.active &&
               a.postPictureBlanking == b.postPictureBlanking;
    }
    friend constexpr bool operator!=(const FieldMetrics& a, const FieldMetrics& b)
    {
        return !(a == b);
    }

private:
    /// Is this one of `count` words from `first` on, each of them twice when multiplexed?
    static constexpr bool isWord(quint32 sample, quint32 first, quint32 count, bool multiplexed)
    {
        const quint32 word = multiplexed ? sample / 2 : sample;
        return word >= first && word < first + count;
    }

    FieldRegion whole;
    FieldRegion prePictureBlanking;
    FieldRegion horizontalBlanking;
    FieldRegion active;
    FieldRegion postPictureBlanking;
};

/// "Field Metrics[Whole field" and its region, then the regions in reading order, each after its
/// letters: ", VB", ", HB", ", AP", ", VB"; "]".
QTextStream& operator<<(QTextStream& stream, const FieldMetrics& metrics);
std::ostream& operator<<(std::ostream& stream, const FieldMetrics& metrics);
