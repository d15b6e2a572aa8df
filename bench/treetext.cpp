// Whole trees of 10,000 leaves to JSON text and back, in full form: beside the plainest form of the
// tree, which goes through QJsonObject and QJsonDocument, and beside RapidJSON on the same text.
//
// RapidJSON writes from a document (DOM) that holds the text's members in its order, as UTF-8, and
// reads into one. It finds no node, compares no value and validates nothing. It has its SIMD code
// where the processor has it.
#include "bench/Compare.h"
#include "infrastructure/datacore/DatacoreNumber.h"
#include "sw/infrastructure_test/LiteralDatacore.h"

#include <QJsonDocument>

#include <memory>
#include <vector>

#if BENCH_HAVE_RAPIDJSON
#ifdef __SSE2__
#define RAPIDJSON_SSE2
#endif
#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>
#endif

namespace {

constexpr int LEAVES = 10000;

/// How the leaves are arranged: all below the root, or ten below each child of the root.
enum Shape { Shape_Wide, Shape_Groups };

QString numbered(const char* name, int index)
{
    return QStringLiteral("%1%2").arg(QLatin1String(name)).arg(index, 5, 10, QLatin1Char('0'));
}

template <typename Node, typename Leaf = Node>
class Tree
{
public:
    explicit Tree(Shape shape)
        : root(QStringLiteral("root"), nullptr, QString())
    {
        constexpr int groupSize = 10;
        for (int i = 0; i < LEAVES; ++i) {
            if (shape == Shape_Groups && i % groupSize == 0) {
                groups.push_back(
                    std::make_unique<Node>(numbered("group", i / groupSize), &root, QString()));
            }
            Node* parent = groups.empty() ? &root : groups.back().get();
            if constexpr (std::is_constructible_v<Leaf, QString, Node*, QString>) {
                leaves.push_back(std::make_unique<Leaf>(numbered("leaf", i), parent, QString()));
            } else {
                leaves.push_back(std::make_unique<Leaf>(numbered("leaf", i), parent));
            }
        }
        setAll(QStringLiteral("12345"));
    }

    void setAll(const QString& value)
    {
        for (const auto& leaf : leaves) {
            leaf->setData(value);
        }
        root.takeChangedList();
        root.clearChangeState();
    }

    Node root;

private:
    std::vector<std::unique_ptr<Node>> groups;
    std::vector<std::unique_ptr<Leaf>> leaves;
};

using PlainTree = Tree<DatacoreBase>;
using NumberTree = Tree<DatacoreBase, DatacoreNumber<int>>;
using LiteralTree = Tree<LiteralDatacore>;

QByteArray write(const DatacoreBase& root)
{
    QByteArray text;
    root.appendToJsonText(text, false, true);
    return text;
}

QByteArray write(const LiteralDatacore& root)
{
    QJsonObject json;
    DatacoreJsonMessages messages;
    root.appendToJson(QString(), json, false, true, messages);
    return QJsonDocument(json).toJson(QJsonDocument::Compact);
}

bool read(DatacoreBase& root, const QByteArray& text)
{
    return root.populateFromJsonText(text, false);
}

bool read(LiteralDatacore& root, const QByteArray& text)
{
    DatacoreJsonMessages messages;
    return root.populateFromJson(QString(), QJsonDocument::fromJson(text).object(), false,
                                 messages);
}

/// Reads two texts in turn. Each leaf changes each time if they differ.
template <typename Trees>
class Reading
{
public:
    Reading(Shape shape, bool isChanging)
        : tree(shape)
        , changeCount(isChanging ? LEAVES : 0)
    {
        texts.push_back(write(tree.root));
        if (isChanging) {
            tree.setAll(QStringLiteral("54321"));
        }
        texts.push_back(write(tree.root));
    }

    void operator()()
    {
        const bool isRead = read(tree.root, nextText());
        const std::size_t changes = tree.root.takeChangedList().size();
        isRight = isRight && isRead && changes == changeCount;
    }

    const QByteArray& nextText() { return texts[readCount++ % 2]; }

