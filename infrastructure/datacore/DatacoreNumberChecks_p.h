// Checks of converted numbers, which the numeric leaves combine.
#pragma once

#include "infrastructure/datacore/DatacoreValidStatusMessage.h"

#include <algorithm>
#include <iterator>
#include <vector>

namespace DatacoreNumberChecks {

/// True if no value occurs twice; n log n. NaN equals nothing, so it never counts as a duplicate.
template <typename Numbers>
bool areUnique(const Numbers& numbers)
{
    using T = typename Numbers::value_type;
    std::vector<T> sorted;
    sorted.reserve(static_cast<std::size_t>(numbers.size()));
    std::copy_if(numbers.begin(), numbers.end(), std::back_inserter(sorted),
                 [](T number) { return number == number; });
    std::sort(sorted.begin(), sorted.end());
    return std::adjacent_find(sorted.begin(), sorted.end()) == sorted.end();
}

/// Adds one message (Error, 23) if a value occurs twice.
template <typename Numbers>
void checkUniqueness(const Numbers& numbers, DatacoreValidStatusMessages& reasons)
{
    if (numbers.size() > 1 && !areUnique(numbers)) {
        reasons.append(DatacoreValidStatusMessage(
            MessageBase::MessageType_Error,
            DatacoreValidStatusMessage::MessageContent_DatacoreContainsDuplicateValues));
    }
}

/// Adds a message (Error, 4 or 5) for each value above or below the limits, in order.
template <typename Numbers, typename T>
void checkLimits(const Numbers& numbers, T minimum, T maximum, DatacoreValidStatusMessages& reasons)
{
    for (const T number : numbers) {
        if (number > maximum) {
            reasons.append(DatacoreValidStatusMessage(
                MessageBase::MessageType_Error,
                DatacoreValidStatusMessage::MessageContent_DatacoreNumberValueOversize));
        } else if (number < minimum) {
            reasons.append(DatacoreValidStatusMessage(
                MessageBase::MessageType_Error,
                DatacoreValidStatusMessage::MessageContent_DatacoreNumberValueUndersize));
        }
    }
}

} // namespace DatacoreNumberChecks
