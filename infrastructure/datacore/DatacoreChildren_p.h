// The children of a node of the state tree, by name.
#pragma once

#include <QString>
#include <QStringView>

#include <cstddef>
#include <vector>

class DatacoreBase;

/// Children to be found by name and walked in the order of their names. The nodes are not owned and
/// never looked into, so one that is gone does no harm here. Finding one of many takes a look into
/// a hash table; up to eight are compared one by one.
class DatacoreChildren
{
public:
    /// A child and the name that it is found by.
    struct Entry
    {
        QString name;
        DatacoreBase* node;
    };

    /// The first of a name stays.
    void add(const QString& name, DatacoreBase* node);
    /// Null where there is none of this name.
    DatacoreBase* find(QStringView name) const;
    /// All of them, in the order of their names.
    const std::vector<Entry>& inOrder();
    /// Calls `use` with each name and node in that order, until it returns false. It may add
    /// children; those behind the one that it was called with get their turn too.
    template <typename Use>
    void walk(Use use)
    {
        for (std::size_t i = 0; i < inOrder().size(); ++i) {
            const Entry current = inOrder()[i];
            if (!use(current.name, *current.node)) {
                return;
            }
            while (inOrder()[i].node != current.node) {
                ++i; // some were added before it
            }
        }
    }

private:
    struct Slot
    {
        quint32 hash;
        quint32 place; ///< in `entries`, plus 1; 0 is free
    };

    void addToTable(std::size_t place);
    void growTable();

    std::vector<Entry> entries;
    std::vector<Slot> table; ///< a power of two of slots, half of them free; none for few entries
    bool isSorted = true;    ///< children mostly come in the order of their names
};
