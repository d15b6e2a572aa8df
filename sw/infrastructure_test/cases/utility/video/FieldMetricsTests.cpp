// Regions of a stored frame and the division of a field.
#include "infrastructure/utility/video/metrics/FieldMetrics.h"
#include "sw/infrastructure_test/Catch.h"

#include <QTextStream>

#include <sstream>

using Tessorn::Types::DigitalInterfaceSampleLocation;
using Tessorn::Types::SampleLocation;

namespace {

/// 1080-line pictures at 50 Hz (SMPTE ST 274:2008, table 1 and clause 8): 2640 samples a line.
constexpr FieldMetrics PROGRESSIVE_50(FieldRegion(0, 0, 2640, 1125),
                                      FieldRegion(720, 41, 1920, 1080));
constexpr FieldMetrics SECOND_FIELD_50(FieldRegion(0, 563, 2640, 562),
                                       FieldRegion(720, 583, 1920, 540));

/// Every sample index up to 40 for which the predicate holds.
template <typename Predicate>
std::vector<quint32> samplesWhere(Predicate predicate, bool multiplexed)
{
    std::vector<quint32> samples;
    for (quint32 sample = 0; sample < 40; ++sample) {
        if (predicate(sample, multiplexed)) {
            samples.push_back(sample);
        }
    }
    return samples;
}

} // namespace

TEST_CASE("A region takes width before height and contains its edges", "[video]")
{
    constexpr FieldRegion region(10, 20, 3, 2);
    static_assert(region.getWidth() == 3 && region.getHeight() == 2, "known in constants");
    CHECK(region.getLocatioanOfFirstSampleInRegion() == SampleLocation(10, 20));
    CHECK(region.getLocatioanOfLastSampleInRegion() == SampleLocation(12, 21));
    CHECK(region.getSize() == 6);
    int inside = 0;
    for (quint32 sample = 0; sample < 40; ++sample) {
        for (quint32 line = 0; line < 40; ++line) {
            const bool expected = sample >= 10 && sample < 13 && line >= 20 && line < 22;
            inside += expected ? 1 : 0;
            REQUIRE(region.contains(sample, line) == expected);
            REQUIRE(region.contains(SampleLocation(sample, line)) == expected);
        }
    }
    CHECK(inside == 6);

    // Regions that differ in one number are unequal, and an empty one contains nothing.
    const FieldRegion four(1, 2, 3, 4);
    CHECK(four == FieldRegion(1, 2, 3, 4));
    for (const FieldRegion& other : {FieldRegion(0, 2, 3, 4), FieldRegion(1, 0, 3, 4),
                                     FieldRegion(1, 2, 0, 4), FieldRegion(1, 2, 3, 0)}) {
        CHECK(four != other);
    }
    CHECK(FieldRegion() == FieldRegion(0, 0, 0, 0));
    CHECK_FALSE(FieldRegion().contains(0, 0));
    CHECK_FALSE(FieldRegion(0, 0, 5, 0).contains(2, 0));
    CHECK_FALSE(FieldRegion(0, 0, 0, 5).contains(0, 2));
}

TEST_CASE("Three regions follow from a field and its picture", "[video]")
{
    const FieldMetrics metrics(FieldRegion(0, 0, 100, 100), FieldRegion(50, 50, 50, 25));
    CHECK(metrics.getPrePictureVerticalBlankingRegion() == FieldRegion(0, 0, 100, 50));
    CHECK(metrics.getHorizontalBlankingRegion() == FieldRegion(0, 50, 50, 25));
    CHECK(metrics.getPostPictureVerticalBlankingRegion() == FieldRegion(0, 75, 100, 25));
    CHECK(metrics.getFirstActiveSampleOffset() == 5050);
    CHECK(metrics.getTotalSamples() == 10000);

    CHECK(metrics == FieldMetrics(metrics.getWholeFieldRegion(), metrics.getActivePictureRegion()));
    CHECK(metrics != FieldMetrics(FieldRegion(0, 0, 100, 100), FieldRegion(50, 50, 50, 26)));
    CHECK(metrics != FieldMetrics(FieldRegion(0, 0, 101, 100), FieldRegion(50, 50, 50, 25)));

    // A picture that takes all lines leaves no blanking above and below.
    const FieldMetrics full(FieldRegion(0, 0, 100, 100), FieldRegion(20, 0, 80, 100));
    CHECK(full.getPrePictureVerticalBlankingRegion().getHeight() == 0);
    CHECK(full.getHorizontalBlankingRegion() == FieldRegion(0, 0, 20, 100));
    CHECK(full.getPostPictureVerticalBlankingRegion().getHeight() == 0);
}

