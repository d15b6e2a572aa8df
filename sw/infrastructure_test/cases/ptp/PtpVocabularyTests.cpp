// Words of the precision time protocol.
#include "infrastructure/ptp/PtpVocabulary.h"
#include "sw/infrastructure_test/Catch.h"

#include <QCryptographicHash>

using namespace Tessorn::IpTypes;

namespace {

/// The SHA-256 of a line "32 < 25 ns\n" for each code from `first` to 300.
template <typename ToText>
QByteArray sumOfTexts(int first, ToText toText)
{
    QByteArray list;
    for (int code = first; code <= 300; ++code) {
        list += QByteArray::number(code) + ' ' + QString(toText(code)).toUtf8() + '\n';
    }
    return QCryptographicHash::hash(list, QCryptographicHash::Sha256).toHex();
}

template <typename Word>
QByteArray sumOfWords(QLatin1String (*toText)(Word))
{
    return sumOfTexts(-1, [toText](int code) { return toText(Word(code)); });
}

} // namespace

// The sums are those of the instrument's published tables, taken with sha256sum. A code that is in
// no table has its line too.
TEST_CASE("The tables of the protocol's words are complete", "[ptp]")
{
    CHECK(sumOfWords<PtpDaemonState>(toString) ==
          "1edac5d910d98c1741b5057c123e8daf1e38380cbb9fcff37d9797e96e45692b");
    CHECK(sumOfWords<PtpClockLockState>(toString) ==
          "bfbf3da8f26e54cf144c396f3283f02d15c4e9bb18a505f65f14e71b4e35d722");
    CHECK(sumOfWords<PtpClockLockState>(toToken) ==
          "9b414a05be22963160a8317315b7d2ae0974e712d4433415217c4fcff356add4");
    CHECK(sumOfWords<PtpTimeSource>(toString) ==
          "11eda1dce5a9b92b338e48b5cd3d31b6b6f9228977077d89dcfe158e961ea401");
    CHECK(sumOfTexts(-1, clockAccuracyToString) ==
          "0fecf20660dccb7d1520c4ba4262cbce8d12c987739a38913445f5ffdd906573");
    CHECK(sumOfTexts(-8, logMessageIntervalToString) ==
          "61c92aacc579f31228a86571bd62da67698341a3e8c4491e749f128f6a4fd5f1");
    CHECK(sumOfTexts(-8, logMessageIntervalToMilliseconds) ==
          "57c6880c3f2afd17b59016fab0056569c2c7508577b2825153fd8b13b49108ae");
    CHECK(sumOfTexts(-1, audioPacketTimeToString) ==
          "9d0b1cd4ceaad85e95e24a0d35d5f61f349f365aa76234d6a7d0e1326cf27686");
}

TEST_CASE("Words of the protocol are known by number and by name", "[ptp]")
{
    // The port states of IEEE 1588-2008, table 8.
    CHECK(toString(PtpDaemonState_PRE_MASTER) == QLatin1String("Pre Lead"));
    CHECK(toString(PtpDaemonState_SLAVE) == QLatin1String("Follow"));
    CHECK(toToken(PtpClockLockState_InHoldover) == QLatin1String("InHoldover"));
    CHECK(toString(PtpTimeSource_HandSet) == QLatin1String("Hand Set"));
    CHECK(logMessageIntervalToString(-9) == "0.00195313 s"_s);
    CHECK(logMessageIntervalToMilliseconds(-20) == "9.53674e-07"_s);
    // What no double holds still has a text.
    CHECK(logMessageIntervalToString(std::numeric_limits<int>::max()) == "inf s"_s);
    CHECK(logMessageIntervalToString(std::numeric_limits<int>::min()) == "0 s"_s);
}
