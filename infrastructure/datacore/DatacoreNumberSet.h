// A leaf of the state tree that holds numbers without duplicates.
#pragma once

#include "infrastructure/datacore/DatacoreNumber.h"

/// Numbers without duplicates. A list with duplicates is kept and makes the leaf invalid with one
/// message (Error, 23). Values that are not numbers count as 0, so two of them are duplicates too.
template <typename T>
class DatacoreNumberSet : public DatacoreNumber<T>
{
public:
    /// The same for every T; peers know the class by it.
    static QString CLASSNAME();

    /// Starts with the value 0.
    DatacoreNumberSet(const QString& name, DatacoreBase* parentNode);
    DatacoreNumberSet(const QString& name, DatacoreBase* parentNode, const std::deque<T>& numbers);

    /// True if no value occurs twice. NaN equals nothing, itself included.
    static bool areAllNumbersUnique(const std::deque<T>& numbers);

protected:
    /// For subclasses with their own class name.
    DatacoreNumberSet(const QString& className, const QString& name, DatacoreBase* parentNode,
                      const std::deque<T>& numbers);

    void updateValidStatus(DatacoreValidStatusMessages& reasons) override;
    void describe(DatacoreDescription& description) const override;
};

#define DATACORE_DECLARE(TYPE, NAME) extern template class DatacoreNumberSet<TYPE>;
DATACORE_FOR_EACH_NUMBER_TYPE(DATACORE_DECLARE)
#undef DATACORE_DECLARE
