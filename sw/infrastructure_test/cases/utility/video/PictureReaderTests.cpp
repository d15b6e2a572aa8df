#include "infrastructure/utility/video/analysis/PictureReader.h"

#include "infrastructure/utility/video/generation/SdiPixelToSourceImageSampleConverter.h"
#include "infrastructure/utility/video/SupportedVideoStandards.h"
#include "infrastructure/utility/video/VideoStandardFactory.h"
#include "sw/infrastructure_test/Catch.h"
#include "sw/infrastructure_test/TestSupport.h"

#include <map>
#include <random>
#include <set>

using namespace Tessorn::Sdi;
using namespace Tessorn::Sdi::PayloadId;
using namespace Tessorn::Types;
using Converter = SdiPixelToSourceImageSampleConverter;
using Samples = Converter::Samples;
using Standard = StandardFromPayloadIdentifier;

namespace {

using Line = std::vector<PixelDataAYCrCb>;

Line randomLine(std::size_t count, std::size_t seed, bool is12Bits)
{
    std::mt19937 random(static_cast<unsigned>(seed));
    const auto word = [&] { return static_cast<quint16>(random() & (is12Bits ? 0xFFF : 0x3FF)); };
    Line pixels(count);
    for (PixelDataAYCrCb& pixel : pixels) {
        pixel = {word(), word(), word(), word()};
    }
    return pixels;
}

/// The samples of pixels that follow each other in a sub-image.
Samples samplesOf(const Line& pixels, quint32 mode)
{
    const PixelRun run(pixels.data(), pixels.size());
    switch (mode) {
    case 1:
        return Converter::resampleTo444_4(run, BitDepth_10);
    case 2:
        return Converter::resampleToMappingMode3(run, BitDepth_12);
    case 3:
        return Converter::resampleToMappingMode4(run, BitDepth_12);
    case 5: {
        const auto links = Converter::resampleToMappingModeII(run, BitDepth_10);
        Samples both;
        for (std::size_t i = 0; i < pixels.size(); ++i) {
            both.insert(both.end(), {links.at(DualLinkLink_A)[i], links.at(DualLinkLink_B)[i]});
        }
        return both;
    }
    default:
        return Converter::convertToYCbCr422_10(run, BitDepth_10);
    }
}

/// A frame in words of the test, which may hold anything.
struct Store
{
    Store(const Standard& standard, std::vector<quint32>& words)
        : metrics(standard.getTransmissionMetrics())
    {
        std::size_t size = 0;
        for (const auto& field : metrics) {
            size += field.size() * field.at(0).getTotalSamples();
        }
        words.resize(std::max(words.size(), size), 0xFFFDEAD5);
        quint32* next = words.data();
        for (const auto& field : metrics) {
            starts.emplace_back();
            frame.emplace_back();
            for (const FieldMetrics& image : field) {
                starts.back().push_back(next);
                frame.back().emplace_back(next, image.getTotalSamples());
                next += image.getTotalSamples();
            }
        }
    }

    /// The word of an interface's line and sample, in the field that has that line.
    quint32& at(std::size_t image, qint32 line, qint32 sample)
    {
        const std::size_t field =
            metrics.size() > 1 && quint32(line) >= metrics[1].at(0).getFirstLineNumber() ? 1 : 0;
        const FieldMetrics& layout = metrics[field].at(image);
        const auto place = layout.toSampleLocation({quint32(sample), quint32(line)});
        if (!layout.contains(place)) {
            FAIL("line " << line << ", sample " << sample << " is not in the field");
        }
        const quint32 row = place.lineIndex - layout.getWholeFieldRegion().getFirstLineIndex();
        return starts[field][image][row * layout.getWidth() + place.sampleIndex];
    }

