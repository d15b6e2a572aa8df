// A leaf of the state tree that holds numbers within limits and without duplicates.
#pragma once

#include "infrastructure/datacore/DatacoreNumberLimits.h"

/// Numbers without duplicates, from a minimum to a maximum. The reasons of DatacoreNumberSet come
/// first, then those of DatacoreNumberLimits.
template <typename T>
class DatacoreNumberSetLimits : public DatacoreNumberLimits<T>
{
public:
    /// The same for every T; peers know the class by it.
    static QString CLASSNAME();

    /// Starts with the value 0 and the limits of T.
    DatacoreNumberSetLimits(const QString& name, DatacoreBase* parentNode);
    /// Starts with the value 0, which may lie outside the limits.
    DatacoreNumberSetLimits(const QString& name, DatacoreBase* parentNode, T minimum, T maximum);
    DatacoreNumberSetLimits(const QString& name, DatacoreBase* parentNode, T minimum, T maximum,
                            const std::deque<T>& numbers);

protected:
    /// For subclasses with their own class name.
    DatacoreNumberSetLimits(const QString& className, const QString& name, DatacoreBase* parentNode,
                            T minimum, T maximum, const std::deque<T>& numbers);

    void updateValidStatus(DatacoreValidStatusMessages& reasons) override;
    void describe(DatacoreDescription& description) const override;
};

#define DATACORE_DECLARE(TYPE, NAME) extern template class DatacoreNumberSetLimits<TYPE>;
DATACORE_FOR_EACH_NUMBER_TYPE(DATACORE_DECLARE)
#undef DATACORE_DECLARE
