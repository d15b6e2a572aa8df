// A leaf of the state tree that holds numbers within limits.
#pragma once

#include "infrastructure/datacore/DatacoreNumber.h"

#include <limits>

/// Numbers from a minimum to a maximum, both included. A number outside is kept and makes the leaf
/// invalid; each adds one message: (Error, 4) above the maximum, (Error, 5) below the minimum.
template <typename T>
class DatacoreNumberLimits : public DatacoreNumber<T>
{
public:
    /// DatacoreNumberLimits<int> => "DatacoreInt32Limits", by the size of T.
    static QString CLASSNAME();

    /// Starts with the value 0 and the limits of T.
    DatacoreNumberLimits(const QString& name, DatacoreBase* parentNode);
    /// Starts with the value 0, which may lie outside the limits.
    DatacoreNumberLimits(const QString& name, DatacoreBase* parentNode, T minimum, T maximum);
    DatacoreNumberLimits(const QString& name, DatacoreBase* parentNode, T minimum, T maximum,
                         const std::deque<T>& numbers);

    T getMinimumValue() const { return minimumValue; }
    T getMaximumValue() const { return maximumValue; }

protected:
    /// For subclasses with their own class name.
    DatacoreNumberLimits(const QString& className, const QString& name, DatacoreBase* parentNode,
                         T minimum, T maximum, const std::deque<T>& numbers);
    DatacoreNumberLimits(const QString& className, const QString& name, DatacoreBase* parentNode,
                         T minimum, T maximum, T number);

    void updateValidStatus(DatacoreValidStatusMessages& reasons) override;
    void describe(DatacoreDescription& description) const override;

private:
    T minimumValue = std::numeric_limits<T>::lowest();
    T maximumValue = std::numeric_limits<T>::max();
};

#define DATACORE_DECLARE(TYPE, NAME)                                                               \
    template <>                                                                                    \
    QString DatacoreNumberLimits<TYPE>::CLASSNAME();                                               \
    extern template class DatacoreNumberLimits<TYPE>;
DATACORE_FOR_EACH_NUMBER_TYPE(DATACORE_DECLARE)
#undef DATACORE_DECLARE
