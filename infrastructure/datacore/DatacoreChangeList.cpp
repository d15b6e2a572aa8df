#include "infrastructure/datacore/DatacoreChangeList.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>

namespace {

constexpr std::size_t MAX_WALKED_ENTRIES = 8; ///< up to here a walk is faster than the slots
constexpr std::size_t FIRST_SLOT_COUNT = 32;  ///< a power of two; at most half are taken

} // namespace

/// The entries and, above a certain number, an open-addressed table to find them.
struct DatacoreChangeList::Several
{
    std::vector<DatacoreBase*> nodes;
    std::vector<uint32_t> slots; ///< index into nodes plus 1; 0 is free

    void add(DatacoreBase* node)
    {
        if (slots.empty() && nodes.size() < MAX_WALKED_ENTRIES) {
            if (std::find(nodes.begin(), nodes.end(), node) == nodes.end()) {
                nodes.push_back(node);
            }
            return;
        }
        if (2 * (nodes.size() + 1) > slots.size()) {
            growSlots();
        }
        uint32_t& slot = findSlot(node);
        if (slot == 0) {
            nodes.push_back(node);
            slot = static_cast<uint32_t>(nodes.size());
        }
    }

    /// True if the slots were worth their memory: at least one in 16 is taken.
    bool isWellFilled() const
    {
        return nodes.size() > MAX_WALKED_ENTRIES && 16 * nodes.size() >= slots.size();
    }

    std::vector<DatacoreBase*> take()
    {
        std::fill(slots.begin(), slots.end(), 0);
        return std::exchange(nodes, {});
    }

private:
    /// The node's slot, or the free one where it belongs.
    uint32_t& findSlot(const DatacoreBase* node)
    {
        // The product spreads addresses, which are multiples of a node's size, over the high bits.
        const uint64_t hash = reinterpret_cast<uintptr_t>(node) * UINT64_C(0x9E3779B97F4A7C15);
        std::size_t index = static_cast<std::size_t>(hash >> 32) & (slots.size() - 1);
        while (slots[index] != 0 && nodes[slots[index] - 1] != node) {
            index = (index + 1) & (slots.size() - 1);
        }
        return slots[index];
    }

    void growSlots()
    {
        slots.assign(std::max(FIRST_SLOT_COUNT, 2 * slots.size()), 0);
        for (std::size_t i = 0; i < nodes.size(); ++i) {
            findSlot(nodes[i]) = static_cast<uint32_t>(i + 1);
        }
    }
};

DatacoreChangeList::DatacoreChangeList() = default;

DatacoreChangeList::DatacoreChangeList(DatacoreBase* node)
    : single(node)
{
}

DatacoreChangeList::~DatacoreChangeList() = default;

bool DatacoreChangeList::isEmpty() const
{
    return single == nullptr && (!several || several->nodes.empty());
}

void DatacoreChangeList::add(DatacoreBase* node)
{
    if (node == nullptr || node == single) {
        return;
    }
    if (several) {
        several->add(node);
    } else if (single == nullptr) {
        single = node;
    } else {
        several = std::make_unique<Several>();
        several->nodes = {std::exchange(single, nullptr), node};
    }
}

void DatacoreChangeList::mergeFrom(DatacoreChangeList& other)
{
    if (&other == this) {
        return;
    }
    if (single == nullptr && !several) { // the whole list is passed up as it is
        std::swap(single, other.single);
        std::swap(several, other.several);
        return;
    }
    add(std::exchange(other.single, nullptr));
    if (const std::unique_ptr<Several> moved = std::move(other.several)) {
        for (DatacoreBase* node : moved->nodes) {
            add(node);
        }
    }
}

std::vector<DatacoreBase*> DatacoreChangeList::take()
{
    if (single != nullptr) {
        return {std::exchange(single, nullptr)};
    }
    if (!several) {
        return {};
    }
    const bool keepsSlots = several->isWellFilled();
    std::vector<DatacoreBase*> nodes = several->take();
    if (!keepsSlots) {
        several.reset();
    }
    return nodes;
}
