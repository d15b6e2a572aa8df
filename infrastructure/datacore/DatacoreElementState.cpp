#include "infrastructure/datacore/DatacoreElementState.h"

#include "infrastructure/datacore/DatacoreDescription.h"

DatacoreElementState::Rare::Rare() = default;
DatacoreElementState::Rare::~Rare() = default;

DatacoreElementState::Rare& DatacoreElementState::makeRare()
{
    if (!rare) {
        rare = std::make_unique<Rare>();
    }
    return *rare;
}
