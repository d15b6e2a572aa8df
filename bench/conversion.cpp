// Colour conversion beside libswscale, and the mapping modes beside a plain loop that appends
// sample by sample; rows with "Back" are the way back, into memory that is there. The picture is
// 1920x1080 pixels of noise: no content is harder for either.
#include "bench/Compare.h"
#include "bench/PlainLoops.h"
#include "infrastructure/utility/video/analysis/PictureReader.h"
#include "infrastructure/utility/video/analysis/SdiSampleToPixelConverter.h"
#include "infrastructure/utility/video/generation/SdiColourConverter.h"
#include "infrastructure/utility/video/generation/SdiPixelToSourceImageSampleConverter.h"

#include "infrastructure/utility/video/SupportedVideoStandards.h"

#include <random>

#if HAVE_SWSCALE
extern "C" {
#include <libswscale/swscale.h>
}
#endif

namespace {

using namespace Tessorn::Sdi::PayloadId;
using namespace Tessorn::Types;
using Converter = SdiPixelToSourceImageSampleConverter;

constexpr int WIDTH = 1920;
constexpr int HEIGHT = 1080;
constexpr std::size_t PIXELS = std::size_t(WIDTH) * HEIGHT;

/// Words of that many bits, three per pixel.
std::vector<quint16> noise(unsigned bits)
{
    std::mt19937 random(1);
    std::vector<quint16> words(3 * PIXELS);
    for (quint16& word : words) {
        word = static_cast<quint16>(random() & ((1u << bits) - 1));
    }
    return words;
}

template <typename Pixel>
const Pixel* pixelsOf(const std::vector<quint16>& words)
{
    return reinterpret_cast<const Pixel*>(words.data());
}

#if HAVE_SWSCALE
/// Between RGB48 and YUV444P10 of Rec. 709, narrow range. RGB is full range, the only one that
/// libswscale knows; its work does not depend on it.
class Swscale
{
public:
    explicit Swscale(bool isToRgb)
        : toRgb(isToRgb)
        , context(sws_getContext(WIDTH, HEIGHT, isToRgb ? PLANAR : PACKED, WIDTH, HEIGHT,
                                 isToRgb ? PACKED : PLANAR, SWS_POINT, nullptr, nullptr, nullptr))
        , words(noise(isToRgb ? 10 : 16))
        , results(3 * PIXELS)
    {
        if (context != nullptr) {
            const int* rec709 = sws_getCoefficients(SWS_CS_ITU709);
            sws_setColorspaceDetails(context, rec709, isToRgb ? 0 : 1, rec709, isToRgb ? 1 : 0, 0,
                                     1 << 16, 1 << 16);
        }
    }
    Swscale(const Swscale&) = delete;
    Swscale& operator=(const Swscale&) = delete;
    ~Swscale() { sws_freeContext(context); }

    bool isReady() const { return context != nullptr; }
    void convert()
    {
        auto* const in = reinterpret_cast<quint8*>(words.data());
        auto* const out = reinterpret_cast<quint8*>(results.data());
        const Planes from(in, toRgb);
        const Planes to(out, !toRgb);
        sws_scale(context, from.data, from.strides, 0, HEIGHT, to.data, to.strides);
    }

private:
    static constexpr AVPixelFormat PACKED = AV_PIX_FMT_RGB48;
    static constexpr AVPixelFormat PLANAR = AV_PIX_FMT_YUV444P10;

    struct Planes
    {
        Planes(quint8* words, bool arePlanes)
            : data{words, arePlanes ? words + 2 * PIXELS : nullptr,
                   arePlanes ? words + 4 * PIXELS : nullptr}
            , strides{arePlanes ? 2 * WIDTH : 6 * WIDTH, 2 * WIDTH, 2 * WIDTH}
        {
        }

        quint8* data[3];
        int strides[3];
    };

