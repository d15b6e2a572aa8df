#include "infrastructure/utility/Log.h"
#include "infrastructure/utility/packets/BasicTestPacket.h"
#include "infrastructure/utility/packets/SerialisableDataPacket.h"
#include "sw/infrastructure_test/TestSupport.h"

#include <QJsonArray>
#include <QJsonParseError>

#include <deque>
#include <utility>

namespace {

SerialisableDataPacket receive(const QByteArray& text)
{
    RawDataPacketHeader header;
    header.packetType = 0x1010;
    header.payloadSize = quint32(text.size() + 4);
    // The inner length is wrong on purpose: it is not consulted.
    return SerialisableDataPacket(QByteArray(8, '\0') + QByteArray(4, '\x7f') + text, header);
}

/// A view of a packet as its class has it.
struct Keyed : SerialisableDataPacket
{
    explicit Keyed(const SerialisableDataPacket& packet)
        : SerialisableDataPacket(packet)
    {
    }
    using SerialisableDataPacket::get;
    using SerialisableDataPacket::isPlainText;
    using SerialisableDataPacket::set;
};

} // namespace

TEST_CASE("A key gives values of its type, and what it states in place of any other", "[packets]")
{
    constexpr PacketKey<int> number{"a", -1};
    constexpr PacketKey<qint64> wide{"a", -2};
    constexpr PacketKey<double> real{"a", 0.5};
    constexpr PacketKey<bool> flag{"a", true};
    constexpr PacketKey<QString> empty{"a", ""};
    constexpr PacketKey<QString> null{"a"};
    constexpr PacketKey<QStringList> texts{"a"};
    constexpr PacketKey<std::deque<QString>> deque{"a"};
    constexpr PacketKey<QJsonObject> object{"a"};
    constexpr PacketKey<SerialisableDataPacket> child{"a"};
    constexpr PacketKey<std::vector<SerialisableDataPacket>> children{"a"};
    const auto show = [&](const Keyed& packet) {
        bool hasChild = true;
        bool hasChildren = true;
        const QString childName = packet.get(child, hasChild).getPacketClassName();
        const auto childCount = packet.get(children, hasChildren).size();
        const std::deque<QString> same = packet.get(deque);
        CHECK(packet.get(texts) == QStringList(same.begin(), same.end()));
        CHECK(packet.get(null) == packet.get(empty));
        CHECK_FALSE(packet.get(empty).isNull());
        return fmt::format(
            "{} {} {} {} '{}' {} [{}] {} {}{} {}{}", packet.get(number), packet.get(wide),
            packet.get(real), packet.get(flag), packet.get(empty).toStdString(),
            packet.get(null).isNull(), packet.get(texts).join(QLatin1Char('|')).toStdString(),
            packet.get(object).size(), hasChild, childName.toStdString(), hasChildren, childCount);
    };
    const char* const absent = "-1 -2 0.5 true '' true [] 0 false false0";
    for (const auto& [text, shown] : Table<const char*, const char*>{
             {R"({"b":1})", absent},
             {R"({"a":null})", absent},
             {R"({"a":7})", "7 7 7 true '' true [] 0 false false0"},
             {R"({"a":false})", "-1 -2 0.5 false '' true [] 0 false false0"},
             {R"({"a":"t"})", "-1 -2 0.5 true 't' false [] 0 false false0"},
             {R"({"a":["t",1,"u"]})", "-1 -2 0.5 true '' true [t||u] 0 false false0"},
             {R"({"a":{"Class":"K"}})", "-1 -2 0.5 true '' true [] 1 trueK false0"},
             {R"({"a":[{"Class":"K"}]})", "-1 -2 0.5 true '' true [] 0 false true1"}}) {
        const Keyed plain(receive(text));
        const Keyed parsed(receive(QByteArray(text) + ' '));
        CHECK(show(plain) == shown);
        CHECK(plain.isPlainText()); // no object was built for any of these
        CHECK(show(parsed) == shown);
        CHECK_FALSE(parsed.isPlainText());
    }
    for (const auto& [text, expected] :
         Table<const char*, qint64>{{"9007199254740992", 9007199254740992},
                                    {"-9007199254740992", -9007199254740992},
                                    {"9007199254740994", -2},
                                    {"1.5", -2},
                                    {"1e300", -2}}) {
        CHECK(Keyed(receive(R"({"a":)" + QByteArray(text) + '}')).get(wide) == expected);
    }

    Keyed written(receive(R"({"a":1})"));
    const auto become = [&](const auto& key, const auto& value) {
        written.set(key, value);
        return written.toJson();
    };
    CHECK(become(wide, 3000000000) == R"({"a":3000000000})");
    CHECK(become(real, 1.5) == R"({"a":1.5})");
    CHECK(become(deque, std::deque<QString>{"x"_s}) == R"({"a":["x"]})");
    CHECK(become(object, QJsonObject{{"k"_s, 1}}) == R"({"a":{"k":1}})");
}

TEST_CASE("A packet without a class name is logged and empty", "[packets]")
{
    const LogCapture log;
    const SerialisableDataPacket packet{QString()};
    CHECK(packet.getJsonObject().isEmpty());
    CHECK((packet.getPacketClassName().isEmpty() && !packet.getPacketClassName().isNull()));
    CHECK(log.lines() == QStringList{"info: SerialisableDataPacket MUST HAVE CLASS NAME"_s});
}