TEST_CASE("The regions of a field cover each of its samples once", "[video]")
{
    for (const FieldMetrics& metrics : {PROGRESSIVE_50, SECOND_FIELD_50}) {
        const FieldRegion regions[] = {
            metrics.getPrePictureVerticalBlankingRegion(), metrics.getHorizontalBlankingRegion(),
            metrics.getActivePictureRegion(), metrics.getPostPictureVerticalBlankingRegion()};
        quint32 samples = 0;
        for (const FieldRegion& region : regions) {
            CHECK(metrics.contains(region));
            samples += region.getSize();
            for (const FieldRegion& other : regions) {
                CHECK((&region == &other ||
                       !other.contains(region.getLocatioanOfFirstSampleInRegion())));
            }
        }
        CHECK(samples == metrics.getTotalSamples());
    }
}

TEST_CASE("Line and sample numbers are those of the interface standard", "[video]")
{
    // SMPTE ST 274: a progressive picture on lines 42 to 1121; the second field on lines 584 to
    // 1123 of 564 to 1125.
    const auto lines = [](const FieldMetrics& metrics) {
        return std::vector<quint32>{metrics.getFirstLineNumber(),
                                    metrics.getFirstActiveLineNumber(),
                                    metrics.getLastActiveLineNumber(), metrics.getLastLineNumber()};
    };
    CHECK(lines(PROGRESSIVE_50) == std::vector<quint32>{1, 42, 1121, 1125});
    CHECK(lines(SECOND_FIELD_50) == std::vector<quint32>{564, 584, 1123, 1125});
    CHECK(std::tuple(PROGRESSIVE_50.getLastActiveSample(),
                     PROGRESSIVE_50.getFirstSampleOfStartOfActiveVideo(),
                     PROGRESSIVE_50.getLastSampleOfLine()) == std::tuple(1919, 2636, 2639));
}

TEST_CASE("A place goes to the digital interface and back, and lies in a field or not", "[video]")
{
    const FieldMetrics small(FieldRegion(0, 0, 100, 100), FieldRegion(50, 50, 50, 25));
    CHECK(small.toSampleLocation({0, 51}) == SampleLocation(50, 50));
    CHECK(small.toDigitalInterfaceSampleLocation({50, 50}) ==
          DigitalInterfaceSampleLocation(0, 51));

    // The end-of-active-video reference begins with sample 1920, and the store with it.
    CHECK(PROGRESSIVE_50.toSampleLocation({1920, 1}) == SampleLocation(0, 0));
    CHECK(PROGRESSIVE_50.toSampleLocation({1919, 1}) == SampleLocation(2639, 0));
    CHECK(PROGRESSIVE_50.toSampleLocation({2639, 1125}) == SampleLocation(719, 1124));
    for (quint32 sample = 0; sample < 2640; ++sample) {
        const SampleLocation place(sample, sample % 1125);
        REQUIRE(PROGRESSIVE_50.toSampleLocation(
                    PROGRESSIVE_50.toDigitalInterfaceSampleLocation(place)) == place);
    }

    CHECK(SECOND_FIELD_50.contains(SampleLocation(0, 563)));
    CHECK(SECOND_FIELD_50.contains(DigitalInterfaceSampleLocation(1920, 564)));
    CHECK_FALSE((SECOND_FIELD_50.contains(SampleLocation(0, 562)) ||
                 SECOND_FIELD_50.contains(SampleLocation(2640, 563)) ||
                 SECOND_FIELD_50.contains(DigitalInterfaceSampleLocation(0, 563))));
    CHECK_FALSE((PROGRESSIVE_50.contains(DigitalInterfaceSampleLocation(0, 0)) ||
                 PROGRESSIVE_50.contains(DigitalInterfaceSampleLocation(4560, 1))));
    CHECK(PROGRESSIVE_50.contains(FieldRegion(0, 0, 2640, 1125)));
    CHECK_FALSE(PROGRESSIVE_50.contains(FieldRegion(0, 0, 2641, 1125)));
    CHECK_FALSE(PROGRESSIVE_50.contains(FieldRegion(0, 1, 2640, 1125)));
}

