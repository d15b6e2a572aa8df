// Reads the endless run of 10-bit words of one serial link: finds the timing references and keeps
// to them when words are lost, inserted or damaged, measures the raster, tells which interfaces
// have it, and reads frames. An object for one thread; memory is bounded by two lines, time is
// linear.
//
// The words of a link come in turn from its data streams. With Y1 and C1 for the two of the first
// picture stream:
//
//   270 Mb/s            one stream, C and Y in turn
//   1.5 Gb/s, 3 Gb/s A  C1 Y1
//   3 Gb/s B            C2 C1 Y2 Y1
//   6 and 12 Gb/s       C4 C2 C3 C1 Y4 Y2 Y3 Y1
//
// Normative references: SMPTE ST 259, ST 292-1, ST 424 and ST 425-1, ST 2081-10, ST 2082-10, after
// descrambling and without the bits that ST 2081-1 and ST 2082-1 insert.
#pragma once

#include "infrastructure/utility/video/analysis/FrameReader.h"
#include "infrastructure/utility/video/SdiVocabulary.h"

/// An interface that can carry a raster.
struct SdiInterface
{
    Tessorn::Sdi::SdiDataRate rate;
    Tessorn::Sdi::Level level;
    quint32 frameRateHz; ///< at the clock without 1/1.001
};

/// What the words themselves tell of a signal; the clock is not among it.
struct SdiRaster
{
    struct Field
    {
        quint32 firstLine; ///< from 1, as all lines
        quint32 lines;
        quint32 firstActiveLine;
        quint32 activeLines;
    };

    quint32 words = 0;          ///< that come in turn: 1, 2, 4 or 8
    quint32 samplesPerLine = 0; ///< of one stream
    quint32 activeSamples = 0;
    std::vector<Field> fields; ///< one if progressive, otherwise two

    quint32 getLines() const;
    /// How SdiWordReader hands on frames: all streams together, sample by sample.
    FrameLayout toLayout() const;
    /// Those that give a usual frame rate, slowest first.
    std::vector<SdiInterface> getInterfaces() const;
    /// True if a link of the standard has this raster.
    bool fits(const StandardFromPayloadIdentifier& standard) const;
};

class SdiWordReader
{
public:
    enum class State {
        Searching, ///< for timing references at equal distances
        Measuring, ///< lines are known; counts them up to a whole frame
        Reading,
    };

    /// `options` say what is verified in frames; form and line numbers follow from the words.
    explicit SdiWordReader(const FrameReaderOptions& readerOptions = {});

    /// The lines of each frame, from the first whole one on, in the layout of the raster.
    void setLineReceiver(FrameReader::LineReceiver receiver);

    /// The next words, any number of them. Bits above the ten of a word are a finding.
    void read(const quint16* words, std::size_t count);

    State getState() const { return state; }
    /// Nothing until a whole frame has been measured, and after references were lost.
    const std::optional<SdiRaster>& getRaster() const { return raster; }
    const FindingList& getFindings() const;
    quint64 getFrameCount() const;

private:
    State state = State::Searching;
    std::optional<SdiRaster> raster;
};
