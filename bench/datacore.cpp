// The state tree: growth from 100 to 100,000 leaves, and its speed beside the plainest form of the
// tree and beside JSON objects built without any tree.
//
// Growth rows work on 100,000 leaves, as one tree or as many, beside the same number of leaves in
// trees of 100. So the ratio shows how much more a leaf costs in a large tree, and not the caches.
#include "bench/Compare.h"
#include "infrastructure/datacore/DatacoreNumber.h"
#include "sw/infrastructure_test/LiteralDatacore.h"

#include <malloc.h>

#include <array>
#include <map>
#include <memory>
#include <utility>
#include <vector>

namespace {

constexpr int ALL_LEAVES = 100000;
constexpr int SMALL_TREE = 100;

/// How the leaves of a tree are arranged: all below the root, or ten below each child of the root.
enum Shape { Shape_Wide, Shape_Groups };
constexpr int GROUP_SIZE = 10;

QString leafName(int index)
{
    return QStringLiteral("leaf%1").arg(index, 5, 10, QLatin1Char('0'));
}

QString groupName(int index)
{
    return QStringLiteral("group%1").arg(index, 5, 10, QLatin1Char('0'));
}

/// A tree with `size` leaves, each with one value.
template <typename Node, typename Leaf = Node>
class Tree
{
public:
    Tree(Shape shape, int size)
        : root(QStringLiteral("root"), nullptr, QString())
    {
        for (int i = 0; i < size; ++i) {
            Node* parent = &root;
            if (shape == Shape_Groups) {
                if (i % GROUP_SIZE == 0) {
                    groups.push_back(
                        std::make_unique<Node>(groupName(i / GROUP_SIZE), &root, QString()));
                }
                parent = groups.back().get();
            }
            const int index = shape == Shape_Groups ? i % GROUP_SIZE : i;
            leaves.push_back(makeLeaf(leafName(index), parent));
        }
    }

    Node root;
    std::vector<std::unique_ptr<Node>> groups;
    std::vector<std::unique_ptr<Leaf>> leaves;

    void setAll(const QString& value)
    {
        for (const auto& leaf : leaves) {
            leaf->setData(value);
        }
    }
    QJsonObject write() const
    {
        QJsonObject json;
        DatacoreJsonMessages messages;
        root.appendToJson(QString(), json, false, true, messages);
        return json;
    }
    bool read(const QJsonObject& json)
    {
        DatacoreJsonMessages messages;
        return root.populateFromJson(QString(), json, false, messages);
    }

private:
    static std::unique_ptr<Leaf> makeLeaf(const QString& name, Node* parent)
    {
        if constexpr (std::is_constructible_v<Leaf, QString, Node*, QString>) {
            return std::make_unique<Leaf>(name, parent, QStringLiteral("0"));
        } else {
            return std::make_unique<Leaf>(name, parent);
        }
    }
};

using NumberTree = Tree<DatacoreBase, DatacoreNumber<int>>;

/// The kinds of work in a round of growth.
enum Work { Work_Populate, Work_Write, Work_Take, Work_Clear, Work_All };
using Seconds = std::array<double, Work_All + 1>; ///< of a round, by kind of work

/// Trees with ALL_LEAVES leaves in total.
class Forest
{
public:
    Forest(Shape shape, int treeSize)
    {
        for (int i = 0; i < ALL_LEAVES / treeSize; ++i) {
            trees.push_back(std::make_unique<NumberTree>(shape, treeSize));
        }
        for (const QString& value : {QStringLiteral("12345"), QStringLiteral("54321")}) {
            states.emplace_back();
            for (const auto& tree : trees) {
                tree->setAll(value);
                states.back().push_back(tree->write());
            }
        }
    }

    Seconds round()
    {
        const std::vector<QJsonObject>& state = states[(roundCount++) % states.size()];
        Seconds took{};
        const auto time = [&took, this](Work work, auto&& action) {
            took[work] = bench::seconds([this, &action] {
                for (std::size_t i = 0; i < trees.size(); ++i) {
                    action(i);
                }
            });
            took[Work_All] += took[work];
        };
        std::vector<QJsonObject> written(trees.size());
        time(Work_Populate, [&](std::size_t i) { trees[i]->read(state[i]); });
        time(Work_Write, [&](std::size_t i) { written[i] = trees[i]->write(); });
        std::vector<std::vector<DatacoreBase*>> changed(trees.size());
        time(Work_Take, [&](std::size_t i) { changed[i] = trees[i]->root.takeChangedList(); });
        time(Work_Clear, [&](std::size_t i) { trees[i]->root.clearChangeState(); });
        std::size_t changedCount = 0;
        for (const auto& list : changed) {
            changedCount += list.size();
        }
        isRight = isRight && changedCount == ALL_LEAVES;
        return took;
    }

