#include "infrastructure/utility/video/generation/SdiPixelToSourceImageSampleConverter.h"

#include "infrastructure/utility/video/generation/MappingKernels_p.h"

#include "sw/infrastructure_test/Catch.h"
#include "sw/infrastructure_test/TestSupport.h"

#include <algorithm>
#include <array>
#include <random>

using namespace Tessorn::Sdi::PayloadId;
using namespace Tessorn::Types;
using Converter = SdiPixelToSourceImageSampleConverter;

namespace {

using Samples = Converter::Samples;

/// More than one block of each mode, and a part of one.
constexpr std::size_t COUNT = 1030;

std::vector<PixelDataAYCrCb> randomPixels(unsigned bits, quint16 mask = 0xFFFF)
{
    std::mt19937 random(bits);
    const auto word = [&] { return static_cast<quint16>(random() & ((1u << bits) - 1) & mask); };
    std::vector<PixelDataAYCrCb> pixels(COUNT);
    for (PixelDataAYCrCb& pixel : pixels) {
        pixel = {word(), word(), word(), word()};
    }
    return pixels;
}

/// The same in the other forms; forms without alpha lose it.
struct AllForms
{
    explicit AllForms(std::vector<PixelDataAYCrCb> pixels)
        : ayCrCb(std::move(pixels))
    {
        for (const PixelDataAYCrCb& pixel : ayCrCb) {
            yCbCr.push_back({pixel.y, pixel.cb, pixel.cr});
            argb.push_back({pixel.cr, pixel.y, pixel.cb, pixel.a});
            rgb.push_back({pixel.cr, pixel.y, pixel.cb});
        }
    }

    PictureBuffer picture(PixelFormat format)
    {
        quint16* const words[] = {&argb[0].r, &rgb[0].r, &ayCrCb[0].cr, &yCbCr[0].y};
        return {format, 10, quint32(ayCrCb.size() / 10), words[format]};
    }

    std::vector<PixelDataAYCrCb> ayCrCb;
    std::vector<PixelDataYCbCr> yCbCr;
    std::vector<PixelDataARGB> argb;
    std::vector<PixelDataRGB> rgb;
};

/// Bits `high` down to `low` of a word.
unsigned bits(unsigned word, int high, int low)
{
    return (word >> low) & ((1u << (high - low + 1)) - 1);
}

/// What comes back out of mode 3: all bits of a pixel, and whether bit 9 is right.
PixelDataYCbCr unpackMode3(const Sdi20BitSample* samples)
{
    unsigned y = 0;
    unsigned cb = 0;
    unsigned cr = 0;
    for (const quint16 word : {samples[0].channelOne, samples[0].channelTwo, samples[1].channelOne,
                               samples[1].channelTwo}) {
        REQUIRE(bits(word, 9, 9) != bits(word, 8, 8));
        REQUIRE(word < 1024);
        cr = cr << 3 | bits(word, 8, 6);
        y = y << 3 | bits(word, 5, 3);
        cb = cb << 3 | bits(word, 2, 0);
    }
    return {quint16(y), quint16(cb), quint16(cr)};
}

/// The picture's bits of a channel of two samples, and the alpha bits of each.
std::array<unsigned, 3> unpackMode4(quint16 upper, quint16 lower)
{
    for (const quint16 word : {upper, lower}) {
        REQUIRE(bits(word, 9, 9) != bits(word, 8, 8));
        REQUIRE(word < 1024);
    }
    return {bits(upper, 5, 0) << 6 | bits(lower, 5, 0), bits(upper, 8, 6), bits(lower, 8, 6)};
}

/// Checks two pixels of mode 4 by taking them apart again.
void checkMode4(const PixelDataAYCrCb* pixels, const Sdi20BitSample* samples, bool hasAlpha)
{
    const quint16 colour[] = {pixels[0].cb, pixels[0].cr};
    for (int i = 0; i < 2; ++i) {
        const Sdi20BitSample& upper = samples[2 * i];
        const Sdi20BitSample& lower = samples[2 * i + 1];
        const auto one = unpackMode4(upper.channelOne, lower.channelOne);
        const auto two = unpackMode4(upper.channelTwo, lower.channelTwo);
        REQUIRE(one[0] == pixels[i].y % 4096);
        REQUIRE(two[0] == colour[i] % 4096);
        REQUIRE((one[1] << 9 | two[1] << 6 | one[2] << 3 | two[2]) ==
                (hasAlpha ? pixels[i].a % 4096 : 64u));
    }
}

} // namespace

