// What leaves tell of themselves, what owners add, and what is read from a peer.
#include "infrastructure/datacore/DatacoreBool.h"
#include "infrastructure/datacore/DatacoreDescription.h"
#include "infrastructure/datacore/DatacoreMacAddress.h"
#include "infrastructure/datacore/DatacoreNumberSet.h"
#include "infrastructure/datacore/DatacoreNumberSetLimits.h"
#include "infrastructure/datacore/DatacorePoint.h"
#include "infrastructure/datacore/DatacoreVideoStandard.h"
#include "sw/infrastructure_test/DatacoreSupport.h"

namespace {

const QString NAME = "leaf"_s;

/// The JSON form, which is read back as it was.
QByteArray describe(const DatacoreBase& node)
{
    QByteArray text;
    const DatacoreDescription description = node.getDescription();
    description.appendToJsonText(text);
    QString reason;
    CHECK(DatacoreDescription::fromJson(parseObject(text), reason) == description);
    CHECK(reason.isEmpty());
    CHECK(toText(parseObject(text)) == text); // compact, with its keys in order
    return text;
}

template <typename... Ts>
QByteArray describeSets()
{
    return ((describe(DatacoreNumberSetLimits<Ts>(NAME, nullptr)) + '\n') + ...);
}

} // namespace

TEST_CASE("Each class of leaves tells what it takes", "[datacore]")
{
    CHECK(describeSets<short, int, long long, unsigned short, unsigned, unsigned long long, float,
                       double>() ==
          R"({"kind":"Int16","max":"32767","min":"-32768","most":65536,"unique":true}
{"kind":"Int32","max":"2147483647","min":"-2147483648","unique":true}
{"kind":"Int64","max":"9223372036854775807","min":"-9223372036854775808","unique":true}
{"kind":"UInt16","max":"65535","min":"0","most":65536,"unique":true}
{"kind":"UInt32","max":"4294967295","min":"0","unique":true}
{"kind":"UInt64","max":"18446744073709551615","min":"0","unique":true}
{"kind":"Float","max":"3.4028234663852885981e+38","min":"-3.4028234663852885981e+38","unique":true}
{"kind":"Double","max":"1.7976931348623157081e+308","min":"-1.7976931348623157081e+308","unique":true}
)");
    CHECK(describeSets<long, unsigned long>() ==
          (sizeof(long) == 4 ? describeSets<int, unsigned>()
                             : describeSets<long long, unsigned long long>()));

    DatacoreBase group(NAME, nullptr);
    CHECK(describe(group) == "{}");
    const DatacoreBase text("text"_s, &group, "x"_s);
    CHECK(describe(text) == "{}");
    CHECK(describe(group) == R"({"kind":"Group"})");
    group.setData("x"_s);
    CHECK(describe(group) == "{}");
    CHECK(describe(DatacoreBool(NAME, nullptr)) == R"({"kind":"Bool","values":["false","true"]})");
    CHECK(describe(DatacorePoint(NAME, nullptr)) == R"({"kind":"Point"})");
    CHECK(describe(DatacoreVideoStandard(NAME, nullptr)) == R"({"kind":"VideoStandard"})");
    CHECK(describe(DatacoreMacAddress(NAME, nullptr)) ==
          R"({"kind":"MacAddress","max":"281474976710654","min":"1"})");
    CHECK(describe(DatacoreNumber<int>(NAME, nullptr)) == R"({"kind":"Int32"})");
    CHECK(describe(DatacoreNumberSet<int>(NAME, nullptr)) == R"({"kind":"Int32","unique":true})");
    CHECK(describe(DatacoreNumberLimits<double>(NAME, nullptr, -0.5, 0.1)) ==
          R"({"kind":"Double","max":"0.10000000000000000555","min":"-0.5"})");
    using Set = DatacoreNumberSetLimits<long long>;
    CHECK(Set(NAME, nullptr, -2, 2).getDescription().mostCount == 5);
    CHECK(Set(NAME, nullptr, 0, 2147483645).getDescription().mostCount == 2147483646);
    CHECK(Set(NAME, nullptr, 0, 2147483647).getDescription().mostCount ==
          DatacoreDescription::ANY_COUNT);
    CHECK(DatacoreNumberSetLimits<float>(NAME, nullptr, 1, 2).getDescription().mostCount ==
          DatacoreDescription::ANY_COUNT);
}

