// The elements of a node on their own, with an owner that counts what it is told.
#include "infrastructure/datacore/DatacoreActiveStatusElement.h"
#include "infrastructure/datacore/DatacoreClassnameElement.h"
#include "infrastructure/datacore/DatacoreDataElement.h"
#include "infrastructure/datacore/DatacoreValidStatusElement.h"
#include "sw/infrastructure_test/DatacoreSupport.h"
#include "sw/infrastructure_test/TestSupport.h"

#include <deque>

namespace {

struct Owner : DatacoreElementPrivateInterface
{
    void elementPopulated() override { ++populated; }
    void elementChangedLocally() override { ++changedLocally; }
    int populated = 0;
    int changedLocally = 0;
    DatacoreElementState state;
};

} // namespace

TEST_CASE("Elements are leaves of the path, and must find their key", "[datacore]")
{
    Owner owner;
    owner.state.className = "Name"_s;
    DatacoreClassnameElement classname(owner, owner.state);
    DatacoreDataElement data(owner, owner.state);
    data.initialiseValue("5"_s);
    DatacoreValidStatusElement valid(owner, owner.state);
    DatacoreActiveStatusElement active(owner, owner.state);
    const QString path = "further"_s;
    for (DatacoreElement* element :
         std::initializer_list<DatacoreElement*>{&classname, &data, &valid, &active}) {
        // In the just-data form all but the data answer before they look at anything.
        const bool isData = element == &data;
        DatacoreJsonMessages messages;
        QJsonObject json;
        CHECK(element->appendToJson(path, json, true, true, messages) != isData);
        CHECK(element->populateFromJson(path, json, true, messages) != isData);
        CHECK(element->populateFromJson(QString(), json, true, messages) != isData);
        CHECK(messages.size() == (isData ? 3 : 0));

        messages.clear();
        CHECK_FALSE((element->appendToJson(path, json, false, true, messages) || !json.isEmpty()));
        CHECK_FALSE(element->populateFromJson(path, json, false, messages));
        CHECK_FALSE(element->populateFromJson(QString(), json, false, messages));
        REQUIRE(messages.size() == 3);
        const int identifiers[] = {5, 5, 6};
        for (int i = 0; i < 3; ++i) {
            CHECK(messages[i].getType() == MessageBase::MessageType_Error);
            CHECK(messages[i].getIdentifier() == identifiers[i]);
        }
        CHECK(element->appendToJson(QString(), json, false, true, messages));
        CHECK(json.keys() == QStringList{element->getKey()});
        CHECK(element->populateFromJson(QString(), json, false, messages));
    }
    CHECK(owner.populated + owner.changedLocally == 0);
}

TEST_CASE("Incoming data is a change where the values differ, not the form", "[datacore]")
{
    using Values = std::deque<QString>;
    const Table<Values, const char*, bool, Values> rows{
        // held, incoming, whether it is a change
        {{}, "null", false, {}},
        {{}, "[]", false, {}},
        {{}, R"("")", true, strings({""})},
        {{}, R"("a")", true, strings({"a"})},
        {{}, R"(["a"])", true, strings({"a"})},
        {strings({""}), "null", true, {}},
        {strings({""}), R"("")", false, strings({""})},
        {strings({""}), "12", false, strings({""})}, // no string: taken as an empty one
        {strings({"12"}), "12", true, strings({""})},
        {strings({"true"}), "true", true, strings({""})},
        {strings({"a"}), R"({"b": 1})", true, strings({""})},
        {strings({"a"}), R"("a")", false, strings({"a"})},
        {strings({"a"}), R"(["a"])", false, strings({"a"})},
        {strings({"a"}), R"(["b"])", true, strings({"b"})},
        {strings({"a"}), "[]", true, {}},
        {strings({"a"}), "null", true, {}},
        {strings({"a", "b"}), R"(["a", "b"])", false, strings({"a", "b"})},
        {strings({"a", "b"}), R"(["a", "c"])", true, strings({"a", "c"})},
        {strings({"a", "b"}), R"(["a"])", true, strings({"a"})},
        {strings({"a", "b"}), R"("a")", true, strings({"a"})},
        {strings({"a", "b"}), R"([1, null])", true, strings({"", ""})},
        {strings({"", ""}), R"([1, null])", false, strings({"", ""})},
        {strings({"a", "b"}), "null", true, {}},
    };
    for (const auto& [held, incoming, isChange, result] : rows) {
        CAPTURE(incoming);
        Owner owner;
        DatacoreDataElement element(owner, owner.state);
        element.initialiseValues(held);
        REQUIRE(element.getValues() == held);
        const QJsonObject json = parseObject(QByteArray(R"({"data": )") + incoming + '}');
        DatacoreJsonMessages messages;
        const LogCapture log;
        CHECK(element.populateFromJson(QString(), json, false, messages));
        CHECK(element.getValues() == result);
        CHECK(element.getCount() == int(result.size()));
        CHECK(owner.populated == (isChange ? 1 : 0));
        const bool isFirstFill = held.empty() && json.begin().value().isString();
        CHECK(log.lines() ==
              (isFirstFill ? lines({"error: 0 sized entry for data element"}) : QStringList()));

        // What was read is what a setter would have stored.
        Owner setterOwner;
        DatacoreDataElement setter(setterOwner, setterOwner.state);
        setter.initialiseValues(held);
        setter.setValues(result);
        CHECK(setter.getValues() == result);
        CHECK(setterOwner.changedLocally == (isChange ? 1 : 0));
        CHECK(setter.toJsonValue() == element.toJsonValue());
    }
}

