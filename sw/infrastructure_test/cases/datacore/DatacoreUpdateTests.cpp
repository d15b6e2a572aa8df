// What a write does: validation upwards, hooks, change states and the list of changes.
#include "infrastructure/datacore/DatacoreBase.h"
#include "sw/infrastructure_test/DatacoreSupport.h"
#include "sw/infrastructure_test/LiteralDatacore.h"
#include "sw/infrastructure_test/TestSupport.h"

#include <functional>
#include <map>
#include <memory>
#include <random>
#include <utility>

namespace {

using Nodes = std::vector<DatacoreBase*>;

/// Invalid while a value is "bad", inactive while a node below is invalid. Writes down what is
/// called, and does what the case wants.
template <typename Base>
struct Watched : Base
{
    Watched(const QString& name, Base* parentNode, QStringList* callLog)
        : Base(name, parentNode, "0"_s)
        , calls(callLog)
    {
    }
    std::function<void()> whenValid = [] {};
    std::function<void()> whenChanged = [] {};
    std::function<void()> whenValidating = [] {};

    void updateValidStatus(DatacoreValidStatusMessages& reasons) override
    {
        note("validate");
        reasons.clear();
        const std::deque<QString> values = this->getDataList();
        const auto bad = std::count(values.begin(), values.end(), "bad"_s);
        reasons.insert(0, int(bad), {MessageBase::MessageType_Error, 26});
        whenValidating();
    }
    void updateActiveStatus(DatacoreActiveStatusMessages& reasons) override
    {
        reasons.clear();
        if (!this->areChildrenValid()) {
            reasons.append(DatacoreActiveStatusMessage(MessageBase::MessageType_Info, 5));
        }
    }
    void onValid() override
    {
        note("valid");
        whenValid();
    }
    void onChanged() override
    {
        note("changed");
        whenChanged();
    }
    void note(const char* what)
    {
        calls->append(this->getInstanceName() + QLatin1Char(' ') + QLatin1String(what));
    }

    QStringList* calls;
};

/// Of a write to c of the tree below.
const char* const ALL_CALLS =
    "c validate, c valid, c changed, a validate, a valid, r validate, r valid";

/// A root r, its children a and b, and c below a.
struct WatchedTree
{
    QStringList calls;
    Watched<DatacoreBase> r{"r"_s, nullptr, &calls};
    Watched<DatacoreBase> a{"a"_s, &r, &calls};
    Watched<DatacoreBase> b{"b"_s, &r, &calls};
    Watched<DatacoreBase> c{"c"_s, &a, &calls};

    WatchedTree() { r.clearChangeState(); }

    /// What was called since the last time.
    std::string takeCalls() { return std::exchange(calls, {}).join(", "_s).toStdString(); }
    std::vector<quint32> states() const
    {
        return {r.getChangeState(), a.getChangeState(), b.getChangeState(), c.getChangeState()};
    }
};

} // namespace

TEST_CASE("A write validates its node and all above, and enters its node alone", "[datacore]")
{
    WatchedTree tree;
    tree.c.setData("1"_s);
    // The hook of change is for changed nodes; the others were only passed through.
    CHECK(tree.takeCalls() == ALL_CALLS);
    CHECK(tree.states() == std::vector<quint32>{0, 0, 0, 2});
    CHECK(tree.a.takeChangedList().empty());
    CHECK(tree.r.takeChangedList() == Nodes{&tree.c});

    tree.c.setData("1"_s); // the same
    CHECK((tree.takeCalls().empty() && tree.r.takeChangedList().empty()));

    tree.c.setData("bad"_s);
    // c's own status moved, so it entered itself; then a and r became inactive.
    CHECK(tree.r.takeChangedList() == Nodes{&tree.r, &tree.a, &tree.c});
    CHECK(tree.states() == std::vector<quint32>{2, 2, 0, 2});
    DatacoreActiveStatusMessages inactive;
    CHECK_FALSE((tree.r.isActive(inactive) || inactive.size() != 1));
    CHECK(tree.r.isValid());
    tree.a.clearOwnChangeState();
    CHECK(tree.states() == std::vector<quint32>{2, 0, 0, 2});
}

