// The tree's JSON form, its paths and its shapes.
#include "infrastructure/datacore/DatacoreBase.h"
#include "infrastructure/datacore/DatacoreNumber.h"
#include "sw/infrastructure_test/DatacoreSupport.h"

#include <deque>

namespace {

bool read(DatacoreBase& node, const char* path, const QJsonObject& json, bool justData = false)
{
    DatacoreJsonMessages messages;
    const bool ok = node.populateFromJson(QLatin1String(path), json, justData, messages);
    CHECK(messages.isEmpty());
    return ok;
}

/// A root with the children a and b, and c below a.
struct SmallTree
{
    DatacoreBase root{"root"_s, nullptr};
    DatacoreBase b{"b"_s, &root, "1"_s};
    DatacoreBase a{"a"_s, &root, "2"_s};
    DatacoreBase c{"c"_s, &a, "3"_s};
};

} // namespace

TEST_CASE("The two JSON forms of a tree", "[datacore]")
{
    DatacoreBase root("BasicTestDatacoreL0"_s, "TestCore"_s, nullptr);
    DatacoreNumber<int> leaf("L1datacoreInstance"_s, &root, 5);
    // The serialised text, blanks aside: so the order of keys counts too.
    CHECK(toText(write(root, "", false, true)) ==
          QByteArray(R"({"TestCore": {"L1datacoreInstance": {"class": "DatacoreInt32", "data": "5",
              "reasonsForBeingInactive": [], "reasonsForBeingInvalid": []},
              "class": "BasicTestDatacoreL0", "data": null,
              "reasonsForBeingInactive": [], "reasonsForBeingInvalid": []}})")
              .replace(" ", "")
              .replace("\n", ""));
    CHECK(toText(write(root, "", true, true)) ==
          R"({"TestCore":{"L1datacoreInstance":{"data":"5"},"data":null}})");
    CHECK(toText(write(root, "", true, false)) == R"({"TestCore":{"data":null}})");
    CHECK(toText(write(root, "L1datacoreInstance", true, false)) ==
          R"({"L1datacoreInstance":{"data":"5"}})");

    leaf.setData({"1"_s, "x"_s});
    CHECK(toText(write(leaf, "", false, true)) ==
          R"({"L1datacoreInstance":{"class":"DatacoreInt32","data":["1","x"],)"
          R"("reasonsForBeingInactive":[],"reasonsForBeingInvalid":[)"
          R"({"DatacoreValidStatusMessage":{},"MessageBase":{"identifier":6,"type":2}}]}})");
}

TEST_CASE("Constructors give class name and values", "[datacore]")
{
    const QString name = "n"_s, own = "Own"_s, base = "DatacoreBase"_s;
    const std::deque<QString> one{"x"_s};
    const std::deque<QString> two = strings({"x", "y"});
    struct Row
    {
        DatacoreBase node;
        QString className;
        std::deque<QString> values;
    };
    Row rows[] = {
        {{own, name, nullptr, one[0]}, own, one}, {{own, name, nullptr, two}, own, two},
        {{own, name, nullptr}, own, {}},          {{name, nullptr, one[0]}, base, one},
        {{name, nullptr, two}, base, two},        {{name, nullptr}, base, {}},
    };
    for (auto& [node, className, values] : rows) {
        CHECK(node.getInstanceName() == name);
        CHECK(node.getClassName() == className);
        CHECK(node.getDataList() == values);
        CHECK(node.getData() == (values.empty() ? QString() : values[0]));
        CHECK(node.getDataAt(1) == (values.size() < 2 ? QString() : values[1]));
        CHECK(node.getChangeState() == 2);
        CHECK((node.takeChangedList().empty() && node.isValid() && node.isActive()));
    }
}

TEST_CASE("Paths lead to nodes or nowhere", "[datacore]")
{
    SmallTree tree;
    const Table<const char*, const DatacoreBase*> rows{
        {"", &tree.root},   {"a", &tree.a},      {"b", &tree.b}, {"a/c", &tree.c},
        {"a/c/", &tree.c},  {"a/", &tree.a},     {"/", nullptr}, {"/a", nullptr},
        {"a//", nullptr},   {"a//c", nullptr},   {"c", nullptr}, {"b/c", nullptr},
        {"a/c/d", nullptr}, {"root", nullptr},   {"A", nullptr}, {"a ", nullptr},
        {"class", nullptr}, {"a/data", nullptr},
    };
    for (const auto& [text, node] : rows) {
        CAPTURE(text);
        const QString path = QLatin1String(text);
        CHECK(tree.root.findDatacore(path) == node);
        QJsonObject json;
        DatacoreJsonMessages messages;
        CHECK(tree.root.appendToJson(path, json, true, false, messages) == (node != nullptr));
        CHECK(json.keys() == (node ? QStringList{node->getInstanceName()} : QStringList()));
        CHECK(tree.root.populateFromJson(path, json, true, messages) == (node != nullptr));
        CHECK(messages.isEmpty());
    }
    CHECK(tree.root.getPath() == "root"_s);
    CHECK(tree.c.getPath() == "root/a/c"_s);
    CHECK(tree.root.getChildren() == std::vector<DatacoreBase*>{&tree.a, &tree.b});
    CHECK((tree.c.getChildren().empty() && tree.root.takeChangedList().empty()));

    DatacoreBase second("a"_s, &tree.root);
    CHECK(tree.root.findDatacore("a"_s) == &tree.a);
    CHECK(tree.root.getChildren().size() == 2);
    second.setData("new"_s); // out of reach, it still tells its parent
    CHECK(tree.root.takeChangedList() == std::vector<DatacoreBase*>{&second});
}

