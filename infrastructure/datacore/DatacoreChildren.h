// The children of a node of the state tree, by name.
#pragma once

#include <QString>
#include <QStringView>

#include <cstddef>

class DatacoreBase;

/// Children, found by name or walked in the order of their names. Nodes are not owned and never
/// dereferenced, so a deleted one does no harm here. The object is one pointer; entries and hash
/// table share one block of memory, so that a look-up touches few cache lines.
class DatacoreChildren
{
public:
    /// A child and the name that it is found by.
    struct Entry
    {
        QString name;
        DatacoreBase* node;
    };
    /// Entries that stand together, until the next one is added.
    struct Entries
    {
        const Entry* first = nullptr;
        std::size_t count = 0;

        const Entry* begin() const { return first; }
        const Entry* end() const { return first + count; }
        std::size_t size() const { return count; }
        const Entry& operator[](std::size_t index) const { return first[index]; }
    };

    DatacoreChildren() = default;
    DatacoreChildren(const DatacoreChildren&) = delete;
    DatacoreChildren& operator=(const DatacoreChildren&) = delete;
    ~DatacoreChildren();

    bool isEmpty() const { return block == nullptr; }
    /// If the name is taken, the earlier child stays.
    void add(const QString& name, DatacoreBase* node);
    /// Null if no child has this name.
    DatacoreBase* find(QStringView name) const;
    /// The child whose name is the first of a path, which becomes what is behind the name and its
    /// delimiter. Null if there is none, or if the name is empty.
    DatacoreBase* findFirst(QStringView& path) const;
    /// All children, in the order of their names.
    Entries inOrder() const;
    /// Calls `use` with each name and node in that order until it returns false. `use` may add
    /// children; those that come after the current one get their turn too.
    template <typename Use>
    void walk(Use use) const
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
    struct Block;

    Block* block = nullptr; ///< null without children, as in nearly all nodes
};
