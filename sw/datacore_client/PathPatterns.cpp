#include "PathPatterns.h"

#include "infrastructure/utility/NearestNames.h"
#include "ValueText.h"

#include <algorithm>
#include <vector>

namespace {

constexpr QLatin1Char DELIMITER('/');
constexpr QLatin1Char ANY('*');

/// The part of the path down to the parent, with its delimiter, and the last name.
QString parentOf(const QString& path)
{
    return path.left(path.lastIndexOf(DELIMITER) + 1);
}

/// "*" stands for any characters. After a misfit the last "*" takes one character more.
bool fitsName(const QString& pattern, const QString& name)
{
    int at = 0;
    int star = -1;
    int afterStar = 0;
    for (int i = 0; i < name.size();) {
        if (at < pattern.size() && pattern[at] == ANY) {
            star = at++;
            afterStar = i;
        } else if (at < pattern.size() && pattern[at] == name[i]) {
            ++at;
            ++i;
        } else if (star >= 0) {
            at = star + 1;
            i = ++afterStar;
        } else {
            return false;
        }
    }
    while (at < pattern.size() && pattern[at] == ANY) {
        ++at;
    }
    return at == pattern.size();
}

/// The same with names in place of characters, and "**".
bool fitsPath(const QStringList& pattern, const QStringList& names, Reach reach)
{
    int at = 0;
    int star = -1;
    int afterStar = 0;
    for (int i = 0; i < names.size();) {
        const bool isAtEnd = at == pattern.size();
        if (isAtEnd && reach == Reach::Children) {
            return true;
        }
        if (!isAtEnd && pattern[at] == QLatin1String("**")) {
            star = at++;
            afterStar = i;
            if (at == pattern.size()) {
                return true;
            }
        } else if (!isAtEnd && fitsName(pattern[at], names[i])) {
            ++at;
            ++i;
        } else if (star >= 0) {
            at = star + 1;
            i = ++afterStar;
        } else {
            return false;
        }
    }
    return at == pattern.size();
}

} // namespace

bool isPattern(const QString& word)
{
    return word.contains(ANY);
}

QString describeUnknownPath(const QString& path, const QStringList& allPaths)
{
    // The names above may be wrong too: look where the path leaves the tree.
    QString unknown = path;
    const auto isThere = [&](const QString& parent) {
        return parent.isEmpty() ||
               std::binary_search(allPaths.begin(), allPaths.end(), parent.left(parent.size() - 1));
    };
    while (!isThere(parentOf(unknown))) {
        unknown = parentOf(unknown);
        unknown.chop(1);
    }
    const QString parent = parentOf(unknown);
    QStringList siblings;
    for (const QString& known : allPaths) {
        if (parentOf(known) == parent) {
            siblings.append(known.mid(parent.size()));
        }
    }
    const QString name = unknown.mid(parent.size());
    const QString message = QStringLiteral("There is no datacore %1").arg(printable(path));
    const QStringList nearest = findNearestNames(name, siblings);
    if (!nearest.isEmpty()) {
        return message + QStringLiteral("; did you mean ") + printable(parent) +
               printable(nearest.join(QLatin1String(" or ") + parent)) + QLatin1Char('?');
    }
    constexpr int MOST_SIBLINGS = 8;
    const QString owner = parent.isEmpty() ? QStringLiteral("the server") : parent.chopped(1);
    return siblings.isEmpty()
               ? message
               : message +
                     printable(QStringLiteral("; %1 has %2%3")
                                   .arg(owner,
                                        siblings.mid(0, MOST_SIBLINGS).join(QLatin1String(", ")),
                                        siblings.size() > MOST_SIBLINGS ? QStringLiteral(", ...")
                                                                        : QString()));
}

QStringList matchPaths(const QStringList& words, const QStringList& allPaths, Reach reach,
                       QString* unmatched)
{
    if (words.isEmpty()) {
        return allPaths;
    }
    std::vector<bool> isSelected(static_cast<std::size_t>(allPaths.size()));
    for (QString word : words) {
        if (word.size() > 1 && word.endsWith(DELIMITER)) {
            word.chop(1);
        }
        const bool isGlob = isPattern(word);
        const QStringList pattern = word.split(DELIMITER);
        const QString below = word + DELIMITER;
        bool isFound = false;
        for (int i = 0; i < allPaths.size(); ++i) {
            const QString& path = allPaths[i];
            if (isGlob ? fitsPath(pattern, path.split(DELIMITER), reach)
                       : path == word || (reach == Reach::Children && path.startsWith(below))) {
                isSelected[static_cast<std::size_t>(i)] = true;
                isFound = true;
            }
        }
        if (!isFound && unmatched != nullptr && unmatched->isEmpty()) {
            *unmatched = word;
        }
    }
    QStringList selected;
    for (int i = 0; i < allPaths.size(); ++i) {
        if (isSelected[static_cast<std::size_t>(i)]) {
            selected.append(allPaths[i]);
        }
    }
    return selected;
}

std::optional<QStringList> selectPaths(const QStringList& words, const QStringList& allPaths,
                                       Reach reach, QString& whatIsWrong)
{
    if (words.contains(QString())) {
        whatIsWrong = QStringLiteral("An empty path");
        return std::nullopt;
    }
    QString unmatched;
    const QStringList paths = matchPaths(words, allPaths, reach, &unmatched);
    if (unmatched.isEmpty()) {
        return paths;
    }
    whatIsWrong = isPattern(unmatched)
                      ? QStringLiteral("No datacore fits %1").arg(printable(unmatched))
                      : describeUnknownPath(unmatched, allPaths);
    return std::nullopt;
}
