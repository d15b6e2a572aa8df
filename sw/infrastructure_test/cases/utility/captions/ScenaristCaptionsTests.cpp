#include "infrastructure/utility/captions/ScenaristCaptions.h"
#include "sw/infrastructure_test/Catch.h"
#include "sw/infrastructure_test/TestSupport.h"

#include <random>

TEST_CASE("Lines of a Scenarist file give time codes and pairs", "[captions]")
{
    QStringList errors;
    const QByteArray content = "Scenarist_SCC V1.0\r\n\r\n01:02:03:04\t9420 94AE\r\n"
                               "00:00:59;29  8080 \n23:59:59:29";
    CHECK((isScenaristFile(content) && isScenaristFile("Scenarist_SCC V1.0") &&
           isScenaristFile("\xEF\xBB\xBFScenarist_SCC V1.0\n")));
    CHECK_FALSE((isScenaristFile("Scenarist_SCC V1.1\n") || isScenaristFile("")));

    const std::vector<ScenaristLine> lines = readScenaristFile(content, errors);
    CHECK(errors.isEmpty());
    REQUIRE(lines.size() == 3);
    CHECK(lines[0].lineNumber == 3);
    CHECK(lines[0].timeCode.toString() == "01:02:03:04"_s);
    CHECK(lines[0].pairs == std::vector<ScenaristPair>{{0x94, 0x20}, {0x94, 0xAE}});
    CHECK(lines[1].timeCode.isDropFrame);
    CHECK(lines[1].timeCode.toString() == "00:00:59;29"_s);
    CHECK(lines[2].pairs.empty());
}

TEST_CASE("A line that can't be read is reported with its number and skipped", "[captions]")
{
    const auto check = [](const QByteArray& line, const QByteArray& complaint) {
        QStringList errors;
        const auto lines =
            readScenaristFile("Scenarist_SCC V1.0\n\n" + line + "\n00:00:02:00 9420\n", errors);
        CHECK(errors == QStringList{QString::fromLatin1("line 3: " + complaint)});
        REQUIRE(lines.size() == 1);
        CHECK(lines[0].lineNumber == 4);
    };
    for (const QByteArray time :
         {"00:00:01:0", "00:00:01:30", "24:00:01:00", "00:60:01:00", "00:00:60:00", "00-00:01:00",
          "00:00;01:00", "00:00:01.00", "Scenarist_SCC", "0x:00:01:00", "9420"}) {
        check(time + " 9420", '"' + time + "\" is no time code");
    }
    for (const QByteArray word : {"942", "94200", "94g0", "+420"}) {
        check("00:00:01:00 9420 " + word, '"' + word + "\" is no four-digit hexadecimal word");
    }
    check(QByteArray(20, 'x'), '"' + QByteArray(16, 'x') + "\" is no time code");
    std::mt19937 random(5);
    for (int i = 0; i < 2000; ++i) {
        QByteArray content(static_cast<int>(random() % 200), '\0');
        for (char& byte : content) {
            byte = "0123456789:; \t\n\r\0zaF\xFF"[random() % 20];
        }
        QStringList errors;
        const auto lines = readScenaristFile(content, errors);
        REQUIRE(static_cast<int>(lines.size()) <= content.count('\n') + 1);
        REQUIRE(errors.size() <= content.size());
    }
}

TEST_CASE("A word of even parity costs its pair, not its line", "[captions]")
{
    QStringList errors{"before"_s};
    const auto read = readScenaristFile("00:00:01:00 1420 9420 94A0\n", errors);
    CHECK(errors == lines({"before", "line 1, word 1: \"1420\" has a byte of even parity",
                           "line 1, word 3: \"94A0\" has a byte of even parity"}));
    REQUIRE(read.size() == 1);
    CHECK(read[0].pairs == std::vector<ScenaristPair>{{0x80, 0x80}, {0x94, 0x20}, {0x80, 0x80}});
}

TEST_CASE("Time codes count frames, dropped numbers included", "[captions]")
{
    // An hour of drop frame counting has 107892 frames (SMPTE ST 12-1), a day 2589408. The last row
    // is from a count of all numbers of a day.
    const Table<ScenaristTimeCode, int, const char*> rows{
        {{0, 0, 59, 29, false}, 1, "00:01:00:00"},
        {{23, 59, 59, 29, false}, 1, "00:00:00:00"},
        {{0, 0, 59, 29, true}, 1, "00:01:00;02"},
        {{0, 9, 59, 29, true}, 1, "00:10:00;00"},
        {{0, 1, 59, 29, true}, 1, "00:02:00;02"},
        {{0, 0, 0, 0, true}, 107892, "01:00:00;00"},
        {{0, 0, 0, 0, true}, 17981, "00:09:59;29"},
        {{0, 0, 0, 0, true}, 1800, "00:01:00;02"},
        {{23, 59, 59, 29, true}, 1, "00:00:00;00"},
        {{1, 2, 3, 4, true}, 2589408, "01:02:03;04"},
        {{0, 0, 0, 0, true}, 2147483647, "08:00:42;19"},
    };
    for (const auto& [from, frames, to] : rows) {
        CHECK(from.advanced(frames).toString() == QString::fromLatin1(to));
    }
    // Of the numbers of eleven minutes those left out stand for the frame that comes next.
    for (int number = 0, frames = 0; number < 11 * 1800; ++number) {
        const ScenaristTimeCode time{0, number / 1800, number / 30 % 60, number % 30, true};
        const bool isLeftOut = number % 1800 < 2 && time.minutes % 10 != 0;
        QStringList errors;
        const auto lines = readScenaristFile(time.toString().toLatin1(), errors);
        REQUIRE(time.frameNumber() == frames);
        REQUIRE(lines[0].timeCode.toString() ==
                (isLeftOut ? QString::asprintf("00:%02d:00;02", time.minutes) : time.toString()));
        frames += isLeftOut ? 0 : 1;
    }
}
