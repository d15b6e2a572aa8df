#include "infrastructure/datacore/DatacoreNumber.h"
#include "infrastructure/datacore/DatacoreNumberLimits.h"
#include "infrastructure/datacore/DatacoreNumberSet.h"
#include "infrastructure/datacore/DatacoreNumberSetLimits.h"
#include "sw/infrastructure_test/DatacoreSupport.h"

#include <cmath>
#include <limits>
#include <type_traits>

#define NUMBER_TYPES                                                                               \
    short, int, long, long long, unsigned short, unsigned int, unsigned long, unsigned long long,  \
        float, double

namespace {

const QString NAME = "number"_s;

template <typename T>
constexpr int NOT_CONVERTABLE = std::is_integral_v<T> ? 6 : 7;

} // namespace

TEMPLATE_TEST_CASE("Extreme numbers survive JSON", "[datacore]", NUMBER_TYPES)
{
    using T = TestType;
    using Limits = std::numeric_limits<T>;
    std::deque<T> numbers{Limits::lowest(), Limits::max(), Limits::min(), T(0), T(1)};
    if constexpr (std::is_floating_point_v<T>) {
        numbers.insert(numbers.end(), {Limits::denorm_min(), Limits::epsilon(), T(1) / T(3), T(0.1),
                                       std::nextafter(T(1), T(2)), -Limits::infinity()});
    }
    for (const T number : numbers) {
        const DatacoreNumber<T> sent(NAME, nullptr, number);
        DatacoreNumber<T> received(NAME, nullptr, T(2));
        transfer(sent, received);
        bool ok = false;
        CHECK(received.getDataNumber(ok) == number);
        CHECK((ok && received.isValid()));
    }
    DatacoreNumberSetLimits<T> list(NAME, nullptr);
    transfer(DatacoreNumber<T>(NAME, nullptr, numbers), list);
    bool ok = false;
    CHECK(list.getDataNumbers(ok) == numbers);
    CHECK(ok);
}

TEMPLATE_TEST_CASE("Numeric leaves begin with 0 and are active", "[datacore]", NUMBER_TYPES)
{
    using T = TestType;
    const DatacoreNumber<T> number(NAME, nullptr);
    const DatacoreNumberSet<T> set(NAME, nullptr);
    const DatacoreNumberLimits<T> limits(NAME, nullptr);
    const DatacoreNumberSetLimits<T> setLimits(NAME, nullptr);
    for (const auto* leaf :
         std::initializer_list<const DatacoreNumber<T>*>{&number, &set, &limits, &setLimits}) {
        CHECK(leaf->getDataList() == std::deque<QString>{"0"_s});
        CHECK((leaf->isValid() && leaf->isActive()));
    }
    CHECK(number.getClassName() == DatacoreNumber<T>::CLASSNAME());
    CHECK(limits.getClassName() == DatacoreNumber<T>::CLASSNAME() + "Limits"_s);
    CHECK(set.getClassName() == "DatacoreIntegerSetWithLimits"_s);
    CHECK(setLimits.getClassName() == "DatacoreIntegerSetWithLimitsLimits"_s);
    CHECK(limits.getMinimumValue() == std::numeric_limits<T>::lowest());
    CHECK(limits.getMaximumValue() == std::numeric_limits<T>::max());
}

TEST_CASE("Class names of numbers go by their size", "[datacore]")
{
    const auto names = [](auto... numbers) {
        return QStringList{DatacoreNumber<decltype(numbers)>::CLASSNAME()...}
            .replaceInStrings("Datacore"_s, "-"_s)
            .join(QString());
    };
    CHECK(names(short(), 0, 0LL, 0.0F, 0.0) == "-Int16-Int32-Int64-Float-Double"_s);
    using Word = unsigned short;
    CHECK(names(Word(), 0U, 0ULL) == "-UInt16-UInt32-UInt64"_s);
    CHECK(names(0L, 0UL) == "-Int%1-UInt%1"_s.arg(8 * sizeof(long)));
}

TEMPLATE_TEST_CASE("Text that is no number is kept and reported once", "[datacore]", NUMBER_TYPES)
{
    using T = TestType;
    DatacoreNumberSetLimits<T> leaf(NAME, nullptr);
    leaf.setData("Not a number"_s);
    CHECK(reasons(leaf) == std::vector<int>{NOT_CONVERTABLE<T>});
    bool ok = true;
    CHECK(leaf.getDataNumber(ok) == T(0));
    CHECK_FALSE(ok);
    leaf.setData(strings({"321", "", "456"}));
    CHECK(reasons(leaf) == std::vector<int>{NOT_CONVERTABLE<T>});
    CHECK(leaf.getDataNumbers(ok) == std::deque<T>{T(321), T(0), T(456)});
    CHECK_FALSE(ok);
    leaf.setData(strings({"x", "y", "1"}));
    CHECK(reasons(leaf) == std::vector<int>{NOT_CONVERTABLE<T>, 23}); // both stand as 0

    DatacoreNumber<T> plain(NAME, nullptr);
    plain.setData(leaf.getDataList());
    CHECK(reasons(plain) == std::vector<int>{NOT_CONVERTABLE<T>});
    plain.setData(std::deque<QString>());
    CHECK((plain.isValid() && plain.getDataNumbers(ok).empty() && ok));
    plain.getDataNumber(ok);
    CHECK_FALSE(ok);
}

