// The nodes of the state tree that have changed and that nobody has asked for yet.
#pragma once

#include <memory>
#include <vector>

class DatacoreBase;

/// An ordered set of nodes. Adding a node costs the same however many there are. The nodes are not
/// owned and never looked into, so one that is gone does no harm here. One entry takes no memory
/// beside the object.
class DatacoreChangeList
{
public:
    DatacoreChangeList();
    explicit DatacoreChangeList(DatacoreBase* node);
    DatacoreChangeList(const DatacoreChangeList&) = delete;
    DatacoreChangeList& operator=(const DatacoreChangeList&) = delete;
    ~DatacoreChangeList();

    bool isEmpty() const;

    /// Moves the entries of `other` to the end of this list, and leaves it empty. Those that are
    /// null or that this list holds already are dropped.
    void mergeFrom(DatacoreChangeList& other);
    /// The entries in order; the list is then empty. After many entries it keeps the memory by
    /// which it tells them apart, for the next many; after few it lets go of it.
    std::vector<DatacoreBase*> take();

private:
    struct Several;

    void add(DatacoreBase* node);

    DatacoreBase* single = nullptr;   ///< the only entry there has been so far
    std::unique_ptr<Several> several; ///< the entries, where there have been more
};
