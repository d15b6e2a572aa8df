#include "sw/datacore_gateway/History.h"
#include "sw/infrastructure_test/Catch.h"

namespace {

constexpr qint64 START_MS = 1'700'000'000'000;
constexpr std::size_t BYTES_A_POINT = 16;

} // namespace

TEST_CASE("A number keeps the newest point of each quarter of a second", "[gateway]")
{
    History history(1 << 20);
    for (int i = 0; i < 10; ++i) {
        history.add(3, START_MS + 100 * i, i); // intervals begin at 0, 300, 600 and 900
    }
    const std::vector<History::Point> points = history.get(3, START_MS + 200);
    REQUIRE(points.size() == 4);
    for (std::size_t i = 0; i < points.size(); ++i) {
        const int newest = i == 3 ? 9 : 2 + 3 * static_cast<int>(i);
        CHECK(points[i].value == newest);
        CHECK(points[i].ms == START_MS + 100 * newest);
    }
    CHECK(history.get(3, START_MS + 201).size() == 3);
    history.add(3, START_MS + 550, 12); // the clock was set back
    CHECK(history.get(3, 0).size() == 3);
    CHECK(history.get(3, START_MS + 501).front().value == 12);
    CHECK(history.get(2, 0).empty());
    CHECK(history.get(4, 0).empty());
    CHECK(history.get(-1, 0).empty());
}

TEST_CASE("The history of many numbers stays within its memory and keeps its span", "[gateway]")
{
    constexpr int numbers = 100;
    constexpr std::size_t mostPoints = 128 * numbers;
    History history(mostPoints * BYTES_A_POINT);
    constexpr qint64 spanMs = 600'000;
    for (qint64 ms = 0; ms < spanMs; ms += 500) {
        for (int i = 0; i < numbers; ++i) {
            history.add(i, START_MS + ms, double(ms));
        }
    }
    std::size_t points = 0;
    for (int i = 0; i < numbers; ++i) {
        const std::vector<History::Point> course = history.get(i, 0);
        points += course.size();
        CHECK(course.size() >= History::FEW_POINTS / 2);
        CHECK(course.front().ms <= START_MS + spanMs / 10);
        CHECK(course.back().value == spanMs - 500);
        for (std::size_t k = 1; k < course.size(); ++k) {
            CHECK(course[k - 1].ms < course[k].ms);
        }
    }
    CHECK(points <= mostPoints);
    CHECK(points > mostPoints / 4);

    // One number alone: what is older than an hour makes room first.
    History single(1 << 20);
    for (std::size_t i = 0; i < History::MANY_POINTS; ++i) {
        single.add(0, START_MS + 250 * qint64(i), 1);
    }
    CHECK(single.get(0, 0).size() == History::MANY_POINTS);
    History thinned = single;
    thinned.add(0, START_MS + 250 * qint64(History::MANY_POINTS), 2);
    CHECK(thinned.get(0, 0).size() == History::MANY_POINTS / 2 + 1);
    single.add(0, START_MS + 2 * History::SPAN_MS, 2);
    CHECK(single.get(0, 0).size() == 1);

    // One without room is left out.
    History small(2 * History::FEW_POINTS * BYTES_A_POINT);
    for (int i = 0; i < 3; ++i) {
        small.add(i, START_MS, i);
    }
    CHECK(small.get(1, 0).size() == 1);
    CHECK(small.get(2, 0).empty());
}