TEST_CASE("An owner adds unit, sentence and counts, and closes a tree to clients", "[datacore]")
{
    DatacoreBase root(NAME, nullptr);
    DatacoreBase group("group"_s, &root);
    DatacoreNumberSetLimits<int> leaf("leaf"_s, &group, 0, 4);
    root.takeChangedList();
    leaf.setNotes({"\u00b0C"_s, "\"Hot\""_s, true, 1, 10});
    CHECK(describe(leaf) ==
          R"({"kind":"Int32","least":1,"max":"4","min":"0","most":5,"readOnly":true,)"
          R"("text":"\"Hot\"","unique":true,"unit":"°C"})");
    CHECK((leaf.isReadOnlyForClients() && !group.isReadOnlyForClients()));
    leaf.setNotes({{}, {}, false, 0, 3});
    CHECK(describe(leaf) == R"({"kind":"Int32","max":"4","min":"0","most":3,"unique":true})");
    root.setNotes({{}, {}, true});
    CHECK(leaf.isReadOnlyForClients());
    CHECK(describe(group) == R"({"kind":"Group","readOnly":true})");
    leaf.setDataNumber(2); // the owner's own writes are not affected
    CHECK(root.takeChangedList() == std::vector<DatacoreBase*>{&leaf});
}

TEST_CASE("Each part of a description counts", "[datacore]")
{
    for (const QByteArray json :
         {R"({"kind":"Int32"})", R"({"least":1})", R"({"max":"1"})", R"({"min":"1"})",
          R"({"most":1})", R"({"readOnly":true})", R"({"text":"x"})", R"({"unique":true})",
          R"({"unit":"x"})", R"({"values":[""]})"}) {
        CAPTURE(json);
        QString reason;
        const auto read = DatacoreDescription::fromJson(parseObject(json), reason);
        CHECK(reason.isEmpty());
        CHECK(read != DatacoreDescription());
        QByteArray text;
        read.appendToJsonText(text);
        CHECK(text == json);
    }
}

TEST_CASE("A description that lies is refused with the key that does", "[datacore]")
{
    const auto list = [](int count) {
        return "\"values\":[" + QByteArray("\"1\",").repeated(count - 1) + "\"1\"]";
    };
    const auto text = [](const char* key, int size) {
        return QByteArray(key) + '"' + QByteArray(size, 'x') + '"';
    };
    const Table<QByteArray, const char*> rows{
        // and the key, null if it is good
        {R"("other":{},"kind":"Hue","min":"z","max":"a")", nullptr},
        {R"("kind":5)", "kind"},
        {R"("kind":null)", "kind"},
        {R"("kind":"")", "kind"},
        {R"("least":-1)", "least"},
        {R"("least":1.5)", "least"},
        {R"("least":"1")", "least"},
        {R"("most":2147483648)", "most"},
        {R"("most":2147483647)", nullptr},
        {R"("least":3,"most":2)", "most"},
        {R"("least":3,"most":3)", nullptr},
        {R"("readOnly":1)", "readOnly"},
        {R"("unique":"true")", "unique"},
        {R"("values":"1")", "values"},
        {R"("values":["1",2])", "values"},
        {list(1000), nullptr},
        {list(1001), "values"},
        {list(1000000), "values"},
        {text("\"values\":[", 100) + ']', nullptr},
        {text("\"values\":[", 101) + ']', "values"},
        {text("\"unit\":", 100), nullptr},
        {text("\"unit\":", 101), "unit"},
        {text("\"text\":", 1000), nullptr},
        {text("\"text\":", 1001), "text"},
        {R"("kind":"Int32","min":"2","max":"2")", nullptr},
        {R"("kind":"Int32","min":"10","max":"9")", "max"},
        {R"("kind":"Int32","min":"x")", "max"},
        {R"("kind":"Int32","max":"0.5")", "max"},
        {R"("kind":"Int64","min":"-1","max":"9223372036854775808")", "max"},
        {R"("kind":"Int64","min":"9223372036854775807","max":"9223372036854775806")", "max"},
        {R"("kind":"UInt64","min":"18446744073709551615","max":"18446744073709551614")", "max"},
        {R"("kind":"UInt64","min":"18446744073709551614","max":"18446744073709551615")", nullptr},
        {R"("kind":"Float","min":"0.5","max":"1e30")", nullptr},
        {R"("kind":"Double","min":"0.5","max":"0.25")", "max"},
        {R"("kind":"Double","min":"nan","max":"1")", "max"},
        {R"("kind":"Double","max":"nan")", "max"},
        {R"("kind":"MacAddress","min":"2","max":"1")", "max"},
    };
    for (const auto& [json, key] : rows) {
        CAPTURE(json.left(100));
        QString reason = "?"_s;
        const auto read = DatacoreDescription::fromJson(parseObject('{' + json + '}'), reason);
        CHECK(reason == (key ? "bad \"%1\""_s.arg(QLatin1String(key)) : QString()));
        CHECK((key == nullptr || read == DatacoreDescription()));
    }
}
