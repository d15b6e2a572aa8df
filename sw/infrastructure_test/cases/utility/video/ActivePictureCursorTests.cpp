#include "infrastructure/utility/video/analysis/ActivePictureCursor.h"

#include "infrastructure/utility/video/PayloadIdentifierFactory.h"
#include "infrastructure/utility/video/SupportedVideoStandards.h"
#include "sw/infrastructure_test/Catch.h"
#include "sw/infrastructure_test/TestSupport.h"

#include <map>
#include <numeric>
#include <random>
#include <set>
#include <stdexcept>

using namespace Tessorn::Sdi;
using namespace Tessorn::Sdi::PayloadId;
using namespace Tessorn::Types;
using Cursor = ActivePictureCursor;
using Position = ActivePictureCursor::CursorPosition;
using Standard = StandardFromPayloadIdentifier;

namespace {

const Standard& standardCalled(const char* description)
{
    const auto standard =
        SupportedVideoStandards::getInstance().findByDescription(QLatin1String(description));
    INFO(description);
    REQUIRE(standard != nullptr);
    return *standard;
}

/// What a test needs to know of a standard to walk over its stream and its picture.
struct Walk
{
    explicit Walk(const Standard& standard)
        : raster(standard, standard.getSubImageDivision(),
                 ActivePictureRaster::isLineInterleaved(standard) ? ActivePictureForm_LevelBli
                                                                  : ActivePictureForm_LevelA)
        , lineInterleaved(ActivePictureRaster::isLineInterleaved(standard))
        , extended(ActivePictureRaster::isExtended(standard))
        , width(standard.getPictureSize().width())
        , height(standard.getPictureSize().height())
        , samples(standard.getSamplesPerLine() * (lineInterleaved ? 2 : 1))
        , links(standard.getNumberOfSubImages())
    {
        const auto fields = standard.getPrimaryIdentifier()->getLinesPerField();
        frameLines = std::accumulate(fields.begin(), fields.end(), 0);
        firstLinkLines = lineInterleaved ? fields.at(0) : frameLines;
    }

    ActivePictureRaster raster;
    bool lineInterleaved;
    bool extended;
    qint64 width;
    qint64 height;
    qint64 samples;
    qint64 links;
    qint64 frameLines = 0;
    qint64 firstLinkLines = 0;
};

/// Every so many lines, and the two on either side of the end of each field and link.
std::set<qint64> linesToWalk(const Standard& standard, qint64 count, qint64 lineStep)
{
    std::set<qint64> lines;
    for (qint64 line = 1; line <= count; line += lineStep) {
        lines.insert(line);
    }
    qint64 end = 0;
    for (const quint32 fieldLines : standard.getPrimaryIdentifier()->getLinesPerField()) {
        end += fieldLines;
        lines.insert({end - 1, end, end + 1});
    }
    lines.insert({count - 1, count});
    lines.erase(lines.upper_bound(count), lines.end());
    return lines;
}

/// True when the way out of the picture and back ends where it began, inside the stream.
bool returnsToPicture(const Walk& walk, qint64 line, qint64 sample)
{
    const auto source = walk.raster.toSource({line, sample, 0});
    const auto back = walk.raster.toActive(source);
    return back.line == line && back.sample == sample && source.line >= 1 &&
           source.line <= walk.frameLines && source.sample >= 0 && source.sample < walk.samples &&
           source.link >= 0 && source.link < walk.links;
}

/// True when the way from the stream and back ends where it began.
bool returnsToStream(const Walk& walk, qint64 line, qint64 sample, qint64 link)
{
    const auto back = walk.raster.toSource(walk.raster.toActive({line, 0, sample, link}));
    const qint64 samplesAPixel = walk.extended ? 2 : 1;
    const bool isOtherLink = line > walk.firstLinkLines;
    return (isOtherLink ? back.lineInOtherLevelBLink : back.line) == line && back.link == link &&
           back.sample / samplesAPixel == sample / samplesAPixel;
}

/// What decides over the arithmetic.
using Shape = std::tuple<Level, PictureFormat, SubImageDivision, bool, bool, quint32>;

Shape shapeOf(const Standard& standard)
{
    return {standard.getLevel(),
            standard.getPicutreInterlacedProgressivePsf(),
            standard.getSubImageDivision(),
            ActivePictureRaster::isLineInterleaved(standard),
            ActivePictureRaster::isExtended(standard),
            standard.getNumberOfLinks()};
}

/// Line, line in the other level B link, sample and link.
auto placeOf(const Position& position)
{
    const auto& place = position.sourcePosition;
    return std::tuple(place.line, place.lineInOtherLevelBLink, place.sample, place.link);
}

/// Walks over the pictures and the streams of one standard of each shape.
void checkShapes(qint64 lineStep)
{
    std::map<Shape, const Standard*> shapes;
    for (const auto& standard : SupportedVideoStandards::getInstance().getStandards()) {
        shapes.emplace(shapeOf(*standard), standard.get());
    }
    CHECK(shapes.size() > 20);
    for (const auto& shape : shapes) {
        const Standard& standard = *shape.second;
        const Walk walk(standard);
        CAPTURE(standard.getDescription());
        std::size_t lostInPicture = 0;
        for (const qint64 line : linesToWalk(standard, walk.height, lineStep)) {
            for (qint64 sample = 0; sample < walk.width; ++sample) {
                lostInPicture += returnsToPicture(walk, line, sample) ? 0 : 1;
            }
        }
        CHECK(lostInPicture == 0);
        std::size_t lostInStream = 0;
        for (qint64 link = 0; link < walk.links; ++link) {
            for (const qint64 line : linesToWalk(standard, walk.frameLines, lineStep)) {
                for (qint64 sample = 0; sample < walk.samples; ++sample) {
                    lostInStream += returnsToStream(walk, line, sample, link) ? 0 : 1;
                }
            }
        }
        CHECK(lostInStream == 0);
    }
}

} // namespace