    Standard::TransmissionMetrics metrics;
    std::vector<std::vector<quint32*>> starts;
    PictureReader::Frame frame;
};

/// Puts a line of a picture where the cursor has its pixels, or SMPTE ST 372 for two links. Gives
/// back what can be read of it.
Line writeLine(const Standard& standard, Store& store, quint32 picture, quint32 y, Line line)
{
    const bool isOnTwoLinks =
        standard.getNumberOfLinks() == 2 && standard.getNumberOfSubImages() == 1;
    const ActivePictureRaster raster(standard, standard.getSubImageDivision(),
                                     ActivePictureRaster::isLineInterleaved(standard)
                                         ? ActivePictureForm_LevelBli
                                         : ActivePictureForm_LevelA);
    struct Run
    {
        Line pixels;
        std::vector<ActivePictureRaster::Source> places;
    };
    std::map<qint64, Run> runs; // by sub-image
    for (std::size_t x = 0; x < line.size(); ++x) {
        auto place = raster.toSource({qint64(y) + 1, qint64(x), 0});
        if (isOnTwoLinks) {
            place = {(picture == 0 ? 21 : 584) + qint64(y) / 2, 0, qint64(x), y % 2};
        } else if (picture == 1) {
            place.line = place.lineInOtherLevelBLink;
        }
        runs[place.link].pixels.push_back(line[x]);
        runs[place.link].places.push_back(place);
    }
    const quint32 mode = standard.getMappingMode();
    const std::size_t samplesAPixel = mode == 0 || mode == 4 ? 1 : 2;
    for (const auto& run : runs) {
        const Samples samples = samplesOf(run.second.pixels, mode);
        for (std::size_t i = 0; i < samples.size(); ++i) {
            const auto& place = run.second.places[i / samplesAPixel];
            // Bits 31 to 20 say nothing.
            store.at(std::size_t(run.first), qint32(place.line),
                     qint32(place.sample) + qint32(i % samplesAPixel)) =
                samples[i].toStoreWord() | 0xA5500000;
        }
    }
    // 4:2:2 pairs are those of the sub-image, which are pairs of the picture as well.
    const bool isNarrow = mode == 0 || mode == 3 || mode == 4;
    const bool hasAlpha = mode == 1 || mode == 3 || mode == 5;
    for (std::size_t x = 0; x < line.size(); ++x) {
        line[x].cr = line[isNarrow ? x - x % 2 : x].cr;
        line[x].cb = line[isNarrow ? x - x % 2 : x].cb;
        line[x].a = hasAlpha ? line[x].a : 64;
    }
    return line;
}

/// The words of a line in a form of the reader, as the pixels that they are.
Line readLine(const PictureReader& reader, const Store& store, quint32 picture, quint32 y)
{
    const auto width = static_cast<std::size_t>(reader.getSize().width());
    if (isYCbCr(reader.getFormat())) {
        Line line(width);
        CHECK(reader.readLine(store.frame, picture, y, {line.data(), width}));
        return line;
    }
    std::vector<PixelDataARGB> line(width);
    CHECK(reader.readLine(store.frame, picture, y, {line.data(), width}));
    Line pixels;
    for (const PixelDataARGB& pixel : line) {
        pixels.push_back({pixel.r, pixel.g, pixel.b, pixel.a});
    }
    return pixels;
}

const Standard& standardCalled(const char* description)
{
    const auto standard =
        SupportedVideoStandards::getInstance().findByDescription(QLatin1String(description));
    INFO(description);
    REQUIRE(standard != nullptr);
    return *standard;
}

} // namespace

TEST_CASE("Lines of every kind of standard are read where the cursor puts them", "[cursor]")
{
    using Shape = std::tuple<Level, PictureFormat, SubImageDivision, quint32, quint32, int, int>;
    std::map<Shape, const Standard*> shapes;
    std::set<std::string_view> reasons;
    for (const auto& listed : SupportedVideoStandards::getInstance().getStandards()) {
        const Standard& standard = *listed;
        const PictureReader reader(standard);
        if (const std::string_view reason = reader.getReasonWithoutPicture(); !reason.empty()) {
            reasons.insert(reason);
            CHECK(reader.getSize() == QSize(0, 0));
            CHECK(reader.getPictureCount() == 0);
            continue;
        }
        shapes.emplace(Shape(standard.getLevel(), standard.getPicutreInterlacedProgressivePsf(),
                             standard.getSubImageDivision(), standard.getNumberOfLinks(),
                             standard.getMappingMode(), standard.getPictureSize().width(),
                             standard.getPictureSize().height()),
                       listed.get());
    }
    const LogCapture log;
    CHECK(shapes.size() > 60);
    std::vector<quint32> words;
    for (const auto& shape : shapes) {
        const Standard& standard = *shape.second;
        const PictureReader reader(standard);
        CAPTURE(standard.getDescription());
        REQUIRE(reader.getSize() == standard.getPictureSize());
        const auto width = static_cast<std::size_t>(reader.getSize().width());
        const auto height = static_cast<quint32>(reader.getSize().height());
        const bool is12Bits = is12Bit(BitDepth(standard.getBitDepth()));
        Store store(standard, words);
        std::map<std::pair<quint32, quint32>, Line> expected;
        for (quint32 picture = 0; picture < reader.getPictureCount(); ++picture) {
            for (const quint32 y : {0u, 1u, height / 2 - 1, height / 2, height - 1}) {
                expected[{picture, y}] = writeLine(standard, store, picture, y,
                                                   randomLine(width, y + picture, is12Bits));
            }
        }
        for (const auto& [place, line] : expected) {
            CAPTURE(place.first, place.second);
            CHECK((readLine(reader, store, place.first, place.second) == line));
        }
    }
    CHECK(log.lines().isEmpty());
    CHECK(reasons == std::set<std::string_view>{
                         "Metrics of level B are known for progressive pictures alone",
                         "Metrics of two 1.5G links are known for line interleave alone",
                         "No mapping mode is known for these samples",
                         "No mapping of 12 bits on two streams is known"});
}

