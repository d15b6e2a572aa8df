#include "infrastructure/datacore/DatacoreChildren_p.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr std::size_t MAX_WALKED_ENTRIES = 8; ///< up to here a walk is as fast as the table

/// Hashes every character, four at a time. It never leaves the process, so byte order is
/// irrelevant.
quint32 hashOf(QStringView name)
{
    constexpr quint64 multiplier = Q_UINT64_C(0x9E3779B97F4A7C15);
    constexpr qsizetype atOnce = sizeof(quint64) / sizeof(QChar);
    auto hash = static_cast<quint64>(name.size());
    const auto take = [&hash](quint64 characters) {
        hash = (hash ^ characters) * multiplier;
        hash ^= hash >> 32;
    };
    const QChar* next = name.begin();
    for (quint64 four = 0; name.end() - next >= atOnce; next += atOnce) {
        std::memcpy(&four, next, sizeof four);
        take(four);
    }
    quint64 rest = 0;
    for (; next != name.end(); ++next) {
        rest = rest << 16 | next->unicode();
    }
    take(rest);
    return static_cast<quint32>(hash);
}

bool isEqual(const QString& a, QStringView b)
{
    return a.size() == b.size() &&
           std::memcmp(a.constData(), b.data(),
                       static_cast<std::size_t>(b.size()) * sizeof(QChar)) == 0;
}

} // namespace

void DatacoreChildren::add(const QString& name, DatacoreBase* node)
{
    if (find(name) != nullptr) {
        return;
    }
    isSorted = isSorted && (entries.empty() || entries.back().name < name);
    entries.push_back({name, node});
    if (entries.size() <= MAX_WALKED_ENTRIES) {
        return;
    }
    if (2 * entries.size() > table.size()) {
        growTable();
    } else {
        addToTable(entries.size() - 1);
    }
}

DatacoreBase* DatacoreChildren::find(QStringView name) const
{
    if (table.empty()) {
        const auto found = std::find_if(entries.begin(), entries.end(), [&](const Entry& entry) {
            return isEqual(entry.name, name);
        });
        return found == entries.end() ? nullptr : found->node;
    }
    const quint32 hash = hashOf(name);
    for (std::size_t i = hash;; ++i) {
        const Slot slot = table[i & (table.size() - 1)];
        if (slot.place == 0) {
            return nullptr;
        }
        const Entry& entry = entries[slot.place - 1];
        if (slot.hash == hash && isEqual(entry.name, name)) {
            return entry.node;
        }
    }
}

const std::vector<DatacoreChildren::Entry>& DatacoreChildren::inOrder()
{
    if (!isSorted) {
        std::sort(entries.begin(), entries.end(),
                  [](const Entry& a, const Entry& b) { return a.name < b.name; });
        isSorted = true;
        if (!table.empty()) {
            growTable();
        }
    }
    return entries;
}

void DatacoreChildren::addToTable(std::size_t place)
{
    const quint32 hash = hashOf(entries[place].name);
    std::size_t i = hash;
    while (table[i & (table.size() - 1)].place != 0) {
        ++i;
    }
    table[i & (table.size() - 1)] = {hash, static_cast<quint32>(place + 1)};
}

/// Makes a table with room for twice the entries that there are.
void DatacoreChildren::growTable()
{
    std::size_t count = 4 * MAX_WALKED_ENTRIES;
    while (count < 2 * entries.size()) {
        count *= 2;
    }
    table.assign(count, Slot{});
    for (std::size_t place = 0; place < entries.size(); ++place) {
        addToTable(place);
    }
}