TEST_CASE("Every sample of some lines of each shape goes to the picture and back", "[cursor]")
{
    checkShapes(41);
}

TEST_CASE("Every sample of a frame of each shape goes to the picture and back", "[.][long][cursor]")
{
    checkShapes(1);
}

TEST_CASE("Random positions of every supported standard go there and back", "[cursor]")
{
    std::mt19937 random(1);
    const auto below = [&random](qint64 limit) {
        return static_cast<qint32>(random() % static_cast<quint32>(limit));
    };
    const LogCapture log;
    for (const auto& listed : SupportedVideoStandards::getInstance().getStandards()) {
        const Standard& standard = *listed;
        const Walk walk(standard);
        CAPTURE(standard.getDescription());
        for (int i = 0; i < 10; ++i) {
            const auto there = Cursor::cursorPositionFromActivePicturePosition(
                1 + below(walk.height), below(walk.width), 0, standard);
            const auto& source = there.sourcePosition;
            const auto back = Cursor::cursorPositionFromSourcePosition(
                source.line, source.lineInOtherLevelBLink, source.sample, source.link, standard);
            REQUIRE(Cursor::areCursorPositionsEqual(there, back, standard));
            REQUIRE(placeOf(there) == placeOf(back));
            REQUIRE(there.activePosition.field == back.activePosition.field);

            const auto from = Cursor::cursorPositionFromSourcePosition(
                1 + below(walk.firstLinkLines), 0, below(walk.samples), below(walk.links),
                standard);
            const auto& active = from.activePosition;
            const auto again = Cursor::cursorPositionFromActivePicturePosition(
                active.line, active.sample, active.field, standard);
            REQUIRE(Cursor::areCursorPositionsEqual(from, again, standard));
        }
    }
    CHECK(log.lines().isEmpty());
}

