#include "infrastructure/datacore/DatacoreBase.h"
#include "infrastructure/datacore/DatacoreChildren.h"
#include "sw/infrastructure_test/DatacoreSupport.h"

#include <deque>
#include <map>
#include <memory>
#include <random>

namespace {

/// Names that begin alike, of all lengths, with characters beyond ASCII; some come twice.
QString makeName(std::mt19937& random, int count)
{
    QString name = "measurement"_s.left(static_cast<int>(random() % 12));
    const int more = static_cast<int>(random() % 3) + (name.isEmpty() ? 1 : 0);
    for (int i = 0; i < more; ++i) {
        name += QChar(static_cast<ushort>(random() % 2 == 0 ? 'a' + random() % 3 : 0xFFF0));
    }
    return name + QString::number(random() % static_cast<unsigned>(count / 4 + 1));
}

} // namespace

TEST_CASE("Children are found by name and walked in its order, the first of a name", "[datacore]")
{
    for (const int count : {1, 8, 9, 16, 17, 300, 70000}) {
        std::mt19937 random(static_cast<unsigned>(count));
        DatacoreChildren children;
        std::map<QString, DatacoreBase*> expected;
        std::deque<DatacoreBase> nodes;
        for (int i = 0; i < count; ++i) {
            const QString name = makeName(random, count);
            nodes.emplace_back(name, nullptr);
            children.add(name, &nodes.back());
            expected.emplace(name, &nodes.back());
            if (i % (count / 30 + 7) == 0) {
                children.inOrder(); // later ones come out of order
            }
        }
        CAPTURE(count);
        REQUIRE(children.inOrder().size() == expected.size());
        auto next = expected.begin();
        for (const DatacoreChildren::Entry& entry : children.inOrder()) {
            REQUIRE(entry.name == next->first);
            REQUIRE(entry.node == next->second);
            REQUIRE(children.find(entry.name) == entry.node);
            ++next;
        }
        for (int i = 0; i < 1000; ++i) {
            const QString name = makeName(random, count);
            const auto found = expected.find(name);
            DatacoreBase* const node = found == expected.end() ? nullptr : found->second;
            REQUIRE(children.find(name) == node);
            const QString path = name + "/"_s + name;
            QStringView rest = path;
            REQUIRE(children.findFirst(rest) == node);
            REQUIRE(rest == name);
            REQUIRE((children.findFirst(rest) == node && rest.isEmpty()));
        }
        QStringView unnamed(u"/a");
        CHECK((children.findFirst(unnamed) == nullptr && unnamed == QStringView(u"a")));
        CHECK(children.find(QStringView()) == nullptr);
    }
}

TEST_CASE("A node's name outlives it among its siblings", "[datacore]")
{
    DatacoreBase root("root"_s, nullptr);
    auto gone = std::make_unique<DatacoreBase>("b"_s, &root);
    gone.reset();
    const DatacoreBase a("a"_s, &root);
    const DatacoreBase c("c"_s, &root);
    CHECK(root.findDatacore("a"_s) == &a);
    CHECK(root.findDatacore("c"_s) == &c);
}

TEST_CASE("A hook may add children while the others are told", "[datacore]")
{
    /// Adds a sibling before itself, and one behind, when it is told for the first time.
    struct Growing : DatacoreBase
    {
        using DatacoreBase::DatacoreBase;
        void onValid() override
        {
            ++told;
            if (!before) {
                before = std::make_unique<DatacoreBase>("a"_s, owner);
                behind = std::make_unique<DatacoreBase>("z"_s, owner);
            }
        }
        DatacoreBase* owner = nullptr;
        int told = 0;
        std::unique_ptr<DatacoreBase> before, behind;
    };
    DatacoreBase root("root"_s, nullptr);
    Growing growing("m"_s, &root);
    growing.owner = &root;
    DatacoreBase next("n"_s, &root);
    SECTION("by a call")
    {
        root.notifyValidRecursive();
    }
    SECTION("by JSON that they read")
    {
        DatacoreJsonMessages messages;
        const QJsonObject json = parseObject(
            R"({"root": {"m": {"data": "1"}, "n": {"data": "2"}, "z": {"data": "3"}}})");
        REQUIRE(root.populateFromJson(QString(), json, true, messages));
        CHECK(next.getData() == "2"_s);
        CHECK(growing.behind->getData() == "3"_s);
    }
    CHECK(growing.told == 1);
    CHECK(root.getChildren() ==
          std::vector<DatacoreBase*>{growing.before.get(), &growing, &next, growing.behind.get()});
}