TEST_CASE("Reading takes what an object names and leaves the rest", "[datacore]")
{
    SmallTree tree;
    CHECK(read(
        tree.root, "",
        parseObject(R"({"root": {"a": {"c": {"data": "30"}}, "unknown": {"data": 1}, "class": "X",
                                  "data": ["7", "8"]}})")));
    CHECK(tree.c.getData() == "30"_s);
    CHECK(tree.a.getData() == "2"_s);
    CHECK(tree.b.getData() == "1"_s);
    CHECK(tree.root.getDataCount() == 2);
    CHECK(tree.root.getClassName() == "DatacoreBase"_s);
    CHECK(tree.root.takeChangedList() == std::vector<DatacoreBase*>{&tree.root, &tree.c});

    CHECK(read(tree.root, "a", parseObject(R"({"a": {"data": "20", "c": {"data": null}}})"), true));
    CHECK(tree.a.getData() == "20"_s);
    CHECK(tree.c.getDataCount() == 0);
    CHECK(tree.root.takeChangedList() == std::vector<DatacoreBase*>{&tree.a, &tree.c});
}

TEST_CASE("Objects of another shape are refused or read as empty", "[datacore]")
{
    SmallTree tree;
    const QJsonObject before = write(tree.root, "", false, true);
    CHECK_FALSE(read(tree.root, "", parseObject("{}")));
    CHECK_FALSE(read(tree.root, "", parseObject(R"({"a": {"data": "9"}})")));
    CHECK_FALSE(read(tree.root, "", parseObject(R"({"a": {"data": "9"}, "root": {"data": "9"}})")));
    CHECK_FALSE(read(tree.root, "a", parseObject(R"({"root": {"data": "9"}})")));
    CHECK_FALSE(read(tree.root, "d", parseObject(R"({"d": {"data": "9"}})")));
    for (const char* content : {"null", "5", "[]", R"("text")", R"({"a": 5, "b": [], "z": {}})"}) {
        CHECK(read(tree.root, "", parseObject(QByteArray(R"({"root": )") + content + '}')));
    }
    CHECK(write(tree.root, "", false, true) == before);
    CHECK(tree.root.takeChangedList().empty());
}

TEST_CASE("A tree of 1,000 levels is written, read, found and cleared", "[datacore]")
{
    constexpr int levels = 1000;
    std::deque<DatacoreBase> nodes;
    QStringList path;
    for (int i = 0; i < levels; ++i) {
        path += "n%1"_s.arg(i);
        nodes.emplace_back(path.last(), i == 0 ? nullptr : &nodes.back(), path.last());
    }
    DatacoreBase &root = nodes.front(), &leaf = nodes.back();
    CHECK(leaf.getPath() == path.join(QLatin1Char('/')));
    path.removeFirst();
    CHECK(root.findDatacore(path.join(QLatin1Char('/'))) == &leaf);
    root.clearChangeState();
    CHECK(leaf.getChangeState() == 0);

    const QJsonObject json = write(root, "", false, true);
    for (DatacoreBase& node : nodes) {
        node.setData("other"_s);
    }
    CHECK(root.takeChangedList().size() == levels);
    CHECK(read(root, "", json));
    CHECK(write(root, "", false, true) == json);
    const std::vector<DatacoreBase*> changed = root.takeChangedList();
    REQUIRE(changed.size() == levels);
    CHECK(changed.front() == &root);
    CHECK(changed.back() == &leaf);
    CHECK(root.areChildrenValid());
}

TEST_CASE("Nodes may be destroyed in either order, with changes waiting", "[datacore]")
{
    for (const bool rootFirst : {true, false}) {
        std::deque<DatacoreBase> nodes;
        for (int i = 0; i < 100; ++i) {
            nodes.emplace_back(QString::number(i), nodes.empty() ? nullptr : &nodes.front());
            nodes.back().setData("1"_s);
        }
        if (rootFirst) {
            nodes.pop_front();
        } else {
            while (nodes.size() > 1) {
                nodes.pop_back();
            }
            CHECK(nodes.front().takeChangedList().size() == 100);
        }
    }
}
