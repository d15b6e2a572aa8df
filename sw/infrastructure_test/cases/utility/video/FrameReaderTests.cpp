// Frames are read as they were made; each fault is found where it was put in.
#include "infrastructure/utility/video/analysis/FrameReader.h"
#include "infrastructure/utility/video/SupportedVideoStandards.h"
#include "sw/infrastructure_test/MadeFrame.h"
#include "sw/infrastructure_test/TestSupport.h"

#include <numeric>

namespace {

/// Small frames: one field and two, one stream and several, with and without spacers.
const FrameLayout SMALL[] = {
    {{{FieldRegion(0, 0, 61, 12), FieldRegion(25, 3, 36, 7)}}},
    {{{FieldRegion(0, 0, 64, 9), FieldRegion(24, 2, 40, 5)},
      {FieldRegion(0, 9, 64, 8), FieldRegion(24, 11, 40, 5)}}},
    {{{FieldRegion(0, 0, 300, 9), FieldRegion(44, 2, 256, 5)},
      {FieldRegion(0, 9, 300, 8), FieldRegion(44, 11, 256, 5)}},
     2},
    {{{FieldRegion(0, 0, 2400, 8), FieldRegion(96, 2, 2304, 5)}}, 4},
};

struct Reading
{
    FindingList findings;
    std::vector<StoreWords> fields;
    std::vector<quint32> numbers; ///< of the lines
    quint64 frames = 0;
    std::optional<FieldParcelTag> tag;
};

Reading read(const FrameLayout& layout, const StoreWords& words, bool isTagged,
             std::size_t piece = 100000)
{
    FrameReaderOptions options;
    options.isTagged = isTagged;
    options.repeats = true;
    FrameReader reader(layout, options);
    Reading reading;
    reading.fields.resize(layout.fields.size());
    reader.setLineReceiver([&](const FrameReader::Line& line) {
        StoreWords& field = reading.fields[std::size_t(line.field)];
        reading.numbers.push_back(line.number);
        field.insert(field.end(), line.blanking, line.blanking + line.blankingCount);
        field.insert(field.end(), line.picture, line.picture + line.pictureCount);
    });
    for (std::size_t i = 0; i < words.size(); i += piece) {
        const StoreWords part(words.begin() + std::ptrdiff_t(i),
                              words.begin() + std::ptrdiff_t(std::min(i + piece, words.size())));
        reader.read(part.data(), part.size());
    }
    reader.finish();
    reading.findings = reader.getFindings();
    reading.frames = reader.getFrameCount();
    reading.tag = reader.getFieldTag();
    return reading;
}

QStringList textsOf(const FindingList& findings)
{
    QStringList texts;
    for (const Finding& finding : findings.getFindings()) {
        texts.append(finding.toString());
    }
    return texts;
}

bool contains(const FindingList& findings, FindingCode code, const FindingPlace& place)
{
    return std::any_of(
        findings.getFindings().begin(), findings.getFindings().end(),
        [&](const Finding& finding) { return finding.code == code && finding.place == place; });
}

/// A frame whose words can be made wrong one at a time.
class Faulty
{
public:
    Faulty(const FrameLayout& frameLayout, quint32 seed)
        : layout(frameLayout)
        , random(seed)
        , fields(makeFrame(layout, seed))
        , words(joined(layout, fields, true))
        , field(random() % layout.fields.size())
        , metrics(layout.fields[field])
        , line(below(metrics.getHeight()))
        , channel(below(2))
    {
    }

    quint32 below(quint32 limit) { return quint32(random() % limit); }

    /// Index among all words of a word of this line.
    std::size_t indexOf(quint32 sample) const
    {
        quint64 index = ParcelTongue::getTaggedIndex(metrics, line * metrics.getWidth() + sample);
        for (std::size_t before = 0; before < field; ++before) {
            index += ParcelTongue::getTaggedSize(layout.fields[before]);
        }
        return std::size_t(index);
    }
    void flip(quint32 sample, quint32 bit) { words[indexOf(sample)] ^= 1u << (bit + 10 * channel); }
    void set(quint32 sample, quint32 value)
    {
        quint32& word = words[indexOf(sample)];
        word = (word & ~(0x3FFu << (10 * channel))) | value << (10 * channel);
    }
    quint32 get(quint32 sample) const { return words[indexOf(sample)] >> (10 * channel) & 0x3FF; }
    bool isPicture() const
    {
        const FieldRegion active = metrics.getActivePictureRegion();
        return active.contains(active.getFirstSampleIndex(),
                               metrics.getFirstLineNumber() - 1 + line);
    }
    FindingPlace place(quint32 sample) const
    {
        return {-1, layout.fields.size() > 1 ? int(field) : -1,
                int(metrics.getFirstLineNumber() + line), int(sample)};
    }
    /// The line whose CRC covers this line's picture.
    FindingPlace placeOfCrc(quint32 sample) const
    {
        const bool isLast = line + 1 == metrics.getHeight();
        const std::size_t next = isLast ? (field + 1) % layout.fields.size() : field;
        return {-1, layout.fields.size() > 1 ? int(next) : -1,
                int(isLast ? layout.fields[next].getFirstLineNumber()
                           : metrics.getFirstLineNumber() + line + 1),
                int(sample)};
    }

