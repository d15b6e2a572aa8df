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
// That is the 10-bit multiplex as ST 425-1 draws it for level B, with link A as stream 1: data
// stream two, then one, each C before Y; and as ST 2081-10 and ST 2082-10 draw it: data streams 8,
// 4, 6, 2, 7, 3, 5, 1, of which sub-image n has 2n - 1 for Y and 2n for C. Words captured in
// another order have to be put in this one first. If C and Y are exchanged, CRCs and blanking are
// findings; whole streams in each other's place are not, since all have the same references.
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
    /// Its lines, as the flags of the references tell.
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

/// Nothing is known of the signal before its first words. The words of another one are no fault of
/// the reader's: it measures again.
class SdiWordReader
{
public:
    /// How far it has come.
    enum class State {
        Searching, ///< for timing references at equal distances
        Measuring, ///< lines are known; counts them up to a whole frame
        Reading,
    };

    /// The options say what is verified in frames; that there are no tags is known.
    explicit SdiWordReader(const FrameReaderOptions& readerOptions = {});
    SdiWordReader(const SdiWordReader&) = delete;
    SdiWordReader& operator=(const SdiWordReader&) = delete;
    ~SdiWordReader();

    /// Called with the lines of each frame, from the first one after measuring on, in the layout of
    /// the raster. It must not call the reader.
    void setLineReceiver(FrameReader::LineReceiver receiver) { lineReceiver = std::move(receiver); }

    /// The next words, any number of them. Bits above the ten of a word are a finding.
    void read(const quint16* words, std::size_t count);

    State getState() const { return state; }
    /// Nothing until a whole frame has been measured, and after references were lost.
    const std::optional<SdiRaster>& getRaster() const { return raster; }
    /// The words' and the frames'.
    const FindingList& getFindings() const { return findings; }
    /// Forgets the findings so far.
    void clearFindings() { findings.clear(); }
    /// Frames that were read whole, of all rasters.
    quint64 getFrameCount() const { return frameCount; }

private:
    /// What the references of one line say.
    struct LineFacts
    {
        bool isIntact; ///< the last word of its first reference is lawful
        bool secondField;
        bool blanking;
        quint32 number;
        quint32 nextNumber;
    };
    /// A frame that is being measured.
    struct Measurement
    {
        SdiRaster raster;
        bool isStarted = false;
        bool isIntact = true;
        bool isSecond = false;
        bool isBlanking = true;
        quint32 lines = 0;
        int attempts = 0;
    };

    std::size_t available() const { return buffer.size() - bufferStart; }
    const quint16* wordAt(std::size_t offset) const { return buffer.data() + bufferStart + offset; }
    void maskFrom(std::size_t index);
    void drop(std::size_t count) { bufferStart += count; }
    bool isReference(std::size_t offset, bool isEnd) const;
    std::size_t findReference(std::size_t from, std::size_t to, bool isEnd) const;

    bool search();
    void loseReferences();
    bool takeLine();
    LineFacts readFacts() const;
    quint32 numberAt(std::size_t offset) const;
    void measure(const LineFacts& facts);
    void endMeasurement();
    bool isFrameStart(const LineFacts& facts) const;
    void follow(const LineFacts& facts);
    void skipLine();
    void nextLine();
    void hand();
    void report(FindingCode code, int line, qint64 expected, qint64 found);

    FrameReaderOptions options;
    FrameReader::LineReceiver lineReceiver;
    State state = State::Searching;
    std::optional<SdiRaster> raster;
    std::unique_ptr<FrameReader> reader; ///< of the raster
    FindingList findings;
    quint64 frameCount = 0;

    std::vector<quint16> buffer; ///< from `bufferStart` on; from a reference on, but for searching
    std::size_t bufferStart = 0;
    std::vector<quint32> storeWords; ///< of one line
    quint32 words = 0;               ///< that come in turn; 0 while searching for the first
    std::size_t lineWords = 0;       ///< or, while searching, the last distance
    std::size_t searched = 0;        ///< offset up to which there is no further reference
    std::size_t lastLength = 0;      ///< of the line before
    int missed = 0;                  ///< references in a row
    int strange = 0;                 ///< lines in a row that do not fit the raster
    bool wasSecondField = false;     ///< the line before
    Measurement measurement;
    quint32 line = 0; ///< of the frame, from 0
};
