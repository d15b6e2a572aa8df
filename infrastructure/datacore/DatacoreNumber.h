// A leaf of the state tree that holds numbers.
#pragma once

#include "infrastructure/datacore/DatacoreBase.h"
#include "infrastructure/datacore/DatacoreNumberTypes.h"

#include <QVarLengthArray>

#include <deque>

/// One number or a list of them, kept as text and converted on access. T is one of short, int,
/// long, long long, their unsigned forms, float and double. Whole numbers are written in decimal;
/// float and double with 20 significant digits, so that they come back unchanged.
///
/// Text that is not a number is kept, goes out in JSON as it is, and makes the leaf invalid with
/// one message (Error, 6 or 7) for the whole list. A whole number too large for T is cut to its low
/// bits without a message, and limits of the same T see only what is left of it.
template <typename T>
class DatacoreNumber : public DatacoreBase
{
    static_assert(IS_DATACORE_NUMBER_TYPE<T>,
                  "DatacoreNumber<T> takes short, int, long, long long, unsigned short, unsigned "
                  "int, unsigned long, unsigned long long, float and double");

public:
    /// DatacoreNumber<int> => "DatacoreInt32", by the size of T.
    static QString CLASSNAME();

    /// Starts with the value 0.
    DatacoreNumber(const QString& name, DatacoreBase* parentNode);
    DatacoreNumber(const QString& name, DatacoreBase* parentNode, T number);
    DatacoreNumber(const QString& name, DatacoreBase* parentNode, const std::deque<T>& numbers);

    /// The first value. If it is not a number or there is none, `ok` is false and the result is
    /// what `deserialise` gives.
    T getDataNumber(bool& ok) const;
    /// All values. If one is not a number, `ok` is false and it becomes 0.
    std::deque<T> getDataNumbers(bool& ok) const;

    void setDataNumber(T number);
    void setDataNumbers(const std::deque<T>& numbers);

    /// The number that a text stands for. If it is not a number, `ok` is false and the result is 0,
    /// or infinity for a floating-point number that is too large.
    static T deserialise(const QString& text, bool& ok);

protected:
    /// For subclasses with their own class name.
    DatacoreNumber(const QString& className, const QString& name, DatacoreBase* parentNode,
                   const std::deque<T>& numbers);
    DatacoreNumber(const QString& className, const QString& name, DatacoreBase* parentNode,
                   T number);

    /// All values as numbers; the usual few take no heap memory.
    using Numbers = QVarLengthArray<T, 16>;

    void updateValidStatus(DatacoreValidStatusMessages& reasons) override;
    void describe(DatacoreDescription& description) const override;
    /// Converts all values and replaces the reasons with those that the conversion gives.
    Numbers convertAll(DatacoreValidStatusMessages& reasons) const;

    /// The text that deserialise reads back to the same number.
    static QString serialise(T number);
    static std::deque<QString> serialise(const std::deque<T>& numbers);
};

#define DATACORE_DECLARE(TYPE, NAME)                                                               \
    template <>                                                                                    \
    QString DatacoreNumber<TYPE>::CLASSNAME();                                                     \
    template <>                                                                                    \
    void DatacoreNumber<TYPE>::describe(DatacoreDescription&) const;                               \
    extern template class DatacoreNumber<TYPE>;
DATACORE_FOR_EACH_NUMBER_TYPE(DATACORE_DECLARE)
#undef DATACORE_DECLARE
