// Colour conversion beside libswscale, and the mapping modes beside a plain loop that appends
// sample by sample. The picture is 1920x1080 pixels of noise: no content is harder for either.
#include "bench/Compare.h"
#include "infrastructure/utility/video/generation/SdiColourConverter.h"
#include "infrastructure/utility/video/generation/SdiPixelToSourceImageSampleConverter.h"

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
/// RGB48 to YUV444P10 of Rec. 709, narrow range. The input is full range, the only one that
/// libswscale knows for RGB; its work does not depend on it.
class Swscale
{
public:
    Swscale()
        : context(sws_getContext(WIDTH, HEIGHT, AV_PIX_FMT_RGB48, WIDTH, HEIGHT,
                                 AV_PIX_FMT_YUV444P10, SWS_POINT, nullptr, nullptr, nullptr))
    {
        if (context != nullptr) {
            sws_setColorspaceDetails(context, sws_getCoefficients(SWS_CS_ITU709), 1,
                                     sws_getCoefficients(SWS_CS_ITU709), 0, 0, 1 << 16, 1 << 16);
        }
        for (auto& plane : planes) {
            plane.resize(PIXELS);
        }
    }
    Swscale(const Swscale&) = delete;
    Swscale& operator=(const Swscale&) = delete;
    ~Swscale() { sws_freeContext(context); }

    bool isReady() const { return context != nullptr; }
    void convert(const std::vector<quint16>& rgb48)
    {
        const quint8* const from[] = {reinterpret_cast<const quint8*>(rgb48.data())};
        const int fromStride[] = {WIDTH * 6};
        quint8* const to[] = {reinterpret_cast<quint8*>(planes[0].data()),
                              reinterpret_cast<quint8*>(planes[1].data()),
                              reinterpret_cast<quint8*>(planes[2].data())};
        const int toStride[] = {WIDTH * 2, WIDTH * 2, WIDTH * 2};
        sws_scale(context, from, fromStride, 0, HEIGHT, to, toStride);
    }

private:
    SwsContext* context;
    std::vector<quint16> planes[3];
};
#endif

void colour(benchmark::State& state)
{
#if HAVE_SWSCALE
    const std::vector<quint16> words = noise(10);
    const std::vector<quint16> rgb48 = noise(16);
    std::vector<PixelDataYCbCr> converted;
    Swscale swscale;
    if (!swscale.isReady()) {
        state.SkipWithError("libswscale does not convert this");
        return;
    }
    bench::compare(
        state, 3, 8,
        [&] {
            SdiColourConverter::convertRgbToYCbCr(pixelsOf<PixelDataRGB>(words), PIXELS,
                                                  Colourimetry_Rec709, BitDepth_10, converted);
        },
        [&] { swscale.convert(rgb48); });
    state.SetItemsProcessed(state.iterations() * qint64(PIXELS));
#else
    state.SkipWithError("libswscale-dev was not there when this was built");
#endif
}

// The plain loops: each word as in the mapping's table.

using Samples = Converter::Samples;

Samples plainMode1(const PixelDataYCbCr* pixels)
{
    Samples samples;
    samples.reserve(PIXELS);
    for (std::size_t i = 0; i < PIXELS; i += 2) {
        samples.push_back({quint16(pixels[i].y & 0x3FF), quint16(pixels[i].cb & 0x3FF)});
        samples.push_back({quint16(pixels[i + 1].y & 0x3FF), quint16(pixels[i].cr & 0x3FF)});
    }
    return samples;
}

Samples plainMode2(const PixelDataYCbCr* pixels)
{
    Samples samples;
    samples.reserve(2 * PIXELS);
    for (std::size_t i = 0; i < PIXELS; ++i) {
        samples.push_back({pixels[i].y, 64});
        samples.push_back({pixels[i].cr, pixels[i].cb});
    }
    return samples;
}

quint16 plainWord(unsigned value)
{
    return static_cast<quint16>(value | ((value & 0x100) != 0 ? 0u : 0x200u));
}

Samples plainMode3(const PixelDataYCbCr* pixels)
{
    Samples samples;
    samples.reserve(2 * PIXELS);
    for (std::size_t i = 0; i < PIXELS; ++i) {
        const auto word = [&](int group) {
            const auto bits = [group](unsigned value) { return (value >> (3 * group)) & 7u; };
            return plainWord(bits(pixels[i].cr) << 6 | bits(pixels[i].y) << 3 | bits(pixels[i].cb));
        };
        samples.push_back({word(3), word(2)});
        samples.push_back({word(1), word(0)});
    }
    return samples;
}

Samples plainMode4(const PixelDataYCbCr* pixels)
{
    Samples samples;
    samples.reserve(2 * PIXELS);
    const auto word = [](unsigned six, unsigned alpha, int group) {
        return plainWord((six & 63u) | ((alpha >> (3 * group)) & 7u) << 6);
    };
    const unsigned alpha = 64;
    for (std::size_t i = 0; i < PIXELS; i += 2) {
        const unsigned y[] = {pixels[i].y, pixels[i + 1].y};
        const unsigned colour[] = {pixels[i].cb, pixels[i].cr};
        for (int half = 0; half < 2; ++half) {
            samples.push_back({word(y[half] >> 6, alpha, 3), word(colour[half] >> 6, alpha, 2)});
            samples.push_back({word(y[half], alpha, 1), word(colour[half], alpha, 0)});
        }
    }
    return samples;
}

template <typename Ours>
void compareMode(benchmark::State& state, unsigned bits, double must, double aim, Ours ours,
                 Samples (*plain)(const PixelDataYCbCr*))
{
    const std::vector<quint16> words = noise(bits);
    const auto* pixels = pixelsOf<PixelDataYCbCr>(words);
    if (ours(pixels) != plain(pixels)) {
        state.SkipWithError("the peer gives something else");
        return;
    }
    bench::compare(
        state, must, aim, [&] { benchmark::DoNotOptimize(ours(pixels)); },
        [&] { benchmark::DoNotOptimize(plain(pixels)); });
    state.SetItemsProcessed(state.iterations() * qint64(PIXELS));
}

void mappingMode1(benchmark::State& state)
{
    const auto ours = [](const PixelDataYCbCr* pixels) {
        return Converter::convertToYCbCr422_10(pixels, PIXELS, BitDepth_10);
    };
    compareMode(state, 10, 1.5, 1.9, ours, plainMode1);
}

void mappingMode2(benchmark::State& state)
{
    const auto ours = [](const PixelDataYCbCr* pixels) {
        return Converter::resampleTo444_4(pixels, PIXELS, BitDepth_10);
    };
    compareMode(state, 10, 2.5, 3.3, ours, plainMode2);
}

void mappingMode3(benchmark::State& state)
{
    const auto ours = [](const PixelDataYCbCr* pixels) {
        return Converter::resampleToMappingMode3(pixels, PIXELS, BitDepth_12);
    };
    compareMode(state, 12, 4, 6, ours, plainMode3);
}

void mappingMode4(benchmark::State& state)
{
    const auto ours = [](const PixelDataYCbCr* pixels) {
        return Converter::resampleToMappingMode4(pixels, PIXELS, BitDepth_12);
    };
    compareMode(state, 12, 1.8, 2.8, ours, plainMode4);
}

BENCHMARK(colour)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(mappingMode1)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(mappingMode2)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(mappingMode3)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(mappingMode4)->UseManualTime()->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char** argv)
{
    bench::keepFreedMemory();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
}
