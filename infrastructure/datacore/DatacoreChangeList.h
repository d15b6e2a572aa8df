// The changed nodes of the state tree that nobody has asked for yet.
#pragma once

#include <memory>
#include <vector>

class DatacoreBase;

/// An ordered set of nodes. Adding takes the same time however many there are. Nodes are not owned
/// and never dereferenced, so a deleted one does no harm here. A single entry needs no memory
/// besides the object.
class DatacoreChangeList
{
public:
    DatacoreChangeList();
    explicit DatacoreChangeList(DatacoreBase* node);
    DatacoreChangeList(const DatacoreChangeList&) = delete;
    DatacoreChangeList& operator=(const DatacoreChangeList&) = delete;
    ~DatacoreChangeList();

    bool isEmpty() const;

    /// Moves the entries of `other` to the end of this list and leaves `other` empty. Null entries
    /// and those already in this list are dropped.
    void mergeFrom(DatacoreChangeList& other);
    /// Returns the entries in order and empties the list. After many entries it keeps the memory of
    /// its look-up table for next time; after few it frees it.
    std::vector<DatacoreBase*> take();

private:
    struct Several;

    void add(DatacoreBase* node);

    DatacoreBase* single = nullptr;   ///< the only entry so far
    std::unique_ptr<Several> several; ///< the entries, once there have been more
};
