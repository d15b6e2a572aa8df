// Keys that come twice, in every place where JSON text comes in.
#include "infrastructure/platform/SfpConfigParser.h"
#include "infrastructure/utility/JsonFile.h"
#include "infrastructure/utility/packets/SerialisableDataPacket.h"
#include "infrastructure/utility/ParseJson.h"
#include "sw/infrastructure_test/Catch.h"
#include "sw/infrastructure_test/TestSupport.h"

#include <QJsonArray>
#include <QSet>
#include <QTemporaryFile>

#include <random>

namespace {

/// True for text that is refused for a key that comes twice. Any other has the parser's result.
bool isRefused(const QByteArray& text)
{
    const LogCapture log;
    QJsonParseError error;
    const QJsonDocument document = parseJson(text, &error);
    if (!log.lines().isEmpty()) {
        CHECK(log.lines() == QStringList{"error: JSON object has a key twice, the second at: "_s +
                                         QString::number(error.offset)});
        CHECK(error.error == QJsonParseError::IllegalValue);
        CHECK(document.isNull());
        CHECK(parseJson(text).isNull());
        return true;
    }
    QJsonParseError expectedError;
    CHECK(document == QJsonDocument::fromJson(text, &expectedError));
    CHECK(error.error == expectedError.error);
    CHECK(error.offset == expectedError.offset);
    return false;
}

} // namespace

TEST_CASE("An object with a key twice is bad text at any depth", "[utility]")
{
    for (const char* text : {
             R"({"a":1,"a":1})", "\xEF\xBB\xBF { \"a\" : 1 ,\n\"b\" : \"x\", \"a\" : 1 } ",
             R"({"":1,"":2})", R"([[],{"a":{"x":[]},"b":"","a":2}])",
             R"({"x":[{"a":1,"b":{"a":1},"a":1}]})", R"({"a":1,"\u0061":2})",
             R"({"\a\/\"":1,"\u0061/\u0022":2})", // a needless backslash is none
             R"({"\b\f\n\r\t\\":1,"\u0008\u000C\u000a\u000D\u0009\u005c":2})",
             R"({"é":1,"\u00E9":2})", R"({"日":1,"\u65e5":2})", R"({"🎥":1,"\ud83c\uDFA5":2})",
             "{\"\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF\":1,"
             "\"\\u007f\\u0080\\u07ff\\u0800\\uffff\":2}", // the edges of UTF-8's lengths
             R"({"a\ud83c":1,"a\uD83C":2})", R"({"a\u0000b":1,"a\u0000b":2})",
             R"({"x":{"a":[1],"a":[2]}, but no more)", // the parser would have kept the inner one
         }) {
        CAPTURE(text);
        CHECK(isRefused(text));
    }
    for (
        const char* text : {
            "",
            "null",
            R"({"a":{"a":[{"a":1},{"a":1}]},"b":"a","c":["a","a","a"],"A":"\",\"a\":"})",
            R"({"\\u0061":1,"a":2,"\u0061b":3,"a\u0000":4,"\u0161":5,"\u1061":6})",
            R"({"\ud83c":1,"\udfa5":2,"\ud83c\udfa5":3,"\udfa5\ud83c":4,"\ud83cX":5,"\ud83cXudfa5":6})",
            R"({"\b":1,"b":2,"\f":3,"f":4,"\n":5,"n":6,"\r":7,"r":8,"\t":9,"t":10})",
            R"({"a":1,"a")",
            R"({"a":1,"a":2])",
            R"({"a":1 "a":2})",
            R"({"a\)",
            R"({"\u)",
            R"(]{"a":1,"a":1})",
            R"({} {"a":1,"a":1})",
        }) {
        CAPTURE(text);
        CHECK_FALSE(isRefused(text));
    }
    for (const char* deep : {"[", "{\"a\":", "[{\"a\":"}) {
        CHECK_FALSE(isRefused(QByteArray(deep).repeated(100000)));
    }
    CHECK(isRefused(QByteArray(1023, '[') + R"({"a":1,"a":2})")); // the deepest that is parsed
    QByteArray many = "{\"x\":0";
    for (int i = 200000; i > 0; --i) {
        many += ",\"" + QByteArray::number(i) + "\":[]";
    }
    CHECK_FALSE(isRefused(many + '}'));
    CHECK(isRefused(many + ",\"12345\":[]}"));
}

