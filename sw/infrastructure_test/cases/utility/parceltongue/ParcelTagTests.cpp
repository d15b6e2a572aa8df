// The words of each tag. Expected words are put together by hand from the bits of the format.
#include "infrastructure/utility/parceltongue/tags/FieldParcelTag.h"
#include "infrastructure/utility/parceltongue/tags/LineParcelTag.h"
#include "infrastructure/utility/parceltongue/tags/SectionParcelTags.h"
#include "infrastructure/utility/parceltongue/tags/SpacerParcelTag.h"
#include "sw/infrastructure_test/Catch.h"

#include <random>

namespace {

using Words = std::vector<quint32>;
constexpr quint32 F = 0xC0000000;

constexpr FieldMetrics HD(FieldRegion(0, 0, 2200, 1125), FieldRegion(280, 41, 1920, 1080));

} // namespace

TEST_CASE("Tags without content are a head word and filler", "[parceltongue]")
{
    CHECK(VerticalBlankingParcelTag(0xAB, 0xCD).getHeaderWords() == Words{0x43ABCD04, F, F, F});
    CHECK(VerticalBlankingParcelTag(0xAB, 0xCD).getFooterWords() == Words{0x83ABCD04, F, F, F});
    CHECK(HorizontalBlankingParcelTag().getHeaderWords() == Words{0x44000004, F, F, F});
    CHECK(HorizontalBlankingParcelTag().getFooterWords() == Words{0x84000004, F, F, F});
    CHECK(ActivePictureParcelTag().getHeaderWords() == Words{0x45000004, F, F, F});
    CHECK(ActivePictureParcelTag().getFooterWords() == Words{0x85000004, F, F, F});
    CHECK(SpacerParcelTag(0x12, 0x34).getHeaderWords() == Words{0x47123401});
    CHECK(SpacerParcelTag(0x12, 0x34).getFooterWords() == Words{0x47123401});
    CHECK(SpacerParcelTag::NUM_WORDS_IN_HEADER_TAG() == 1);
    CHECK(SpacerParcelTag::NUM_WORDS_IN_FOOTER_TAG() == 1);
    CHECK(ParcelTongue::TAG_SIZE_MULTIPLE == 4); // of all others
}

TEST_CASE("A line's tag carries two line numbers and a flag", "[parceltongue]")
{
    // 1125 = 0x465: 0x465 << 15 = 0x02328000, flag 1 << 26 = 0x04000000.
    CHECK(LineParcelTag(1125, 1, 2).getHeaderWords() == Words{0x42010204, 0xC6328465, F, F});
    CHECK(LineParcelTag(1125, 1, 2).getFooterWords() == Words{0x82010204, F, F, F});
    CHECK(LineParcelTag(3, 5, 0, 0).getHeaderWords()[1] == 0xC4028003);
    CHECK(LineParcelTag(3, 5, 0, 0, 0).getHeaderWords()[1] == 0xC0028003);
    // Numbers are held to their bits; the flag's top bits vanish in those that are set anyway.
    CHECK(LineParcelTag(0xFFFFFFFF, 0, 0, 0, 0).getHeaderWords()[1] == 0xC0003FFF);
    CHECK(LineParcelTag(0, 0xFFFFFFFF, 0, 0, 0).getHeaderWords()[1] == 0xC3FF8000);
    CHECK(LineParcelTag(0, 0, 0xFF, 0, 0).getHeaderWords()[1] == 0xFC000000);
}