    FrameLayout layout;
    std::mt19937 random;
    std::vector<StoreWords> fields;
    StoreWords words;
    std::size_t field;
    FieldMetrics metrics;
    quint32 line;
    quint32 channel;
};

constexpr int FAULTS = 13;

/// Puts in one fault, and finds it and nothing else.
void checkFault(Faulty&& made, int kind)
{
    const FrameLayout& layout = made.layout;
    const quint32 streams = layout.streams;
    const quint32 stream = made.below(streams);
    const quint32 width = made.metrics.getWidth();
    const quint32 blanking = width - made.metrics.getActiveWidth();
    const quint32 reference = made.below(2) * (blanking - 4 * streams); // of the line's two
    const auto sample = [&](quint32 first, quint32 count) {
        return (first + made.below(count)) * streams + stream;
    };
    quint32 at = 0;
    FindingCode code = FindingCode::TagWord;
    std::size_t total = 1;
    switch (kind) {
    case 0:
        at = reference + sample(0, 3);
        made.flip(at, made.below(10));
        code = FindingCode::TimingReference;
        break;
    case 1:
        at = reference + sample(3, 1);
        made.flip(at, made.below(10));
        code = FindingCode::TimingProtection;
        break;
    case 2: {
        at = reference + sample(3, 1);
        const quint32 other = made.get(at) >> 6 ^ (1 + made.below(7));
        made.set(at, FrameOperations::timingReferenceWord((other & 4) != 0, (other & 2) != 0,
                                                          (other & 1) != 0));
        code = FindingCode::TimingFlags;
        break;
    }
    case 3:
        at = sample(4, 2);
        made.flip(at, made.below(10));
        code = FindingCode::LineNumber;
        break;
    case 4:
        at = sample(6, 2);
        made.flip(at, made.below(10));
        code = FindingCode::LineCrc;
        break;
    case 5: { // a sample: its line's successor tells
        const quint32 sampleAt = blanking + made.below(width - blanking);
        const quint32 value = made.get(sampleAt);
        made.set(sampleAt, 4 + (value - 4 + 1 + made.below(1015)) % 1016);
        const Reading reading = read(layout, made.words, true);
        CAPTURE(textsOf(reading.findings), made.line, sampleAt);
        const quint32 crc = 6 * streams + sampleAt % streams;
        REQUIRE((contains(reading.findings, FindingCode::LineCrc, made.placeOfCrc(crc)) ||
                 contains(reading.findings, FindingCode::LineCrc, made.placeOfCrc(crc + streams))));
        // In vertical blanking it is a value of blanking as well.
        REQUIRE(reading.findings.getTotal() == (made.isPicture() ? 1 : 2));
        REQUIRE(contains(reading.findings, FindingCode::BlankingValue, made.place(sampleAt)) !=
                made.isPicture());
        return;
    }
    case 6: // neither the packet nor the references
        at = (blanking / streams - 5) * streams + stream;
        made.set(at, made.get(at) ^ (1 + made.below(1023)));
        code = FindingCode::BlankingValue;
        break;
    case 7: { // reserved
        made.line = made.metrics.getPrePictureVerticalBlankingRegion().getHeight() +
                    made.below(made.metrics.getActiveHeight());
        at = blanking + made.below(width - blanking);
        const quint32 reserved[] = {0, 1, 2, 3, 1020, 1021, 1022, 1023};
        made.set(at, reserved[made.below(8)]);
        code = FindingCode::ReservedValue;
        total = 2; // and the CRC
        break;
    }
    case 8:
        at = made.below(width);
        made.words[made.indexOf(at)] ^= 1u << (20 + made.below(12));
        code = FindingCode::WordTooWide;
        break;
    case 9: { // a tag before, within or behind the line
        const quint32 word = made.below(8);
        const quint32 part = made.below(made.isPicture() ? 3 : 2);
        at = part == 0 ? 0 : part == 1 ? width : blanking;
        const std::size_t index =
            part == 1 ? made.indexOf(width - 1) + 1 + word : made.indexOf(at) - 8 + word;
        made.words[index] ^= 1u << made.below(32);
        break;
    }
    case 10: { // a word is lost or comes twice
        at = width;
        const auto where =
            made.words.begin() + std::ptrdiff_t(made.indexOf(blanking + made.below(20)));
        if (made.below(2) == 0) {
            made.words.erase(where);
        } else {
            made.words.insert(where, *where);
        }
        code = FindingCode::TagLost;
        break;
    }
    case 11: { // a field's header, in bits that tell sizes
        made.line = 0;
        at = 0;
        const quint32 word = 2 + made.below(2);
        made.words[made.indexOf(0) - 16 + word] ^= 1u << (2 + made.below(12));
        break;
    }
    default: { // the end
        const std::size_t left = 1 + made.random() % (made.words.size() - 1);
        made.words.resize(left);
        const Reading reading = read(layout, made.words, true, 1 + made.below(99));
        REQUIRE(textsOf(reading.findings).size() == 1);
        REQUIRE(reading.findings.getCount(FindingCode::FrameCutShort) == 1);
        REQUIRE(reading.frames == 0);
        return;
    }
    }
    const Reading reading = read(layout, made.words, true, 1 + made.below(5000));
    CAPTURE(textsOf(reading.findings), made.place(at).toString());
    REQUIRE(reading.findings.getTotal() == total);
    REQUIRE(contains(reading.findings, code, made.place(at)));
    REQUIRE(reading.frames == (code == FindingCode::TagLost ? 0 : 1));
}

/// The layouts of all listed standards, each once.
std::vector<FrameLayout> listedLayouts()
{
    std::vector<FrameLayout> layouts;
    for (const auto& standard : SupportedVideoStandards::getInstance().getStandards()) {
        const FrameLayout layout = FrameLayout::of(*standard);
        const bool isNew =
            std::none_of(layouts.begin(), layouts.end(), [&](const FrameLayout& known) {
                return known.fields == layout.fields && known.streams == layout.streams;
            });
        if (isNew && !layout.fields.empty()) {
            layouts.push_back(layout);
        }
    }
    return layouts;
}

} // namespace

