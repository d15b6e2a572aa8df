// What numbers were during the last hour, in bounded memory. A value.
#pragma once

#include <QtGlobal>

#include <vector>

/// The course of each of some numbers, by index. A number has at most one point in its interval,
/// the newest: 250 ms at first. Where memory is short, every second point of a number goes and its
/// interval doubles, so that what is left still reaches back as far.
class History
{
public:
    static constexpr qint64 SPAN_MS = 3600 * 1000;
    static constexpr qint64 FIRST_INTERVAL_MS = 250;
    /// No number gives up points below this, and none has more than the other.
    static constexpr std::size_t FEW_POINTS = 64;
    static constexpr std::size_t MANY_POINTS = 2048;

    struct Point
    {
        qint64 ms; ///< since 1970
        double value;
    };

    /// All points together take so many bytes at most. Numbers for which not even FEW_POINTS would
    /// fit are left out: those that come last.
    explicit History(std::size_t maxBytes = 0)
        : maxPoints(maxBytes / sizeof(Point))
    {
    }

    /// Takes a point. Points that are later are dropped: the clock was set back.
    void add(int index, qint64 ms, double value);
    /// Its points from `sinceMs` on, oldest first.
    std::vector<Point> get(int index, qint64 sinceMs) const;

private:
    struct Course
    {
        std::vector<Point> points;
        qint64 intervalMs = FIRST_INTERVAL_MS;
        qint64 intervalStartMs = 0; ///< of the newest point
    };

    void makeRoom(Course& course, qint64 nowMs);

    std::size_t maxPoints;
    std::vector<int> places; ///< of the courses, by index; -1 for none
    std::vector<Course> courses;
    std::size_t pointCount = 0;
};
