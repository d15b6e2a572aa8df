// Trees to JSON text and back, against the way through JSON objects.
#include "infrastructure/datacore/DatacoreNumberLimits.h"
#include "infrastructure/datacore/JsonTextIndex_p.h"
#include "infrastructure/utility/ParseJson.h"
#include "sw/infrastructure_test/DatacoreSupport.h"
#include "sw/infrastructure_test/TestSupport.h"

#include <QJsonParseError>

#include <memory>
#include <random>

namespace {

bool isTaken(const QByteArray& text)
{
    return JsonTextIndex().read(text.constData(), text.size());
}

/// Random texts for a random tree, some of them damaged.
struct Random
{
    int pick(int below) { return static_cast<int>(generator() % static_cast<unsigned>(below)); }

    template <int COUNT>
    QByteArray any(const char* const (&texts)[COUNT])
    {
        return texts[pick(COUNT)];
    }

    QByteArray name()
    {
        return any({"a", "b", "c", "class2", "dat", "e", "reasonsForBeingJ", "z", ""});
    }

    QByteArray string()
    {
        static const char* const pieces[] = {
            R"(5)",         R"(8 or more)", R"(\u0035)", R"(\"\\\/\b\f\n\r\t\x)",
            "\xC2\xB5",     R"(\ud83c)",    R"(\udfa5)", "\xF0\x9F\x8E\xA5",
            "\xEF\xBB\xBF", "\x7F",         "\x01",      "\xC3",
            R"(\u12)",      "eight..8"};
        QByteArray text = any({"5", "30", "99", ""});
        for (int i = pick(6) - 3; i > 0; --i) {
            text += pieces[pick(withFaults ? 14 : 10)];
        }
        return '"' + text + '"';
    }

    QByteArray value()
    {
        switch (pick(20)) {
        case 0:
            return any({"null", "true", "false", "-12", "1.5", "1e3", "-0", "{}", "[[{}]]"});
        case 1:
        case 2:
            return '[' + space() + string() + space() + ',' + value() + space() + ']';
        case 3:
            return "null";
        case 4:
            return "[" + space() + "]";
        default:
            return string();
        }
    }

    QByteArray reason()
    {
        return "{\"MessageBase\":{\"type\":" + any({"2", "3"}) +
               ",\"identifier\":" + any({"4", "5", "5.5"}) + "}," + space() +
               any({R"("DatacoreActiveStatusMessage")", R"("DatacoreValidStatusMessage")",
                    R"("DatacoreJsonMessage")", R"("Unknown")"}) +
               ":{}}";
    }

    QByteArray object(int depth)
    {
        std::vector<QByteArray> members;
        for (int i = depth > 0 ? pick(7) : 0; i > 0; --i) {
            members.push_back('"' + name() + "\":" + space() + node(depth - 1));
        }
        members.push_back("\"data\":" + value());
        if (pick(2) == 0) {
            members.push_back(R"("class":"X")");
            members.push_back("\"reasonsForBeingInactive\":[" +
                              (pick(4) == 0 ? reason() : QByteArray()) + ']');
            members.push_back("\"reasonsForBeingInvalid\":[" +
                              (pick(4) == 0 ? reason() + ',' + reason() : QByteArray()) + ']');
        }
        if (pick(withFaults ? 8 : 30) == 0) {
            members.push_back(any({R"("d\u0061t":{})", "\"\xC2\xB5\":{}"}));
        }
        const auto isSame = [](const QByteArray& a, const QByteArray& b) {
            return a.left(a.indexOf(':')) == b.left(b.indexOf(':'));
        };
        std::sort(members.begin(), members.end());
        if (!withFaults || pick(16) != 0) {
            members.erase(std::unique(members.begin(), members.end(), isSame), members.end());
        }
        if (pick(4) == 0) {
            std::shuffle(members.begin(), members.end(), generator);
        }
        QByteArray text;
        for (const QByteArray& member : members) {
            text += (text.isEmpty() ? "" : ",") + space() + member + space();
        }
        return '{' + text + '}';
    }
    QByteArray node(int depth) { return pick(12) == 0 ? value() : object(depth); }