TEST_CASE("A whole picture is read, in the form that its samples have", "[cursor]")
{
    const Table<const char*, PixelFormat, quint32> rows{
        {"1920x1080i50 YCbCr:422:10 1.5G Rec.709", PixelFormat_YCbCr, 1},
        {"1920x1080p50 YCbCr:422:10 DL 1.5G Rec.709", PixelFormat_YCbCr, 2},
        {"1920x1080p50 YCbCr:422:10 3G B Rec.709", PixelFormat_YCbCr, 2},
        {"1920x1080p25 RGB:444:10 3G A Rec.709", PixelFormat_RGB, 1},
        {"1920x1080p25 RGBA:4444:10 3G A Rec.709", PixelFormat_ARGB, 1},
        {"1920x1080p25 RGBD:4444:10 3G B Rec.709", PixelFormat_ARGB, 1},
        {"1920x1080p25 YCbCrA:4224:12 3G A Rec.709", PixelFormat_AYCrCb, 1},
        {"1920x1080p25 YCbCrD:4224:12 3G A Rec.709", PixelFormat_AYCrCb, 1},
        {"1920x1080p25 YCbCrA:4444:10 3G A Rec.709", PixelFormat_AYCrCb, 1},
        {"1920x1080p25 YCbCrD:4444:10 3G A Rec.709", PixelFormat_AYCrCb, 1},
    };
    for (const auto& [description, format, pictures] : rows) {
        CAPTURE(description);
        const PictureReader reader(standardCalled(description));
        CHECK(reader.getReasonWithoutPicture().empty());
        CHECK(reader.getFormat() == format);
        CHECK(reader.getPictureCount() == pictures);
    }
    // X'Y'Z' on 3 Gb/s is not listed.
    CHECK(PictureReader(*createVideoStandard(0x89C58E02)).getFormat() == PixelFormat_RGB);

    const Standard& standard = standardCalled("1920x1080p50 YCbCr:422:10 3G B Rec.709");
    const PictureReader reader(standard);
    std::vector<quint32> words;
    Store store(standard, words);
    Line expected;
    for (quint32 y = 0; y < 1080; ++y) {
        const Line line = writeLine(standard, store, 1, y, randomLine(1920, y, false));
        expected.insert(expected.end(), line.begin(), line.end());
    }
    Line pixels(1920 * 1080);
    const PictureBuffer buffer{PixelFormat_AYCrCb, 1920, 1080, &pixels[0].cr};
    REQUIRE(reader.readPicture(store.frame, 1, buffer));
    CHECK((pixels == expected));
}

