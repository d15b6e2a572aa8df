// Parity and the note table.
#include "infrastructure/utility/BitTwiddles.h"
#include "infrastructure/utility/NoteFrequencies.h"
#include "sw/infrastructure_test/Catch.h"

#include <QString>

#include <bitset>
#include <cmath>
#include <random>

TEST_CASE("Parity bits make the count of ones even or odd", "[utility]")
{
    using namespace Tessorn::BitTwiddles;
    static_assert(getEvenParityBit(0) == 0 && getEvenParityBit(1) == 1 && getEvenParityBit(3) == 0,
                  "known in constants");
    CHECK(getEvenParityBit(0xFFFFFFFFu) == 0);
    CHECK(getOddParityBit(0xFFFFFFFFu) == 1);

    std::mt19937 random(11);
    for (int i = 0; i < 10000; ++i) {
        const auto word = static_cast<uint32_t>(random());
        const std::size_t ones = std::bitset<32>(word).count();
        REQUIRE((ones + getEvenParityBit(word)) % 2 == 0);
        REQUIRE((ones + getOddParityBit(word)) % 2 == 1);
    }
}

TEST_CASE("Notes are in equal temperament from C 3 to C 7", "[utility]")
{
    constexpr int notesFromC3ToA4 = 21;
    for (std::size_t i = 0; i < NOTE_FREQUENCIES.size(); ++i) {
        const double exact = 440.0 * std::pow(2.0, (static_cast<int>(i) - notesFromC3ToA4) / 12.0);
        CHECK(NOTE_FREQUENCIES[i].hz == Approx(exact).margin(0.0005001).epsilon(0));
        // Each note is found by its own name, so names are unique.
        CHECK(getNoteFrequency(QStringView(NOTE_FREQUENCIES[i].name)) == NOTE_FREQUENCIES[i].hz);
    }
    CHECK(getNoteFrequency(QStringLiteral("C 3")) == 130.813);
    CHECK(getNoteFrequency(QStringLiteral("C♯/D♭ 3")) == 138.591);
    CHECK(getNoteFrequency(QStringLiteral("A 4")) == 440.0);
    CHECK(getNoteFrequency(QStringLiteral("C 7")) == 2093.005);
    CHECK_FALSE(getNoteFrequency(QStringLiteral("C♯/D♭ 7")).has_value());
    CHECK_FALSE(getNoteFrequency(QString()).has_value());
}
