// Records as text: the codecs at the limits of their types, and what a strict reader refuses.
#include "infrastructure/utility/FieldList.h"
#include "sw/infrastructure_test/Catch.h"

using namespace Tessorn;

namespace {

template <typename Codec, typename Type>
QString written(const Type& value)
{
    FieldText text;
    Codec::write(text, value);
    return toQString(text);
}

template <typename Integer>
void checkLimits()
{
    using Codec = FieldCodec<Integer>;
    using Limits = std::numeric_limits<Integer>;
    for (const Integer value :
         {Limits::min(), Integer(100), Integer(Limits::max() - 1), Limits::max()}) {
        const QString text = written<Codec>(value);
        CHECK(text == QString::fromStdString(std::to_string(value)));
        Integer read = 1;
        CHECK(Codec::read(text, read));
        CHECK(read == value);
    }

    // One above the highest, by carrying in decimal.
    QString above = QString::fromStdString(std::to_string(Limits::max()));
    above.back() = QChar(above.back().unicode() + 1);
    for (const QString& text : {above, above + QLatin1Char('0'), "9"_s.repeated(40)}) {
        Integer read = 7;
        CAPTURE(text);
        CHECK_FALSE(Codec::read(text, read));
        CHECK(read == 7);
    }
}

struct Clock
{
    quint8 priority = 128;
    bool locked = false;
    qint16 offset = 0;
    std::vector<quint32> ports;
};

using ClockFields = FieldList<Field<&Clock::priority, FieldCodec<quint8>, 1>,
                              Field<&Clock::locked, FlagCodec<TrueFalse>, 2>, Field<&Clock::offset>,
                              Field<&Clock::ports, VectorCodec<quint32, u'*'>, 4>>;

} // namespace

TEST_CASE("Integers are written and read to the limits of their types", "[utility][fields]")
{
    checkLimits<quint8>();
    checkLimits<quint16>();
    checkLimits<quint32>();
    checkLimits<quint64>();
    checkLimits<qint16>();
    checkLimits<qint64>();
}

TEST_CASE("An integer is digits in base 10 and nothing else", "[utility][fields]")
{
    quint32 number = 5;
    for (const char16_t* text : {u"", u"-", u"-1", u"+1", u" 1", u"1 ", u"1.", u"1e3", u"0x10",
                                 u"1a", u"\u0661", u"1,2"}) {
        CAPTURE(QString::fromUtf16(text));
        CHECK_FALSE(FieldCodec<quint32>::read(text, number));
    }
    CHECK(number == 5);
    CHECK(FieldCodec<quint32>::read(u"010", number));
    CHECK(number == 10);

    qint16 offset = 5;
    for (const char16_t* text : {u"--1", u"-", u"- 1", u"-32769", u"1-"}) {
        CHECK_FALSE(FieldCodec<qint16>::read(text, offset));
    }
    CHECK(FieldCodec<qint16>::read(u"-37", offset));
    CHECK(offset == -37);
}

TEST_CASE("A list of fields wants each field once and whole", "[utility][fields]")
{
    const Clock clock{7, true, -37, {1, 4294967295}};
    FieldText text;
    ClockFields::write(text, u',', clock);
    CHECK(toQString(text) == "7,true,-37,1*4294967295"_s);

    Clock read;
    CHECK(ClockFields::read(toQString(text), u',', read));
    CHECK(ClockFields::same(read, clock));
    CHECK(ClockFields::read(u"7,true,-37,", u',', read));
    CHECK(read.ports.empty());

    for (const char16_t* bad :
         {u"", u"7", u"7,true,-37", u"7,true,-37,1,", u"7,true,-37,1,2", u",true,-37,",
          u"256,true,1,", u"7,True,1,", u"7,1,1,", u"7,,1,", u"7,true,1,*", u"7,true,1,1*",
          u"7,true,1,*1", u"7,true,1,1**2", u"7;true;1;"}) {
        CAPTURE(QString::fromUtf16(bad));
        CHECK_FALSE(ClockFields::read(bad, u',', read));
    }
}

TEST_CASE("Fields are compared element by element, a mask picks which", "[utility][fields]")
{
    using Ports = VectorCodec<quint32, u'*'>;
    std::vector<quint32> ports{5, 6};
    CHECK_FALSE(Ports::read(u"7*x", ports)); // leaves them alone
    CHECK(Ports::same(ports, {5, 6}));
    CHECK_FALSE(Ports::same(ports, {5, 7}));
    CHECK_FALSE(Ports::same(ports, {5}));

    const Clock a{7, true, -37, {1}};
    const Clock b{7, false, -37, {2}};
    CHECK_FALSE(ClockFields::same(a, b));
    for (quint32 mask = 0; mask < 16; ++mask) {
        CHECK(ClockFields::sameWhere(a, b, mask) == ((mask & 6) == 0));
    }
}
