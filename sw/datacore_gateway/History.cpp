#include "History.h"

#include <algorithm>

void History::add(int index, qint64 ms, double value)
{
    const auto at = static_cast<std::size_t>(index);
    if (at >= places.size()) {
        places.resize(at + 1, -1);
    }
    if (places[at] < 0) {
        if (courses.size() >= maxPoints / FEW_POINTS) {
            return;
        }
        places[at] = static_cast<int>(courses.size());
        courses.emplace_back();
    }
    Course& course = courses[static_cast<std::size_t>(places[at])];
    while (!course.points.empty() && course.points.back().ms > ms) {
        course.points.pop_back();
        course.intervalStartMs = ms - course.intervalMs;
        --pointCount;
    }
    if (!course.points.empty() && ms - course.intervalStartMs < course.intervalMs) {
        course.points.back() = {ms, value};
        return;
    }
    makeRoom(course, ms);
    course.intervalStartMs = ms;
    if (course.points.size() == course.points.capacity()) {
        course.points.reserve(course.points.size() + FEW_POINTS);
    }
    course.points.push_back({ms, value});
    ++pointCount;
}

void History::makeRoom(Course& course, qint64 nowMs)
{
    std::vector<Point>& points = course.points;
    const std::size_t before = points.size();
    if (before < FEW_POINTS || (before < MANY_POINTS && pointCount < maxPoints)) {
        return;
    }
    const auto young = std::find_if(points.begin(), points.end(), [nowMs](const Point& point) {
        return nowMs - point.ms <= SPAN_MS;
    });
    points.erase(points.begin(), young);
    if (points.size() > before / 2) {
        std::size_t kept = 0;
        for (std::size_t i = (points.size() - 1) % 2; i < points.size(); i += 2) {
            points[kept++] = points[i]; // the newest is among them
        }
        points.resize(kept);
        course.intervalMs = std::min(2 * course.intervalMs, SPAN_MS);
    }
    pointCount -= before - points.size();
}

std::vector<History::Point> History::get(int index, qint64 sinceMs) const
{
    const auto at = static_cast<std::size_t>(index);
    if (index < 0 || at >= places.size() || places[at] < 0) {
        return {};
    }
    const std::vector<Point>& points = courses[static_cast<std::size_t>(places[at])].points;
    const auto first =
        std::lower_bound(points.begin(), points.end(), sinceMs,
                         [](const Point& point, qint64 ms) { return point.ms < ms; });
    return {first, points.end()};
}
