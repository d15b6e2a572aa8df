// Fields and frames between their tags. The expected layout is worked out word by word here, from
// the order in which the tags stand.
#include "infrastructure/utility/parceltongue/tagging/FrameTagging.h"
#include "infrastructure/utility/parceltongue/tags/FieldParcelTag.h"
#include "sw/infrastructure_test/Catch.h"
#include "sw/infrastructure_test/TestSupport.h"

#include <numeric>

using namespace ParcelTongue;

namespace {

using Words = std::vector<quint32>;
constexpr quint32 F = 0xC0000000;

/// Samples that tell their index.
Field fieldOf(const FieldMetrics& metrics)
{
    Field field{metrics, Words(metrics.getTotalSamples())};
    std::iota(field.words.begin(), field.words.end(), 0u);
    return field;
}

void checkEverySample(const FieldMetrics& metrics)
{
    const Field field = fieldOf(metrics);
    const Words tagged = tagField(field, {});
    CHECK(tagged.size() % 16 == 0);
    REQUIRE(tagged.size() == getTaggedSize(metrics));
    for (quint32 index = 0; index < field.words.size(); ++index) {
        const quint32 place = getTaggedIndex(metrics, index);
        REQUIRE(place < tagged.size());
        REQUIRE(tagged[place] == index);
    }
}

} // namespace

TEST_CASE("A small field stands between its tags word by word", "[parceltongue]")
{
    // Three lines of five samples; the second has a picture of two.
    const FieldMetrics metrics(FieldRegion(0, 0, 5, 3), FieldRegion(3, 1, 2, 1));
    FieldTagValues values;
    values.value32 = 7;
    values.flagA = true;
    values.flagC = 0x103;
    values.tagByteB = 0x55;
    const quint32 S = 0x47000301; // the spacer, with the lowest byte of flagC
    const auto line = [](quint32 n) { return 0xC4000000 | n << 15 | n; };
    const Words expected = {// field
                            0x41005508, 0xC0000007, 0xC0020014, 0xE1194002, 0xC0002003, F, F, F,
                            // line 1
                            0x42000004, line(1), F, F, 0x43000004, F, F, F, 0, 1, 2, 3, 4, //
                            0x83000004, F, F, F, 0x82000004, F, F, F, S, S, S,
                            // line 2
                            0x42000004, line(2), F, F, 0x44000004, F, F, F, 5, 6, 7, //
                            0x84000004, F, F, F, 0x45000004, F, F, F, 8, 9,          //
                            0x85000004, F, F, F, 0x82000004, F, F, F, S, S, S,
                            // line 3
                            0x42000004, line(3), F, F, 0x43000004, F, F, F, 10, 11, 12, 13, 14, //
                            0x83000004, F, F, F, 0x82000004, F, F, F, S, S, S,
                            // field: 8 + 24 + 32 + 24 + 4 = 92 words so far
                            0x81005504, 0xC0000001, F, F, S, S, S, S};
    CHECK(tagField(fieldOf(metrics), values) == expected);
}

TEST_CASE("Every sample is where the adjusted index says", "[parceltongue]")
{
    const FieldMetrics rows[] = {
        {FieldRegion(0, 0, 500, 290), FieldRegion(50, 50, 450, 190)},
        {FieldRegion(0, 0, 864, 312), FieldRegion(144, 22, 720, 288)},
        {FieldRegion(0, 563, 264, 62), FieldRegion(72, 583, 192, 40)}, // a second field
        {FieldRegion(0, 0, 33, 20), FieldRegion(0, 0, 33, 20)},        // picture alone
        {FieldRegion(0, 0, 33, 20), FieldRegion(33, 5, 0, 4)},         // pictures without width
        {FieldRegion(0, 0, 1, 7), FieldRegion(1, 7, 0, 0)},            // no picture
        {FieldRegion(0, 0, 16, 9), FieldRegion(8, 4, 8, 50)},          // picture below the field
    };
    for (const FieldMetrics& metrics : rows) {
        CAPTURE(&metrics - rows);
        checkEverySample(metrics);
    }
}

