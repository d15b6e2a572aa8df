// The children of a node of the state tree, by name.
#pragma once

#include <QString>
#include <QStringView>

#include <cstddef>
#include <vector>

class DatacoreBase;

/// Children, found by name or walked in the order of their names. Nodes are not owned and never
/// dereferenced, so a deleted one does no harm here. Up to eight names are compared one by one;
/// beyond that a hash table finds them.
class DatacoreChildren
{
public:
    /// A child and the name that it is found by.
    struct Entry
    {
        QString name;
        DatacoreBase* node;
    };

    /// If the name is taken, the earlier child stays.
    void add(const QString& name, DatacoreBase* node);
    /// Null if no child has this name.
    DatacoreBase* find(QStringView name) const;
    /// All children, in the order of their names.
    const std::vector<Entry>& inOrder();
    /// Calls `use` with each name and node in that order until it returns false. `use` may add
    /// children; those that come after the current one get their turn too.
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
        quint32 place; ///< index in `entries` plus 1; 0 is free
    };

    void addToTable(std::size_t place);
    void growTable();

    std::vector<Entry> entries;
    std::vector<Slot> table; ///< a power of two slots, half of them free; none for few entries
    bool isSorted = true;    ///< children are mostly added in the order of their names
};