    bool toRgb;
    SwsContext* context;
    std::vector<quint16> words;
    std::vector<quint16> results;
};
#endif

template <typename Ours>
void compareColour(benchmark::State& state, [[maybe_unused]] bool isToRgb,
                   [[maybe_unused]] Ours ours)
{
#if HAVE_SWSCALE
    Swscale swscale(isToRgb);
    if (!swscale.isReady()) {
        state.SkipWithError("libswscale does not convert this");
        return;
    }
    bench::compare(state, 3, isToRgb ? 8 : 14, ours, [&] { swscale.convert(); });
    state.SetItemsProcessed(state.iterations() * qint64(PIXELS));
#else
    state.SkipWithError("libswscale-dev was not there when this was built");
#endif
}

void colour(benchmark::State& state)
{
    const std::vector<quint16> words = noise(10);
    std::vector<PixelDataYCbCr> converted;
    compareColour(state, false, [&] {
        SdiColourConverter::convertRgbToYCbCr(pixelsOf<PixelDataRGB>(words), PIXELS,
                                              Colourimetry_Rec709, BitDepth_10, converted);
    });
}

/// To three words of 10 bits.
void colourBack(benchmark::State& state)
{
    const auto& matrix = SdiColourConverter::getInverseMatrix(Colourimetry_Rec709);
    const std::vector<quint16> words = noise(10);
    std::vector<quint16> inPlace = words;
    compareColour(state, true, [&] {
        // Results are other noise.
        PictureBuffer picture{PixelFormat_YCbCr, WIDTH, HEIGHT, inPlace.data()};
        SdiColourConverter::convertYCbCrToRgb(picture, matrix, BitDepth_10, RgbRange_Full);
    });
}

/// To four words of 16 bits, as an image takes them.
void colourBackToImage(benchmark::State& state)
{
    const auto& matrix = SdiColourConverter::getInverseMatrix(Colourimetry_Rec709);
    const std::vector<quint16> words = noise(10);
    std::vector<PixelDataARGB> image(PIXELS);
    compareColour(state, true, [&] {
        SdiColourConverter::convertToRgba64({pixelsOf<PixelDataYCbCr>(words), PIXELS}, matrix,
                                            BitDepth_10, image.data());
    });
}

using bench::Samples;

template <typename Ours>
void compareMode(benchmark::State& state, unsigned bits, double must, double aim, Ours ours,
                 Samples (*plain)(const PixelDataYCbCr*, std::size_t))
{
    const std::vector<quint16> words = noise(bits);
    const auto* pixels = pixelsOf<PixelDataYCbCr>(words);
    if (ours(pixels) != plain(pixels, PIXELS)) {
        state.SkipWithError("the peer gives something else");
        return;
    }
    bench::compare(
        state, must, aim, [&] { benchmark::DoNotOptimize(ours(pixels)); },
        [&] { benchmark::DoNotOptimize(plain(pixels, PIXELS)); });
    state.SetItemsProcessed(state.iterations() * qint64(PIXELS));
}

void mappingMode1(benchmark::State& state)
{
    const auto ours = [](const PixelDataYCbCr* pixels) {
        return Converter::convertToYCbCr422_10(pixels, PIXELS, BitDepth_10);
    };
    compareMode(state, 10, 1.5, 1.9, ours, bench::plainMode1);
}

void mappingMode2(benchmark::State& state)
{
    const auto ours = [](const PixelDataYCbCr* pixels) {
        return Converter::resampleTo444_4(pixels, PIXELS, BitDepth_10);
    };
    compareMode(state, 10, 2.5, 3.3, ours, bench::plainMode2);
}

void mappingMode3(benchmark::State& state)
{
    const auto ours = [](const PixelDataYCbCr* pixels) {
        return Converter::resampleToMappingMode3(pixels, PIXELS, BitDepth_12);
    };
    compareMode(state, 12, 4, 6, ours, bench::plainMode3);
}

void mappingMode4(benchmark::State& state)
{
    const auto ours = [](const PixelDataYCbCr* pixels) {
        return Converter::resampleToMappingMode4(pixels, PIXELS, BitDepth_12);
    };
    compareMode(state, 12, 1.8, 2.8, ours, bench::plainMode4);
}

// The plain loops of the way back.

using Pixels = std::vector<PixelDataYCbCr>;

void plainBack1(SampleRun run, Pixels& pixels)
{
    const Sdi20BitSample* samples = run.samples;
    for (std::size_t i = 0; i < run.count; i += 2) {
        const auto cb = quint16(samples[i].channelTwo & 0x3FF);
        const auto cr = quint16(samples[i + 1].channelTwo & 0x3FF);
        pixels.push_back({quint16(samples[i].channelOne & 0x3FF), cb, cr});
        pixels.push_back({quint16(samples[i + 1].channelOne & 0x3FF), cb, cr});
    }
}

void plainBack2(SampleRun run, Pixels& pixels)
{
    const Sdi20BitSample* samples = run.samples;
    for (std::size_t i = 0; i < run.count; i += 2) {
        pixels.push_back({quint16(samples[i].channelOne & 0x3FF),
                          quint16(samples[i + 1].channelTwo & 0x3FF),
                          quint16(samples[i + 1].channelOne & 0x3FF)});
    }
}

void plainBack3(SampleRun run, Pixels& pixels)
{
    const Sdi20BitSample* samples = run.samples;
    for (std::size_t i = 0; i < run.count; i += 2) {
        unsigned y = 0;
        unsigned cb = 0;
        unsigned cr = 0;
        for (const unsigned word : {samples[i].channelOne, samples[i].channelTwo,
                                    samples[i + 1].channelOne, samples[i + 1].channelTwo}) {
            cr = cr << 3 | (word >> 6 & 7u);
            y = y << 3 | (word >> 3 & 7u);
            cb = cb << 3 | (word & 7u);
        }
        pixels.push_back({quint16(y), quint16(cb), quint16(cr)});
    }
}

void plainBack4(SampleRun run, Pixels& pixels)
{
    const Sdi20BitSample* samples = run.samples;
    const auto twelve = [](unsigned upper, unsigned lower) {
        return quint16((upper & 63u) << 6 | (lower & 63u));
    };
    for (std::size_t i = 0; i < run.count; i += 4) {
        const quint16 cb = twelve(samples[i].channelTwo, samples[i + 1].channelTwo);
        const quint16 cr = twelve(samples[i + 2].channelTwo, samples[i + 3].channelTwo);
        pixels.push_back({twelve(samples[i].channelOne, samples[i + 1].channelOne), cb, cr});
        pixels.push_back({twelve(samples[i + 2].channelOne, samples[i + 3].channelOne), cb, cr});
    }
}

/// Line by line into one line's memory, as pictures are read: whole pictures would measure how much
/// of the memory's speed others leave.
void compareBack(benchmark::State& state, unsigned bits, double must, double aim,
                 Samples (*forth)(const PixelDataYCbCr*, std::size_t),
                 std::size_t (*ours)(SampleRun, PixelSpan), void (*plain)(SampleRun, Pixels&))
{
    const std::vector<quint16> words = noise(bits);
    const Samples samples = forth(pixelsOf<PixelDataYCbCr>(words), PIXELS);
    const std::size_t samplesOfLine = samples.size() / HEIGHT;
    Pixels pixels(WIDTH);
    Pixels plainPixels;
    plainPixels.reserve(WIDTH);
    const auto readLines = [&](auto read) {
        for (std::size_t first = 0; first < samples.size(); first += samplesOfLine) {
            read(SampleRun(samples.data() + first, samplesOfLine));
        }
    };
    const auto oursOf = [&](SampleRun line) {
        benchmark::DoNotOptimize(ours(line, {pixels.data(), WIDTH}));
    };
    const auto plainOf = [&](SampleRun line) {
        plainPixels.clear();
        plain(line, plainPixels);
        benchmark::DoNotOptimize(plainPixels.data());
    };
    bool areEqual = true;
    readLines([&](SampleRun line) {
        oursOf(line);
        plainOf(line);
        areEqual = areEqual && pixels == plainPixels;
    });
    if (!areEqual) {
        state.SkipWithError("the peer gives something else");
        return;
    }
    bench::compare(
        state, must, aim, [&] { readLines(oursOf); }, [&] { readLines(plainOf); });
    state.SetItemsProcessed(state.iterations() * qint64(PIXELS));
}

using Back = SdiSampleToPixelConverter;

void mappingMode1Back(benchmark::State& state)
{
    compareBack(state, 10, 1.5, 1.9, bench::plainMode1, Back::convertFromYCbCr422_10, plainBack1);
}

void mappingMode2Back(benchmark::State& state)
{
    compareBack(state, 10, 2.5, 3.3, bench::plainMode2, Back::convertFrom444_4, plainBack2);
}

void mappingMode3Back(benchmark::State& state)
{
    compareBack(state, 12, 4, 6, bench::plainMode3, Back::convertFromMappingMode3, plainBack3);
}

void mappingMode4Back(benchmark::State& state)
{
    compareBack(state, 12, 1.8, 2.8, bench::plainMode4, Back::convertFromMappingMode4, plainBack4);
}

/// Whole pictures out of the words of a frame, beside a plain loop over the words of one.
void pictureOfFrame(benchmark::State& state)
{
    const auto standard = SupportedVideoStandards::getInstance().findByDescription(
        QStringLiteral("1920x1080p50 YCbCr:422:10 3G A Rec.709"));
    const PictureReader reader(*standard);
    const FieldMetrics metrics = standard->getTransmissionMetrics()[0][0];
    std::mt19937 random(1);
    std::vector<quint32> words(metrics.getTotalSamples());
    for (quint32& word : words) {
        word = static_cast<quint32>(random());
    }
    Pixels pixels(PIXELS);
    Pixels plainPixels;
    plainPixels.reserve(PIXELS);
    const auto plain = [&] {
        plainPixels.clear();
        for (quint32 y = 0; y < HEIGHT; ++y) {
            const quint32* line =
                &words[metrics.getFirstActiveSampleOffset() + y * metrics.getWidth()];
            for (int x = 0; x < WIDTH; x += 2) {
                const auto first = Sdi20BitSample::fromStoreWord(line[x]);
                const auto second = Sdi20BitSample::fromStoreWord(line[x + 1]);
                plainPixels.push_back({first.channelOne, first.channelTwo, second.channelTwo});
                plainPixels.push_back({second.channelOne, first.channelTwo, second.channelTwo});
            }
        }
    };
    const auto ours = [&] {
        return reader.readPicture({{words}}, 0, {PixelFormat_YCbCr, WIDTH, HEIGHT, &pixels[0].y});
    };
    plain();
    if (!ours() || pixels != plainPixels) {
        state.SkipWithError("the peer gives something else");
        return;
    }
    bench::compare(
        state, 1.5, 1.9, [&] { benchmark::DoNotOptimize(ours()); }, plain);
    state.SetItemsProcessed(state.iterations() * qint64(PIXELS));
}

BENCHMARK(colour)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(colourBack)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(colourBackToImage)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(mappingMode1)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(mappingMode2)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(mappingMode3)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(mappingMode4)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(mappingMode1Back)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(mappingMode2Back)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(mappingMode3Back)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(mappingMode4Back)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(pictureOfFrame)->UseManualTime()->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char** argv)
{
    bench::keepFreedMemory();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
}