TEST_CASE("A frame of every listed standard is read as it was made", "[frames]")
{
    const std::vector<FrameLayout> layouts = listedLayouts();
    CHECK(layouts.size() == 45);
    quint32 seed = 1;
    for (const FrameLayout& layout : layouts) {
        CAPTURE(seed);
        REQUIRE(layout.getReasonAgainst().empty());
        Faulty made(layout, ++seed);
        const Reading reading = read(layout, made.words, true);
        REQUIRE(textsOf(reading.findings) == QStringList());
        REQUIRE(reading.frames == 1);
        REQUIRE((reading.fields == made.fields));
        checkFault(std::move(made), int(seed) % FAULTS);
    }
}

TEST_CASE("Pieces of any size are read alike, with tags and without", "[frames]")
{
    for (const FrameLayout& layout : SMALL) {
        const auto fields = makeFrame(layout, 3);
        for (const bool isTagged : {true, false}) {
            const StoreWords words = joined(layout, fields, isTagged);
            for (const std::size_t piece : {1u, 7u, 64u, 65u, 1000u, 100000u}) {
                const Reading reading = read(layout, words, isTagged, piece);
                REQUIRE(textsOf(reading.findings) == QStringList());
                REQUIRE((reading.fields == fields));
                std::vector<quint32> numbers(reading.numbers.size());
                std::iota(numbers.begin(), numbers.end(), 1u);
                REQUIRE(reading.numbers == numbers);
                REQUIRE(reading.tag.has_value() == isTagged);
            }
        }
    }
}

TEST_CASE("One fault is one finding in its place", "[frames]")
{
    for (std::size_t i = 0; i < std::size(SMALL); ++i) {
        for (int kind = 0; kind < FAULTS; ++kind) {
            for (quint32 seed = 1; seed <= 40; ++seed) {
                CAPTURE(i, kind, seed);
                checkFault(Faulty(SMALL[i], seed), kind);
            }
        }
    }
}