TEST_CASE("Reasons from a peer stay only where a class leaves them", "[datacore]")
{
    const QJsonObject json = parseObject(R"({"n": {"reasonsForBeingInvalid": [
        {"DatacoreValidStatusMessage": {}, "MessageBase": {"identifier": 26, "type": 2}}]}})");
    DatacoreJsonMessages messages;
    KeepingNode keeping("n"_s, nullptr);
    REQUIRE(keeping.populateFromJson(QString(), json, false, messages));
    keeping.setData("5"_s);
    CHECK_FALSE(keeping.isValid());

    DatacoreBase plain("n"_s, nullptr);
    plain.clearChangeState();
    REQUIRE(plain.populateFromJson(QString(), json, false, messages));
    CHECK(plain.isValid());
    CHECK(plain.getChangeState() == 2);
    CHECK(plain.takeChangedList() == Nodes{&plain});
}

TEST_CASE("Hooks whose writes never settle are stopped with a log line", "[datacore]")
{
    WatchedTree tree;
    int number = 0;
    const auto writeTo = [&number](DatacoreBase& node) {
        return [&number, &node] { node.setData(QString::number(++number)); };
    };
    tree.a.whenValid = writeTo(tree.b);
    tree.a.whenChanged = writeTo(tree.a);
    tree.b.whenValid = writeTo(tree.c);
    tree.b.whenChanged = writeTo(tree.a);
    tree.c.whenChanged = writeTo(tree.b);
    {
        const LogCapture log;
        tree.a.setData("start"_s);
        // One for each hook of the write that set it off.
        CHECK(log.lines().size() == 2);
        CHECK(log.lines().filter(
                  "error: Datacore hooks keep causing each other, stopped at r/"_s) == log.lines());
    }
    CHECK(tree.r.takeChangedList().size() == 3);

    // Afterwards all is as before.
    for (Watched<DatacoreBase>* node : {&tree.a, &tree.b, &tree.c}) {
        node->whenValid = [] {};
        node->whenChanged = [] {};
    }
    tree.calls.clear();
    tree.r.clearChangeState();
    tree.c.setData("end"_s);
    CHECK(tree.takeCalls() == ALL_CALLS);
    CHECK(tree.r.takeChangedList() == Nodes{&tree.c});
}

TEST_CASE("An exception from a hook passes through and leaves a working tree", "[datacore]")
{
    const auto fail = [] { throw 1; };
    for (const auto hook : {&Watched<DatacoreBase>::whenValid, &Watched<DatacoreBase>::whenChanged,
                            &Watched<DatacoreBase>::whenValidating}) {
        WatchedTree tree;
        tree.c.*hook = fail;
        for (int i = 1; i < 2000; ++i) { // more often than hooks may be nested
            CHECK_THROWS_AS(tree.c.setData(QString::number(i)), int);
        }
        DatacoreJsonMessages messages;
        CHECK_THROWS_AS(tree.r.populateFromJson(QString(),
                                                parseObject(R"({"r": {"a": {"c": {"data": ""}}}})"),
                                                false, messages),
                        int);
        tree.c.*hook = [] {};
        tree.calls.clear();
        tree.c.setData("end"_s);
        CHECK(tree.takeCalls() == ALL_CALLS);
        const Nodes changed = tree.r.takeChangedList();
        CHECK(std::count(changed.begin(), changed.end(), &tree.c) == 1);
    }
}

TEST_CASE("A subclass can hold its updates back", "[datacore]")
{
    struct Held : Watched<DatacoreBase>
    {
        using Watched::Watched;
        void hold(bool flag) { updatesSuppressed = flag; }
    };
    QStringList calls;
    Held root("root"_s, nullptr, &calls);
    DatacoreBase child("child"_s, &root);
    root.hold(true);
    child.setData("1"_s);
    CHECK(calls.isEmpty());
    root.hold(false);
    root.setData("1"_s);
    CHECK(calls.filter("validate"_s).size() == 1);
    CHECK(root.takeChangedList() == Nodes{&child, &root});
}

TEST_CASE("Valid nodes are told depth first", "[datacore]")
{
    WatchedTree tree;
    tree.b.setData("bad"_s);
    tree.calls.clear();
    tree.r.notifyValidRecursive();
    CHECK(tree.takeCalls() == "c valid, a valid, r valid");
}