    bool isRight = true; ///< each reading changed as many leaves as it should

private:
    Trees tree;
    std::size_t changeCount;
    std::vector<QByteArray> texts;
    std::size_t readCount = 0;
};

template <Shape shape>
void writeText(benchmark::State& state)
{
    const PlainTree tree(shape);
    const LiteralTree literal(shape);
    if (write(tree.root) != write(literal.root)) {
        state.SkipWithError("the two texts differ");
        return;
    }
    bench::compare(
        state, 12, 25, [&] { benchmark::DoNotOptimize(write(tree.root)); },
        [&] { benchmark::DoNotOptimize(write(literal.root)); });
    state.SetItemsProcessed(state.iterations() * LEAVES);
}

template <Shape shape, bool isChanging>
void readText(benchmark::State& state)
{
    Reading<PlainTree> reading(shape, isChanging);
    Reading<LiteralTree> literal(shape, isChanging);
    bench::compare(state, 5, 10, std::ref(reading), std::ref(literal));
    state.SetItemsProcessed(state.iterations() * LEAVES);
    if (!reading.isRight || !literal.isRight) {
        state.SkipWithError("not what should change has changed");
    }
}

#if BENCH_HAVE_RAPIDJSON

template <Shape shape>
void writeTextBesideRapidJson(benchmark::State& state)
{
    const NumberTree tree(shape);
    const QByteArray text = write(tree.root);
    rapidjson::Document document;
    document.Parse(text.constData(), static_cast<std::size_t>(text.size()));
    const auto writeDocument = [&document] {
        auto buffer = std::make_unique<rapidjson::StringBuffer>();
        rapidjson::Writer<rapidjson::StringBuffer> writer(*buffer);
        document.Accept(writer);
        return buffer;
    };
    if (text != writeDocument()->GetString()) {
        state.SkipWithError("the two texts differ");
        return;
    }
    bench::compare(
        state, 0.5, 0.9, [&] { benchmark::DoNotOptimize(write(tree.root)); },
        [&] { benchmark::DoNotOptimize(writeDocument()->GetSize()); });
    state.SetBytesProcessed(state.iterations() * text.size());
}

template <Shape shape, bool isChanging>
void readTextBesideRapidJson(benchmark::State& state)
{
    Reading<NumberTree> reading(shape, isChanging);
    Reading<NumberTree> texts(shape, isChanging);
    bool isRight = true;
    const auto parse = [&] {
        const QByteArray& text = texts.nextText();
        rapidjson::Document document;
        document.Parse(text.constData(), static_cast<std::size_t>(text.size()));
        isRight = isRight && document.IsObject();
    };
    bench::compare(state, 0.5, 0.9, std::ref(reading), parse);
    state.SetBytesProcessed(state.iterations() * texts.nextText().size());
    if (!reading.isRight || !isRight) {
        state.SkipWithError("not what should change has changed");
    }
}

#else

template <Shape>
void writeTextBesideRapidJson(benchmark::State& state)
{
    state.SkipWithError("rapidjson-dev is not installed");
}

template <Shape, bool>
void readTextBesideRapidJson(benchmark::State& state)
{
    state.SkipWithError("rapidjson-dev is not installed");
}

#endif

#define ROW(...) BENCHMARK_TEMPLATE(__VA_ARGS__)->UseManualTime()->Unit(benchmark::kMillisecond)
ROW(writeText, Shape_Wide);
ROW(writeText, Shape_Groups);
ROW(readText, Shape_Wide, false);
ROW(readText, Shape_Groups, false);
ROW(readText, Shape_Wide, true);
ROW(readText, Shape_Groups, true);
ROW(writeTextBesideRapidJson, Shape_Wide);
ROW(writeTextBesideRapidJson, Shape_Groups);
ROW(readTextBesideRapidJson, Shape_Wide, false);
ROW(readTextBesideRapidJson, Shape_Groups, false);
ROW(readTextBesideRapidJson, Shape_Wide, true);
ROW(readTextBesideRapidJson, Shape_Groups, true);

} // namespace

BENCHMARK_MAIN();
