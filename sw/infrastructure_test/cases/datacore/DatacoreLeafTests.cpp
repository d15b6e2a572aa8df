// Leaves of a boolean, a point and a MAC address.
#include "infrastructure/datacore/DatacoreBool.h"
#include "infrastructure/datacore/DatacoreMacAddress.h"
#include "infrastructure/datacore/DatacorePoint.h"
#include "sw/infrastructure_test/DatacoreSupport.h"

#include <limits>

namespace {

using Octets = DatacoreMacAddress::Octets;

const QString NAME = "leaf"_s;

constexpr Octets EXAMPLE{0x00, 0x15, 0xE9, 0x2B, 0x99, 0x3C};

} // namespace

TEST_CASE("A boolean is one of two texts", "[datacore]")
{
    DatacoreBool leaf(NAME, nullptr);
    CHECK(leaf.getClassName() == "DatacoreBool"_s);
    CHECK(leaf.getDataList() == strings({"false"}));
    leaf.setDataBool(true);
    CHECK(leaf.getDataList() == strings({"true"}));
    CHECK((leaf.getDataBool() && leaf.isValid()));
    for (const char* bad : {"True", "1", "", " true", "falsey"}) {
        leaf.setData(QLatin1String(bad));
        CHECK(reasons(leaf) == std::vector<int>{10});
        CHECK_FALSE(leaf.getDataBool());
    }
    leaf.setData(strings({"TRUE", "true", "x", "false"}));
    CHECK(reasons(leaf) == std::vector<int>{10});
    CHECK(leaf.getDataBools() == std::deque<bool>{false, true, false, false});
    leaf.setDataBools({true, false});
    CHECK(leaf.getDataList() == strings({"true", "false"}));
    leaf.setDataBool(false);
    CHECK(leaf.getDataList() == strings({"false"}));
    leaf.setDataBools({});
    CHECK((leaf.isValid() && !leaf.getDataBool()));
    CHECK(DatacoreBool(NAME, nullptr, true).getDataBool());
    const std::deque<bool> flags{true, false, true};
    transfer(DatacoreBool(NAME, nullptr, flags), leaf);
    CHECK(leaf.getDataBools() == flags);
    CHECK(leaf.isValid());
}

TEST_CASE("Points survive JSON, and texts of another shape are reported one by one", "[datacore]")
{
    DatacorePoint leaf(NAME, nullptr);
    CHECK(leaf.getClassName() == "DatacorePoint"_s);
    CHECK(leaf.getDataList() == strings({"0,0"}));
    constexpr int low = std::numeric_limits<int>::min();
    constexpr int high = std::numeric_limits<int>::max();
    const std::deque<QPoint> points{{low, high}, {high, low}, {0, -1}, {-1, 0}};
    bool ok = false;
    for (const QPoint& point : points) {
        transfer(DatacorePoint(NAME, nullptr, point.x(), point.y()), leaf);
        CHECK(leaf.getDataPoint(ok) == point);
        CHECK(ok);
    }
    transfer(DatacorePoint(NAME, nullptr, points), leaf);
    CHECK(leaf.getDataPoints(ok) == points);
    CHECK(ok);
    leaf.setDataPoint(-7, 8);
    CHECK(leaf.getDataList() == strings({"-7,8"}));

    for (const char* bad : {"1,2,3", "1", "a,b", "", ",", "1,", ",2", "1,2,", "1.0,2", "1;2"}) {
        CAPTURE(bad);
        leaf.setData(QLatin1String(bad));
        CHECK(reasons(leaf) == std::vector<int>{20});
        CHECK(leaf.getDataPoint(ok) == QPoint());
        CHECK_FALSE(ok);
    }
    leaf.setData(strings({"1,2,3", "a,b", "5,6"}));
    CHECK(reasons(leaf) == std::vector<int>{20, 20});
    CHECK(leaf.getDataPoints(ok) == std::deque<QPoint>{{0, 0}, {0, 0}, {5, 6}});
    CHECK_FALSE(ok);
    leaf.setDataPoints({{5, 6}, {7, -8}});
    CHECK(leaf.getDataList() == strings({"5,6", "7,-8"}));
    CHECK(leaf.isValid());
    leaf.setDataPoints({});
    CHECK(leaf.isValid());
    leaf.getDataPoint(ok);
    CHECK_FALSE(ok);
}