    bool isRight = true; ///< each round changed each leaf

private:
    std::vector<std::unique_ptr<NumberTree>> trees;
    std::vector<std::vector<QJsonObject>> states;
    std::size_t roundCount = 0;
};

constexpr int ROUNDS = 16;

/// What rounds in large trees and in small ones took, in turn. Measured once for the rows of all
/// kinds of work; empty if not every leaf changed.
const std::vector<std::pair<Seconds, Seconds>>& rounds(Shape shape, int treeSize)
{
    static std::map<std::pair<Shape, int>, std::vector<std::pair<Seconds, Seconds>>> measured;
    auto& pairs = measured[{shape, treeSize}];
    if (pairs.empty()) {
        Forest large(shape, treeSize);
        Forest small(shape, SMALL_TREE);
        for (int i = 0; i < ROUNDS; ++i) {
            // In turn the first: the second of a pair finds warmer caches and freed memory.
            pairs.emplace_back();
            auto& [largeTook, smallTook] = pairs.back();
            if (i % 2 == 0) {
                largeTook = large.round();
                smallTook = small.round();
            } else {
                smallTook = small.round();
                largeTook = large.round();
            }
        }
        if (!large.isRight || !small.isRight) {
            pairs.clear();
        }
    }
    return pairs;
}

template <Work work, Shape shape>
void grow(benchmark::State& state)
{
    const auto& pairs = rounds(shape, static_cast<int>(state.range(0)));
    if (pairs.empty()) {
        state.SkipWithError("not every leaf changed");
        return;
    }
    std::vector<double> ratios;
    for (auto _ : state) {
        const auto& [largeTook, smallTook] = pairs[ratios.size() % pairs.size()];
        state.SetIterationTime(largeTook[work]);
        ratios.push_back(smallTook[work] / largeTook[work]);
    }
    state.counters["ratio"] = bench::median(std::move(ratios));
    state.counters["must"] = 1 / 1.5;
    state.counters["aim"] = 1;
    state.SetItemsProcessed(state.iterations() * ALL_LEAVES);
}

/// Writes `count` numbers to a few leaves in turn.
template <typename Trees>
void setFew(Trees& tree, int count, int& number)
{
    constexpr std::size_t few = 32;
    const std::size_t stride = tree.leaves.size() / few;
    for (int i = 0; i < count; ++i) {
        tree.leaves[(static_cast<std::size_t>(i) % few) * stride]->setDataNumber(++number);
    }
}

/// Single writes while all leaves of a large tree wait at the root, beside writes to a tree of 100
/// leaves whose changes have been taken.
void setInLargeTree(benchmark::State& state)
{
    NumberTree large(Shape_Groups, static_cast<int>(state.range(0)));
    NumberTree small(Shape_Groups, SMALL_TREE);
    large.setAll(QStringLiteral("1"));
    int number = 0;
    bench::compare(
        state, 1 / 1.5, 1, [&] { setFew(large, 10000, number); },
        [&] {
            small.root.takeChangedList();
            setFew(small, 10000, number);
        });
    state.SetItemsProcessed(state.iterations() * 10000);
}

/// A leaf below `depth` others, each below the one before.
class Chain
{
public:
    explicit Chain(int depth)
    {
        for (int i = 0; i < depth; ++i) {
            nodes.push_back(std::make_unique<DatacoreBase>(
                QStringLiteral("level"), nodes.empty() ? nullptr : nodes.back().get(), QString()));
        }
        leaf = std::make_unique<DatacoreNumber<int>>(QStringLiteral("leaf"), nodes.back().get());
    }
    std::vector<std::unique_ptr<DatacoreBase>> nodes;
    std::unique_ptr<DatacoreNumber<int>> leaf;
};

/// A write for each level in a deep tree, beside the same number of levels in trees of ten.
void setInDeepTree(benchmark::State& state)
{
    const int depth = static_cast<int>(state.range(0));
    constexpr int shallow = 10;
    constexpr int levels = 1000000;
    Chain deepChain(depth);
    Chain shallowChain(shallow);
    int number = 0;
    const auto write = [&number](Chain& chain, int count) {
        for (int i = 0; i < count; ++i) {
            chain.leaf->setDataNumber(++number);
        }
    };
    bench::compare(
        state, 1 / 1.5, 1, [&] { write(deepChain, levels / depth); },
        [&] { write(shallowChain, levels / shallow); });
    state.SetItemsProcessed(state.iterations() * levels);
}

/// The object of one node without children, built from texts alone.
QJsonObject bareNode(const QString& className, const QString& value)
{
    QJsonObject json;
    json.insert(QLatin1String("class"), className);
    json.insert(QLatin1String("data"), value);
    json.insert(QLatin1String("reasonsForBeingInactive"), QJsonArray());
    json.insert(QLatin1String("reasonsForBeingInvalid"), QJsonArray());
    return json;
}

template <Shape shape>
void writeBesideBare(benchmark::State& state)
{
    const int size = static_cast<int>(state.range(0));
    NumberTree tree(shape, size);
    tree.setAll(QStringLiteral("12345"));
    const QString className = DatacoreNumber<int>::CLASSNAME();
    const QString baseName = QStringLiteral("DatacoreBase");
    const QString value = QStringLiteral("12345");
    std::vector<QString> leafNames;
    std::vector<QString> groupNames;
    for (int i = 0; i < size; ++i) {
        leafNames.push_back(leafName(i));
        groupNames.push_back(groupName(i));
    }
    const auto bare = [&] {
        QJsonObject root = bareNode(baseName, QString());
        if (shape == Shape_Wide) {
            for (int i = 0; i < size; ++i) {
                root.insert(leafNames[static_cast<std::size_t>(i)], bareNode(className, value));
            }
        } else {
            for (int i = 0; i < size / GROUP_SIZE; ++i) {
                QJsonObject group = bareNode(baseName, QString());
                for (std::size_t k = 0; k < GROUP_SIZE; ++k) {
                    group.insert(leafNames[k], bareNode(className, value));
                }
                root.insert(groupNames[static_cast<std::size_t>(i)], std::move(group));
            }
        }
        QJsonObject json;
        json.insert(QStringLiteral("root"), std::move(root));
        return json;
    };
    if (bare() != tree.write()) {
        state.SkipWithError("the two objects differ");
        return;
    }
    const int repeats = ALL_LEAVES / size;
    const auto repeat = [repeats](auto&& work) {
        return [repeats, work] {
            for (int i = 0; i < repeats; ++i) {
                benchmark::DoNotOptimize(work());
            }
        };
    };
    bench::compare(state, 0.9, 1, repeat([&tree] { return tree.write(); }), repeat(bare));
    state.SetItemsProcessed(state.iterations() * ALL_LEAVES);
}

void readUnchanged(benchmark::State& state)
{
    const int size = static_cast<int>(state.range(0));
    Tree<DatacoreBase> tree(Shape_Groups, size);
    Tree<LiteralDatacore> literal(Shape_Groups, size);
    const QJsonObject json = tree.write();
    literal.read(json);
    tree.root.takeChangedList();
    literal.root.takeChangedList();
    const auto repeat = [&json, size](auto& reader) {
        return [&json, size, &reader] {
            for (int i = 0; i < ALL_LEAVES / size; ++i) {
                reader.read(json);
            }
        };
    };
    bench::compare(state, 3, 6, repeat(tree), repeat(literal));
    state.SetItemsProcessed(state.iterations() * ALL_LEAVES);
    if (!tree.root.takeChangedList().empty() || !literal.root.takeChangedList().empty()) {
        state.SkipWithError("something changed");
    }
}

void readChanged(benchmark::State& state)
{
    Tree<DatacoreBase> tree(Shape_Groups, 1000);
    Tree<LiteralDatacore> literal(Shape_Groups, 1000);
    tree.setAll(QStringLiteral("12345"));
    const QJsonObject first = tree.write();
    tree.setAll(QStringLiteral("54321"));
    const QJsonObject second = tree.write();
    const auto read = [&](auto& reader) {
        return [&] {
            reader.read(first);
            reader.root.takeChangedList();
            reader.read(second);
            reader.root.takeChangedList();
        };
    };
    bench::compare(state, 0, 0, read(tree), read(literal));
}

/// A tree with ten children for each node, `depth` levels below the root.
template <typename Node>
class Bush
{
public:
    explicit Bush(int depth)
        : root(QStringLiteral("statusCoreRouter"), nullptr, QString())
    {
        grow(&root, QString(), depth);
    }
    Node root;
    std::vector<QString> paths; ///< of the leaves, below the root
    std::vector<std::unique_ptr<Node>> nodes;
    std::vector<Node*> leaves;

private:
    void grow(Node* parent, const QString& path, int depth)
    {
        for (int i = 0; i < 10; ++i) {
            const QString name = QStringLiteral("measurement%1").arg(i);
            nodes.push_back(std::make_unique<Node>(name, parent, QString()));
            const QString ownPath =
                path.isEmpty() ? name : path + DatacoreJsonInterface::TREE_LEVEL_DELIMITER() + name;
            if (depth == 1) {
                paths.push_back(ownPath);
                leaves.push_back(nodes.back().get());
            } else {
                grow(nodes.back().get(), ownPath, depth - 1);
            }
        }
    }
};

/// The levels of a bush with that many leaves.
int levelsOf(int64_t leaves)
{
    int levels = 0;
    for (; leaves > 1; leaves /= 10) {
        ++levels;
    }
    return levels;
}

void findByPath(benchmark::State& state)
{
    const Bush<DatacoreBase> bush(levelsOf(state.range(0)));
    const Bush<LiteralDatacore> literal(levelsOf(state.range(0)));
    const auto find = [](const auto& tree) {
        return [&tree] {
            for (std::size_t i = 0; i < tree.paths.size(); ++i) {
                benchmark::DoNotOptimize(tree.root.findDatacore(tree.paths[i]) == tree.leaves[i]);
            }
        };
    };
    bench::compare(state, 4, 6, find(bush), find(literal));
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(bush.paths.size()));
}

