#include "infrastructure/datacore/DatacoreChildren.h"

#include "infrastructure/datacore/DatacoreJsonInterface.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>
#include <utility>

namespace {

constexpr quint32 FIRST_SLOT_COUNT = 4; ///< a power of two, 4 or more
constexpr QChar DELIMITER = DatacoreJsonInterface::TREE_LEVEL_DELIMITER();

constexpr qsizetype AT_ONCE = sizeof(quint64) / sizeof(QChar);
constexpr quint64 EACH_OF_FOUR = Q_UINT64_C(0x0001000100010001); ///< times a character

quint64 readFour(const QChar* characters)
{
    quint64 four = 0;
    std::memcpy(&four, characters, sizeof four);
    return four;
}

/// True if one of four characters is the delimiter of paths.
bool hasDelimiter(quint64 four)
{
    const quint64 differences = four ^ (EACH_OF_FOUR * DELIMITER.unicode());
    return ((differences - EACH_OF_FOUR) & ~differences & (EACH_OF_FOUR << 15)) != 0;
}

struct HashedName
{
    QStringView name;
    quint32 hash;
};

/// Hashes every character, four at a time, as far as the text or, in a path, the first name goes.
/// It never leaves the process, so byte order is irrelevant.
template <bool IS_PATH>
HashedName hashName(QStringView text)
{
    constexpr quint64 multiplier = Q_UINT64_C(0x9E3779B97F4A7C15);
    quint64 hash = 0;
    const auto take = [&hash](quint64 characters) {
        hash = (hash ^ characters) * multiplier;
        hash ^= hash >> 32;
    };
    const QChar* next = text.begin();
    for (; text.end() - next >= AT_ONCE; next += AT_ONCE) {
        const quint64 four = readFour(next);
        if (IS_PATH && hasDelimiter(four)) {
            break;
        }
        take(four);
    }
    quint64 rest = 0; // three characters at most
    for (; next != text.end() && !(IS_PATH && *next == DELIMITER); ++next) {
        rest = rest << 16 | next->unicode();
    }
    const QStringView name(text.begin(), next);
    take(rest ^ static_cast<quint64>(name.size()) << 48);
    return {name, static_cast<quint32>(hash)};
}

quint32 hashOf(QStringView name)
{
    return hashName<false>(name).hash;
}

/// Four characters at a time, the last four perhaps once more: names are short.
bool isEqual(const QString& a, QStringView b)
{
    if (a.size() != b.size()) {
        return false;
    }
    const QChar* const first = a.constData();
    const qsizetype last = b.size() - AT_ONCE;
    if (last < 0) {
        return std::equal(b.begin(), b.end(), first);
    }
    const auto differs = [first, second = b.data()](qsizetype at) {
        return readFour(first + at) != readFour(second + at);
    };
    for (qsizetype i = 0; i < last; i += AT_ONCE) {
        if (differs(i)) {
            return false;
        }
    }
    return !differs(last);
}

} // namespace

/// The head of the memory: the slots of an open-addressed table follow it, and then the entries. A
/// slot holds the place of an entry plus 1 in as many low bits as it takes to number the slots, and
/// the entry's hash above them, so that another name is seldom looked at; 0 is free.
struct alignas(DatacoreChildren::Entry) DatacoreChildren::Block
{
    quint32 count;
    quint32 mask;  ///< the number of slots minus 1
    bool isSorted; ///< children are mostly added in the order of their names

    static constexpr std::size_t capacityOf(quint32 slotCount)
    {
        return slotCount / 4 * 3; // so some slots are always free
    }

    static Block* make(quint32 slotCount)
    {
        const std::size_t bytes = sizeof(Block) + capacityOf(slotCount) * sizeof(Entry) +
                                  std::size_t{slotCount} * sizeof(quint32);
        auto* made = new (::operator new(bytes)) Block{0, slotCount - 1, true};
        made->clearSlots();
        return made;
    }

    static void free(Block* old)
    {
        if (old != nullptr) {
            std::destroy_n(old->entries(), old->count);
            ::operator delete(old);
        }
    }

    bool isFull() const { return count == capacityOf(mask + 1); }
    quint32* slots() { return reinterpret_cast<quint32*>(this + 1); }
    Entry* entries() { return reinterpret_cast<Entry*>(slots() + std::size_t{mask} + 1); }
    void clearSlots() { std::fill_n(slots(), std::size_t{mask} + 1, 0); }

    void append(Entry&& entry)
    {
        isSorted = isSorted && (count == 0 || entries()[count - 1].name < entry.name);
        new (entries() + count) Entry(std::move(entry));
        enter(count++);
    }

    DatacoreBase* find(QStringView name, quint32 hash)
    {
        for (quint32 i = hash;; ++i) {
            const quint32 slot = slots()[i & mask];
            if (slot == 0) {
                return nullptr;
            }
            if (((slot ^ hash) & ~mask) == 0) {
                const Entry& entry = entries()[(slot & mask) - 1];
                if (isEqual(entry.name, name)) {
                    return entry.node;
                }
            }
        }
    }

    void sort()
    {
        std::sort(entries(), entries() + count,
                  [](const Entry& a, const Entry& b) { return a.name < b.name; });
        isSorted = true;
        clearSlots();
        for (quint32 place = 0; place < count; ++place) {
            enter(place);
        }
    }

private:
    void enter(quint32 place)
    {
        const quint32 hash = hashOf(entries()[place].name);
        quint32 i = hash;
        while (slots()[i & mask] != 0) {
            ++i;
        }
        slots()[i & mask] = (hash & ~mask) | (place + 1);
    }
};

DatacoreChildren::~DatacoreChildren()
{
    Block::free(block);
}

void DatacoreChildren::add(const QString& name, DatacoreBase* node)
{
    if (find(name) != nullptr) {
        return;
    }
    if (block == nullptr) {
        block = Block::make(FIRST_SLOT_COUNT);
    } else if (block->isFull()) {
        Block* larger = Block::make(2 * (block->mask + 1));
        std::for_each(block->entries(), block->entries() + block->count,
                      [larger](Entry& entry) { larger->append(std::move(entry)); });
        Block::free(std::exchange(block, larger));
    }
    block->append({name, node});
}

DatacoreBase* DatacoreChildren::find(QStringView name) const
{
    return block == nullptr ? nullptr : block->find(name, hashOf(name));
}

DatacoreBase* DatacoreChildren::findFirst(QStringView& path) const
{
    if (block == nullptr) {
        return nullptr;
    }
    const HashedName first = hashName<true>(path);
    const QChar* const end = first.name.end();
    path = QStringView(end == path.end() ? end : end + 1, path.end());
    return first.name.isEmpty() ? nullptr : block->find(first.name, first.hash);
}

DatacoreChildren::Entries DatacoreChildren::inOrder() const
{
    if (block == nullptr) {
        return {};
    }
    if (!block->isSorted) {
        block->sort();
    }
    return {block->entries(), block->count};
}