    QByteArray text()
    {
        QByteArray whole = space() + '{' + space() + '"' + (pick(12) == 0 ? "a" : "root") + "\"" +
                           space() + ':' + node(2) + space() +
                           (pick(20) == 0 ? R"(,"z":1})" : "}") + space();
        if (!withFaults) {
            return whole;
        }
        const int place = pick(whole.size());
        switch (pick(3)) {
        case 0:
            whole.truncate(place);
            break;
        case 1:
            whole[place] = static_cast<char>(pick(256));
            break;
        default:
            whole.insert(place, "{}[],:\"0-t \\\n\v"[pick(14)]);
        }
        return whole;
    }

    QByteArray space()
    {
        return pick(spaceRate) == 0 ? any({" ", "\n    ", "\t\r\n"}) : QByteArray();
    }

    bool withFaults = false;
    int spaceRate = 1000;
    std::mt19937 generator{20261122};
};

/// A tree of numbers and of nodes that keep reasons, note each update and now and then add a child.
class Tree
{
public:
    explicit Tree(Random random)
        : root("root"_s, nullptr, *this)
    {
        grow(root, random, 2);
        root.takeChangedList();
        updates.clear();
    }

    /// Everything that a read may leave.
    QByteArray taken()
    {
        QByteArray text = toText(write(root)) + updates.join(QLatin1Char(' ')).toUtf8();
        for (const DatacoreBase* node : root.takeChangedList()) {
            text += ' ' + node->getPath().toUtf8();
        }
        updates.clear();
        return text;
    }

private:
    struct Node : KeepingNode
    {
        Node(const QString& name, DatacoreBase* parentNode, Tree& owner)
            : KeepingNode(name, parentNode)
            , tree(&owner)
        {
        }
        void onChanged() override
        {
            tree->updates.append(getPath() + QLatin1Char('=') + getData());
            if (getData() == QLatin1String("5") && tree->nodes.size() < 400) {
                for (const char* name : {"added", "b", "x"}) {
                    tree->add<Node>(QLatin1String(name), *this, *tree);
                }
            }
        }
        Tree* tree;
    };

    template <typename Leaf, typename... Arguments>
    Leaf& add(const QString& name, DatacoreBase& parent, Arguments&&... arguments)
    {
        auto node = std::make_unique<Leaf>(name, &parent, arguments...);
        Leaf& added = *node;
        nodes.push_back(std::move(node));
        return added;
    }

    void grow(DatacoreBase& parent, Random& random, int depth)
    {
        for (int i = 8; i > 0; --i) { // in any order, some names twice
            const QString name = QString::fromUtf8(random.name());
            if (depth == 0 || random.pick(2) == 0) {
                add<DatacoreNumberLimits<int>>(name, parent, 5, 50);
            } else {
                grow(add<Node>(name, parent, *this), random, depth - 1);
            }
        }
    }

    QStringList updates;

public:
    Node root;

private:
    std::vector<std::unique_ptr<DatacoreBase>> nodes;
};

} // namespace

TEST_CASE("A tree writes the text that its JSON object gives", "[datacore]")
{
    Random random;
    for (int i = 0; i < 100; ++i) {
        Tree tree(random);
        tree.root.populateFromJsonText("{\"root\":" + random.object(3) + '}', false);
        DatacoreBase micro("\u00b5\u07ff\u0800\u20ac\"\U0001F3A5\x7F"_s, &tree.root,
                           QString(QChar(0xDC00)));
        DatacoreBase inElementsPlace("data"_s, &tree.root);
        for (const bool justData : {false, true}) {
            QByteArray text = "before";
            tree.root.appendToJsonText(text, justData, true);
            REQUIRE(text == "before" + toText(write(tree.root, "", justData)));
        }
    }
}

