#include "infrastructure/datacore/DatacoreNumber.h"

#include "infrastructure/datacore/DatacoreDescription.h"

#include <limits>
#include <type_traits>

namespace {

constexpr int SIGNIFICANT_DIGITS = 20; ///< more than the 17 that restore any double

template <typename T>
DatacoreValidStatusMessage notConvertable()
{
    return DatacoreValidStatusMessage(
        MessageBase::MessageType_Error,
        std::is_integral_v<T>
            ? DatacoreValidStatusMessage::MessageContent_DatacoreValueNotConvertableToIntegralValue
            : DatacoreValidStatusMessage::
                  MessageContent_DatacoreValueNotConvertableToFloatingPointValue);
}

} // namespace

template <typename T>
DatacoreNumber<T>::DatacoreNumber(const QString& className, const QString& name,
                                  DatacoreBase* parentNode, T number)
    : DatacoreBase(className, name, parentNode, serialise(number))
{
}

template <typename T>
DatacoreNumber<T>::DatacoreNumber(const QString& className, const QString& name,
                                  DatacoreBase* parentNode, const std::deque<T>& numbers)
    : DatacoreBase(className, name, parentNode, serialise(numbers))
{
}

template <typename T>
DatacoreNumber<T>::DatacoreNumber(const QString& name, DatacoreBase* parentNode)
    : DatacoreNumber(CLASSNAME(), name, parentNode, T())
{
}

template <typename T>
DatacoreNumber<T>::DatacoreNumber(const QString& name, DatacoreBase* parentNode, T number)
    : DatacoreNumber(CLASSNAME(), name, parentNode, number)
{
}

template <typename T>
DatacoreNumber<T>::DatacoreNumber(const QString& name, DatacoreBase* parentNode,
                                  const std::deque<T>& numbers)
    : DatacoreNumber(CLASSNAME(), name, parentNode, numbers)
{
}

template <typename T>
T DatacoreNumber<T>::deserialise(const QString& text, bool& ok)
{
    if constexpr (std::is_floating_point_v<T>) {
        static_assert(std::numeric_limits<T>::is_iec559, "too large a double gives infinity");
        return static_cast<T>(text.toDouble(&ok));
    } else if constexpr (std::is_signed_v<T>) {
        return static_cast<T>(text.toLongLong(&ok, 10));
    } else {
        return static_cast<T>(text.toULongLong(&ok, 10));
    }
}

template <typename T>
QString DatacoreNumber<T>::serialise(T number)
{
    if constexpr (std::is_floating_point_v<T>) {
        return QString::number(static_cast<double>(number), 'g', SIGNIFICANT_DIGITS);
    } else {
        return QString::number(number);
    }
}

template <typename T>
std::deque<QString> DatacoreNumber<T>::serialise(const std::deque<T>& numbers)
{
    std::deque<QString> texts;
    for (const T number : numbers) {
        texts.push_back(serialise(number));
    }
    return texts;
}

template <typename T>
T DatacoreNumber<T>::getDataNumber(bool& ok) const
{
    return deserialise(getData(), ok);
}

template <typename T>
std::deque<T> DatacoreNumber<T>::getDataNumbers(bool& ok) const
{
    DatacoreValidStatusMessages reasons;
    const Numbers numbers = convertAll(reasons);
    ok = reasons.isEmpty();
    return std::deque<T>(numbers.begin(), numbers.end());
}

template <typename T>
void DatacoreNumber<T>::setDataNumber(T number)
{
    setData(serialise(number));
}

template <typename T>
void DatacoreNumber<T>::setDataNumbers(const std::deque<T>& numbers)
{
    setData(serialise(numbers));
}

template <typename T>
void DatacoreNumber<T>::updateValidStatus(DatacoreValidStatusMessages& reasons)
{
    convertAll(reasons);
}

template <typename T>
auto DatacoreNumber<T>::convertAll(DatacoreValidStatusMessages& reasons) const -> Numbers
{
    Numbers numbers;
    bool allOk = true;
    for (int i = 0; i < getDataCount(); ++i) {
        bool ok = false;
        const T number = deserialise(getDataAt(i), ok);
        numbers.append(ok ? number : T());
        allOk = allOk && ok;
    }
    reasons.clear();
    if (!allOk) {
        reasons.append(notConvertable<T>());
    }
    return numbers;
}

#define INSTANTIATE(TYPE, NAME)                                                                    \
    template <>                                                                                    \
    QString DatacoreNumber<TYPE>::CLASSNAME()                                                      \
    {                                                                                              \
        return QStringLiteral("Datacore" NAME);                                                    \
    }                                                                                              \
    template <>                                                                                    \
    void DatacoreNumber<TYPE>::describe(DatacoreDescription& description) const                    \
    {                                                                                              \
        description.kind = QStringLiteral(NAME);                                                   \
    }                                                                                              \
    template class DatacoreNumber<TYPE>;
DATACORE_FOR_EACH_NUMBER_TYPE(INSTANTIATE)
