// A fixed piece of each kernel's work, a few lines of a picture, for tools/target_table.py, which
// counts the instructions of our code and of the peer's loop:
//   target_kernels             prints the rows: name, samples, largest share of the plain form's
//                              instructions that the vector form may take (0: any)
//   target_kernels ROW ours    does the row's work once between two calls of `mark`; prints what is
//   target_kernels ROW peer    mapped where, the address of `mark` and a digest of the result
#include "bench/PlainLoops.h"
#include "infrastructure/utility/BigEndianRun.h"
#include "infrastructure/utility/parceltongue/tagging/FrameTagging.h"
#include "infrastructure/utility/video/ancillary/AncillaryExtractor.h"
#include "infrastructure/utility/video/generation/FrameOperations.h"
#include "infrastructure/utility/video/generation/SdiColourConverter.h"
#include "infrastructure/utility/video/generation/SdiPixelToSourceImageSampleConverter.h"

#include <QtEndian>

#include <algorithm>
#include <cstdio>
#include <link.h>
#include <memory>
#include <string>
#include <vector>

using namespace Tessorn::Sdi::PayloadId;
using namespace Tessorn::Types;

namespace {

constexpr quint32 WIDTH = 2200;
constexpr quint32 ACTIVE = 1920;
constexpr quint32 LINES = 8;
constexpr FieldMetrics METRICS(FieldRegion(0, 0, WIDTH, LINES),
                               FieldRegion(WIDTH - ACTIVE, 0, ACTIVE, LINES));

/// Words of that many bits.
template <typename Word>
std::vector<Word> noise(std::size_t count, unsigned bits)
{
    std::vector<Word> words(count);
    std::generate(words.begin(), words.end(), [bits, state = 1u]() mutable {
        return static_cast<Word>((state = state * 0x19660D + 0x3C6EF35F) >> (32 - bits));
    });
    return words;
}

struct Bytes
{
    const void* data;
    std::size_t size;
};

template <typename Word>
Bytes bytesOf(const std::vector<Word>& words)
{
    return {words.data(), words.size() * sizeof(Word)};
}

/// One row: the same work twice. Whatever is prepared belongs to the constructor.
class Work
{
public:
    Work() = default;
    virtual ~Work() = default;
    Work(const Work&) = delete;
    Work& operator=(const Work&) = delete;
    virtual void ours() = 0;
    virtual void peer() = 0;
    /// The same after either.
    virtual Bytes result() const = 0;
};

/// Beside a table of words. The line above the lines belongs to the frame, but has no CRC.
class Crcs : public Work
{
    void ours() override
    {
        FrameOperations::writeCrcs(words.data() + WIDTH, METRICS.getTotalSamples(), METRICS,
                                   words.data() + WIDTH - ACTIVE, ACTIVE);
    }
    void peer() override { table.writeCrcs(words.data(), words.size(), WIDTH, ACTIVE); }
    Bytes result() const override { return bytesOf(words); }

    std::vector<quint16> words = noise<quint16>(WIDTH + METRICS.getTotalSamples(), 10);
    bench::CrcTable table;
};

/// Beside a copy of the tagged words.
class Tagging : public Work
{
    void ours() override { result_ = ParcelTongue::tagField(field, {}); }
    void peer() override { result_ = std::vector<quint32>(tagged); }
    Bytes result() const override { return bytesOf(result_); }

    ParcelTongue::Field field{METRICS, noise<quint32>(METRICS.getTotalSamples(), 20)};
    std::vector<quint32> tagged = ParcelTongue::tagField(field, {});
    std::vector<quint32> result_;
};

/// The search for an ancillary data flag, which is at the end, beside one word by word.
class AncillarySearch : public Work
{
    void ours() override { found[0] = AncillaryRun(words.data(), words.size()).findFlag(0); }
    void peer() override
    {
        found[0] = static_cast<std::size_t>(
            std::search(words.begin(), words.end(), std::begin(FLAG), std::end(FLAG)) -
            words.begin());
    }
    Bytes result() const override { return bytesOf(found); }

    static constexpr quint16 FLAG[] = {0, 0x3FF, 0x3FF};
    std::vector<quint16> words = noise<quint16>(WIDTH * LINES, 9);
    std::vector<std::size_t> found = {0};

public:
    AncillarySearch() { std::copy(std::begin(FLAG), std::end(FLAG), words.end() - 3); }
};

/// The numbers of a histogram, beside a loop that turns one after the other.
class ByteOrder : public Work
{
    void ours() override
    {
        copyBigEndianRun(numbers.data(), result_.data(), numbers.size(), sizeof(quint32));
    }
    void peer() override
    {
        std::transform(numbers.begin(), numbers.end(), result_.begin(),
                       [](quint32 number) { return qFromBigEndian(number); });
    }
    Bytes result() const override { return bytesOf(result_); }

