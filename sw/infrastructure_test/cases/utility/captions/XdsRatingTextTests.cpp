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
    const auto check = [](int first, std::vector<int> seconds, const char* texts) {
        QStringList read;
        for (const int second : seconds) {
            read += rating(static_cast<uint8_t>(first), static_cast<uint8_t>(second));
        }
        CAPTURE(first);
        CHECK(read.join(QLatin1Char('|')) == QLatin1String(texts));
    };
    const char* const pictures[] = {"MPA:NA", "MPA:G",    "MPA:PG", "MPA:PG13",
                                    "MPA:R",  "MPA:NC17", "MPA:X",  "MPA:--"};
    for (int first = 0; first < 8; ++first) {
        check(0x40 | first, {0x40}, pictures[first]);
    }
    check(0x74, {0x7F}, "MPA:R"); // a0 alone decides
    const std::vector<int> eight{0x40, 0x41, 0x42, 0x43, 0x44, 0x45, 0x46, 0x47};
    check(0x48, eight, "TV:NONE |TV:Y |TV:Y7 |TV:G |TV:PG |TV:14 |TV:MA |TV:NONE ");
    check(0x58, eight, "CEn:E|CEn:C|CEn:C8|CEn:G|CEn:PG|CEn:14|CEn:18|CEn:Inv");
    check(0x78, eight, "CFr:E|CFr:G|CFr:8|CFr:13|CFr:16|CFr:18|CFr:Inv|CFr:Inv");
    check(0x48, {0x62, 0x72, 0x64, 0x54, 0x4C}, "TV:Y7 Fv|TV:Y7 Fv,S|TV:PG V|TV:PG S|TV:PG L");
    check(0x68, {0x44, 0x7D, 0x54}, "TV:PG D|TV:14 V,S,L,D|TV:PG S,D");
    check(0x4F, {0x7E}, "TV:MA V,S,L");
    check(0x58, {0x48}, "Unknown");
    check(0x78, {0x48}, "Unknown");
    XdsPacket packet;
    CHECK(ratingText(packet) == "VChip Fail"_s);
    packet.append({0x01, 0x05, 0, 0});
    CHECK(ratingText(packet) == "VChip Fail"_s);
}