TEST_CASE("Mode 1 takes luma of both pixels and colour of the first, in ten bits", "[conversion]")
{
    const ForcedKernels forced(GENERATE(KernelForm::Plain, KernelForm::Vector));
    const AllForms forms(randomPixels(16));
    const Samples samples =
        Converter::convertToYCbCr422_10(forms.ayCrCb.data(), COUNT, BitDepth_10);
    REQUIRE(samples.size() == COUNT);
    for (std::size_t i = 0; i < COUNT; i += 2) {
        const PixelDataAYCrCb& pixel = forms.ayCrCb[i];
        REQUIRE(samples[i] == Sdi20BitSample{quint16(pixel.y % 1024), quint16(pixel.cb % 1024)});
        REQUIRE(samples[i + 1] ==
                Sdi20BitSample{quint16(forms.ayCrCb[i + 1].y % 1024), quint16(pixel.cr % 1024)});
    }
    CHECK(Converter::convertToYCbCr422_10(forms.yCbCr.data(), COUNT, BitDepth_10) == samples);
}

TEST_CASE("Mode 2 gives each pixel two samples", "[conversion]")
{
    const ForcedKernels forced(GENERATE(KernelForm::Plain, KernelForm::Vector));
    AllForms forms(randomPixels(10));
    const Samples samples = Converter::resampleTo444_4(forms.ayCrCb.data(), COUNT, BitDepth_10);
    REQUIRE(samples.size() == 2 * COUNT);
    for (std::size_t i = 0; i < COUNT; ++i) {
        const PixelDataAYCrCb& pixel = forms.ayCrCb[i];
        REQUIRE(samples[2 * i] == Sdi20BitSample{pixel.y, pixel.a});
        REQUIRE(samples[2 * i + 1] == Sdi20BitSample{pixel.cr, pixel.cb});
    }
    CHECK(Converter::resampleTo444_4(forms.argb.data(), COUNT, BitDepth_10) == samples);

    for (PixelDataAYCrCb& pixel : forms.ayCrCb) {
        pixel.a = 64;
    }
    const Samples opaque = Converter::resampleTo444_4(forms.ayCrCb.data(), COUNT, BitDepth_10);
    CHECK(opaque != samples);
    CHECK(Converter::resampleTo444_4(forms.yCbCr.data(), COUNT, BitDepth_10) == opaque);
    CHECK(Converter::resampleTo444_4(forms.rgb.data(), COUNT, BitDepth_10) == opaque);
}

TEST_CASE("Mode 3 carries all twelve bits of each component", "[conversion]")
{
    const ForcedKernels forced(GENERATE(KernelForm::Plain, KernelForm::Vector));
    // Worked out by hand from the groups 101 010 011 110, 000 111 001 100 and 110 001 100 011.
    const PixelDataYCbCr pixel{05236, 00714, 06143};
    const Samples one = Converter::resampleToMappingMode3(&pixel, 1, BitDepth_12);
    CHECK(one == Samples{{0650, 0127 | 0x200}, {0431, 0364 | 0x200}});

    const PixelDataRGB black;
    CHECK(Converter::resampleToMappingMode3(&black, 1, BitDepth_12) ==
          Samples{{0x200, 0x200}, {0x200, 0x200}});

    const AllForms forms(randomPixels(16));
    const Samples samples =
        Converter::resampleToMappingMode3(forms.yCbCr.data(), COUNT, BitDepth_12FullRange);
    REQUIRE(samples.size() == 2 * COUNT);
    for (std::size_t i = 0; i < COUNT; ++i) {
        const PixelDataYCbCr& in = forms.yCbCr[i];
        REQUIRE(unpackMode3(&samples[2 * i]) ==
                PixelDataYCbCr{quint16(in.y % 4096), quint16(in.cb % 4096), quint16(in.cr % 4096)});
    }
    CHECK(Converter::resampleToMappingMode3(forms.ayCrCb.data(), COUNT, BitDepth_12) == samples);
    CHECK(Converter::resampleToMappingMode3(forms.argb.data(), COUNT, BitDepth_12) == samples);
    CHECK(Converter::resampleToMappingMode3(forms.rgb.data(), COUNT, BitDepth_12) == samples);
}

