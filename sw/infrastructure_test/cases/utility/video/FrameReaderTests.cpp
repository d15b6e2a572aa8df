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

    options.link = 2;
    FrameReader linked(layout, options);
    linked.read(words.data(), words.size());
    linked.finish();
    REQUIRE(linked.getFindings().getTotal() == 1);
    CHECK(linked.getFindings().getFindings()[0].place.link == 2);
    linked.clearFindings();
    CHECK(linked.getFindings().isEmpty());

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
