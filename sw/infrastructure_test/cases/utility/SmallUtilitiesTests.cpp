// Parity, nearest names, the note table, big-endian runs and the end of a writer.
#include "infrastructure/utility/BigEndianRun.h"
#include "infrastructure/utility/BigEndianWriter.h"
#include "infrastructure/utility/BitTwiddles.h"
#include "infrastructure/utility/NearestNames.h"
#include "infrastructure/utility/NoteFrequencies.h"
#include "sw/infrastructure_test/Catch.h"
#include "sw/infrastructure_test/TestSupport.h"

#include <QString>

#include <algorithm>
#include <bitset>
#include <cmath>
#include <random>
#include <vector>

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

TEST_CASE("Runs of big-endian numbers of any length may stand anywhere", "[utility][kernels]")
{
    std::mt19937 random(3);
    std::vector<quint8> from(8 * 40 + 1);
    std::generate(from.begin(), from.end(), [&] { return static_cast<quint8>(random()); });
    for (const std::size_t bytesEach : {1u, 2u, 4u, 8u}) {
        for (std::size_t count = 0; count <= 40; ++count) {
            std::vector<quint8> to(from.size() + 2, 0xA5);
            auto wanted = to;
            for (std::size_t i = 0; i < count * bytesEach; ++i) {
                const std::size_t inNumber = i % bytesEach;
                const std::size_t nativeByte =
                    Q_BYTE_ORDER == Q_BIG_ENDIAN ? inNumber : bytesEach - 1 - inNumber;
                wanted[1 + i - inNumber + nativeByte] = from[1 + i];
            }
            copyBigEndianRun(from.data() + 1, to.data() + 1, count, bytesEach);
            REQUIRE(to == wanted);
        }
    }
    quint32 untouched = 5;
    copyBigEndianRun(from.data(), &untouched, 1, 3);
    CHECK(untouched == 5);
}

TEST_CASE("Nearest names are a few slips away, the nearest first", "[utility]")
{
    const QString candidates =
        QStringLiteral("watch get set unset load list describe input1 input10");
    const QString rows[] = {                               // name => all that is near
                            QStringLiteral("wtach watch"), // two that are swapped are one slip
                            QStringLiteral("WACH watch"),
                            QStringLiteral("lst list get set"),
                            QStringLiteral("inptu1 input1 input10"), // two slips
                            QStringLiteral("descri describe"),
                            QStringLiteral("describee describe"),
                            QStringLiteral("dxscrxbex describe"),
                            QStringLiteral("dxscrxbx"),
                            QStringLiteral("xy")};
    for (const QString& row : rows) {
        QStringList names = row.split(QLatin1Char(' '));
        const QString name = names.takeFirst();
        CHECK(findNearestNames(name, candidates.split(QLatin1Char(' '))) == names);
    }
    const QString longest(100, QLatin1Char('a'));
    const QString longer = longest + QLatin1Char('a');
    CHECK(findNearestNames(longest, {longer, longest}) == QStringList{longest});
    CHECK(findNearestNames(longer, {longest}).isEmpty());
    CHECK(findNearestNames(QStringLiteral("ab"), {QStringLiteral("abc"), QStringLiteral("ab")},
                           1) == QStringList{QStringLiteral("ab")});
}

TEST_CASE("A writer that leaves bytes of its buffer, or goes past them, is seen", "[utility]")
{
    const LogCapture log;
    const auto write = [](int announced, int written) {
        QByteArray bytes(8, '\0');
        bytes.resize(announced);
        BigEndianWriter writer(bytes);
        BigEndianWriter local = writer; // a copy is not asked
        for (int i = 0; i < written; ++i) {
            local.put(quint8(i));
        }
        writer = local;
    };
    write(4, 4);
    write(0, 0);
    CHECK(log.lines().isEmpty());
    write(4, 3);
    write(4, 6);
    CHECK(log.lines() == QStringList{"error: 3 bytes written where 4 were announced"_s,
                                     "error: 6 bytes written where 4 were announced"_s});
}

TEST_CASE("Notes are in equal temperament from C 3 to C 7", "[utility]")
{
    constexpr int notesFromC3ToA4 = 21;
    const QStringList pitchClasses =
        "C,C♯/D♭,D,D♯/E♭,E,F,F♯/G♭,G,G♯/A♭,A,A♯/B♭,B"_s.split(QLatin1Char(','));
    REQUIRE(NOTE_FREQUENCIES.size() == 49);
    for (int i = 0; i < 49; ++i) {
        const double exact = 440.0 * std::pow(2.0, (i - notesFromC3ToA4) / 12.0);
        const QString name = "%1 %2"_s.arg(pitchClasses[i % 12]).arg(3 + i / 12);
        CHECK(getNoteFrequency(name) == Approx(exact).margin(0.0005001).epsilon(0));
    }
    CHECK(getNoteFrequency("C♯/D♭ 3"_s) == 138.591);
    CHECK_FALSE(getNoteFrequency("C♯/D♭ 7"_s).has_value());
    CHECK_FALSE(getNoteFrequency(QString()).has_value());
}