TEST_CASE("Mode 4 carries twelve bits of 4:2:2 and of alpha", "[conversion]")
{
    const ForcedKernels forced(GENERATE(KernelForm::Plain, KernelForm::Vector));
    const PixelDataYCbCr black[2] = {};
    CHECK(Converter::resampleToMappingMode4(black, 2, BitDepth_12) ==
          Samples{{0x200, 0x240}, {0x200, 0x200}, {0x200, 0x240}, {0x200, 0x200}});

    const AllForms forms(randomPixels(16));
    const Samples withAlpha =
        Converter::resampleToMappingMode4(forms.ayCrCb.data(), COUNT, BitDepth_12);
    const Samples without =
        Converter::resampleToMappingMode4(forms.yCbCr.data(), COUNT, BitDepth_12);
    REQUIRE(withAlpha.size() == 2 * COUNT);
    REQUIRE(without.size() == 2 * COUNT);
    for (std::size_t i = 0; i < COUNT; i += 2) {
        checkMode4(&forms.ayCrCb[i], &withAlpha[2 * i], true);
        checkMode4(&forms.ayCrCb[i], &without[2 * i], false);
    }
}

TEST_CASE("Mode II splits pairs of pixels over two links", "[conversion]")
{
    const ForcedKernels forced(GENERATE(KernelForm::Plain, KernelForm::Vector));
    const AllForms forms(randomPixels(10));
    const auto links = Converter::resampleToMappingModeII(forms.ayCrCb.data(), COUNT, BitDepth_10);
    const auto without = Converter::resampleToMappingModeII(forms.yCbCr.data(), COUNT, BitDepth_10);
    const Samples& a = links.at(DualLinkLink_A);
    const Samples& b = links.at(DualLinkLink_B);
    REQUIRE(a.size() == COUNT);
    REQUIRE(b.size() == COUNT);
    REQUIRE(without.at(DualLinkLink_B).size() == COUNT);
    CHECK(without.at(DualLinkLink_A) == a);
    for (std::size_t i = 0; i < COUNT; i += 2) {
        const PixelDataAYCrCb& even = forms.ayCrCb[i];
        const PixelDataAYCrCb& odd = forms.ayCrCb[i + 1];
        REQUIRE(a[i] == Sdi20BitSample{even.y, even.cb});
        REQUIRE(a[i + 1] == Sdi20BitSample{odd.y, even.cr});
        REQUIRE(b[i] == Sdi20BitSample{even.a, odd.cb});
        REQUIRE(b[i + 1] == Sdi20BitSample{odd.a, odd.cr});
        REQUIRE(without.at(DualLinkLink_B)[i] == Sdi20BitSample{0x40, odd.cb});
        REQUIRE(without.at(DualLinkLink_B)[i + 1] == Sdi20BitSample{0x40, odd.cr});
    }
}

namespace {

/// Link A and link B behind it, which are there always.
Samples bothLinks(PixelRun pixels, BitDepth depth)
{
    auto links = Converter::resampleToMappingModeII(pixels, depth);
    Samples samples = links.at(DualLinkLink_A);
    const Samples& second = links.at(DualLinkLink_B);
    CHECK(second.size() == samples.size());
    samples.insert(samples.end(), second.begin(), second.end());
    return samples;
}

struct Operation
{
    const char* name;
    BitDepth depth;
    bool takesRgb;
    bool inPairs;
    Samples (*convert)(PixelRun, BitDepth);
    std::size_t samplesForThree;
};

const Operation OPERATIONS[] = {
    {"convertToYCbCr422_10", BitDepth_10, false, true, Converter::convertToYCbCr422_10, 2},
    {"resampleTo444_4", BitDepth_10, true, false, Converter::resampleTo444_4, 6},
    {"resampleToMappingMode3", BitDepth_12, true, false, Converter::resampleToMappingMode3, 6},
    {"resampleToMappingMode4", BitDepth_12, false, true, Converter::resampleToMappingMode4, 4},
    {"resampleToMappingModeII", BitDepth_10, false, true, bothLinks, 4},
};

} // namespace