TEST_CASE("A line's width is filled up to eight words", "[parceltongue]")
{
    const auto [width, filled] =
        GENERATE(table<quint32, quint32>({{1, 8}, {7, 8}, {8, 8}, {9, 16}, {16, 16}, {17, 24}}));
    const FieldMetrics metrics(FieldRegion(0, 0, width, 10), FieldRegion(width, 3, 0, 0));
    CHECK(getTaggedIndex(metrics, width) == 16 + filled + 16);
}

TEST_CASE("What cannot be tagged stays as it stands", "[parceltongue]")
{
    const FieldMetrics metrics(FieldRegion(0, 0, 10, 4), FieldRegion(4, 1, 6, 2));
    const Field field = fieldOf(metrics);
    const Words short39(field.words.begin(), field.words.end() - 1);
    const auto lines = [](quint32 width, quint32 height) {
        return FieldMetrics(FieldRegion(0, 0, width, height), FieldRegion());
    };
    const Table<Field, const char*> rows{
        {{metrics, field.words, true}, nullptr}, // already tagged
        {{metrics, short39}, "of 39 samples is not tagged, expected 40"},
        {{lines(0, 3), {}}, "of 3 empty lines is not tagged"},
        {{lines(65536, 65536), {}}, "of 0 samples is not tagged, expected 4294967296"},
        {{FieldMetrics(FieldRegion(0, 0, 10, 4), FieldRegion(0, 1, 11, 2)), field.words},
         "is not tagged, active width 11, line width 10, tagged size 160"}};
    for (const auto& [untagged, error] : rows) {
        const LogCapture log;
        CHECK(tagField(untagged, {}) == untagged.words);
        CHECK(log.lines().join(QString()) ==
              (error == nullptr ? QString() : "error: Field "_s + QLatin1String(error)));
    }

    // A field without lines has tags of its own, and one without width an index.
    CHECK(tagField({FieldMetrics(FieldRegion(), FieldRegion()), {}}, {}).size() == 16);
    CHECK(getTaggedIndex(FieldMetrics(FieldRegion(0, 0, 0, 0xFFFFFFFF), FieldRegion()), 5) == 21);
}

TEST_CASE("A frame's values are shared out to its sections and their fields", "[parceltongue]")
{
    const FieldMetrics metrics(FieldRegion(0, 0, 10, 4), FieldRegion(4, 1, 6, 2));
    const Field field = fieldOf(metrics);
    std::vector<Section> sections = {{{field, field}}, {{field, field, field}}, {}};
    Words values(19);
    std::iota(values.begin(), values.end(), 100u);
    sections[1].fields[1].words.pop_back();
    const bool flagA = GENERATE(false, true);
    tagFrame(sections, values, flagA, !flagA, 5);

    // 19 / 3 = 6: steps of three for two fields, of two for three.
    const quint32 expected[2][3] = {{100, 103, 0}, {106, 108, 110}};
    for (std::size_t number = 0; number < 2; ++number) {
        for (std::size_t i = 0; i < sections[number].fields.size(); ++i) {
            CAPTURE(number, i);
            const Field& tagged = sections[number].fields[i];
            REQUIRE(tagged.isTagged == (tagged.words.size() != 39));
            if (!tagged.isTagged) { // the short one
                CHECK((number == 1 && i == 1));
                continue;
            }
            const FieldParcelTag tag(tagged.words);
            CHECK(tag.getValue32() == expected[number][i]);
            CHECK(tag.getTagByteA() == 0);
            CHECK(tag.getTagByteB() == number);
            CHECK(tag.getFlagC() == (number == 1));
            CHECK((tag.getFlagA() != 0) == flagA);
            CHECK((tag.getFlagB() != 0) == !flagA);
            CHECK(tag.getTotalLines() == 1125);
            CHECK(tag.getSamplesPerLine() == 10);
            CHECK(tagged.words.back() == (0x47000001 | number << 8));
        }
    }

    const Words before = sections[0].fields[0].words;
    tagFrame(sections, {}, false, true, 5);
    CHECK(sections[0].fields[0].words == before);

    // Fewer values than fields are repeated; none give 0.
    for (const quint32 value : {9u, 0u}) {
        std::vector<Section> few = {{{field, field}}, {{field}}};
        tagFrame(few, value != 0 ? Words{value} : Words(), false, false, 0);
        CHECK(FieldParcelTag(few[0].fields.back().words).getValue32() == value);
        CHECK(FieldParcelTag(few[1].fields.back().words).getValue32() == value);
    }
}