TEST_CASE("JSON text that can't be parsed is logged, and received gives no class", "[packets]")
{
    const LogCapture log;
    QJsonParseError error;
    CHECK(SerialisableDataPacket(QByteArray(R"({"Class")"), &error).getJsonObject().isEmpty());
    CHECK(error.error != QJsonParseError::NoError);
    REQUIRE(log.lines().size() == 1);
    CHECK(log.lines()[0] ==
          "info: SerialisablePacket failed to parse packet: "_s + error.errorString());
    CHECK(SerialisableDataPacket(QByteArray("]"), nullptr).getJsonObject().isEmpty());

    const SerialisableDataPacket good(QByteArray(R"({"Class":"X"})"), &error);
    CHECK(error.error == QJsonParseError::NoError);
    CHECK(good.getPacketClassName() == "X"_s);
    CHECK(log.lines().size() == 2);

    const SerialisableDataPacket bad = receive("{\"Class\":\"X\"} garbage");
    CHECK(bad.getPacketClassName().isEmpty());
    CHECK(bad.toJson() == QByteArray(R"({"Class":""})"));
    CHECK(log.lines().mid(2) == lines({"info: SerialisablePacket failed to parse packet garbage at "
                                       "the end of the document"}));

    CHECK(receive("").getJsonObject().contains("Class"_s));
    CHECK(receive("[1]").getJsonObject().isEmpty()); // JSON, yet no object
    CHECK(receive(QByteArray(100000, '[')).getPacketClassName().isEmpty());
    CHECK(log.lines().size() == 5);
}

TEST_CASE("Awkward strings survive the wire unchanged", "[packets]")
{
    for (const QString& text :
         {QString(), "\"\\/\b\f\n\r\t\x1f"_s, "é♯µμ日本語\U0001F3A5"_s, "{\"Class\":\"X\"}"_s,
          QString(5000, QLatin1Char('x')), QString::fromLatin1("nul\0inside", 10)}) {
        BasicTestPacket sent;
        sent.setTestString(text);
        bool ok = false;
        const BasicTestPacket received(receive(sent.serialisePayload().mid(4)), ok);
        CHECK(ok);
        CHECK(received == sent);
        CHECK(received.getTestString() == text);
    }
}

TEST_CASE("A packet is shown as indented JSON, in a log line too", "[packets]")
{
    const SerialisableDataPacket received = receive(R"({"Class":"One","Path":"a/b"})");
    const std::string expected = "{\n    \"Class\": \"One\",\n    \"Path\": \"a/b\"\n}\n";
    CHECK(fmt::format("{}", received) == expected);
    const LogCapture log;
    VELLOG_INFO() << received;
    CHECK(log.lines() == QStringList{"info: "_s + QString::fromStdString(expected)});
}

TEST_CASE("Packets compare by their JSON alone", "[packets]")
{
    BasicTestPacket a;
    a.setTestInt(1);
    BasicTestPacket b = a;
    CHECK(a == b);
    CHECK_FALSE(a != b);
    CHECK(receive(a.toJson()) == a); // header and raw payload do not count

    const QByteArray before = b.serialisePayload();
    b.setTestInt(2);
    CHECK(a != b);
    CHECK_FALSE(a == b);
    CHECK(b.serialisePayload() != before); // what was kept of the first call is gone
    CHECK(a.serialisePayload() == before);
}

TEST_CASE("A packet that was moved from keeps its content and can be sent", "[packets]")
{
    const LogCapture log;
    const QByteArray text(R"({"Class":"BasicTestPacket","TestInt":1})");
    for (const SerialisableDataPacket& original :
         {receive(text), SerialisableDataPacket(text, nullptr)}) {
        bool ok = false;
        BasicTestPacket from(original, ok);
        BasicTestPacket to(std::move(from));
        BasicTestPacket assigned;
        assigned = std::move(to);
        for (const BasicTestPacket& packet : {from, to, assigned}) {
            CHECK(packet.getPacketClassName() == BasicTestPacket::CLASSNAME());
            CHECK(packet.getTestInt() == 1);
            CHECK(packet.serialisePayload().mid(4) == text);
            CHECK(packet.getPayload() == original.getPayload());
        }
    }
    CHECK(log.lines().isEmpty());
}

TEST_CASE("Children that are no packets are refused, and the good ones still come out", "[packets]")
{
    const QJsonObject good{{"Class"_s, "Kid"_s}};
    const QJsonArray bad =
        QJsonDocument::fromJson(
            R"([1, "text", [{"Class": "Kid"}], null, {}, {"Class": 1}, {"Class": ""}])")
            .array();
    const QString key = "child"_s;
    bool ok = true;
    for (const QJsonValue& value : bad) {
        const SerialisableDataPacket parent(QJsonObject{{key, value}});
        ok = true;
        CHECK((SerialisableDataPacket(parent, key, ok).getJsonObject().isEmpty() && !ok));

        const SerialisableDataPacket list(QJsonObject{{key, QJsonArray{good, value, good}}});
        ok = true;
        CHECK(list.extractChildPacketArray(key, ok).size() == 2);
        CHECK_FALSE(ok);
    }
    const SerialisableDataPacket parent(QJsonObject{{key, good}});
    CHECK(SerialisableDataPacket(parent, key, ok).getPacketClassName() == "Kid"_s);
    CHECK((ok && parent.extractChildPacketArray(key, ok).empty()));
    CHECK_FALSE(ok); // not an array
    CHECK((parent.extractChildPacketArray("absent"_s, ok).empty() && !ok));
    CHECK(SerialisableDataPacket(QJsonObject{{key, QJsonArray()}})
              .extractChildPacketArray(key, ok)
              .empty());
    CHECK(ok);
}
