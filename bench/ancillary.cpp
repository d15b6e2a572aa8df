// Ancillary packets in a frame of 2200x1125 words of noise without any, beside memchr over its
// bytes for a byte that is not there. "search" looks at all words, "field" where packets may lie;
// memchr looks at all bytes for both.
#include "bench/Compare.h"
#include "infrastructure/utility/video/ancillary/AncillaryExtractor.h"

#include <cstring>
#include <random>
#include <vector>

namespace {

constexpr quint32 WIDTH = 2200;
constexpr quint32 LINES = 1125;
constexpr FieldMetrics METRICS(FieldRegion(0, 0, WIDTH, LINES), FieldRegion(280, 41, 1920, 1080));
constexpr uint8_t ABSENT = 0x7E;

/// Words whose low byte, and that of the second channel, is never ABSENT; timing references on each
/// line.
template <typename Word>
std::vector<Word> noise(std::size_t channels)
{
    std::mt19937 random(291);
    const auto word = [&random] {
        quint32 value;
        do {
            value = static_cast<quint32>(0x40 + random() % 0x370);
        } while ((value & 0xFF) == ABSENT);
        return value;
    };
    std::vector<Word> words(WIDTH * LINES * (sizeof(Word) == 2 ? channels : 1));
    for (Word& each : words) {
        do {
            each = static_cast<Word>(sizeof(Word) == 2 ? word() : word() | word() << 10);
        } while (std::memchr(&each, ABSENT, sizeof each) != nullptr);
    }
    const std::size_t lineWords = words.size() / LINES;
    for (std::size_t line = 0; line < LINES; ++line) {
        for (const std::size_t at : {std::size_t{0}, lineWords * 276 / WIDTH}) {
            for (std::size_t i = 0; i < 3 * (lineWords / WIDTH); ++i) {
                words[line * lineWords + at + i] =
                    static_cast<Word>(i < lineWords / WIDTH ? 0xFFFFF : 0) & 0x3FF;
            }
        }
    }
    return words;
}

template <typename Word, typename Ours>
void compareToMemchr(benchmark::State& state, const std::vector<Word>& words, Ours&& ours)
{
    bench::compare(state, 0.5, 1, ours, [&] {
        benchmark::DoNotOptimize(std::memchr(words.data(), ABSENT, words.size() * sizeof(Word)));
    });
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(words.size() * sizeof(Word)));
}

void ancillarySearch(benchmark::State& state)
{
    const std::vector<quint16> words = noise<quint16>(1);
    compareToMemchr(state, words, [&] {
        benchmark::DoNotOptimize(AncillaryRun(words.data(), words.size()).findFlag(0));
    });
}

void ancillarySearchInterleaved(benchmark::State& state)
{
    const std::vector<quint16> words = noise<quint16>(2);
    // Two searches, one for each stream, beside two of the peer.
    bench::compare(
        state, 0.5, 1,
        [&] {
            for (const std::size_t stream : {0, 1}) {
                const AncillaryRun run(words.data() + stream, words.size() / 2, 2);
                benchmark::DoNotOptimize(run.findFlag(0));
            }
        },
        [&] {
            for (int stream = 0; stream < 2; ++stream) {
                benchmark::DoNotOptimize(std::memchr(words.data(), ABSENT, words.size() * 2));
            }
        });
}

void ancillarySearch20Bits(benchmark::State& state)
{
    const std::vector<quint32> samples = noise<quint32>(2);
    compareToMemchr(state, samples, [&] {
        benchmark::DoNotOptimize(AncillaryRun(samples.data(), samples.size(), true).findFlag(0));
    });
}

void ancillaryField(benchmark::State& state)
{
    const std::vector<quint16> words = noise<quint16>(1);
    FindingList findings;
    AncillaryExtractor extractor({}, findings);
    compareToMemchr(state, words, [&] {
        benchmark::DoNotOptimize(
            extractor.readField({words.data(), words.size()}, METRICS, FindingPlace()));
    });
}

BENCHMARK(ancillarySearch)->UseManualTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(ancillarySearchInterleaved)->UseManualTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(ancillarySearch20Bits)->UseManualTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(ancillaryField)->UseManualTime()->Unit(benchmark::kMicrosecond);

} // namespace

BENCHMARK_MAIN();
