#include "infrastructure/datacore/DatacoreNumberLimits.h"

#include "infrastructure/datacore/DatacoreDescription.h"
#include "infrastructure/datacore/DatacoreNumberChecks_p.h"

template <typename T>
DatacoreNumberLimits<T>::DatacoreNumberLimits(const QString& className, const QString& name,
                                              DatacoreBase* parentNode, T minimum, T maximum,
                                              const std::deque<T>& numbers)
    : DatacoreNumber<T>(className, name, parentNode, numbers)
    , minimumValue(minimum)
    , maximumValue(maximum)
{
    this->initialiseStatus();
}

template <typename T>
DatacoreNumberLimits<T>::DatacoreNumberLimits(const QString& className, const QString& name,
                                              DatacoreBase* parentNode, T minimum, T maximum,
                                              T number)
    : DatacoreNumber<T>(className, name, parentNode, number)
    , minimumValue(minimum)
    , maximumValue(maximum)
{
    this->initialiseStatus();
}

template <typename T>
DatacoreNumberLimits<T>::DatacoreNumberLimits(const QString& name, DatacoreBase* parentNode)
    : DatacoreNumber<T>(CLASSNAME(), name, parentNode, T())
{
}

template <typename T>
DatacoreNumberLimits<T>::DatacoreNumberLimits(const QString& name, DatacoreBase* parentNode,
                                              T minimum, T maximum)
    : DatacoreNumberLimits(CLASSNAME(), name, parentNode, minimum, maximum, T())
{
}

template <typename T>
DatacoreNumberLimits<T>::DatacoreNumberLimits(const QString& name, DatacoreBase* parentNode,
                                              T minimum, T maximum, const std::deque<T>& numbers)
    : DatacoreNumberLimits(CLASSNAME(), name, parentNode, minimum, maximum, numbers)
{
}

template <typename T>
void DatacoreNumberLimits<T>::updateValidStatus(DatacoreValidStatusMessages& reasons)
{
    DatacoreNumberChecks::checkLimits(this->convertAll(reasons), minimumValue, maximumValue,
                                      reasons);
}

template <typename T>
void DatacoreNumberLimits<T>::describe(DatacoreDescription& description) const
{
    DatacoreNumber<T>::describe(description);
    description.minimum = this->serialise(minimumValue);
    description.maximum = this->serialise(maximumValue);
}

#define INSTANTIATE(TYPE, NAME)                                                                    \
    template <>                                                                                    \
    QString DatacoreNumberLimits<TYPE>::CLASSNAME()                                                \
    {                                                                                              \
        return QStringLiteral("Datacore" NAME "Limits");                                           \
    }                                                                                              \
    template class DatacoreNumberLimits<TYPE>;
DATACORE_FOR_EACH_NUMBER_TYPE(INSTANTIATE)