TEST_CASE("A MAC address has a number, octets and a text", "[datacore]")
{
    DatacoreMacAddress leaf(NAME, nullptr, EXAMPLE);
    CHECK(leaf.getClassName() == "DatacoreMacAddress"_s);
    CHECK(leaf.isValid());
    CHECK(leaf.getData() == "94106261820"_s); // 0x0015E92B993C
    bool ok = false;
    CHECK(leaf.getDataNumber(ok) == 0x0015E92B993C);
    CHECK(leaf.getDataMacAddressSegments(ok) == EXAMPLE);
    using namespace Tessorn::Types;
    CHECK(leaf.getDataMacAddressString(ok) == "00:15:E9:2B:99:3C"_s);
    CHECK(leaf.getDataMacAddressString(ok, Base_Decimal) == "0:21:233:43:153:60"_s);
    CHECK(leaf.getDataMacAddressString(ok, Base_Hexadecimal, '~') == "00~15~E9~2B~99~3C"_s);
    CHECK(ok);

    leaf.setDataMacAddressSegmentsArray({EXAMPLE, {1, 2, 3, 4, 5, 6}});
    CHECK(leaf.getDataMacAddressStringArray(ok) ==
          strings({"00:15:E9:2B:99:3C", "01:02:03:04:05:06"}));
    CHECK(leaf.getDataMacAddressSegmentsArray(ok) ==
          std::deque<Octets>{EXAMPLE, {1, 2, 3, 4, 5, 6}});
    CHECK((ok && leaf.isValid()));
    leaf.setDataMacAddressStringArray(strings({"10-20-30-40-50-60", "0-0-0-0-0-9"}), Base_Decimal,
                                      '-');
    CHECK(leaf.getDataMacAddressStringArray(ok, Base_Decimal, '.') ==
          strings({"10.20.30.40.50.60", "0.0.0.0.0.9"}));
}

TEST_CASE("MAC addresses that nothing can have are invalid", "[datacore]")
{
    DatacoreMacAddress leaf(NAME, nullptr);
    CHECK(reasons(leaf) == std::vector<int>{32});
    const Table<const char*, std::vector<int>, bool> rows{
        // reasons, and whether it has octets
        {"1", {}, true},
        {"281474976710654", {}, true},
        {"281474976710655", {32}, true}, // broadcast
        {"281474976710656", {32}, false},
        {"18446744073709551615", {32}, false},
        {"0", {32}, true},
        {"-1", {6}, false},
        {"00:15:E9:2B:99:3C", {6}, false},
    };
    for (const auto& [number, expected, hasOctets] : rows) {
        CAPTURE(number);
        leaf.setData(QLatin1String(number));
        CHECK(reasons(leaf) == expected);
        bool ok = !hasOctets;
        leaf.getDataMacAddressSegments(ok);
        CHECK(ok == hasOctets);
        leaf.getDataMacAddressString(ok);
        CHECK(ok == hasOctets);
    }
    leaf.setData(strings({"0", "5", "281474976710655"}));
    CHECK(reasons(leaf) == std::vector<int>{32, 32});
    leaf.setData(strings({"0", "x", "281474976710655"}));
    CHECK(reasons(leaf) == std::vector<int>{6});
    leaf.setDataMacAddressSegments({0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF});
    CHECK(reasons(leaf) == std::vector<int>{32});
}

TEST_CASE("A MAC address is read from text in either base", "[datacore]")
{
    using namespace Tessorn::Types;
    DatacoreMacAddress leaf(NAME, nullptr);
    bool ok = false;
    const std::tuple<const char*, Base, char> texts[] = {
        {"00-15-E9-2B-99-3C", Base_Hexadecimal, '-'}, {"00 15 E9 2B 99 3C", Base_Hexadecimal, ' '},
        {"00X15XE9X2BX99X3C", Base_Hexadecimal, 'x'}, {"00%15%E9%2B%99%3C", Base_Hexadecimal, '%'},
        {"0.21.233.43.153.60", Base_Decimal, '.'},    {"0X21X233X43X153X60", Base_Decimal, 'x'}};
    for (const auto& [text, base, separator] : texts) {
        CAPTURE(text);
        leaf.setDataMacAddressSegments({});
        leaf.setDataMacAddressString(QLatin1String(text), base, separator);
        CHECK(leaf.getDataMacAddressSegments(ok) == EXAMPLE);
        CHECK(leaf.getDataMacAddressString(ok, base, separator) == QLatin1String(text));
    }
    leaf.setDataMacAddressString("0:15:e9:2b:99:3c"_s);
    CHECK(leaf.getDataMacAddressSegments(ok) == EXAMPLE);

    for (const char* bad : {"", "5", "1:2:3:4:5", "1:2:3:4:5:6:7", "1:2:3:4:5:", ":1:2:3:4:5",
                            "1:2:3:4:5:100", "1:2:3:4:5:001", "1:2:3:4:5:G", "1:2:3:4:5:+6",
                            "1:2:3:4:5: 6", "1:2:3:4:5:-6", "1-2-3-4-5-6", "281474976710654"}) {
        CAPTURE(bad);
        leaf.setDataMacAddressSegments(EXAMPLE);
        leaf.setDataMacAddressString(QLatin1String(bad));
        CHECK_FALSE(leaf.isValid());
    }
    leaf.setDataMacAddressString("1:2:3:4:5:256"_s, Base_Decimal);
    CHECK(leaf.getData() == "1:2:3:4:5:256"_s); // kept, to be seen
    CHECK_FALSE(leaf.isValid());
    leaf.setDataMacAddressStringArray(strings({"1:2:3:4:5:6", "bad"}));
    CHECK(leaf.getDataAt(0) == QString::number(0x010203040506));
    CHECK(reasons(leaf) == std::vector<int>{6});
}
