// Frames are read as they were made; each fault is found where it was put in.
#include "infrastructure/utility/video/analysis/FrameReader.h"
#include "sw/infrastructure_test/MadeFrame.h"
#include "sw/infrastructure_test/TestSupport.h"

#include <numeric>

namespace {

} // namespace

TEST_CASE("Pieces of any size are read alike, with tags and without", "[frames]")
{
    for (const FrameLayout& layout : SMALL) {
        const auto fields = makeFrame(layout, 3);
        for (const bool isTagged : {true, false}) {
            const FrameWords words = joined(layout, fields, isTagged);
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

TEST_CASE("What a finding says of a word", "[frames]")
{
    // A frame with one thing wrong after the other; values are known or as the frame has them.
    const FrameLayout& layout = SMALL[2];
    FrameWords words = joined(layout, makeFrame(layout), false);
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
        "error sdi.timing-reference: link 3, field 1, line 1, sample 0, stream 1, channel 1: a "
        "timing reference has 3FE for 3FF",
        "error sdi.timing-reference: link 3, field 1, line 1, sample 5, stream 2, channel 2: a "
        "timing reference has 200 for 0",
        "error sdi.timing-flags: link 3, field 1, line 2, sample 6, stream 1, channel 1: a timing "
        "reference ends with 3C4, not 2D8: it belongs to another line",
        "error sdi.timing-protection: link 3, field 1, line 3, sample 6, stream 1, channel 1: a "
        "timing reference ends with 264, not 274: its protection bits do not fit",
        "error sdi.line-number: link 3, field 1, line 4, sample 8, stream 1, channel 1: a word of "
        "the line number is 1FC, not 210",
        "error sdi.timing-protection: link 3, field 1, line 4, sample 43, stream 2, channel 2: a "
        "timing reference ends with 1FF, not 200: its protection bits do not fit",
        "error sdi.word-too-wide: link 3, field 1, line 5, sample 70: a word has more than 10 "
        "bits: ABC",
        "warning sdi.blanking-value: link 3, field 2, line 11, sample 30, stream 1, channel 2: "
        "blanking has 3FF for 200, outside any ancillary packet",
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
    CHECK(reader.getFindings().getCount(FindingCode::LineCrc) == 3);
    reader.clearFindings();
    CHECK(reader.getFindings().isEmpty());
}

TEST_CASE("The options of reading", "[frames]")
{
    const FrameLayout& layout = SMALL[0];
    const auto fields = makeFrame(layout);
    FrameWords words = joined(layout, fields, false);
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
        const FrameWords good = joined(layout, makeFrame(layout), true);
        for (int round = 0; round < 50; ++round) {
            FrameReader reader(layout);
            FrameWords words(good.begin(), good.begin() + std::ptrdiff_t(random() % good.size()));
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
        FrameWords noise(100000);
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
        const FrameWords words(200, 0xFFFFFFFF);
        reader.read(words.data(), words.size());
        reader.skipLine();
        reader.finish();
        CHECK(reader.getFindings().isEmpty() == !expected.isEmpty());
    }
    CHECK(FrameLayout::of(StandardFromPayloadIdentifier({})).fields.empty());
}