TEST_CASE("Positions lie where the interface standards put them", "[cursor]")
{
    // Line, sample, field; line, other link's line, sample, link: the first and last active lines
    // are those of SMPTE ST 274, 296, 372 and 425-1.
    const Table<const char*, Position> rows{
        {"1280x720p60 YCbCr:422:10 1.5G Rec.709", {{1, 0, 0}, {26, 0, 0, 0}}},
        {"1280x720p60 YCbCr:422:10 1.5G Rec.709", {{720, 1279, 0}, {745, 0, 1279, 0}}},
        {"1920x1080p60 YCbCr:422:10 3G A Rec.709", {{1080, 1919, 0}, {1121, 0, 1919, 0}}},
        {"1920x1080i50 YCbCr:422:10 1.5G Rec.709", {{1, 7, 1}, {21, 0, 7, 0}}},
        {"1920x1080i50 YCbCr:422:10 1.5G Rec.709", {{2, 7, 2}, {584, 0, 7, 0}}},
        {"1920x1080i50 YCbCr:422:10 1.5G Rec.709", {{1079, 7, 1}, {560, 0, 7, 0}}},
        {"1920x1080i50 YCbCr:422:10 1.5G Rec.709", {{1080, 7, 2}, {1123, 0, 7, 0}}},
        {"1920x1080psf25 YCbCr:422:10 1.5G Rec.709", {{1080, 7, 2}, {1123, 0, 7, 0}}},
        {"1920x1080p25 RGB:444:12 3G A Rec.709", {{1, 7, 0}, {42, 0, 14, 0}}},
        {"1920x1080p50 YCbCr:422:10 3G B Rec.709", {{1, 7, 0}, {21, 584, 14, 0}}},
        {"1920x1080p50 YCbCr:422:10 3G B Rec.709", {{2, 7, 0}, {21, 584, 15, 0}}},
        {"1920x1080p50 YCbCr:422:10 3G B Rec.709", {{1080, 7, 0}, {560, 1123, 15, 0}}},
        // Two-sample interleave: pairs of samples to links 1 and 2, of even lines to 3 and 4.
        {"3840x2160p50 YCbCr:422:10 12G 2-SI Rec.709", {{1, 5, 0}, {42, 0, 3, 0}}},
        {"3840x2160p50 YCbCr:422:10 12G 2-SI Rec.709", {{1, 2, 0}, {42, 0, 0, 1}}},
        {"3840x2160p50 YCbCr:422:10 12G 2-SI Rec.709", {{2, 3839, 0}, {42, 0, 1919, 3}}},
        {"3840x2160p50 YCbCr:422:10 12G 2-SI Rec.709", {{2160, 0, 0}, {1121, 0, 0, 2}}},
        {"3840x2160p25 RGB:444:10 12G 2-SI Rec.709", {{1, 7, 0}, {42, 0, 6, 1}}},
        {"3840x2160p50 YCbCr:422:10 QL 3G B 2-SI Rec.709", {{3, 7, 0}, {21, 584, 7, 1}}},
        {"3840x2160p50 YCbCr:422:10 QL 3G A SQ Rec.709", {{1081, 1919, 0}, {42, 0, 1919, 2}}},
        {"3840x2160p50 YCbCr:422:10 QL 3G A SQ Rec.709", {{2160, 3839, 0}, {1121, 0, 1919, 3}}},
        {"3840x2160p50 YCbCr:422:10 QL 3G B SQ Rec.709", {{1082, 1920, 0}, {21, 584, 1, 3}}},
        {"3840x2160psf25 YCbCr:422:10 QL 1.5G SQ Rec.709", {{1080, 1920, 2}, {1123, 0, 0, 1}}},
        // Left of the picture is the end of the line above.
        {"1920x1080p60 YCbCr:422:10 3G A Rec.709", {{2, -1, 0}, {42, 0, 2199, 0}}},
        {"1920x1080p60 YCbCr:422:10 3G A Rec.709", {{2, -192, 0}, {42, 0, 2008, 0}}},
        {"1920x1080p60 YCbCr:422:10 3G A Rec.709", {{1, 2007, 0}, {42, 0, 2007, 0}}},
        {"3840x2160p60 YCbCr:422:10 12G 2-SI Rec.709", {{3, -1, 0}, {42, 0, 2199, 1}}},
    };
    for (const auto& [description, expected] : rows) {
        const Standard& standard = standardCalled(description);
        const auto& active = expected.activePosition;
        const auto& source = expected.sourcePosition;
        CAPTURE(description, active.line, active.sample);
        const auto there = Cursor::cursorPositionFromActivePicturePosition(
            active.line, active.sample, active.field, standard);
        CHECK(placeOf(there) == placeOf(expected));
        CHECK(there.activePosition.field == active.field);
        const auto back = Cursor::cursorPositionFromSourcePosition(source.line, 0, source.sample,
                                                                   source.link, standard);
        CHECK(Cursor::areCursorPositionsEqual(there, back, standard));
        CHECK(back.activePosition.field == active.field);
        CHECK(placeOf(there) == placeOf(back));
    }
}

