#include "infrastructure/server/AccessRole.h"

#include <algorithm>

bool AccessRole::mayWrite(QStringView path) const
{
    return right == Right::All ||
           (right == Right::Write &&
            std::any_of(prefixes.begin(), prefixes.end(),
                        [path](const QString& prefix) { return isAtOrBelow(path, prefix); }));
}

void AccessRole::add(const AccessRole& other)
{
    right = std::max(right, other.right);
    names += other.names;
    names.removeDuplicates();
    prefixes += other.prefixes;
    prefixes.removeDuplicates();
}

QString AccessRole::getRightText() const
{
    constexpr const char* texts[] = {"none", "read", "write", "all"};
    return QString::fromLatin1(texts[static_cast<int>(right)]);
}

QString AccessRole::toString() const
{
    if (names.isEmpty()) {
        return mayRead() ? QStringLiteral("right ") + getRightText() : QStringLiteral("no role");
    }
    return (names.size() == 1 ? QStringLiteral("role ") : QStringLiteral("roles ")) +
           names.join(QStringLiteral(", "));
}

bool isAtOrBelow(QStringView path, QStringView prefix)
{
    return path.startsWith(prefix) &&
           (path.size() == prefix.size() || path[prefix.size()] == QLatin1Char('/'));
}