TEST_CASE("A null string is a value like any other empty one", "[datacore]")
{
    Owner owner;
    DatacoreDataElement element(owner, owner.state);
    element.setValue(QString());
    CHECK(element.getCount() == 1);
    CHECK(element.toJsonValue() == QJsonValue(QString()));
    element.setValue(""_s);
    element.setValues({QString()});
    CHECK(owner.changedLocally == 1);
    element.setValues({});
    CHECK(element.getCount() == 0);
    CHECK(owner.changedLocally == 2);
    CHECK((element.getValue(0).isEmpty() && element.getValue(-1).isEmpty()));
}

TEST_CASE("Incoming reasons of the element's own class are kept", "[datacore]")
{
    const QByteArray v4 =
        R"({"DatacoreValidStatusMessage": {}, "MessageBase": {"identifier": 4, "type": 2}})";
    const QByteArray v5 = QByteArray(v4).replace('4', '5');
    const QByteArray a4 = QByteArray(v4).replace("Valid", "Active");
    // What comes, whether it is a change from one message, (Error, 4), and what is there then.
    const Table<QByteArray, bool, std::vector<int>> rows{
        {'[' + v4 + ']', false, {4}},
        {'[' + a4 + ',' + v4 + ']', false, {4}}, // another class is no change
        {"[1," + v4 + ']', true, {4}},           // what is no message is one
        {'[' + v5 + ']', true, {5}},
        {'[' + v4 + ',' + v5 + ']', true, {4, 5}},
        {"[]", true, {}},
        {'[' + a4 + ']', true, {}},
        {"null", false, {4}}, // no array: ignored
        {v5, false, {4}},
    };
    for (const auto& [incoming, isChange, result] : rows) {
        CAPTURE(incoming);
        Owner owner;
        DatacoreValidStatusElement element(owner, owner.state);
        element.setMessages({DatacoreValidStatusMessage(MessageBase::MessageType_Error, 4)});
        CHECK(owner.changedLocally == 1);
        element.setMessages({DatacoreValidStatusMessage(MessageBase::MessageType_Error, 4)});
        CHECK(owner.changedLocally == 1);

        DatacoreJsonMessages messages;
        const QJsonObject json = parseObject(R"({"reasonsForBeingInvalid": )" + incoming + '}');
        CHECK(element.populateFromJson(QString(), json, true, messages));
        CHECK(owner.populated == 0); // not in the just-data form
        CHECK(element.populateFromJson(QString(), json, false, messages));
        CHECK(owner.populated == (isChange ? 1 : 0));
        std::vector<int> identifiers;
        for (const auto& message : element.getMessages()) {
            identifiers.push_back(message.getIdentifier());
        }
        CHECK(identifiers == result);
    }
}

TEST_CASE("A class name is written, set, and never read", "[datacore]")
{
    Owner owner;
    DatacoreClassnameElement element(owner, owner.state);
    owner.state.className = "A"_s;
    DatacoreJsonMessages messages;
    CHECK(element.populateFromJson(QString(), parseObject(R"({"class": "B"})"), false, messages));
    CHECK(element.getClassName() == "A"_s);
    element.setClassName("A"_s);
    CHECK(owner.changedLocally == 0);
    element.setClassName("C"_s);
    CHECK(owner.changedLocally == 1);
    CHECK(element.toJsonValue().toString() == "C"_s);
}
