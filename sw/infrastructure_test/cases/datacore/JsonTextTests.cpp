// JSON straight to text, against QJsonDocument.
#include "infrastructure/datacore/DatacoreBase.h"
#include "sw/infrastructure_test/DatacoreSupport.h"

TEST_CASE("A node writes the text that its JSON object gives", "[datacore]")
{
    const QString name = "na\"me"_s;
    const QJsonObject reasons = parseObject(R"({"na\"me": {
        "reasonsForBeingInvalid": [
            {"DatacoreValidStatusMessage": {}, "MessageBase": {"type": 2, "identifier": 4}},
            {"DatacoreValidStatusMessage": {}, "MessageBase": {"type": 3, "identifier": 7}}],
        "reasonsForBeingInactive": [
            {"DatacoreActiveStatusMessage": {}, "MessageBase": {"type": 3, "identifier": 5}}]}})");
    for (const std::deque<QString>& values :
         {std::deque<QString>{}, std::deque<QString>{QString()}, std::deque<QString>{"1080p50"_s},
          std::deque<QString>{"a \"b\" \\ \n \u00e9 \U0001F3A5 \x01 \x7f"_s},
          std::deque<QString>{QString(QChar(0xD800))}, strings({"one", "t\"wo"})}) {
        KeepingNode node(name, nullptr, values);
        for (int i = 0; i < 4; ++i) { // without reasons, then with
            QByteArray text;
            node.appendToJsonText(text, i % 2 == 0);
            CHECK(text == toText(write(node, "", i % 2 == 0)));
            DatacoreJsonMessages messages;
            REQUIRE((i != 1 || node.populateFromJson(QString(), reasons, false, messages)));
        }
        CHECK_FALSE((node.isValid() || node.isActive()));
    }
}
