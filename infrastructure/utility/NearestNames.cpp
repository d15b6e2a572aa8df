#include "infrastructure/utility/NearestNames.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace {

constexpr int MAX_CHARACTERS = 100;

/// The number of characters to put in, leave out, change or swap with their neighbour to get from
/// one text to the other.
int distanceBetween(const QString& from, const QString& to)
{
    const auto width = static_cast<std::size_t>(to.size()) + 1;
    std::vector<std::vector<int>> rows(static_cast<std::size_t>(from.size()) + 1,
                                       std::vector<int>(width));
    for (std::size_t i = 0; i < rows.size(); ++i) {
        for (std::size_t j = 0; j < width; ++j) {
            if (i == 0 || j == 0) {
                rows[i][j] = static_cast<int>(i + j);
                continue;
            }
            const auto a = static_cast<int>(i) - 1;
            const auto b = static_cast<int>(j) - 1;
            rows[i][j] = std::min({rows[i - 1][j] + 1, rows[i][j - 1] + 1,
                                   rows[i - 1][j - 1] + (from[a] == to[b] ? 0 : 1)});
            if (a > 0 && b > 0 && from[a] == to[b - 1] && from[a - 1] == to[b]) {
                rows[i][j] = std::min(rows[i][j], rows[i - 2][j - 2] + 1);
            }
        }
    }
    return rows.back().back();
}

} // namespace

QStringList findNearestNames(const QString& name, const QStringList& candidates, int most)
{
    std::vector<std::pair<int, QString>> near;
    const int limit = std::max(2, name.size() / 3);
    for (const QString& candidate : candidates) {
        if (std::max(name.size(), candidate.size()) > MAX_CHARACTERS ||
            std::abs(name.size() - candidate.size()) > limit) {
            continue;
        }
        const int distance = distanceBetween(name.toLower(), candidate.toLower());
        if (distance <= limit && distance < candidate.size()) {
            near.emplace_back(distance, candidate);
        }
    }
    std::stable_sort(near.begin(), near.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
    QStringList names;
    for (std::size_t i = 0; i < near.size() && names.size() < most; ++i) {
        names.append(near[i].second);
    }
    return names;
}
