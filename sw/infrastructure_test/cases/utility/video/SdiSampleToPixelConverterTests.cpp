#include "infrastructure/utility/video/analysis/SdiSampleToPixelConverter.h"

#include "infrastructure/utility/video/generation/SdiPixelToSourceImageSampleConverter.h"
#include "sw/infrastructure_test/Catch.h"
#include "sw/infrastructure_test/TestSupport.h"

#include <random>

using namespace Tessorn::Sdi::PayloadId;
using namespace Tessorn::Types;
using Back = SdiSampleToPixelConverter;
using Forth = SdiPixelToSourceImageSampleConverter;
using Samples = Forth::Samples;

namespace {

constexpr PixelDataAYCrCb UNTOUCHED{0xABCD, 0xABCD, 0xABCD, 0xABCD};

/// Pixels of which all bits vary.
std::vector<PixelDataAYCrCb> randomPixels(std::size_t count, unsigned bits)
{
    std::mt19937 random(bits);
    const auto word = [&] { return static_cast<quint16>(random() & ((1u << bits) - 1)); };
    std::vector<PixelDataAYCrCb> pixels(count);
    for (PixelDataAYCrCb& pixel : pixels) {
        pixel = {word(), word(), word(), word()};
    }
    return pixels;
}

/// The first samples of link A and, in mode II, the first ones of link B.
using Links = std::vector<Samples>;

struct Mode
{
    const char* name;
    unsigned bits;
    bool hasAlpha;
    bool inPairs; ///< of which the second pixel has no colour, except in mode II
    bool takesRgb;
    std::size_t samplesAPixel;
    Links (*forth)(PixelRun);
    std::size_t (*back)(const Links&, std::size_t, PixelSpan);
};

template <Samples (*convert)(PixelRun, BitDepth), BitDepth depth>
Links forth(PixelRun pixels)
{
    return {convert(pixels, depth)};
}

template <std::size_t (*convert)(SampleRun, PixelSpan)>
std::size_t back(const Links& links, std::size_t count, PixelSpan pixels)
{
    return convert({links[0].data(), count}, pixels);
}

Links forthII(PixelRun pixels)
{
    const auto links = Forth::resampleToMappingModeII(pixels, BitDepth_10);
    return {links.at(DualLinkLink_A), links.at(DualLinkLink_B)};
}

/// The shorter link counts.
std::size_t backII(const Links& links, std::size_t count, PixelSpan pixels)
{
    const std::size_t longer = std::min(count + 2, links[0].size());
    const SampleRun a(links[0].data(), count % 3 == 0 ? longer : count);
    const SampleRun b(links[1].data(), count % 3 == 1 ? longer : count);
    return Back::convertFromMappingModeII(a, b, pixels);
}

const Mode MODES[] = {
    {"1", 10, false, true, false, 1, forth<Forth::convertToYCbCr422_10, BitDepth_10>,
     back<Back::convertFromYCbCr422_10>},
    {"2", 10, true, false, true, 2, forth<Forth::resampleTo444_4, BitDepth_10>,
     back<Back::convertFrom444_4>},
    {"3", 12, false, false, true, 2, forth<Forth::resampleToMappingMode3, BitDepth_12>,
     back<Back::convertFromMappingMode3>},
    {"4", 12, true, true, false, 2, forth<Forth::resampleToMappingMode4, BitDepth_12>,
     back<Back::convertFromMappingMode4>},
    {"II", 10, true, true, true, 1, forthII, backII},
};

/// What a mode leaves of a pixel.
PixelDataAYCrCb carried(const Mode& mode, const std::vector<PixelDataAYCrCb>& pixels, std::size_t i)
{
    const bool losesColour = mode.inPairs && mode.forth != forthII;
    const PixelDataAYCrCb& colour = pixels[losesColour ? i - i % 2 : i];
    return {colour.cr, pixels[i].y, colour.cb, mode.hasAlpha ? pixels[i].a : quint16(64)};
}

} // namespace