TEST_CASE("A field's tag places each number in its bits", "[parceltongue]")
{
    const FieldParcelTag plain(0, 2200, 1125, HD, false, false, 0, 0, 0, 0, 0xAA, 0xBB, 0);
    // 1080 << 17 | 2200 << 2; 1125 << 14 | 1920; 1125.
    CHECK(plain.getHeaderWords() ==
          Words{0x41AABB08, F, 0xC8702260, 0xC1194780, 0xC0000465, F, F, F});
    CHECK(plain.getFooterWords() == Words{0x81AABB04, 0xC0000001, F, F});

    const FieldMetrics none{FieldRegion(), FieldRegion()};
    const quint32 all = 0xFFFFFFFF;
    const FieldMetrics wide(FieldRegion(0, 0, all, all), FieldRegion(0, 0, all, all));
    const std::tuple<FieldParcelTag, std::size_t, quint32> rows[] = {
        {FieldParcelTag(all, 0, 0, none, false, false, 0, 0, 0, 0, 0, 0, 0), 1, 0xFFFFFFFF},
        {FieldParcelTag(all, 0, 0, none, false, false, 0, 0, 0, 0, 0, 0, 0), 2, 0xC0000003},
        {FieldParcelTag(0, all, 0, none, false, false, 0, 0, 0, 0, 0, 0, 0), 2, 0xC000FFFC},
        {FieldParcelTag(0, 0, all, none, false, false, 0, 0, 0, 0, 0, 0, 0), 3, 0xC7FFC000},
        {FieldParcelTag(0, 0, 0, wide, false, false, 0, 0, 0, 0, 0, 0, 0), 2, 0xDFFE0000},
        {FieldParcelTag(0, 0, 0, wide, false, false, 0, 0, 0, 0, 0, 0, 0), 3, 0xC0003FFF},
        {FieldParcelTag(0, 0, 0, wide, false, false, 0, 0, 0, 0, 0, 0, 0), 4, 0xC0000FFF},
        {FieldParcelTag(0, 0, 0, none, true, false, 0, 0, 0, 0, 0, 0, 0), 3, 0xE0000000},
        {FieldParcelTag(0, 0, 0, none, false, true, 0, 0, 0, 0, 0, 0, 0), 3, 0xD0000000},
        {FieldParcelTag(0, 0, 0, none, false, false, all, 0, 0, 0, 0, 0, 0), 4, 0xC0F80000},
        {FieldParcelTag(0, 0, 0, none, false, false, 0, all, 0, 0, 0, 0, 0), 4, 0xC007C000},
        {FieldParcelTag(0, 0, 0, none, false, false, 0, 0, 0xFE, 0, 0, 0, 0), 4, 0xC0000000},
        {FieldParcelTag(0, 0, 0, none, false, false, 0, 0, 0x01, 0, 0, 0, 0), 4, 0xC0002000},
        {FieldParcelTag(0, 0, 0, none, false, false, 0, 0, 0, all, 0, 0, 0), 4, 0xDF000000},
        {FieldParcelTag(0, 0, 0, none, false, false, 0, 0, 0, all, 0, 0, 0), 5, 0xC3FFFFFF},
        {FieldParcelTag(0, 0, 0, none, false, false, 0, 0, 0, 0, 0, 0, all), 5, 0xC0000000},
    };
    for (const auto& [tag, word, expected] : rows) {
        CHECK(tag.getHeaderWords()[word] == expected);
    }
}

TEST_CASE("A field's tag goes through its words and back", "[parceltongue]")
{
    std::mt19937 random(8);
    const auto number = [&] { return static_cast<quint32>(random()); };
    for (int round = 0; round < 200; ++round) {
        const FieldMetrics metrics(FieldRegion(0, 0, number(), number()),
                                   FieldRegion(0, 0, number(), number()));
        const quint32 value32 = round == 0 ? 0xFFFFFFFF : number();
        const FieldParcelTag tag(value32, number(), number(), metrics, (number() & 1) != 0,
                                 (number() & 1) != 0, number(), number(), number(), 0,
                                 static_cast<quint8>(number()), static_cast<quint8>(number()), 0);
        const FieldParcelTag read(tag.getHeaderWords());
        REQUIRE(read.getValue32() == value32);
        REQUIRE(read == tag);
        REQUIRE(read.getHeaderWords() == tag.getHeaderWords());
    }
}

TEST_CASE("Two of a field's numbers are read otherwise than they are written", "[parceltongue]")
{
    // Written: bits 4 to 0 at 28 to 24 of word 4. Read: bits 29 to 24 of it as bits 13 to 8.
    const FieldParcelTag low(0, 0, 0, HD, false, false, 0, 0, 0, 0x3F, 0, 0, 9);
    CHECK(FieldParcelTag(low.getHeaderWords()).getValue26() == 0x1F00);
    CHECK(FieldParcelTag(low.getHeaderWords()).getValue4() == 0);
    CHECK(FieldParcelTag(low.getHeaderWords()) != low);
    const FieldParcelTag high(0, 0, 0, HD, false, false, 0, 0, 0, 0xFFFFFFC0, 0, 0, 0);
    CHECK(FieldParcelTag(high.getHeaderWords()).getValue26() == 0xFFFFFFC0);

    // Bits that the writer never sets.
    const FieldParcelTag read(Words{0, 0, 0, 0, 0x3F000000, 0x3C000000, 0, 0});
    CHECK(read.getValue26() == 0x3F00);
    CHECK(read.getValue4() == 0xF);
}

TEST_CASE("A field's tag that is cut short reads what is there", "[parceltongue]")
{
    const FieldParcelTag tag(0xFFFFFFFF, 2200, 1125, HD, true, true, 31, 31, 1, 0, 1, 2, 0);
    Words words = tag.getHeaderWords();
    for (std::size_t count = 0; count < 8; ++count) {
        Words filled(words.begin(), words.begin() + static_cast<std::ptrdiff_t>(count));
        const FieldParcelTag read(filled);
        filled.resize(8);
        CHECK(read == FieldParcelTag(filled));
    }
}