TEST_CASE("The line of either level B link leads to the same place in the picture", "[cursor]")
{
    const Standard& standard = standardCalled("1920x1080p50 YCbCr:422:10 3G B Rec.709");
    for (const qint32 line : {1, 2, 539, 1080}) {
        const auto there = Cursor::cursorPositionFromActivePicturePosition(line, 100, 0, standard);
        const auto& source = there.sourcePosition;
        const auto other = Cursor::cursorPositionFromSourcePosition(
            source.lineInOtherLevelBLink, source.line, source.sample, source.link, standard);
        CHECK(placeOf(other) ==
              std::tuple(source.lineInOtherLevelBLink, source.line, source.sample, source.link));
        CHECK((other.activePosition.line == line && other.activePosition.sample == 100));
    }
    // Line 1 of either; the first link has one line more than the second.
    CHECK(Cursor::cursorPositionFromSourcePosition(564, 0, 0, 0, standard)
              .sourcePosition.lineInOtherLevelBLink == 1);
    CHECK(Cursor::cursorPositionFromSourcePosition(563, 0, 0, 0, standard)
              .sourcePosition.lineInOtherLevelBLink == 0);

    // The form can be asked for on any standard of two fields.
    const auto there = Cursor::cursorPositionFromActivePicturePositionLevelBli(
        2, 7, 2, standardCalled("1920x1080i50 YCbCr:422:10 1.5G Rec.709"));
    CHECK(there.activePosition.field == 2);
    CHECK(placeOf(there) == std::tuple(21, 584, 15, 0));
    CHECK_THROWS_AS(Cursor::cursorPositionFromActivePicturePositionLevelBli(
                        2, 7, 2, standardCalled("1920x1080p50 YCbCr:422:10 3G A Rec.709")),
                    std::out_of_range);
}

TEST_CASE("A position finds its sub-image", "[cursor]")
{
    // The sub-image and the place in it, by square division and by two-sample interleave.
    const Table<PixelCoordinates, SubImage, PixelCoordinates, SubImage, PixelCoordinates> rows{
        {{0, 0}, SubImage1, {0, 0}, SubImage1, {0, 0}},
        {{1919, 1079}, SubImage1, {1919, 1079}, SubImage4, {959, 539}},
        {{1920, 0}, SubImage2, {0, 0}, SubImage1, {960, 0}},
        {{0, 1080}, SubImage3, {0, 0}, SubImage1, {0, 540}},
        {{3839, 2159}, SubImage4, {1919, 1079}, SubImage4, {1919, 1079}},
        {{1, 1}, SubImage1, {1, 1}, SubImage3, {1, 0}},
        {{2, 0}, SubImage1, {2, 0}, SubImage2, {0, 0}},
        {{3, 1}, SubImage1, {3, 1}, SubImage4, {1, 0}},
        {{5, 0}, SubImage1, {5, 0}, SubImage1, {3, 0}},
    };
    const Standard& square = standardCalled("3840x2160p50 YCbCr:422:10 QL 3G A SQ Rec.709");
    const Standard* const squares[] = {
        &square, &standardCalled("3840x2160p25 RGB:444:12 QL 3G A SQ Rec.709"),
        &standardCalled("3840x2160psf25 YCbCr:422:10 QL 1.5G SQ Rec.709"),
        &standardCalled("3840x2160p50 YCbCr:422:10 QL 3G B SQ Rec.709")};
    const Standard& interleave = standardCalled("3840x2160p50 YCbCr:422:10 QL 3G A 2-SI Rec.709");
    const Standard& single = standardCalled("1920x1080p50 YCbCr:422:10 3G A Rec.709");
    const auto check = [](const PixelCoordinates& position, const Standard& standard, bool force,
                          SubImageDivision division, SubImage expected,
                          const PixelCoordinates& inside, bool isDivided) {
        CAPTURE(position.x, position.y);
        bool hasSubImages = !isDivided;
        CHECK(Cursor::determineSubImageFromActivePicturePosition(position, standard, &hasSubImages,
                                                                 force, division) == expected);
        CHECK(hasSubImages == isDivided);
        CHECK(Cursor::determineActivePictureCoordinatesInSubImage(position, standard, expected,
                                                                  force, division) == inside);
    };
    const auto none = SubImageDivision_None;
    const auto twoSample = SubImageDivision_TwoSampleInterleave;
    for (const auto& [position, quarter, inQuarter, set, inSet] : rows) {
        // However many samples a pixel takes, and in however many fields the lines travel.
        for (const Standard* standard : squares) {
            check(position, *standard, false, none, quarter, inQuarter, true);
        }
        check(position, single, true, SubImageDivision_SquareDivision, quarter, inQuarter, true);
        check(position, interleave, false, none, set, inSet, true);
        check(position, square, true, twoSample, set, inSet, true);
        check(position, single, false, twoSample, SubImage1, {0, 0}, false);
        check(position, square, true, none, SubImage1, {0, 0}, false);
    }
    CHECK(Cursor::determineSubImageFromActivePicturePosition({1920, 0}, square, nullptr) ==
          SubImage2);
}