TEST_CASE("Line number and CRC words come after the timing reference, twice when multiplexed",
          "[video]")
{
    using Words = std::vector<quint32>;
    const Table<bool (*)(quint32, bool), Words, Words> rows{
        {FieldMetrics::isFirstLineNumberWord, {4}, {8, 9}},
        {FieldMetrics::isSecondLineNumberWord, {5}, {10, 11}},
        {FieldMetrics::isLineNumberWord, {4, 5}, {8, 9, 10, 11}},
        {FieldMetrics::isFirstCrcWord, {6}, {12, 13}},
        {FieldMetrics::isSecondCrcWord, {7}, {14, 15}},
        {FieldMetrics::isCrcWord, {6, 7}, {12, 13, 14, 15}},
    };
    for (const auto& [isWord, single, multiplexed] : rows) {
        CHECK(samplesWhere(isWord, false) == single);
        CHECK(samplesWhere(isWord, true) == multiplexed);
    }
}

TEST_CASE("The start of active video ends the blanking, and nothing behind it belongs to it",
          "[video]")
{
    const FieldMetrics metrics(FieldRegion(0, 0, 40, 10), FieldRegion(20, 2, 20, 5));
    const auto isIn = [&](quint32 sample, bool multiplexed) {
        return metrics.isInStartOfActiveVideo(sample, multiplexed);
    };
    CHECK(samplesWhere(isIn, false) == std::vector<quint32>{16, 17, 18, 19});
    CHECK(samplesWhere(isIn, true) == std::vector<quint32>{12, 13, 14, 15, 16, 17, 18, 19});
}

TEST_CASE("The second field's picture can be taken one line higher up", "[video]")
{
    const SampleLocation above(720, 582);
    const SampleLocation last(2639, 1122);
    CHECK_FALSE(SECOND_FIELD_50.isInActivePicture(above, false));
    CHECK(SECOND_FIELD_50.isInActivePicture(last, false));
    CHECK(SECOND_FIELD_50.isInActivePicture(above, true));
    CHECK_FALSE(SECOND_FIELD_50.isInActivePicture(last, true));
    // A field that begins the frame stays where it is.
    CHECK_FALSE(PROGRESSIVE_50.isInActivePicture({720, 40}, true));
    CHECK(PROGRESSIVE_50.isInActivePicture({2639, 1120}, true));
}

TEST_CASE("Regions and metrics stream as text", "[video]")
{
    const FieldMetrics metrics(FieldRegion(1, 2, 30, 40), FieldRegion(11, 7, 20, 30));
    const QString expected =
        "Field Metrics[Whole fieldRegion[sampleIndex:1, lineIndex:2, samples:30, lines:40], "
        "VBRegion[sampleIndex:1, lineIndex:2, samples:30, lines:5], "
        "HBRegion[sampleIndex:1, lineIndex:7, samples:10, lines:30], "
        "APRegion[sampleIndex:11, lineIndex:7, samples:20, lines:30], "
        "VBRegion[sampleIndex:1, lineIndex:37, samples:30, lines:5]]"_s;
    QString text;
    QTextStream textStream(&text);
    textStream << metrics;
    CHECK(text == expected);
    std::ostringstream stream;
    stream << metrics;
    CHECK(QString::fromStdString(stream.str()) == expected);
}