TEST_CASE("Samples of each mode become the pixels they were made of, in every form and number",
          "[conversion]")
{
    const LogCapture log;
    for (const Mode& mode : MODES) {
        for (std::size_t count = 0; count < 40; ++count) {
            CAPTURE(mode.name, count);
            const std::size_t whole = count - (mode.inPairs ? count % 2 : 0);
            const auto pixels = randomPixels(40, mode.bits);
            const Links links = mode.forth({pixels.data(), pixels.size()});
            const std::size_t samples = count * mode.samplesAPixel;
            std::vector<PixelDataAYCrCb> ayCrCb(41, UNTOUCHED);
            std::vector<PixelDataARGB> argb(41, {1, 2, 3, 4});
            std::vector<PixelDataYCbCr> yCbCr(41, {1, 2, 3});
            std::vector<PixelDataRGB> rgb(41, {1, 2, 3});
            const std::size_t ofRgb = mode.takesRgb ? whole : 0;
            // Either the samples end first, or the room for pixels.
            CHECK(mode.back(links, samples, {ayCrCb.data(), ayCrCb.size()}) == whole);
            CHECK(mode.back(links, 40 * mode.samplesAPixel, {argb.data(), count}) == ofRgb);
            CHECK(mode.back(links, samples, {yCbCr.data(), count + 1}) == whole);
            CHECK(mode.back(links, samples, {rgb.data(), rgb.size()}) == ofRgb);
            for (std::size_t i = 0; i < ayCrCb.size(); ++i) {
                const PixelDataAYCrCb in = i < whole ? carried(mode, pixels, i) : UNTOUCHED;
                REQUIRE(ayCrCb[i] == in);
                REQUIRE(yCbCr[i] ==
                        (i < whole ? PixelDataYCbCr{in.y, in.cb, in.cr} : PixelDataYCbCr{1, 2, 3}));
                REQUIRE(argb[i] == (i < ofRgb ? PixelDataARGB{in.cr, in.y, in.cb, in.a}
                                              : PixelDataARGB{1, 2, 3, 4}));
                REQUIRE(rgb[i] ==
                        (i < ofRgb ? PixelDataRGB{in.cr, in.y, in.cb} : PixelDataRGB{1, 2, 3}));
            }
        }
        PixelSpan unknown(static_cast<PixelDataARGB*>(nullptr), 1);
        unknown.format = PixelFormat(4);
        CHECK(mode.back(mode.forth({&UNTOUCHED, 1}), 1, unknown) == 0);
    }
    const QStringList logged = log.lines();
    CHECK(logged.filter("Odd number of pixels"_s).size() == logged.size());
}

TEST_CASE("Bits that are none of a sample's ten are dropped", "[conversion]")
{
    for (const Mode& mode : MODES) {
        CAPTURE(mode.name);
        const auto pixels = randomPixels(16, mode.bits);
        Links links = mode.forth({pixels.data(), pixels.size()});
        const bool bit9IsSpare = mode.bits == 12;
        for (Samples& samples : links) {
            CHECK((bit9IsSpare ? Back::countDamaged(samples) : 0) == 0);
            for (Sdi20BitSample& sample : samples) {
                sample.channelOne ^= bit9IsSpare ? 0xFE00 : 0xFC00;
                sample.channelTwo ^= bit9IsSpare ? 0xFE00 : 0xFC00;
            }
        }
        std::vector<PixelDataAYCrCb> result(16);
        CHECK(mode.back(links, links[0].size(), {result.data(), 16}) == 16);
        for (std::size_t i = 0; i < result.size(); ++i) {
            REQUIRE(result[i] == carried(mode, pixels, i));
        }
    }
    const Samples samples{
        {0x1FF, 0x200}, {0x300, 0x200}, {0x100, 0x000}, {0x3FF, 0x000}, {0x5FF, 0x2FF}};
    CHECK(Back::countDamaged(samples) == 3);
    CHECK(Back::countDamaged({samples.data(), 1}) == 0);
}
