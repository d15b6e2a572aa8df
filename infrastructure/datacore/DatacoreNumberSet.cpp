#include "infrastructure/datacore/DatacoreNumberSet.h"

#include "infrastructure/datacore/DatacoreDescription.h"
#include "infrastructure/datacore/DatacoreNumberChecks_p.h"

template <typename T>
QString DatacoreNumberSet<T>::CLASSNAME()
{
    return QStringLiteral("DatacoreIntegerSetWithLimits");
}

template <typename T>
DatacoreNumberSet<T>::DatacoreNumberSet(const QString& className, const QString& name,
                                        DatacoreBase* parentNode, const std::deque<T>& numbers)
    : DatacoreNumber<T>(className, name, parentNode, numbers)
{
    this->initialiseStatus();
}

template <typename T>
DatacoreNumberSet<T>::DatacoreNumberSet(const QString& name, DatacoreBase* parentNode)
    : DatacoreNumber<T>(CLASSNAME(), name, parentNode, T())
{
}

template <typename T>
DatacoreNumberSet<T>::DatacoreNumberSet(const QString& name, DatacoreBase* parentNode,
                                        const std::deque<T>& numbers)
    : DatacoreNumberSet(CLASSNAME(), name, parentNode, numbers)
{
}

template <typename T>
bool DatacoreNumberSet<T>::areAllNumbersUnique(const std::deque<T>& numbers)
{
    return DatacoreNumberChecks::areUnique(numbers);
}

template <typename T>
void DatacoreNumberSet<T>::updateValidStatus(DatacoreValidStatusMessages& reasons)
{
    DatacoreNumberChecks::checkUniqueness(this->convertAll(reasons), reasons);
}

template <typename T>
void DatacoreNumberSet<T>::describe(DatacoreDescription& description) const
{
    DatacoreNumber<T>::describe(description);
    description.isUnique = true;
}

#define INSTANTIATE(TYPE, NAME) template class DatacoreNumberSet<TYPE>;
DATACORE_FOR_EACH_NUMBER_TYPE(INSTANTIATE)
