// Frames of 2200x1125 samples: CRCs beside a table of word steps, zlib's CRC and a plain copy;
// tagging beside a copy of the result; reading and verifying a tagged frame beside a copy of it;
// the position of a sample beside a walk over the lines above it.
#include "bench/Compare.h"
#include "bench/PlainLoops.h"
#include "infrastructure/utility/parceltongue/tagging/FrameTagging.h"
#include "infrastructure/utility/video/generation/FrameOperations.h"
#include "sw/infrastructure_test/MadeFrame.h"

#if BENCH_HAVE_ZLIB
#include <zlib.h>
#endif

#include <cstddef>
#include <cstring>
#include <random>

extern "C" void* __libc_malloc(std::size_t size);

namespace {
std::size_t allocations = 0; ///< of this thread, the only one
}

/// Counts every heap allocation.
extern "C" void* malloc(std::size_t size)
{
    ++allocations;
    return __libc_malloc(size);
}

namespace {

constexpr quint32 WIDTH = 2200;
constexpr quint32 LINES = 1125;
constexpr quint32 ACTIVE = 1920;
constexpr quint32 COVERED = ACTIVE + 6;
constexpr FieldMetrics METRICS(FieldRegion(0, 0, WIDTH, LINES), FieldRegion(280, 41, ACTIVE, 1080));

template <typename Word>
std::vector<Word> randomWords(std::size_t count)
{
    std::mt19937 random(1);
    std::vector<Word> words(count);
    for (Word& word : words) {
        word = static_cast<Word>(random() & 0x3FF);
    }
    return words;
}

/// `writeCrcs` of so many lines of random words beside `peer`, which is called with them.
template <typename Peer>
void compareCrcs(benchmark::State& state, double must, double aim, Peer peer, quint32 lines = LINES)
{
    const FieldMetrics metrics(FieldRegion(0, 0, WIDTH, lines),
                               FieldRegion(WIDTH - ACTIVE, 0, ACTIVE, lines));
    auto frame = randomWords<quint16>(std::size_t(WIDTH) * lines);
    const auto previous = FrameOperations::lastActiveLine(frame, metrics);
    bench::compare(
        state, must, aim,
        [&] {
            benchmark::DoNotOptimize(FrameOperations::writeCrcs(frame, metrics, previous));
            benchmark::ClobberMemory();
        },
        [&] {
            peer(frame);
            benchmark::ClobberMemory();
        });
}

void crcsBesideTable(benchmark::State& state)
{
    const bench::CrcTable table;
    auto byTable = randomWords<quint16>(std::size_t(WIDTH) * LINES);
    auto ours = byTable;
    table.writeCrcs(byTable.data(), byTable.size(), WIDTH, ACTIVE);
    FrameOperations::writeCrcs(ours, METRICS, FrameOperations::Frame(ACTIVE));
    if (!std::equal(ours.begin() + WIDTH, ours.end(), byTable.begin() + WIDTH)) {
        state.SkipWithError("the peer writes other CRCs");
        return;
    }
    compareCrcs(state, 6, 12,
                [&](auto& frame) { table.writeCrcs(frame.data(), frame.size(), WIDTH, ACTIVE); });
}

void crcsBesideZlib(benchmark::State& state)
{
#if BENCH_HAVE_ZLIB
    compareCrcs(state, 1.2, 2, [](auto& frame) {
        for (std::size_t start = WIDTH; start < frame.size(); start += WIDTH) {
            const auto* bytes = reinterpret_cast<const Bytef*>(frame.data() + start - ACTIVE);
            benchmark::DoNotOptimize(crc32(0, bytes, COVERED * sizeof(quint16)));
        }
    });
#else
    state.SkipWithError("built without zlib");
#endif
}

void crcsBesideMemcpy(benchmark::State& state)
{
    FrameOperations::Frame copy(std::size_t(WIDTH) * LINES);
    compareCrcs(state, 0, 0.8, [&](auto& frame) {
        std::memcpy(copy.data(), frame.data(), frame.size() * sizeof(quint16));
    });
}

/// The same while all of it is in the second cache.
void crcsBesideMemcpyInCache(benchmark::State& state)
{
    constexpr quint32 lines = 80;
    FrameOperations::Frame copy(std::size_t(WIDTH) * lines);
    compareCrcs(
        state, 0, 0.8,
        [&](auto& frame) {
            std::memcpy(copy.data(), frame.data(), frame.size() * sizeof(quint16));
        },
        lines);
}

/// Tagging beside `peer`, which is called with the tagged words and makes as many allocations.
template <typename Peer>
void compareTagging(benchmark::State& state, double must, double aim, Peer peer)
{
    const ParcelTongue::Field field{METRICS, randomWords<quint32>(METRICS.getTotalSamples())};
    const ParcelTongue::FieldTagValues values;
    const auto tagged = ParcelTongue::tagField(field, values);
    const std::size_t before = allocations;
    benchmark::DoNotOptimize(ParcelTongue::tagField(field, values));
    const std::size_t taken = allocations - before;
    bench::compare(
        state, must, aim,
        [&] { benchmark::DoNotOptimize(ParcelTongue::tagField(field, values).data()); },
        [&] { peer(tagged); });
    state.counters["allocations"] = static_cast<double>(taken);
}

/// A copy as large as the output, in newly allocated memory.
void taggingBesideCopy(benchmark::State& state)
{
    compareTagging(state, 0, 0.95, [](const std::vector<quint32>& tagged) {
        const std::vector<quint32> copy(tagged);
        benchmark::DoNotOptimize(copy.data());
    });
}

/// A copy as large as the output, into existing memory.
void taggingBesideMemcpy(benchmark::State& state)
{
    std::vector<quint32> copy;
    compareTagging(state, 0.8, 0.95, [&](const std::vector<quint32>& tagged) {
        copy.resize(tagged.size());
        std::memcpy(copy.data(), tagged.data(), tagged.size() * sizeof(quint32));
        benchmark::ClobberMemory();
    });
}

/// A right frame with noise for a picture.
void readingBesideMemcpy(benchmark::State& state)
{
    const FrameLayout layout{{METRICS}};
    const FrameWords words = joined(layout, makeFrame(layout), true);
    FrameReaderOptions options;
    options.repeats = true;
    FrameReader reader(layout, options);
    FrameWords copy(words.size());
    bench::compare(
        state, 0.25, 0.5,
        [&] {
            reader.read(words.data(), words.size());
            reader.finish();
        },
        [&] {
            std::memcpy(copy.data(), words.data(), words.size() * sizeof(quint32));
            benchmark::ClobberMemory();
        });
    if (!reader.getFindings().isEmpty() || reader.getFrameCount() == 0) {
        state.SkipWithError("the frame is not read as it was made");
    }
}

/// The index worked out in the obvious way: line by line.
quint32 indexByWalk(quint32 index)
{
    const quint32 pad = (8 - WIDTH % 8) % 8;
    const quint32 line = index / WIDTH;
    const auto isPicture = [](quint32 n) { return n >= 41 && n < 41 + 1080; };
    quint32 result = index + 16;
    for (quint32 n = 0; n < line; ++n) {
        result += pad + (isPicture(n) ? 24 : 16);
        benchmark::DoNotOptimize(result); // otherwise the compiler finds the closed form itself
    }
    return result + (isPicture(line) && index % WIDTH >= WIDTH - ACTIVE ? 8 : 0);
}

void taggedIndex(benchmark::State& state)
{
    constexpr quint32 stride = 24989; // prime, so that all lines and parts of lines occur
    for (quint32 index = 0; index < METRICS.getTotalSamples(); index += stride) {
        if (ParcelTongue::getTaggedIndex(METRICS, index) != indexByWalk(index)) {
            state.SkipWithError("the peer finds another index");
            return;
        }
    }
    const auto all = [](auto find) {
        for (quint32 index = 0; index < METRICS.getTotalSamples(); index += stride) {
            benchmark::DoNotOptimize(find(index));
        }
    };
    bench::compare(
        state, 20, 100,
        [&] { all([](quint32 index) { return ParcelTongue::getTaggedIndex(METRICS, index); }); },
        [&] { all(indexByWalk); });
}

BENCHMARK(crcsBesideTable)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(crcsBesideZlib)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(crcsBesideMemcpy)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(crcsBesideMemcpyInCache)->UseManualTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(taggingBesideCopy)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(taggingBesideMemcpy)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(readingBesideMemcpy)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(taggedIndex)->UseManualTime()->Unit(benchmark::kMicrosecond);

} // namespace

int main(int argc, char** argv)
{
    bench::keepFreedMemory();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
}
