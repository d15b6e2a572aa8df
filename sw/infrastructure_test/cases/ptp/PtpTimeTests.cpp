// Times as text, and timestamps.
#include "infrastructure/ptp/PtpTime.h"
#include "sw/infrastructure_test/Catch.h"

#include <limits>

using namespace Tessorn::IpTypes;

constexpr qint64 MOST = std::numeric_limits<qint64>::max();
constexpr qint64 LEAST = std::numeric_limits<qint64>::min();

TEST_CASE("A time is shown in the unit that suits its size", "[ptp]")
{
    const std::pair<qint64, const char*> rows[] = {
        {0, "0 ns"},
        {1, "1 ns"},
        {994, "994 ns"},
        {-994, "-994 ns"},
        {995, "1.00 μs"},
        {-995, "-1.00 μs"},
        {1234, "1.23 μs"},
        {1235, "1.24 μs"},
        {994999, "995.00 μs"},
        {995000, "1.00 ms"},
        {-3000000, "-3.00 ms"},
        {994999999, "995.00 ms"},
        {995000000, "1.00 s"},
        {1005000000, "1.01 s"},
        {2147483647, "2.15 s"},
    };
    for (const auto& [nanoseconds, text] : rows) {
        CHECK(ptpTimeToString(nanoseconds) == QString::fromUtf8(text));
        CHECK(ptpTimeToString(static_cast<qint32>(nanoseconds)) == QString::fromUtf8(text));
    }
    CHECK(ptpTimeToString(std::numeric_limits<qint32>::min()) == "-2.15 s"_s);
    CHECK(ptpTimeToString(qint64{86400} * 1000000000) == "86400.00 s"_s);
    CHECK(ptpTimeToString(MOST) == "9223372036.85 s"_s);
    CHECK(ptpTimeToString(LEAST) == "-9223372036.85 s"_s);
}

TEST_CASE("A timestamp is shown in UTC, which is behind the protocol's own scale", "[ptp]")
{
    // 1234567890 is 2009-02-13 23:31:30 UTC, as "date -u -d @1234567890" has it.
    CHECK(PtpTimestamp{1234567890, 999999999}.toString() == "2009-02-13 23:31:30"_s);
    CHECK(PtpTimestamp{1234567890, 0}.toString(true) == "2009-02-13 23:31:30 (UTC)"_s);
    CHECK(PtpTimestamp{0, 0}.toString() == "1970-01-01 00:00:00"_s);
    CHECK(PtpTimestamp{253402300799, 0}.toString() == "9999-12-31 23:59:59"_s);
    for (const PtpTimestamp& bad :
         {PtpTimestamp{-1, 0}, PtpTimestamp{0, -1}, PtpTimestamp{253402300800, 0},
          PtpTimestamp{MOST, 0}, PtpTimestamp{LEAST, 0}}) {
        CHECK(bad.toString() == "Error"_s);
        CHECK(bad.toString(true) == "Error"_s);
    }

    // 2017-01-01 00:00:00 UTC, behind its leap second, is 37 s later in TAI (IERS Bulletin C 52).
    const PtpTimestamp tai{1483228837, 5};
    CHECK(tai.toUtc(37) == PtpTimestamp{1483228800, 5});
    CHECK(tai.toUtc(37).toString() == "2017-01-01 00:00:00"_s);
    CHECK(tai.toUtc(0) == tai);
    CHECK(PtpTimestamp() == PtpTimestamp{0, 0});
    CHECK(tai.toUtc(-1) == PtpTimestamp{1483228838, 5});
    CHECK((tai != PtpTimestamp{1483228837, 6} && tai != PtpTimestamp{1483228836, 5}));
    CHECK(PtpTimestamp{LEAST + 36, 7}.toUtc(37) == PtpTimestamp{LEAST, 7});
    CHECK(PtpTimestamp{MOST, 7}.toUtc(-37) == PtpTimestamp{MOST, 7});
}

TEST_CASE("A timestamp with a negative part counts both parts downwards", "[ptp]")
{
    const Table<PtpTimestamp, qint64> rows{
        {{1, 5}, 1000000005},
        {{-1, 5}, -1000000005},
        {{1, -5}, -1000000005},
        {{-1, -5}, -1000000005},
        {{0, -5}, -5},
        {{9223372036, 854775807}, MOST},
        {{9223372036, 854775808}, MOST},
        {{-9223372036, 854775808}, LEAST},
        {{-9223372036, 854775809}, LEAST},
        {{MOST, MOST}, MOST},
        {{LEAST, LEAST}, LEAST},
    };
    for (const auto& [timestamp, nanoseconds] : rows) {
        CAPTURE(timestamp.seconds, timestamp.nanoseconds);
        CHECK(timestamp.toNanoseconds() == nanoseconds);
    }
    CHECK(PtpTimestamp{-1, 5}.toNanosecondsString() == "-1000000005 ns"_s);
}