TEST_CASE("Keys are the same where a parser reads the same", "[utility]")
{
    const QList<QByteArray> pieces =
        QByteArray("a b \\u0061 \\u00e9 \xC3\xA9 \\n \\u000A \\b \\ud83c \\udfa5 \\ud83d \\u0800 "
                   "\xF0\x9F\x8E\xA5 \\uFFFF \\\\ \\a")
            .split(' ');
    std::mt19937 random(7);
    int refused = 0;
    for (int i = 0; i < 3000; ++i) {
        QByteArray object;
        QSet<QString> keys;
        const int count = 2 + static_cast<int>(random() % 6);
        for (int k = 0; k < count; ++k) {
            QByteArray key;
            for (auto left = random() % 3; left > 0; --left) {
                key += pieces[static_cast<int>(random() % 16)];
            }
            keys.insert(QJsonDocument::fromJson("[\"" + key + "\"]").array().at(0).toString());
            object += (k == 0 ? "{\"" : ",\"") + key + "\":{}";
        }
        CAPTURE(object);
        REQUIRE(isRefused(object + '}') == (keys.size() < count));
        refused += keys.size() < count ? 1 : 0;
    }
    CHECK((refused > 1000 && refused < 2000));
}

TEST_CASE("A zero byte is bad text", "[utility]")
{
    for (const char* rest : {R"(b":[{}],"a-c":[{}]})", "\":1}", ""}) {
        const QByteArray text = QByteArray("{\"a-").append(rest).replace('-', QByteArray(1, '\0'));
        const LogCapture log;
        QJsonParseError error;
        CHECK(parseJson(text, &error).isNull());
        CHECK(error.error == QJsonParseError::IllegalValue);
        CHECK(error.offset == 3);
        CHECK(log.lines() == QStringList{"error: JSON text has a zero byte at: 3"_s});
    }
    CHECK_FALSE(isRefused(R"({"a\u0000b":1,"a\u0000c":2})"));
}

TEST_CASE("A key that comes twice is refused wherever JSON text comes in", "[utility][packets]")
{
    const LogCapture log;
    const QByteArray text = R"({"Class":"X","n":[[{}],2],"n":3})";
    QTemporaryFile file;
    REQUIRE(file.open());
    file.write(text);
    file.close();
    QJsonObject object;
    CHECK_FALSE(loadJsonFile(file.fileName(), object));

    QJsonParseError error;
    CHECK(SerialisableDataPacket(text, &error).getJsonObject().isEmpty());
    CHECK(error.error == QJsonParseError::IllegalValue);

    RawDataPacketHeader header;
    header.packetType = 0x1010;
    header.payloadSize = quint32(text.size() + 4);
    const SerialisableDataPacket packet(QByteArray(12, '\0') + text, header);
    CHECK(packet.toJson() == R"({"Class":""})");

    std::vector<SupportedSfp> sfps;
    CHECK_FALSE(
        SfpConfigParser("3"_s, 3, 0)
            .parse(R"({"configRevision":4,"supportedSfps":[{}],"configRevision":4})", sfps));
    const std::string twice = "error: JSON object has a key twice, the second at: ";
    CHECK(log.lines().join(QLatin1Char('\n')).toStdString() ==
          twice + "27\nerror: JSON file badly formed: illegal value at: 27\n" + twice +
              "27\ninfo: SerialisablePacket failed to parse packet: illegal value\n" + twice +
              "27\ninfo: SerialisablePacket failed to parse packet illegal value\n" + twice +
              "42\nerror: Invalid JSON file for supported sfps");
}
