#include "infrastructure/utility/video/analysis/PictureReader.h"

#include "infrastructure/utility/video/SupportedVideoStandards.h"
#include "infrastructure/utility/video/VideoStandardFactory.h"
#include "sw/infrastructure_test/Catch.h"

#include <random>

using namespace Tessorn::Sdi;
using namespace Tessorn::Sdi::PayloadId;
using namespace Tessorn::Types;
using Standard = StandardFromPayloadIdentifier;

namespace {

using Line = std::vector<PixelDataAYCrCb>;

const Standard& standardCalled(const char* description)
{
    const auto standard =
        SupportedVideoStandards::getInstance().findByDescription(QLatin1String(description));
    INFO(description);
    REQUIRE(standard != nullptr);
    return *standard;
}

} // namespace

TEST_CASE("A picture has the form and number that its samples have", "[cursor]")
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
}

TEST_CASE("A line that is not there, or does not fit, is not read", "[cursor]")
{
    const Standard& standard = standardCalled("3840x2160p25 YCbCr:422:10 6G 2-SI Rec.709");
    const PictureReader reader(standard);
    const FieldMetrics metrics = standard.getTransmissionMetrics()[0][0];
    const std::size_t size = metrics.getTotalSamples();
    const std::vector<quint32> words(4 * size, 0xFFFDEAD5);
    PictureReader::Frame frame(1);
    for (std::size_t image = 0; image < 4; ++image) {
        frame[0].emplace_back(&words[image * size], size);
    }
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
        // Of every third word only the first of three.
        cut = frame;
        cut[0][image] = {words.data(), 3 * (end - 1) + 1, 3};
        CHECK(reader.readLine(cut, 0, 2159, {Line(3840).data(), 3840}));
        cut[0][image] = {words.data(), 3 * (end - 1), 3};
        CHECK_FALSE(reader.readLine(cut, 0, 2159, {line.data(), 3840}));
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