namespace {

/// A tree of watched nodes of either kind, whose hooks write to other nodes by a fixed rule. Does
/// what it is told by seeded numbers and writes down all that can be seen.
template <typename Base>
struct Exercise
{
    explicit Exercise(quint32 seed)
        : random(seed)
    {
        for (int i = 0; i < NODE_COUNT; ++i) {
            Base* parent = i == 0 ? nullptr : nodes[below(static_cast<quint32>(i))].get();
            // Some names come twice; of the others UTF-16 units and code points give two orders.
            const QString name =
                (i % 2 == 0 ? "\uFF21%1"_s : "\U0001F3A5%1"_s).arg(i == 18 ? 16 : i);
            nodes.push_back(std::make_unique<Watched<Base>>(name, parent, &seen));
            indices[nodes.back().get()] = i;
        }
        for (int i = 0; i < NODE_COUNT; i += 3) {
            addHooks(*nodes[static_cast<std::size_t>(i)]);
        }
    }

    QStringList run(int steps)
    {
        for (int step = 0; step < steps; ++step) {
            act();
        }
        return seen;
    }

    static constexpr int NODE_COUNT = 40;

    quint32 below(quint32 limit) { return quint32(random() % limit); }
    Watched<Base>& anyNode() { return *nodes[below(NODE_COUNT)]; }
    QString anyValue() { return below(4) == 0 ? "bad"_s : QString::number(below(3)); }

    /// Each hook writes a constant to some node, so that writes settle.
    void addHooks(Watched<Base>& node)
    {
        const auto writeToAny = [this](const QString& value) {
            Watched<Base>* target = &anyNode();
            return [this, target, value] {
                if (hookBudget > 0) {
                    --hookBudget;
                    target->setData(value);
                }
            };
        };
        node.whenValid = writeToAny("v"_s);
        node.whenChanged = writeToAny("c"_s);
        node.whenValidating = writeToAny("s"_s);
    }

    void act()
    {
        hookBudget = 20;
        Base& node = anyNode();
        DatacoreJsonMessages messages;
        switch (below(8)) {
        case 0:
            node.setData({anyValue(), anyValue()});
            break;
        case 1:
            note(node.takeChangedList());
            break;
        case 2:
            node.clearChangeState();
            break;
        case 3: { // reading back a state of before
            QJsonObject json;
            node.appendToJson(QString(), json, below(2) == 0, true, messages);
            states.push_back({&node, json});
            break;
        }
        case 4:
        case 5:
            if (!states.empty()) {
                const auto& [stored, json] = states[below(static_cast<quint32>(states.size()))];
                seen.append(stored->populateFromJson(QString(), json, below(2) == 0, messages)
                                ? "read"_s
                                : "refused"_s);
            }
            break;
        default:
            node.setData(anyValue());
            break;
        }
        QJsonObject json;
        nodes[0]->appendToJson(QString(), json, false, true, messages);
        seen.append(QString::fromUtf8(QJsonDocument(json).toJson(QJsonDocument::Compact)));
        QString changeStates;
        for (const auto& each : nodes) {
            changeStates += QString::number(each->getChangeState());
        }
        seen.append(changeStates);
        if (below(5) == 0) {
            note(nodes[0]->takeChangedList());
        }
    }

    void note(const std::vector<Base*>& changed)
    {
        QString line = "changed:"_s;
        for (Base* node : changed) {
            line += " %1"_s.arg(indices[node]);
        }
        seen.append(line);
    }

    std::mt19937 random;
    QStringList seen;
    int hookBudget = 0;
    std::vector<std::unique_ptr<Watched<Base>>> nodes;
    std::map<Base*, int> indices;
    std::vector<std::pair<Base*, QJsonObject>> states;
};

} // namespace

TEST_CASE("The tree does in every step what its plainest form does", "[datacore]")
{
    for (quint32 seed = 1; seed <= 20; ++seed) {
        CAPTURE(seed);
        const QStringList expected = Exercise<LiteralDatacore>(seed).run(400);
        const QStringList seen = Exercise<DatacoreBase>(seed).run(400);
        REQUIRE(expected.size() > 2000);
        REQUIRE(seen.size() == expected.size());
        for (int i = 0; i < seen.size(); ++i) {
            REQUIRE(seen[i] == expected[i]);
        }
    }
}