TEST_CASE("Numbers are read as decimal and cut to their type", "[datacore]")
{
    bool ok = false;
    CHECK((DatacoreNumber<short>::deserialise("99999"_s, ok) == -31073 && ok));
    CHECK((DatacoreNumber<unsigned short>::deserialise("65537"_s, ok) == 1 && ok));
    CHECK(DatacoreNumber<int>::deserialise("010"_s, ok) == 10);
    CHECK((std::isinf(DatacoreNumber<float>::deserialise("1e300"_s, ok)) && ok));
    CHECK((DatacoreNumber<int>::deserialise("9223372036854775808"_s, ok) == 0 && !ok));
    for (const char* text : {"0x10", "1.0", "1e3", "1,000", "-", "1 2"}) {
        DatacoreNumber<int>::deserialise(QLatin1String(text), ok);
        CHECK_FALSE(ok);
    }
    CHECK((DatacoreNumber<unsigned int>::deserialise("-1"_s, ok) == 0 && !ok));

    DatacoreNumber<double> leaf(NAME, nullptr);
    leaf.setDataNumber(0.1);
    CHECK(leaf.getData() == "0.10000000000000000555"_s);
    leaf.takeChangedList();
    leaf.setDataNumber(0.1);
    CHECK(leaf.takeChangedList().empty());
}

TEMPLATE_TEST_CASE("A number too large for a double counts as 0 among the others", "[datacore]",
                   float, double)
{
    using T = TestType;
    bool ok = true;
    DatacoreNumberSetLimits<T> leaf(NAME, nullptr, T(1), T(10));
    leaf.setData(strings({"1e400", "-1e400", "2"}));
    CHECK(leaf.getDataNumbers(ok) == std::deque<T>{0, 0, 2});
    CHECK_FALSE(ok);
    CHECK(reasons(leaf) == std::vector<int>{NOT_CONVERTABLE<T>, 23, 5, 5});
}

TEST_CASE("A subclass of a set with limits has a class name of its own", "[datacore]")
{
    struct Layers : DatacoreNumberSetLimits<int>
    {
        Layers()
            : DatacoreNumberSetLimits("Layers"_s, NAME, nullptr, 1, 4, {4, 4, 5})
        {
        }
    };
    const Layers layers;
    CHECK(layers.getClassName() == "Layers"_s);
    CHECK(reasons(layers) == std::vector<int>{23, 4});
}

TEMPLATE_TEST_CASE("Duplicates are found", "[datacore]", NUMBER_TYPES)
{
    using T = TestType;
    using Set = DatacoreNumberSet<T>;
    CHECK((Set::areAllNumbersUnique({}) && Set::areAllNumbersUnique({1})));
    CHECK((Set::areAllNumbersUnique({3, 1, 2}) && !Set::areAllNumbersUnique({2, 1, 2})));
    Set leaf(NAME, nullptr, {1, 2, 3});
    CHECK(leaf.isValid());
    leaf.setDataNumbers({1, 2, 2, 1, 2});
    CHECK(reasons(leaf) == std::vector<int>{23});
    leaf.setDataNumber(1);
    CHECK(leaf.isValid());
    CHECK(reasons(Set(NAME, nullptr, {1, 1})) == std::vector<int>{23});
    if constexpr (std::is_floating_point_v<T>) {
        const T nan = std::numeric_limits<T>::quiet_NaN();
        CHECK(Set::areAllNumbersUnique({nan, 1, nan, 2}));
        CHECK_FALSE(Set::areAllNumbersUnique({nan, 1, nan, 1}));
        CHECK_FALSE(Set::areAllNumbersUnique({T(0), T(-0.0)}));
    }
    std::deque<T> many;
    for (int i = 0; i < 30000; ++i) {
        many.push_back(static_cast<T>(i * 7 % 30000));
    }
    CHECK(Set::areAllNumbersUnique(many));
    many.push_back(many[12345]);
    CHECK_FALSE(Set::areAllNumbersUnique(many));
}

TEMPLATE_TEST_CASE("Each number outside the limits is reported in order", "[datacore]",
                   NUMBER_TYPES)
{
    using T = TestType;
    DatacoreNumberLimits<T> leaf(NAME, nullptr, T(5), T(10));
    CHECK(reasons(leaf) == std::vector<int>{5}); // 0 lies outside from the start
    CHECK(leaf.getMinimumValue() == T(5));
    CHECK(leaf.getMaximumValue() == T(10));
    CHECK(reasons(DatacoreNumberSetLimits<T>(NAME, nullptr, T(5), T(10))) == std::vector<int>{5});
    CHECK(reasons(DatacoreNumberLimits<T>(NAME, nullptr, T(5), T(10), {11, 10, 4})) ==
          std::vector<int>{4, 5});
    leaf.setDataNumbers({5, 10});
    CHECK(leaf.isValid());
    leaf.setDataNumbers({11, 12, 13});
    CHECK(reasons(leaf) == std::vector<int>{4, 4, 4});
    leaf.setDataNumbers({4, 11, 7, 3, 12});
    CHECK(reasons(leaf) == std::vector<int>{5, 4, 5, 4});
    leaf.setData(strings({"x", "7"}));
    CHECK(reasons(leaf) == std::vector<int>{NOT_CONVERTABLE<T>, 5});

    DatacoreNumberSetLimits<T> set(NAME, nullptr, T(5), T(10), {4, 11, 11});
    CHECK(reasons(set) == std::vector<int>{23, 5, 4, 4});
    set.setDataNumbers({6, 6});
    CHECK(reasons(set) == std::vector<int>{23});

    DatacoreNumberLimits<T> open(NAME, nullptr);
    open.setDataNumbers({std::numeric_limits<T>::lowest(), std::numeric_limits<T>::max()});
    CHECK(open.isValid());
}