    std::vector<quint32> numbers = noise<quint32>(4096, 32);
    std::vector<quint32> result_ = std::vector<quint32>(numbers.size());
};

constexpr std::size_t PIXELS = ACTIVE; // the peers of these take long

/// Beside the definition in doubles.
class Colour : public Work
{
    const PixelDataRGB* pixels() const
    {
        return reinterpret_cast<const PixelDataRGB*>(words.data());
    }
    void ours() override
    {
        SdiColourConverter::convertRgbToYCbCr(pixels(), PIXELS, Colourimetry_Rec709, BitDepth_10,
                                              result_);
    }
    void peer() override { bench::plainColour(pixels(), PIXELS, result_); }
    Bytes result() const override { return bytesOf(result_); }

    std::vector<quint16> words = noise<quint16>(3 * PIXELS, 10);
    std::vector<PixelDataYCbCr> result_;
};

/// A mapping mode, beside a loop that appends sample by sample.
template <bench::Samples (*convert)(PixelRun, BitDepth),
          bench::Samples (*plain)(const PixelDataYCbCr*, std::size_t), BitDepth depth>
class Mapping : public Work
{
    const PixelDataYCbCr* pixels() const
    {
        return reinterpret_cast<const PixelDataYCbCr*>(words.data());
    }
    void ours() override { result_ = convert({pixels(), PIXELS}, depth); }
    void peer() override { result_ = plain(pixels(), PIXELS); }
    Bytes result() const override { return bytesOf(result_); }

    std::vector<quint16> words = noise<quint16>(3 * PIXELS, is10Bit(depth) ? 10 : 12);
    bench::Samples result_;
};

using Converter = SdiPixelToSourceImageSampleConverter;
using Mode1 = Mapping<Converter::convertToYCbCr422_10, bench::plainMode1, BitDepth_10>;
using Mode2 = Mapping<Converter::resampleTo444_4, bench::plainMode2, BitDepth_10>;
using Mode3 = Mapping<Converter::resampleToMappingMode3, bench::plainMode3, BitDepth_12>;
using Mode4 = Mapping<Converter::resampleToMappingMode4, bench::plainMode4, BitDepth_12>;

struct Row
{
    const char* name;
    std::size_t samples;
    double most; ///< share of the plain form's instructions
    std::unique_ptr<Work> (*make)();
};

template <typename Kind>
std::unique_ptr<Work> make()
{
    return std::make_unique<Kind>();
}

constexpr Row ROWS[] = {
    {"crcs", LINES*(ACTIVE + 6), 0.4, make<Crcs>},
    {"tagging", WIDTH* LINES, 0, make<Tagging>},
    {"ancillary", WIDTH* LINES, 0.4, make<AncillarySearch>},
    {"byteOrder", 4096, 0.4, make<ByteOrder>},
    {"colour", PIXELS, 0.4, make<Colour>},
    {"mode1", PIXELS, 0.4, make<Mode1>},
    {"mode2", PIXELS, 0.4, make<Mode2>},
    {"mode3", PIXELS, 0.4, make<Mode3>},
    {"mode4", PIXELS, 0.4, make<Mode4>},
};

[[gnu::noinline]] void mark()
{
    asm volatile("" ::: "memory");
}

/// FNV-1a.
quint32 digestOf(Bytes bytes)
{
    quint32 digest = 0x811C9DC5;
    for (std::size_t i = 0; i < bytes.size; ++i) {
        digest = (digest ^ static_cast<const quint8*>(bytes.data)[i]) * 0x01000193;
    }
    return digest;
}

int printMapping(dl_phdr_info* object, std::size_t, void*)
{
    std::size_t end = 0;
    for (int i = 0; i < object->dlpi_phnum; ++i) {
        if (object->dlpi_phdr[i].p_type == PT_LOAD) {
            end = object->dlpi_phdr[i].p_vaddr + object->dlpi_phdr[i].p_memsz;
        }
    }
    std::printf("mapped %zx %zx %s\n", std::size_t(object->dlpi_addr), end, object->dlpi_name);
    return 0;
}

/// The first round, which is not measured, links functions and fills the heap.
void run(Work& work, bool isPeer)
{
    for (int round = 0; round < 2; ++round) {
        if (round == 1) {
            mark();
        }
        isPeer ? work.peer() : work.ours();
    }
    mark();
}

} // namespace

int main(int argc, char** argv)
{
    if (argc == 1) {
        for (const Row& row : ROWS) {
            std::printf("%s %zu %g\n", row.name, row.samples, row.most);
        }
        return 0;
    }
    const auto* row = std::find_if(std::begin(ROWS), std::end(ROWS),
                                   [&](const Row& r) { return std::string(argv[1]) == r.name; });
    const std::string side = argc == 3 ? argv[2] : "";
    if (row == std::end(ROWS) || (side != "ours" && side != "peer")) {
        std::fputs("usage: target_kernels [ROW ours|peer]\n", stderr);
        return 2;
    }
    const std::unique_ptr<Work> work = row->make();
    dl_iterate_phdr(printMapping, nullptr);
    std::printf("mark %zx\n", reinterpret_cast<std::size_t>(&mark));
    run(*work, side == "peer");
    std::printf("result %08x\n", digestOf(work->result()));
    return 0;
}