TEST_CASE("A tree takes the same from text as from the object that it holds", "[datacore]")
{
    Random random;
    int readCount = 0;
    int refusedCount = 0;
    int indexedCount = 0;
    int plainCount = 0;
    for (int i = 0; i < 150; ++i) {
        Tree tree(random);
        Tree expected(random);
        for (int k = 0; k < 12; ++k) {
            random.withFaults = k % 3 == 0;
            random.spaceRate = k % 2 == 0 ? 1000 : 2 + 20 * random.pick(2);
            const bool justData = random.pick(3) == 0;
            const QByteArray text = random.text();
            INFO(text.toStdString());
            const QByteArray outer = "{\"json\":" + text + '}';
            PlainJsonIndex plain;
            const bool isPlain = plain.read(outer.constData(), outer.size()) && k % 4 == 0;
            QJsonParseError error{isPlain ? 0 : -1, QJsonParseError::NoError};
            QStringList lines;
            bool isRead = false;
            {
                const LogCapture log;
                isRead = isPlain
                             ? tree.root.populateFromPlainJson(
                                   plain.find(outer.constData(), QLatin1String("json")), justData)
                             : tree.root.populateFromJsonText(text, justData, &error);
                lines = log.lines();
            }
            const LogCapture log;
            QJsonParseError expectedError;
            DatacoreJsonMessages messages;
            const QJsonObject json = parseJson(text, &expectedError).object();
            REQUIRE(isRead == expected.root.populateFromJson(QString(), json, justData, messages));
            REQUIRE(lines == log.lines());
            REQUIRE(error.error == expectedError.error);
            REQUIRE(error.offset == expectedError.offset);
            REQUIRE(tree.taken() == expected.taken());
            ++(isRead ? readCount : refusedCount);
            indexedCount += isRead && isTaken(text) ? 1 : 0;
            plainCount += isRead && isPlain ? 1 : 0;
        }
    }
    CHECK(plainCount > 30);
    CHECK(indexedCount > 400);
    CHECK(readCount > indexedCount + 400);
    CHECK(refusedCount > 400);
    CHECK_FALSE(Tree(random).root.populateFromPlainJson(PlainJsonValue(), false));
}

TEST_CASE("The usual content of a node, and what nearly is, is read as from its object",
          "[datacore]")
{
    const QByteArray reason =
        R"([{"DatacoreValidStatusMessage":{},"MessageBase":{"identifier":4,"type":2}}])";
    const QJsonObject invalid = parseObject(R"({"n":{"reasonsForBeingInvalid":)" + reason + "}}");
    const QJsonObject inactive = parseObject(R"({"n":{"reasonsForBeingInactive":[
        {"DatacoreActiveStatusMessage":{},"MessageBase":{"identifier":2,"type":3}}]}})");
    const QByteArray none = R"("reasonsForBeingInactive":[],"reasonsForBeingInvalid":[])";
    const Table<QByteArray, bool> rows{
        // content, and whether it is read
        {R"({"n":{"class":"C","data":"1",)" + none + "}}", true},
        {R"({"n":{"class":"C","data":"",)" + none + "}}", true},
        {R"({"n":{"data":"2"}})", true},
        {R"({"n":{"data":"2",)" + none + "}}", true},
        {R"({"n":{"class":"C","data":"old"}})", true},
        {R"({"n":{"class":"C","data":"1",)" + none + R"(,"z":{"data":"3"}}})", true},
        {R"({"n":{"class":"C","data":"1","z":{"data":"3"}}})", true},
        {R"({"n":{"class":"C","data":"1",)" + none + R"(},"o":{}})", false},
        {R"({"n":{"data":"1"},"o":{}})", false},
        {R"({"n":{"class":"C","data":"1","reasonsForBeingInactive":[],)"
         R"("reasonsForBeingInvalid":)" +
             reason + "}}",
         true},
        {R"({"n":{"class":"C","data":["1","2"],)" + none + "}}", true},
        {R"({"n":{"class":"C","data":null}})", true},
        {R"({"n":{"class":"C"}})", true},
        {R"({"n":{"class":5,"data":"1"}})", true},
        {R"({"n":{}})", true},
        {R"({"nn":{"data":"1"}})", false},
        {R"({"":{"data":"1"}})", false},
        {R"({"n":"1"})", true},
        {"{}", false},
    };
    for (const auto& [content, isRead] : rows) {
        for (int state = 0; state < 12; ++state) { // of the node before, and the flag
            INFO(content.toStdString() << state);
            const bool justData = state % 2 != 0;
            std::vector<QByteArray> taken;
            for (const bool inPlace : {true, false}) {
                KeepingNode root("root"_s, nullptr);
                KeepingNode node("n"_s, &root);
                KeepingNode child("z"_s, &node, "c"_s);
                DatacoreJsonMessages messages;
                if ((state & 2) != 0) {
                    node.setData("old"_s);
                }
                if (state >= 4) {
                    node.populateFromJson(QString(), state < 8 ? invalid : inactive, false,
                                          messages);
                }
                root.takeChangedList();
                root.clearChangeState();
                const QByteArray outer = "{\"json\":" + content + '}';
                PlainJsonIndex plain;
                REQUIRE(plain.read(outer.constData(), outer.size()));
                const LogCapture log;
                CHECK(isRead ==
                      (inPlace ? node.populateFromPlainJson(
                                     plain.find(outer.constData(), QLatin1String("json")), justData)
                               : node.populateFromJson(QString(), parseObject(content), justData,
                                                       messages)));
                QByteArray text = toText(write(root)) + QByteArray::number(node.getChangeState()) +
                                  log.lines().join(u' ').toUtf8();
                for (const DatacoreBase* changed : root.takeChangedList()) {
                    text += ' ' + changed->getPath().toUtf8();
                }
                taken.push_back(text);
            }
            CHECK(taken[0] == taken[1]);
        }
    }
    KeepingNode odd(R"(a":{"b)"_s, nullptr, "old"_s);
    const QByteArray outer = R"({"json":{"a":{"b":{"data":"1"}}}})";
    PlainJsonIndex plain;
    REQUIRE(plain.read(outer.constData(), outer.size()));
    CHECK_FALSE(
        odd.populateFromPlainJson(plain.find(outer.constData(), QLatin1String("json")), false));
    CHECK(odd.getData() == "old"_s);
}

