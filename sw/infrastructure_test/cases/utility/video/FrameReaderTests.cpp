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
        const quint32 sampleAt = 1 + made.below(width - 1);
        at = made.isPicture() && sampleAt < blanking ? blanking : width;
        const auto where = made.words.begin() + std::ptrdiff_t(made.indexOf(sampleAt));
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

TEST_CASE("Each fault in a frame of every listed standard", "[frames][.][long]")
{
    const std::vector<FrameLayout> layouts = listedLayouts();
    for (std::size_t i = 0; i < layouts.size(); ++i) {
        for (int kind = 0; kind < FAULTS; ++kind) {
            CAPTURE(i, kind);
            checkFault(Faulty(layouts[i], quint32(100 * i) + quint32(kind)), kind);
        }
    }
}

TEST_CASE("What a finding says of a word", "[frames]")
{
    // A frame with one thing wrong after the other; values are known or as the frame has them.
    const FrameLayout& layout = SMALL[2];
    StoreWords words = joined(layout, makeFrame(layout), false);
    const auto at = [&](quint32 line, quint32 sample) -> quint32& {
        return words[(line - 1) * 300 + sample];
    };
    at(1, 0) ^= 1u;               // channel 1 of stream 1
    at(1, 1 + 2 * 2) ^= 1u << 19; // channel 2 of stream 2
    at(2, 6) = 0x3C4u | 0x2D8u << 10;
    at(3, 6) ^= 1u << 4;
    at(4, 8) = 0x1FCu | (at(4, 8) & 0xFFC00u);
    at(4, 43) ^= 0xFFC00u;
    at(5, 70) |= 0xABCu << 20;
    at(11, 30) = 0x40u | 0x3FFu << 10;
    at(12, 44) = 0x3FCu | (at(12, 44) & 0xFFC00u);
    at(13, 44) = 0x004u | (at(13, 44) & 0xFFC00u);
    at(14, 47) = (at(14, 47) & 0x3FFu) | 3u << 10;
    const QStringList expected = lines({
        "error sdi.timing-reference: link 3, field 1, line 1, sample 0: a timing reference has 3FE "
        "for "
        "3FF; stream 1, channel 1",
        "error sdi.timing-reference: link 3, field 1, line 1, sample 5: a timing reference has 200 "
        "for "
        "0; stream 2, channel 2",
        "error sdi.timing-flags: link 3, field 1, line 2, sample 6: a timing reference ends with "
        "3C4, "
        "not 2D8: it belongs to another line; stream 1, channel 1",
        "error sdi.timing-protection: link 3, field 1, line 3, sample 6: a timing reference ends "
        "with "
        "264, not 274: its protection bits do not fit; stream 1, channel 1",
        "error sdi.line-number: link 3, field 1, line 4, sample 8: a word of the line number is "
        "1FC, "
        "not 210; stream 1, channel 1",
        "error sdi.timing-protection: link 3, field 1, line 4, sample 43: a timing reference ends "
        "with "
        "1FF, not 200: its protection bits do not fit; stream 2, channel 2",
        "error sdi.word-too-wide: link 3, field 1, line 5, sample 70: a word has more than 10 "
        "bits: "
        "ABC",
        "warning sdi.blanking-value: link 3, field 2, line 11, sample 30: blanking has 3FF for "
        "200, "
        "outside any ancillary packet; stream 1, channel 2",
    });
    FrameReaderOptions options;
    options.isTagged = false;
    options.link = 2;
    FrameReader reader(layout, options);
    reader.read(words.data(), words.size());
    QStringList found = textsOf(reader.getFindings());
    REQUIRE(found.size() > 6);
    found[6].truncate(expected[6].size()); // the rest of the word is noise
    CHECK(found.mid(0, expected.size()) == expected);
    // Reserved values make the next line's CRC wrong as well; 4 and 1019 are lawful.
    CHECK(reader.getFindings().getCount(FindingCode::ReservedValue) == 2);
    CHECK(contains(reader.getFindings(), FindingCode::ReservedValue, {2, 1, 12, 44}));
    CHECK(contains(reader.getFindings(), FindingCode::ReservedValue, {2, 1, 14, 47}));
    CHECK(reader.getFindings().getCount(FindingCode::LineCrc) == 3);
    reader.clearFindings();
    CHECK(reader.getFindings().isEmpty());
}

TEST_CASE("The options of reading", "[frames]")
{
    const FrameLayout& layout = SMALL[0];
    const auto fields = makeFrame(layout);
    StoreWords words = joined(layout, fields, false);
    const auto total = [&](const FrameReaderOptions& options, int times) {
        FrameReader reader(layout, options);
        for (int i = 0; i < times; ++i) {
            reader.read(words.data(), words.size());
        }
        reader.finish();
        reader.finish(); // nothing has come since
        CHECK(reader.getFindings().getFindings().size() <= options.mostFindings);
        CHECK(reader.getFrameCount() == quint64(times));
        return reader.getFindings().getTotal();
    };
    FrameReaderOptions options;
    options.isTagged = false;
    options.mostFindings = 5;
    CHECK(total(options, 2) == 0);
    CHECK(total(options, 0) == 2); // no frame at all, each time
    options.blanking = {64, 513};
    CHECK(total(options, 1) > 5 * 36);
    options.blanking.reset();
    words[20] = 0x123;
    // The picture's last line is covered by the first line of the next frame.
    words.back() ^= 8;
    CHECK(total(options, 1) == 0);
    options.repeats = true;
    CHECK(total(options, 1) == 1);
    CHECK(total(options, 3) == 3);

    // Lines that are left out make their frame incomplete, and the next line's CRC unknown.
    FrameReader reader(layout, options);
    words = joined(layout, fields, false);
    reader.read(words.data(), 61 + 30);
    reader.skipLine();
    reader.read(words.data() + 2 * 61, words.size() - 2 * 61);
    CHECK(reader.getFindings().isEmpty());
    CHECK(reader.getFrameCount() == 0);
    reader.read(words.data(), words.size());
    CHECK(reader.getFindings().isEmpty());
    CHECK(reader.getFrameCount() == 1);
}

