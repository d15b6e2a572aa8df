#include "sw/datacore_gateway/MqttTopics.h"

#include "sw/infrastructure_test/Catch.h"

TEST_CASE("A path is found under one topic, and a topic leads to one path", "[gateway]")
{
    const char control[] = "a\0b\x01\x7f"; // NUL included
    for (const auto& [path, topic] : Table<QString, QByteArray>{
             {"configCoreRouter/input1"_s, "configCoreRouter/input1"},
             {"a+b/#/c%2Bd"_s, "a%2Bb/%23/c%252Bd"},
             {"set/unset/set2/set"_s, "%73et/unset/set2/%73et"},
             {"$available/a$b/$"_s, "%24available/a$b/%24"},
             {"Röhre/\u0085/\uFFFE"_s, "R\xC3\xB6hre/%C2%85/%EF%BF%BE"},
             {QString::fromLatin1(control, 5), "a%00b%01%7F"},
             {"<img onerror=x> \U0001F600"_s, "<img onerror=x> \xF0\x9F\x98\x80"},
             {"a//b/"_s, "a//b/"},
             {""_s, ""},
         }) {
        CHECK(MqttTopics::fromPath(path) == topic);
        CHECK(MqttTopics::toPath(topic) == path);
    }
}

TEST_CASE("Brokers take topics of limited length and depth, without wildcards", "[gateway]")
{
    for (const auto& [topic, isGood] : Table<QByteArray, bool>{
             {"a", true},
             {"", false},
             {"a/+", false},
             {"#", false},
             {"a$/$b", true},
             {"$SYS/a", false},
             {QByteArray("a\0b", 3), false},
             {QByteArray(60'000, 'x'), true},
             {QByteArray(60'001, 'x'), false},
             {QByteArray(189, '/'), true},
             {QByteArray(190, '/'), false},
         }) {
        CAPTURE(topic.left(20), topic.size());
        CHECK(MqttTopics::isPublishable(topic) == isGood);
    }
    CHECK(MqttTopics::countLevels("a/b/") == 3);
}