void givePath(benchmark::State& state)
{
    const Bush<DatacoreBase> bush(levelsOf(state.range(0)));
    const Bush<LiteralDatacore> literal(levelsOf(state.range(0)));
    const auto give = [](const auto& tree) {
        return [&tree] {
            for (const auto* leaf : tree.leaves) {
                benchmark::DoNotOptimize(leaf->getPath());
            }
        };
    };
    bench::compare(state, 4, 6, give(bush), give(literal));
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(bush.leaves.size()));
}

/// Of the heap, with what is mapped for one large block each.
std::size_t bytesInUse()
{
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

/// Heap memory per leaf of a tree of 100,000 leaves, with names and values.
template <typename Trees>
void bytesForEachLeaf(benchmark::State& state)
{
    double bytes = 0;
    for (auto _ : state) {
        const std::size_t before = bytesInUse();
        Trees tree(Shape_Wide, ALL_LEAVES);
        tree.setAll(QStringLiteral("12345"));
        tree.root.takeChangedList();
        // The vector of pointers to the leaves belongs to the benchmark.
        bytes = static_cast<double>(bytesInUse() - before) / ALL_LEAVES - sizeof(void*);
    }
    state.counters["bytes"] = bytes;
}

#define GROWTH(WORK)                                                                               \
    BENCHMARK_TEMPLATE(grow, WORK, Shape_Wide)                                                     \
        ->RangeMultiplier(10)                                                                      \
        ->Range(100, ALL_LEAVES)                                                                   \
        ->UseManualTime()                                                                          \
        ->Unit(benchmark::kMillisecond)                                                            \
        ->Iterations(ROUNDS);                                                                      \
    BENCHMARK_TEMPLATE(grow, WORK, Shape_Groups)                                                   \
        ->RangeMultiplier(10)                                                                      \
        ->Range(100, ALL_LEAVES)                                                                   \
        ->UseManualTime()                                                                          \
        ->Unit(benchmark::kMillisecond)                                                            \
        ->Iterations(ROUNDS)
GROWTH(Work_Populate);
GROWTH(Work_Write);
GROWTH(Work_Take);
GROWTH(Work_Clear);
GROWTH(Work_All);

#define SIZES(ROW)                                                                                 \
    BENCHMARK(ROW)                                                                                 \
        ->RangeMultiplier(10)                                                                      \
        ->Range(100, ALL_LEAVES)                                                                   \
        ->UseManualTime()                                                                          \
        ->Unit(benchmark::kMillisecond)
SIZES(setInLargeTree);
BENCHMARK(setInDeepTree)
    ->RangeMultiplier(10)
    ->Range(10, 1000)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);
SIZES(writeBesideBare<Shape_Wide>);
SIZES(writeBesideBare<Shape_Groups>);
SIZES(readUnchanged);
BENCHMARK(readChanged)->UseManualTime()->Unit(benchmark::kMillisecond);
SIZES(findByPath);
SIZES(givePath);
BENCHMARK_TEMPLATE(bytesForEachLeaf, NumberTree)->Iterations(1);
BENCHMARK_TEMPLATE(bytesForEachLeaf, Tree<LiteralDatacore>)->Iterations(1);

} // namespace

BENCHMARK_MAIN();