TEST_CASE("Frames cut and joined anywhere are found again", "[frames]")
{
    std::mt19937 random(9);
    for (const FrameLayout& layout : SMALL) {
        const StoreWords good = joined(layout, makeFrame(layout), true);
        for (int round = 0; round < 50; ++round) {
            FrameReader reader(layout);
            StoreWords words(good.begin(), good.begin() + std::ptrdiff_t(random() % good.size()));
            words.insert(words.end(), good.begin() + std::ptrdiff_t(random() % good.size()),
                         good.end());
            reader.read(words.data(), words.size());
            reader.clearFindings();
            const quint64 before = reader.getFrameCount();
            reader.read(good.data(), good.size());
            reader.read(good.data(), good.size());
            CAPTURE(&layout - SMALL, round, textsOf(reader.getFindings()));
            // A line that has lost just its end may take the next field's header for its own.
            REQUIRE(reader.getFindings().getTotal() <= 1);
            REQUIRE(reader.getFrameCount() > before);
        }
        // Noise: some findings are kept, and no frame comes of it.
        StoreWords noise(100000);
        for (quint32& word : noise) {
            word = quint32(random());
        }
        FrameReader reader(layout);
        reader.read(noise.data(), noise.size());
        CHECK(reader.getFindings().getCount(FindingCode::TagLost) == 1);
        CHECK(reader.getFrameCount() == 0);
    }
}

TEST_CASE("A layout that no link can have takes no words", "[frames]")
{
    const FieldRegion whole(0, 0, 64, 9);
    const FieldRegion active(24, 2, 40, 5);
    const FieldMetrics field(whole, active);
    const QString large = "A field is too large"_s;
    const QString away = "The picture is not at the end of the lines of its field"_s;
    const QString streams = "No link has so many streams"_s;
    const QString room = "The blanking has no room for what belongs there"_s;
    const std::vector<std::pair<FrameLayout, QString>> rows{
        {FrameLayout{{field}}, ""_s},
        {FrameLayout{{field, field}}, ""_s},
        {FrameLayout{{field}, 2}, ""_s},
        {FrameLayout{{field}, 1, 1}, ""_s},
        {FrameLayout{}, "A frame has one field or two"_s},
        {FrameLayout{{field, field, field}}, "A frame has one field or two"_s},
        {FrameLayout{{field}, 0}, streams},
        {FrameLayout{{field}, 3}, streams},
        {FrameLayout{{field}, 1, 0}, streams},
        {FrameLayout{{field}, 1, 3}, streams},
        {FrameLayout{{field}, 2, 1}, streams},
        {FrameLayout{{field}, 4}, room},
        {FrameLayout{{{whole, FieldRegion(12, 2, 52, 5)}}}, ""_s},
        {FrameLayout{{{whole, FieldRegion(11, 2, 53, 5)}}}, room},
        {FrameLayout{{{whole, FieldRegion(8, 2, 56, 5)}}, 1, 1}, ""_s},
        {FrameLayout{{{whole, FieldRegion(7, 2, 57, 5)}}, 1, 1}, room},
        {FrameLayout{{{whole, FieldRegion(25, 2, 39, 5)}}, 2},
         "The streams have not equally many samples"_s},
        {FrameLayout{{field, {whole, FieldRegion(24, 2, 39, 5)}}}, away},
        {FrameLayout{{{whole, FieldRegion(24, 2, 40, 8)}}}, away},
        {FrameLayout{{{whole, FieldRegion(24, 2, 40, 0)}}}, away},
        {FrameLayout{{{FieldRegion(0, 0, 64, 0), active}}}, "A field has no lines"_s},
        {FrameLayout{{{FieldRegion(0, 0, 0, 9), active}}}, "A field has no lines"_s},
        {FrameLayout{{{FieldRegion(1, 0, 63, 9), active}}}, "A field has no lines"_s},
        {FrameLayout{{{FieldRegion(0, 0, 1 << 16, 4096), FieldRegion(24, 2, 65512, 5)}}}, ""_s},
        {FrameLayout{{{FieldRegion(0, 0, 65537, 9), FieldRegion(24, 2, 65513, 5)}}}, large},
        {FrameLayout{{{FieldRegion(0, 0, 64, 4097), active}}}, large},
        {FrameLayout{{{FieldRegion(0, 4097, 64, 9), FieldRegion(24, 4099, 40, 5)}}}, large},
    };
    for (const auto& [layout, expected] : rows) {
        const std::string_view reason = layout.getReasonAgainst();
        CHECK(QString::fromUtf8(reason.data(), int(reason.size())) == expected);
        FrameReader reader(layout);
        const StoreWords words(200, 0xFFFFFFFF);
        reader.read(words.data(), words.size());
        reader.skipLine();
        reader.finish();
        CHECK(reader.getFindings().isEmpty() == !expected.isEmpty());
    }
    CHECK(FrameLayout::of(StandardFromPayloadIdentifier({})).fields.empty());
}
