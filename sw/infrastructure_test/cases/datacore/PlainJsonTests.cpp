// Plain JSON text read in place, against QJsonDocument.
#include "infrastructure/datacore/PlainJson_p.h"
#include "sw/infrastructure_test/DatacoreSupport.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <random>

namespace {

/// True where the text is taken as plain; it then holds what QJsonDocument finds in it.
bool isPlain(const QByteArray& text)
{
    PlainJsonIndex index;
    if (!index.read(text.constData(), text.size())) {
        return false;
    }
    QJsonParseError error;
    const QJsonObject expected = QJsonDocument::fromJson(text, &error).object();
    CHECK(error.error == QJsonParseError::NoError);
    for (auto it = expected.begin(); it != expected.end(); ++it) {
        const QByteArray key = it.key().toLatin1();
        const PlainJsonValue value = index.find(text.constData(), QLatin1String(key));
        CHECK(value.toJsonValue() == it.value());
        CHECK(value.toInt(-7) == it.value().toInt(-7));
        CHECK(value.toString() == it.value().toString());
    }
    CHECK(index.find(text.constData(), QLatin1String("absent")).isMissing());
    return true;
}

/// What a server's node holds, and what a peer may send in its place.
struct Texts
{
    QByteArray make()
    {
        const QByteArray whole = pick(8) == 0 ? '[' + object(1) + ']' : object(3);
        if (pick(3) != 0) {
            return whole;
        }
        QByteArray bent = whole;
        const int place = pick(bent.size());
        switch (pick(3)) {
        case 0:
            bent.truncate(place);
            break;
        case 1:
            bent[place] = static_cast<char>(random() & 0xFF);
            break;
        default:
            bent.insert(place, "{}[],:\"0-t \\"[pick(12)]);
        }
        return bent;
    }
    int pick(int below) { return static_cast<int>(random() % static_cast<unsigned>(below)); }

    QByteArray value(int depth)
    {
        static const char* const words[] = {
            "null", "true", "false", "\"\"",      "\"1080p50\"",  "0",  "-12", "999999999",
            "1.5",  "1e3",  "-0",    "\"a\\nb\"", "\"\xC2\xB5\"", "[]", "{}"};
        switch (depth > 0 ? pick(6) : 0) {
        case 1:
            return object(depth - 1);
        case 2:
            return '[' + value(depth - 1) + ',' + value(depth - 1) + ']';
        case 3:
            return object(0);
        default:
            return words[pick(pick(3) == 0 ? 15 : 8)];
        }
    }
    QByteArray object(int depth)
    {
        static const char* const keys[] = {
            "class", "data", "flag", "reasonsForBeingInactive", "reasonsForBeingInvalid", "root"};
        QByteArray text;
        for (const char* key : keys) {
            if (pick(2) == 0) {
                text += (text.isEmpty() ? "\"" : ",\"") + QByteArray(key) + "\":" + value(depth);
            }
        }
        return '{' + text + '}';
    }

    std::mt19937 random{20230917};
};

const auto nested = [](int depth) {
    return "{\"a\":" + QByteArray(depth, '[') + QByteArray(depth, ']') + '}';
};

} // namespace

TEST_CASE("Plain text is told from any other, and holds what a parser finds", "[datacore]")
{
    for (const char* text :
         {R"({})", R"({"":1})", R"({"a":null,"b":[true,false,[],{}],"c":{"a":"x","b":-9}})",
          R"({"Class":"X","ClientID":"7","Datacore":{"n":{"data":"5"}},"PacketID":999999999})"}) {
        CHECK(isPlain(text));
    }
    const QByteArray others =
        R"(|{|[]|"a"|1|null|{"a"}|{"a":}|{"a":1,}|{,"a":1}|{"a":1}}|{"a":1} |{ "a":1}|{"a":1,"a":2}|)"
        R"({"b":1,"a":2}|{"a":01}|{"a":-0}|{"a":1.5}|{"a":1e3}|{"a":1000000000}|{"a":-}|{"a":nul}|)"
        R"({"a":{"b":1]|{"a":[1}}|{"a":1]|{"a":[]x}|{"a":tru}|{"a":x}|{"a":,"b":1}|{"a"1}|{1:"a"}|)"
        R"({"a":truE}|{"a":"\u0041"}|{"a":"é"}|{"a":"x|{"a":[1,]}|{"a":[1 2]}|{"a":[}]|)"
        R"({"a":1,"b":2,"c":3,"d":4,"e":5,"f":6,"g":7})";
    for (const QByteArray& text : others.split('|')) {
        INFO(text.toStdString());
        CHECK_FALSE(isPlain(text));
    }
    const int length = 70; // more than is looked at in one go
    for (int place = 0; place < length; ++place) {
        for (const char* characters : {" !#[]\x7f", "\x1f\"\\\x80\xff"}) {
            for (const char character : QByteArray(characters)) {
                QByteArray text(length, 'x');
                text[place] = character;
                CHECK(isPlain("{\"" + text + "\":\"" + text + "\"}") == (*characters == ' '));
            }
        }
    }
    for (const QByteArray tail : {"1}", "\"behind the last of the keys\"}"}) {
        const QByteArrayList keys{"",   "a",        "a ",        "a!b",       "ab", "abcdefg",
                                  "b!", "abcdefgh", "abcdefghi", "abcdefghj", "~",  "a#"};
        for (const QByteArray& first : keys) {
            for (const QByteArray& second : keys) {
                INFO(first.toStdString() << " and " << second.toStdString());
                CHECK(isPlain("{\"" + first + "\":1,\"" + second + "\":" + tail) ==
                      (first < second));
            }
        }
    }
    CHECK_FALSE(PlainJsonIndex().read(nullptr, 0)); // a packet without payload
    CHECK((isPlain(nested(100)) && !isPlain(nested(1000)) && !isPlain(nested(100000))));
    CHECK_FALSE(isPlain(QByteArray(100000, '{')));

    Texts texts;
    int plainCount = 0;
    for (int i = 0; i < 20000; ++i) {
        plainCount += isPlain(texts.make()) ? 1 : 0;
    }
    CHECK(plainCount > 5000);
    CHECK(plainCount < 15000);
}
