// JSON straight to text, against QJsonDocument.
#include "infrastructure/datacore/DatacoreBase.h"
#include "infrastructure/datacore/JsonString.h"
#include "sw/infrastructure_test/DatacoreSupport.h"

#include <QJsonArray>

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

TEST_CASE("A string's characters are escaped wherever they stand", "[datacore]")
{
    const ushort codes[] = {0x00, 0x1F, 0x20, 0x21,  0x22,  0x23,   0x5B,   0x5C,   0x5D,
                            0x7F, 0x80, 0xE9, 0x100, 0x161, 0x2200, 0x8041, 0xD800, 0xFFFF};
    for (const ushort code : codes) {
        for (int place = 0; place < 9; ++place) {
            QString string = "abcdefghi"_s;
            string[place] = QChar(code);
            QByteArray text;
            appendJsonString(text, string);
            const QByteArray array =
                QJsonDocument(QJsonArray{string}).toJson(QJsonDocument::Compact);
            CHECK(array == '[' + text + ']');
        }
    }
}
