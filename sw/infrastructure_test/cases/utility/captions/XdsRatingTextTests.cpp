// Ratings by the bits of CEA-608, clause 9.5.1.5: names of bits as there.
#include "infrastructure/utility/captions/XdsRatingText.h"
#include "sw/infrastructure_test/Catch.h"

namespace {

QString rating(uint8_t first, uint8_t second)
{
    XdsPacket packet;
    REQUIRE(packet.append({0x01, 0x05, 0, 0}));
    REQUIRE(packet.append({first, second, 0, 0}));
    return ratingText(packet);
}

} // namespace

TEST_CASE("Content advisories have their texts", "[captions]")
{
    struct Row
    {
        int first;
        int second;
        const char* text;
    };
    const std::vector<Row> rows{
        {0x40, 0x40, "MPA:NA"},        {0x41, 0x40, "MPA:G"},
        {0x42, 0x40, "MPA:PG"},        {0x43, 0x40, "MPA:PG13"},
        {0x44, 0x40, "MPA:R"},         {0x45, 0x40, "MPA:NC17"},
        {0x46, 0x40, "MPA:X"},         {0x47, 0x40, "MPA:--"},
        {0x74, 0x7F, "MPA:R"}, // a0 alone decides
        {0x48, 0x40, "TV:NONE "},      {0x48, 0x41, "TV:Y "},
        {0x48, 0x42, "TV:Y7 "},        {0x48, 0x43, "TV:G "},
        {0x48, 0x44, "TV:PG "},        {0x48, 0x45, "TV:14 "},
        {0x48, 0x46, "TV:MA "},        {0x48, 0x47, "TV:NONE "},
        {0x48, 0x62, "TV:Y7 Fv"},      {0x48, 0x72, "TV:Y7 Fv,S"},
        {0x48, 0x64, "TV:PG V"},       {0x48, 0x54, "TV:PG S"},
        {0x48, 0x4C, "TV:PG L"},       {0x68, 0x44, "TV:PG D"},
        {0x68, 0x7D, "TV:14 V,S,L,D"}, {0x68, 0x54, "TV:PG S,D"},
        {0x4F, 0x7E, "TV:MA V,S,L"},   {0x58, 0x40, "CEn:E"},
        {0x58, 0x41, "CEn:C"},         {0x58, 0x42, "CEn:C8"},
        {0x58, 0x43, "CEn:G"},         {0x58, 0x44, "CEn:PG"},
        {0x58, 0x45, "CEn:14"},        {0x58, 0x46, "CEn:18"},
        {0x58, 0x47, "CEn:Inv"},       {0x78, 0x40, "CFr:E"},
        {0x78, 0x41, "CFr:G"},         {0x78, 0x42, "CFr:8"},
        {0x78, 0x43, "CFr:13"},        {0x78, 0x44, "CFr:16"},
        {0x78, 0x45, "CFr:18"},        {0x78, 0x46, "CFr:Inv"},
        {0x78, 0x47, "CFr:Inv"},       {0x58, 0x48, "Unknown"},
        {0x78, 0x48, "Unknown"},
    };
    for (const Row& row : rows) {
        CAPTURE(row.first, row.second);
        CHECK(rating(static_cast<uint8_t>(row.first), static_cast<uint8_t>(row.second)) ==
              QString::fromLatin1(row.text));
    }
    XdsPacket packet;
    CHECK(ratingText(packet) == QStringLiteral("VChip Fail"));
    packet.append({0x01, 0x05, 0, 0});
    CHECK(ratingText(packet) == QStringLiteral("VChip Fail"));
}
