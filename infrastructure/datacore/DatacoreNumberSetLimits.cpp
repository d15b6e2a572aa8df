#include "infrastructure/datacore/DatacoreNumberSetLimits.h"

#include "infrastructure/datacore/DatacoreDescription.h"
#include "infrastructure/datacore/DatacoreNumberChecks_p.h"

#include <type_traits>

template <typename T>
QString DatacoreNumberSetLimits<T>::CLASSNAME()
{
    return QStringLiteral("DatacoreIntegerSetWithLimitsLimits");
}

template <typename T>
DatacoreNumberSetLimits<T>::DatacoreNumberSetLimits(const QString& name, DatacoreBase* parentNode)
    : DatacoreNumberSetLimits(name, parentNode, std::numeric_limits<T>::lowest(),
                              std::numeric_limits<T>::max())
{
}

template <typename T>
DatacoreNumberSetLimits<T>::DatacoreNumberSetLimits(const QString& name, DatacoreBase* parentNode,
                                                    T minimum, T maximum)
    : DatacoreNumberLimits<T>(CLASSNAME(), name, parentNode, minimum, maximum, T())
{
}

template <typename T>
DatacoreNumberSetLimits<T>::DatacoreNumberSetLimits(const QString& name, DatacoreBase* parentNode,
                                                    T minimum, T maximum,
                                                    const std::deque<T>& numbers)
    : DatacoreNumberSetLimits(CLASSNAME(), name, parentNode, minimum, maximum, numbers)
{
}

template <typename T>
DatacoreNumberSetLimits<T>::DatacoreNumberSetLimits(const QString& className, const QString& name,
                                                    DatacoreBase* parentNode, T minimum, T maximum,
                                                    const std::deque<T>& numbers)
    : DatacoreNumberLimits<T>(className, name, parentNode, minimum, maximum, numbers)
{
    this->initialiseStatus();
}

template <typename T>
void DatacoreNumberSetLimits<T>::updateValidStatus(DatacoreValidStatusMessages& reasons)
{
    const auto numbers = this->convertAll(reasons);
    DatacoreNumberChecks::checkUniqueness(numbers, reasons);
    DatacoreNumberChecks::checkLimits(numbers, this->getMinimumValue(), this->getMaximumValue(),
                                      reasons);
}

template <typename T>
void DatacoreNumberSetLimits<T>::describe(DatacoreDescription& description) const
{
    DatacoreNumberLimits<T>::describe(description);
    description.isUnique = true;
    if constexpr (std::is_integral_v<T>) { // there are no more numbers than that
        const auto others = static_cast<quint64>(this->getMaximumValue()) -
                            static_cast<quint64>(this->getMinimumValue());
        if (others < quint64(DatacoreDescription::ANY_COUNT)) {
            description.mostCount = static_cast<int>(others + 1);
        }
    }
}

#define INSTANTIATE(TYPE, NAME) template class DatacoreNumberSetLimits<TYPE>;
DATACORE_FOR_EACH_NUMBER_TYPE(INSTANTIATE)