TEST_CASE("A line that is not there, or does not fit, is not read", "[cursor]")
{
    const Standard& standard = standardCalled("3840x2160p25 YCbCr:422:10 6G 2-SI Rec.709");
    const PictureReader reader(standard);
    std::vector<quint32> words;
    const Store store(standard, words);
    const PictureReader::Frame& frame = store.frame;
    Line line(3841);
    CHECK(reader.readLine(frame, 0, 2159, {line.data(), 3840}));
    CHECK_FALSE(reader.readLine(frame, 0, 2160, {line.data(), 3840}));
    CHECK_FALSE(reader.readLine(frame, 1, 0, {line.data(), 3840}));
    CHECK_FALSE(reader.readLine(frame, 0, 0, {line.data(), 3841}));
    CHECK_FALSE(reader.readLine(frame, 0, 0, {line.data(), 3839}));
    CHECK_FALSE(reader.readLine(frame, 0, 0,
                                PixelSpan(reinterpret_cast<PixelDataARGB*>(line.data()), 3840)));
    PixelSpan unknown(line.data(), 3840);
    unknown.format = PixelFormat(5);
    CHECK_FALSE(reader.readLine(frame, 0, 0, unknown));

    // The last line of the picture's third and fourth sub-images ends here.
    const FieldMetrics& metrics = store.metrics[0][0];
    const std::size_t end =
        (metrics.getLastActiveLineNumber() - metrics.getFirstLineNumber() + 1) * metrics.getWidth();
    const Line before(3840, {7, 7, 7, 7});
    line = before;
    for (const std::size_t image : {2, 3}) {
        PictureReader::Frame cut = frame;
        cut[0][image].count = end;
        CHECK(reader.readLine(cut, 0, 2159, {Line(3840).data(), 3840}));
        --cut[0][image].count;
        CHECK_FALSE(reader.readLine(cut, 0, 2159, {line.data(), 3840}));
        CHECK(reader.readLine(cut, 0, 2157, {Line(3840).data(), 3840}));
        cut[0][image] = {};
        CHECK_FALSE(reader.readLine(cut, 0, 1, {line.data(), 3840}));
        CHECK(reader.readLine(cut, 0, 0, {Line(3840).data(), 3840}));
        cut[0].resize(image);
        CHECK_FALSE(reader.readLine(cut, 0, 1, {line.data(), 3840}));
    }
    CHECK_FALSE(reader.readLine({}, 0, 0, {line.data(), 3840}));
    CHECK((line == before));

    std::vector<PixelDataYCbCr> pixels(std::size_t(3840) * 2160);
    CHECK(reader.readPicture(frame, 0, {PixelFormat_YCbCr, 3840, 2160, &pixels[0].y}));
    CHECK_FALSE(reader.readPicture(frame, 0, {PixelFormat_YCbCr, 2160, 3840, &pixels[0].y}));
    CHECK_FALSE(reader.readPicture(frame, 0, {PixelFormat_RGB, 3840, 2160, &pixels[0].y}));
    CHECK_FALSE(reader.readPicture(frame, 0, {PixelFormat_YCbCr, 3840, 2160, nullptr}));
    CHECK_FALSE(reader.readPicture(frame, 1, {PixelFormat_YCbCr, 3840, 2160, &pixels[0].y}));

    const PictureReader nothing(Standard({}));
    CHECK_FALSE(nothing.getReasonWithoutPicture().empty());
    CHECK_FALSE(nothing.readLine(frame, 0, 0, {line.data(), 0}));
    CHECK_FALSE(nothing.readPicture(frame, 0, {PixelFormat_YCbCr, 0, 0, &pixels[0].y}));
}

TEST_CASE("Pictures of any payload identifier are read without leaving the frame", "[cursor]")
{
    // Bytes 0 of interfaces.
    constexpr quint32 INTERFACES[] = {0x84, 0x85, 0x87, 0x88, 0x89, 0x8A, 0x97,
                                      0x98, 0xC0, 0xC2, 0xCB, 0xCE, 0xD1};
    std::mt19937 random(1);
    std::vector<PixelDataAYCrCb> line(8192);
    std::size_t readable = 0;
    for (int i = 0; i < 4000; ++i) {
        const quint32 word =
            INTERFACES[random() % std::size(INTERFACES)] << 24 | quint32(random() & 0xFFFFFF);
        const auto standard = createVideoStandard(word, random() % 2 == 0);
        if (standard == nullptr) {
            continue;
        }
        CAPTURE(word);
        const PictureReader reader(*standard);
        const std::vector<quint32> words(reader.getSize().isEmpty() ? 0 : random() % 100000, word);
        const PictureReader::Frame frame(2, {words, words, words, words});
        const auto height = static_cast<quint32>(reader.getSize().height());
        PixelSpan pixels(line.data(), std::size_t(reader.getSize().width()));
        pixels.format = reader.getFormat();
        for (quint32 picture = 0; picture < 3; ++picture) {
            CHECK_FALSE(reader.readLine(frame, picture, height, pixels));
            for (const quint32 y : {0u, 1u, height / 2, height - 1}) {
                readable += reader.readLine(frame, picture, y, pixels) ? 1 : 0;
            }
        }
    }
    CHECK(readable > 100);
}
