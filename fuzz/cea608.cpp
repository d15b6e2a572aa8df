// The first byte selects the field; the rest are pairs as received. The same pairs go to both data
// channels, in one batch and one by one, and both ways must give the same pictures.
#include "infrastructure/utility/captions/CaptionProcessor608.h"

#include <cstdlib>
#include <memory>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size == 0) {
        return 0;
    }
    const auto select = static_cast<CaptionFieldSelect608>(data[0] % 3);
    const auto batch = std::make_unique<CaptionProcessor608>();
    const auto single = std::make_unique<CaptionProcessor608>();
    const auto second = std::make_unique<CaptionProcessor608>();
    batch->setFieldSelect(select);
    single->setFieldSelect(select);

    std::vector<Caption608BytePair> records;
    bool changed = false;
    for (size_t i = 1; i + 1 < size; i += 2) {
        records.push_back(Caption608BytePair::fromRaw(data[i], data[i + 1], (data[0] & 4) == 0));
        changed |= single->processRecord(records.back());
        second->process(static_cast<uint16_t>(data[i] << 8 | data[i + 1]), 1);
    }
    if (batch->processPairs(records) != changed ||
        batch->displayedGrid() != single->displayedGrid() ||
        batch->nonDisplayedGrid() != single->nonDisplayedGrid() ||
        batch->hasPendingChange() != single->hasPendingChange()) {
        std::abort();
    }
    return 0;
}