TEST_CASE("The first and last positions are those of the whole stream", "[cursor]")
{
    const Table<const char*, qint32, qint32, qint32> rows{
        {"1280x720p60 YCbCr:422:10 1.5G Rec.709", 750, 1649, 0},
        {"1920x1080i60 YCbCr:422:10 1.5G Rec.709", 1125, 2199, 0},
        {"1920x1080p50 YCbCr:422:10 3G B Rec.709", 1125, 5279, 0},
        {"3840x2160p50 YCbCr:422:10 12G 2-SI Rec.709", 1125, 2639, 3},
    };
    for (const auto& [description, line, sample, link] : rows) {
        CAPTURE(description);
        const Standard& standard = standardCalled(description);
        const auto first = Cursor::getFirstCursorPosition(standard).sourcePosition;
        const auto last = Cursor::getLastCursorPosition(standard).sourcePosition;
        CHECK(std::tuple(first.line, first.sample, first.link) == std::tuple(1, 0, 0));
        CHECK(std::tuple(last.line, last.sample, last.link) == std::tuple(line, sample, link));
    }
}

TEST_CASE("Positions are equal when all but field and other line are", "[cursor]")
{
    const Standard& plain = standardCalled("1920x1080p50 YCbCr:422:10 3G A Rec.709");
    const Standard& interleaved = standardCalled("1920x1080p50 YCbCr:422:10 3G B Rec.709");
    const Standard& extended = standardCalled("1920x1080p25 RGB:444:10 3G A Rec.709");
    const Position position{{10, 20, 1}, {30, 40, 50, 2}};
    const Table<Position, bool, bool> rows{
        {position, true, true},
        {{{10, 20, 2}, {30, 0, 50, 2}}, true, true},
        {{{10, 20, 1}, {30, 40, 51, 2}}, false, true},
        {{{10, 20, 1}, {30, 40, 49, 2}}, false, false},
        {{{11, 20, 1}, {30, 40, 50, 2}}, false, false},
        {{{10, 21, 1}, {30, 40, 50, 2}}, false, false},
        {{{10, 20, 1}, {31, 40, 50, 2}}, false, false},
        {{{10, 20, 1}, {30, 40, 50, 3}}, false, false},
    };
    for (const auto& [other, isEqual, isEqualExtended] : rows) {
        CHECK(Cursor::areCursorPositionsEqual(position, other, plain) == isEqual);
        CHECK(Cursor::areCursorPositionsEqual(position, other, interleaved) == isEqual);
        CHECK(Cursor::areCursorPositionsEqual(position, other, extended) == isEqualExtended);
    }
}

TEST_CASE("A picture that does not fit its lines goes there and back, and links count modulo four",
          "[cursor]")
{
    const Standard wide({createPayloadIdentifier(0xC0CB8001)}); // 2160p60 on 6G
    for (const qint32 sample : {0, 2199, 2200, 3838, 3839}) {
        const auto source =
            Cursor::cursorPositionFromActivePicturePosition(7, sample, 0, wide).sourcePosition;
        const auto back = Cursor::cursorPositionFromSourcePosition(source.line, 0, source.sample,
                                                                   source.link + 4, wide);
        CHECK(back.activePosition.line == 7);
        CHECK(back.activePosition.sample == sample);
        CHECK(back.sourcePosition.link == source.link);
    }

    // A standard without active lines has no positions.
    const Standard nothing({});
    CHECK_THROWS_AS(Cursor::cursorPositionFromActivePicturePosition(1, 0, 0, nothing),
                    std::out_of_range);
    CHECK_THROWS_AS(Cursor::getFirstCursorPosition(nothing), std::out_of_range);
}
