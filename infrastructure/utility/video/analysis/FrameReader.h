// Reads frames as they lie in a store or come tagged, word by word and trusting nothing: splits
// them into lines, and verifies what every line has to carry. An object for one thread; memory is
// bounded by one line, time is linear.
//
// Verified are the tags, the timing references with their protection bits, line numbers, CRCs, the
// values of the blanking and those that samples must not have. Each fault is one finding, placed by
// field, line and word of the line, blanking first as in the store.
//
// Normative references: SMPTE ST 292-1 (timing references, line numbers, CRCs), ST 425-1 (two
// streams on one link), ST 291-1 (ancillary data in the blanking).
#pragma once

#include "infrastructure/utility/Finding.h"
#include "infrastructure/utility/parceltongue/tags/FieldParcelTag.h"
#include "infrastructure/utility/video/metrics/FieldMetrics.h"
#include "infrastructure/utility/video/StandardFromPayloadIdentifier.h"

#include <array>
#include <functional>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

/// How the words of a frame follow one another.
struct FrameLayout
{
    std::vector<FieldMetrics> fields; ///< one or two, in the order of their words
    quint32 streams = 1;              ///< whose samples come in turn: 2 on level B, or 4
    /// Two with line numbers and CRCs. One in standard definition, which has neither; the upper
    /// 10 bits of a store word are 0 then.
    quint32 channels = 2;

    /// Of one link, or of one sub-image where the standard has them. No fields if it has none.
    static FrameLayout of(const StandardFromPayloadIdentifier& standard);

    /// Why no frame can lie so; empty if one can. Lines have at most MAX_LINE_SAMPLES, and blanking
    /// has room for references, number and CRC of each stream.
    std::string_view getReasonAgainst() const;

    /// No line of a listed standard is longer: four streams together have 22,000 samples.
    static constexpr quint32 MAX_LINE_SAMPLES = 1u << 16;
    static constexpr quint32 MAX_FIELD_LINES = 1u << 12;
};

/// What is to be verified, and how the words come.
struct FrameReaderOptions
{
    /// With the tags of ParcelTongue around fields, lines and their parts; otherwise samples alone.
    bool isTagged = true;
    /// True if the last frame is followed by the first again, so that the CRC of its first line is
    /// verified at the end. Otherwise the frame before the first is not known.
    bool repeats = false;
    /// What blanking contains besides references and ancillary packets; none for anything. With one
    /// channel, the second value and the first come in turn.
    std::optional<Tessorn::Types::Sdi20BitSample> blanking =
        Tessorn::Types::Sdi20BitSample{64, 512};
    /// For the findings' places.
    int link = -1;
    std::size_t mostFindings = FindingList::DEFAULT_LIMIT;
};

/// One layout, any number of frames.
class FrameReader
{
public:
    /// A line, valid during the call that hands it on. Words are those of a store, with two
    /// channels of 10 bits each; bits 31 to 20 are as they came.
    struct Line
    {
        int field;      ///< from 0
        quint32 number; ///< in the frame, from 1
        const quint32* blanking;
        quint32 blankingCount; ///< the whole line's in vertical blanking
        const quint32* picture;
        quint32 pictureCount; ///< 0 in vertical blanking
    };
    /// What lines are handed to.
    using LineReceiver = std::function<void(const Line&)>;

    /// A layout that can't be read gives a reader that takes no words.
    explicit FrameReader(FrameLayout frameLayout, const FrameReaderOptions& readerOptions = {});
    FrameReader(const FrameReader&) = delete;
    FrameReader& operator=(const FrameReader&) = delete;
    ~FrameReader();

    /// Called with each line as soon as its last word is there, in order. It must not call the
    /// reader.
    void setLineReceiver(LineReceiver receiver) { lineReceiver = std::move(receiver); }

    /// The next words, any number of them. Where tags are not found for a whole line, words are
    /// skipped up to the next tag of a line or field.
    void read(const quint32* words, std::size_t count);
    /// Without tags: the next line did not arrive whole, and is neither verified nor handed on.
    /// What was read of it is dropped.
    void skipLine();
    /// The end: a frame that is not complete becomes a finding. The next word begins a frame.
    void finish();

    const FrameLayout& getLayout() const { return layout; }
    const FindingList& getFindings() const { return findings; }
    /// Forgets the findings so far; the place among the words stays.
    void clearFindings() { findings.clear(); }
    /// Frames that were read to their last word.
    quint64 getFrameCount() const { return frameCount; }
    /// The tag of the latest field; nothing before the first, and for untagged words.
    const std::optional<FieldParcelTag>& getFieldTag() const { return fieldTag; }

private:
    class Crcs;
    /// What comes next. Samples without tags are lines alone.
    enum class Part {
        FieldHeader,
        Line, ///< with its tags and spacers
        FieldEnd,
        Search, ///< for the next tag
    };
    /// Tag words that follow one another, and which of their bits are known.
    struct Tags;
    /// The first words of a line, for each stream in turn.
    struct LineStart
    {
        std::array<quint32, 4 * 8> words = {};
        std::array<quint32, 4 * 8> expected = {};
    };

    const FieldMetrics& metrics() const { return layout.fields[field]; }
    bool isPictureLine(quint32 lineOfField) const;
    quint32 blankingWidth() const { return metrics().getWidth() - metrics().getActiveWidth(); }
    FindingPlace placeOf(quint32 sample) const;
    void report(FindingCode code, quint32 sample, qint64 expected, qint64 found,
                const QString& detail);
    void reportWord(FindingCode code, quint32 sample, quint32 channel, quint32 expected,
                    quint32 found);

    std::size_t getPartSize() const;
    std::size_t readPart(const quint32* words);
    std::size_t lose(quint32 sample);
    void checkTags(const Tags& tags, const quint32* words, quint32 sample);
    void checkSpacers(const quint32* words, std::size_t count);
    Tags lineHeader(quint32 lineOfField) const;
    Tags fieldHeader(std::size_t number) const;

    std::size_t readFieldHeader(const quint32* words);
    std::size_t readTaggedLine(const quint32* words);
    std::size_t readFieldEnd(const quint32* words);
    std::size_t search(const quint32* words);
    void readLine(const Line& words);
    void endLine();
    void endField();

    void checkReference(const quint32* words, quint32 sample, bool isEnd);
    void checkNumber(const quint32* words);
    void checkCrc(const LineStart& start);
    void checkBlanking(const quint32* words, quint32 from, quint32 to);
    void checkBlankingOf(const quint32* words, quint32 from, quint32 to, quint32 channel);
    void checkSamples(const quint32* words, quint32 from, quint32 to);
    void checkWidth(const quint32* words, quint32 from, quint32 to);

    FrameLayout layout;
    FrameReaderOptions options;
    FindingList findings;
    LineReceiver lineReceiver;
    std::optional<FieldParcelTag> fieldTag;
    std::optional<quint8> spacerByte; ///< of the field; known from its first spacer on
    std::unique_ptr<Crcs> crcs;       ///< null if the layout can't be read
    std::optional<LineStart> firstLine;
    std::vector<quint32> buffer; ///< the beginning of a part, from `bufferStart` on
    std::size_t bufferStart = 0;
    Part part = Part::Line;
    std::size_t field = 0;
    quint32 line = 0; ///< of the field, from 0
    bool isFieldKnown = false;
    bool isWhole = true; ///< no line of the frame is missing so far
    bool hasEnd = false; ///< a frame's end has been read
    quint64 frameCount = 0;
};