TEST_CASE("Text in any layout is read in place, and what is bad or rare is left", "[datacore]")
{
    for (const QByteArray& text :
         {QByteArray("{}"), QByteArray("{\"a\" : [ ] ,\t\"b\":[1 , {\"b\":2,\"a\":-9}\r]\n}"),
          QByteArray(R"({"b":1,"c":{},"a":{}})"), QByteArray("{\"a\":\"\\u0041\\\"\xC2\xB5\"}"),
          QByteArray(R"({"":null,"0123456789":[true,false,999999999]})")}) {
        INFO(text.toStdString());
        CHECK(isTaken(" " + text + "\n"));
        for (int size = 0; size < text.size(); ++size) {
            CHECK_FALSE(isTaken(text.left(size)));
        }
    }
    const QByteArray others =
        R"([]|{"a":1}{|{"a":1,}|{,"a":1}|{"a" 1}|{"a":}|{a:1}|{"a":[1,]}|{"a":[,1]}|{"a":[1 2]}|)"
        R"({"a":[1}]|{"a":1,"a":2}|{"b":1,"a":2,"b":3}|{"a":[{"a":1,"a":2}]}|{"a":"\u12"}|{"a":tru}|)"
        R"({"a":01}|{"a":-0}|{"a":-}|{"a":1.5}|{"a":1e3}|{"a":1234567890}|{"\u0061":1}|{"é":1})";
    for (const QByteArray& text : others.split('|')) {
        INFO(text.toStdString());
        CHECK_FALSE(isTaken(text));
    }
    for (const int depth : {100, 1000, 1023, 1024, 1000000}) {
        DatacoreBase root("root"_s, nullptr);
        const QByteArray arrays = QByteArray(depth, '[') + QByteArray(depth, ']');
        CHECK(root.populateFromJsonText("{\"root\":" + arrays + '}', false) == (depth < 1024));
    }
}

TEST_CASE("A hook may change the text that is being read", "[datacore]")
{
    struct Spoiler : DatacoreBase
    {
        using DatacoreBase::DatacoreBase;
        void onChanged() override { text->fill('x'); }
        QByteArray* text = nullptr;
    };
    DatacoreBase root("root"_s, nullptr);
    Spoiler first("a"_s, &root, "old"_s);
    DatacoreBase second("b"_s, &root, "old"_s);
    QByteArray text = R"({"root":{"a":{"data":"new"},"b":{"data":"new"}}})";
    first.text = &text;
    CHECK(root.populateFromJsonText(text, true));
    CHECK((first.getData() == "new"_s && second.getData() == "new"_s));
}