TEST_CASE("A picture goes by its format, and one that a mode does not take gives nothing",
          "[conversion]")
{
    AllForms forms(randomPixels(10));
    const PixelRun runs[] = {{forms.argb.data(), COUNT},
                             {forms.rgb.data(), COUNT},
                             {forms.ayCrCb.data(), COUNT},
                             {forms.yCbCr.data(), COUNT}};
    const LogCapture log;
    for (const Operation& row : OPERATIONS) {
        for (quint32 format = 0; format < 4; ++format) {
            CAPTURE(row.name, format);
            const Samples samples = row.convert(forms.picture(PixelFormat(format)), row.depth);
            CHECK(samples.empty() == (format < 2 && !row.takesRgb));
            CHECK(samples == row.convert(runs[format], row.depth));
        }
        PictureBuffer unknown = forms.picture(PixelFormat_RGB);
        unknown.format = PixelFormat(4);
        CHECK(row.convert(unknown, BitDepth(4)).empty());
        CHECK(row.convert(PictureBuffer{PixelFormat_YCbCr, 10, 10, nullptr}, row.depth).empty());
    }
    CHECK(log.lines().isEmpty());
}

TEST_CASE("A wrong depth and a last odd pixel are logged, and the rest converts", "[conversion]")
{
    const AllForms forms(randomPixels(10));
    for (const Operation& row : OPERATIONS) {
        const QString operation = QLatin1String(row.name);
        const std::size_t taken = row.inPairs ? 2 : 3;
        const Samples expectedSamples = row.convert({forms.yCbCr.data(), taken}, row.depth);
        CHECK(expectedSamples.size() == row.samplesForThree);
        for (quint32 depth = 0; depth < 5; ++depth) {
            CAPTURE(operation, depth);
            const LogCapture log;
            CHECK(row.convert({forms.yCbCr.data(), 3}, BitDepth(depth)) == expectedSamples);
            QStringList expected;
            if (depth > 3 || (depth > 1) != (row.depth == BitDepth_12)) {
                expected << "error: Error incorrect bit depth in "_s + operation;
            }
            if (row.inPairs) {
                expected << "error: Odd number of pixels in %1, the last one is "
                            "dropped: 3"_s.arg(operation);
            }
            CHECK(log.lines() == expected);
        }
        CHECK(row.convert({forms.yCbCr.data(), 0}, row.depth).empty());
    }
}

TEST_CASE("Mapping kernels give the same in both forms, and nothing beyond",
          "[conversion][kernels]")
{
    if (!hasVectorKernels()) {
        return;
    }
    const auto pixels = randomPixels(16);
    const quint16* const words = &pixels[0].cr + 1; // at an odd place
    for (std::size_t mode = 0; mode < MappingKernels::MODES; ++mode) {
        for (std::size_t format = 0; format < MappingKernels::FORMATS; ++format) {
            const auto plain = MappingKernels::of(PlainForm()).kernels[mode][format];
            const auto vector = MappingKernels::of(VectorForm()).kernels[mode][format];
            REQUIRE((plain == nullptr) == (vector == nullptr));
            const std::size_t step = 2 * getSamplesOfPixel(MappingMode(mode));
            for (std::size_t count = 0; plain != nullptr && count < 100; ++count) {
                CAPTURE(mode, format, count);
                std::vector<quint16> results[2] = {std::vector<quint16>(402, 0xABCD),
                                                   std::vector<quint16>(402, 0xABCD)};
                plain(words, count, results[0].data() + 1);
                vector(words, count, results[1].data() + 1);
                REQUIRE(results[0] == results[1]);
                REQUIRE(std::count(results[0].begin(), results[0].end(), 0xABCD) ==
                        qint64(402 - count * step));
            }
        }
    }
}
