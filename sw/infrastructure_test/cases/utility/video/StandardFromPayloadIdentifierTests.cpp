// What follows from the identifiers of a standard's links.
#include "infrastructure/utility/video/PayloadIdentifierFactory.h"
#include "infrastructure/utility/video/PayloadIdentifierVariants.h"
#include "infrastructure/utility/video/StandardFromPayloadIdentifier.h"
#include "sw/infrastructure_test/Catch.h"
#include "sw/infrastructure_test/TestSupport.h"

#include <cmath>

using namespace Tessorn::Sdi;

namespace {

using Standard = StandardFromPayloadIdentifier;

Standard standardOf(quint32 rawValue, bool squareDivision = false, quint32 links = 4)
{
    return Standard({createPayloadIdentifier(rawValue)}, squareDivision, links);
}

/// An interface that nobody has built, with a signal of 1080 lines on it.
struct Imagined : PayloadIdentifierBase
{
    using Lines = std::vector<quint32>;

    Imagined(quint32 links, SdiDataRate dataRate, Level mapping, Lines lines, Lines firstLines)
        : PayloadIdentifierBase(0)
        , answers(links, dataRate, mapping, std::move(lines), std::move(firstLines))
    {
    }
    quint32 getNumberOfLinks() const override { return std::get<0>(answers); }
    SdiDataRate getSdiDataRate() const override { return std::get<1>(answers); }
    Level getLevel() const override { return std::get<2>(answers); }
    Lines getLinesPerField() const override { return std::get<3>(answers); }
    Lines getFirstActivePictureLines() const override { return std::get<4>(answers); }

    std::tuple<quint32, SdiDataRate, Level, Lines, Lines> answers;
};

Standard imagine(quint32 links, SdiDataRate rate, Level level = Level_A,
                 Imagined::Lines lines = {1125}, Imagined::Lines firstLines = {42},
                 bool squareDivision = false)
{
    return Standard(
        {std::make_shared<Imagined>(links, rate, level, std::move(lines), std::move(firstLines))},
        squareDivision);
}

// Identifiers by hand.
constexpr quint32 P50_3G_A = 0x89C98001;
constexpr quint32 P60_3G_A = 0x89CB8001;
constexpr quint32 P50_3G_B = 0x8A492001;
constexpr quint32 I50_1G5 = 0x85052001;
constexpr quint32 PSF24_2048_1G5 = 0x85434001;
constexpr quint32 P50_DUAL_LINK = 0x87492001;
constexpr quint32 P30_RGB12_3G_B = 0x8AC72202;
constexpr quint32 I50_RGB_3G_B = 0x8A052201;
constexpr quint32 P720_50_1G5 = 0x84490001;
constexpr quint32 P60_12G = 0xCECB8001;
constexpr quint32 P30_6G = 0xC0C78001;
constexpr quint32 P60_QUAD_A = 0x97CB8001;
constexpr quint32 P60_QUAD_B = 0x984B2001;
constexpr quint32 PSF30_12G_RGB = 0xCE478201;

} // namespace

TEST_CASE("A standard has the bits of its first link", "[video]")
{
    constexpr quint32 transferOfTwo = 2u << 20;
    const Standard standard({createPayloadIdentifier(PSF24_2048_1G5 | transferOfTwo),
                             createPayloadIdentifier(P50_DUAL_LINK)});
    CHECK(std::tuple(standard.getPicutreInterlaced(), standard.getTransportInterlaced(),
                     standard.getTransferCharacteristics()) == std::tuple(1, 0, 2));
}

TEST_CASE("Links together make an aggregate rate", "[video]")
{
    const auto rates = [](quint32 links, bool squareDivision = false) {
        QString text; // of 12G, 6G, 3G, 1.5G, 270M, none
        for (quint32 rate = 0; rate < 6; ++rate) {
            text += QString::number(
                imagine(links, SdiDataRate(rate), Level_A, {1125}, {42}, squareDivision)
                    .getAggregateDataRate());
        }
        return text;
    };
    const char* const expected[] = {"012345", "012345", "001245", "012345", "010145"};
    for (quint32 links = 0; links < 5; ++links) {
        CHECK(rates(links) == QLatin1String(expected[links]));
    }
    CHECK(rates(8) == "012045"_s);
    CHECK(rates(1, true) == "010145"_s);
}

TEST_CASE("Samples of a line are the clock divided by nominal rate and lines", "[video]")
{
    // Reserved and absent rates count as 30, no lines as 1125, and nothing divides by zero.
    CHECK(imagine(1, SdiDataRate_270M, Level_A, {}).getSamplesPerLine() == 27000000 / 30 / 1125);
    CHECK(imagine(2, SdiDataRate_3G).getSamplesPerLine() == 4400); // 6G on two links
    CHECK(imagine(0, SdiDataRate_NoSignal, Level_A, {0, 0}).getSamplesPerLine() == 4400);
    CHECK(standardOf(I50_1G5, true).getSamplesPerLine() == 2640); // 6G on four links
    const quint32 divisors[16] = {30, 30, 24, 24, 48, 25,  30,  30,
                                  48, 50, 60, 60, 96, 100, 120, 120};
    for (quint32 code = 0; code < 16; ++code) {
        CHECK(standardOf(0x89C08001 | code << 16).getSamplesPerLine() ==
              148500000 / divisors[code] / 1125);
    }
}

TEST_CASE("A sample lasts as long as the link's clock says", "[video]")
{
    const auto is = [](const Standard& standard, double megahertz) {
        return standard.getSamplePeriodMicroseconds() == Approx(1 / megahertz).epsilon(1e-12);
    };
    CHECK(is(standardOf(P50_3G_A), 148.5));
    CHECK(is(standardOf(P60_QUAD_A), 148.5));
    CHECK(is(standardOf(P60_12G), 594));
    CHECK(is(imagine(1, SdiDataRate_270M), 27));
    CHECK(std::isinf(imagine(1, SdiDataRate_NoSignal).getSamplePeriodMicroseconds()));
    CHECK(std::isinf(imagine(1, SdiDataRate(77)).getSamplePeriodMicroseconds()));
}

TEST_CASE("Mapping modes follow depth, structure and level", "[video]")
{
    // Structures 0 to 15; a dot where there is no such mapping.
    const char* const modes[4] = {"011..11..11.....", "011..11..11.....", "322.3...3.....2.",
                                  "322.3...3.....2."};
    for (quint32 depth = 0; depth < 4; ++depth) {
        for (quint32 structure = 0; structure < 16; ++structure) {
            CAPTURE(depth, structure);
            const LogCapture log;
            const quint32 fields = structure << 8 | depth;
            const char mode = modes[depth][structure];
            for (const quint32 levelB : {0u, 1u}) {
                const Standard standard =
                    standardOf((levelB != 0 ? 0x8AC90000 : 0x89C90000) | fields);
                const auto expected = mode == '.' ? std::optional<quint32>()
                                                  : static_cast<quint32>(mode - '0') + 4 * levelB;
                CHECK(standard.findMappingMode() == expected);
                CHECK(log.lines().size() == (expected ? 0 : static_cast<int>(levelB)));
                CHECK(standard.getMappingMode() == expected.value_or(0));
            }
            CHECK(log.lines().count("info: Shouldn't reach this return statement"_s) ==
                  (mode == '.' ? 2 : 0));
        }
    }
    CHECK(imagine(1, SdiDataRate_3G, Level(2)).findMappingMode() == 4u); // as level B
}

TEST_CASE("Horizontal blanking figures are a table by height, rate and level", "[video]")
{
    const quint32 lines1080[16] = {0, 0, 638, 638, 638, 528, 88, 88, 638, 528, 88, 88, 0, 0, 0, 0};
    const quint32 lines720[16] = {0, 0,   2585, 2585, 0, 2420, 1760, 1760,
                                  0, 440, 110,  110,  0, 0,    0,    0};
    for (quint32 code = 0; code < 16; ++code) {
        CAPTURE(code);
        CHECK(standardOf(0x89C08001 | code << 16).getHorizontalBlankingSamples() ==
              lines1080[code]);
        CHECK(standardOf(0x8A402001 | code << 16).getHorizontalBlankingSamples() ==
              2 * lines1080[code]);
        CHECK(standardOf(0x84400001 | code << 16).getHorizontalBlankingSamples() == lines720[code]);
    }
}

TEST_CASE("Square division doubles the picture and has its own links", "[video]")
{
    const Standard standard = standardOf(P50_3G_A, true);
    CHECK(standard.getPictureSize() == QSize(3840, 2160));
    CHECK(std::tuple(standard.getSubImageDivision(), standard.getNumberOfSubImages(),
                     standard.getNumberOfLinks()) ==
          std::tuple(SubImageDivision_SquareDivision, 4, 4));
    CHECK(standard.getSdiDataRates() == std::vector<SdiDataRate>(4, SdiDataRate_3G));
    const auto description = [](quint32 rawValue, quint32 links) {
        return standardOf(rawValue, true, links).getDescription();
    };
    CHECK(description(P50_3G_A, 4) == "3840x2160p50 YCbCr:422:10 QL 3G A SQ Rec.709"_s);
    CHECK(description(0x85F5F011, 2) ==
          "4096x2160p25 YCbCr:422:10 DL 1.5G SQ ICtCp S-Log3 Unknown"_s);
    CHECK(description(P50_3G_B, 4) == "3840x2160p50 YCbCr:422:10 QL 3G B SQ Rec.709"_s);
    // The number of links is used with square division alone.
    CHECK(standardOf(P50_3G_A, false, 4).getNumberOfLinks() == 1);
    CHECK(standardOf(P50_3G_A).getPictureSize() == QSize(1920, 1080));
}

TEST_CASE("A description comes whole or in pieces", "[video]")
{
    CHECK(standardOf(0xC2E9A021).getDescription() ==
          "3840x2160p50 YCbCr:422:10 DL 6G 2-SI PQ Rec.2020"_s);
    const auto pieces = [](const Standard& standard) {
        const VideoStandardDescription texts = standard.getDescriptionInPieces();
        return QStringList{texts.picture, texts.sampling, texts.interfaceName, texts.signal,
                           texts.colourimetry}
            .join(QLatin1Char('|'));
    };
    CHECK(pieces(standardOf(0xC2E9A031)) ==
          "3840x2160p50|YCbCr:422:10|DL 6G 2-SI|ICtCp PQ|Rec.2020"_s);
    CHECK(pieces(standardOf(P50_3G_A, true)) ==
          "3840x2160p50|YCbCr:422:10|QL 3G A SqDv||Rec.709"_s);
    CHECK(pieces(standardOf(I50_1G5)) == "1920x1080i50|YCbCr:422:10|1.5G||Rec.709"_s);
}

TEST_CASE("Standards compare by their identifiers and division", "[video]")
{
    CHECK(standardOf(P50_3G_A) == standardOf(P50_3G_A));
    CHECK(standardOf(P50_3G_A) != standardOf(P60_3G_A));
    CHECK(standardOf(P50_3G_A) != standardOf(P50_3G_A, true));
    CHECK(standardOf(P60_QUAD_A) != standardOf(P60_QUAD_A, true, 4)); // the division alone
    CHECK(standardOf(P50_3G_A, true) != standardOf(P50_3G_A, true, 2));
    CHECK(standardOf(P50_3G_A) == standardOf(P50_3G_A, false, 2)); // not used
    CHECK(standardOf(P50_3G_A) == standardOf(P50_3G_A ^ 0x8000));  // aspect ratio
    const auto one = createPayloadIdentifier(P60_QUAD_A);
    const auto other = createPayloadIdentifier(0x97C98001);
    CHECK(Standard({one, one}) != Standard({one}));
    CHECK(Standard({one, one}) != Standard({one, other}));
    CHECK(Standard({one}) == Standard({nullptr, one}));
    CHECK(Standard({}) == Standard({nullptr}));
    CHECK(Standard({one, other}).getPayloadIdentifiers() == Standard::Identifiers{one, other});
}

TEST_CASE("A standard without identifiers answers all and has no metrics", "[video]")
{
    const Standard standard({});
    CHECK(standard.getDescription() == "No payload identifier"_s);
    CHECK((standard.getPayloadIdentifiers().empty() && standard.getSdiDataRates().empty()));
    CHECK(standard.getPictureSize() == QSize(0, 0));
    CHECK(std::tuple(standard.getAggregateDataRate(), standard.getSamplesPerLine(),
                     standard.getHorizontalBlankingSamples()) ==
          std::tuple(SdiDataRate_NoSignal, 4400, 0));
    const LogCapture log;
    bool succeeded = true;
    CHECK(standard.getTransmissionMetrics(&succeeded).empty());
    CHECK_FALSE(succeeded);
    CHECK(log.lines().size() == 1);
}

namespace {

/// "copies: whole field, picture" for each field; a region as sample, line, width, height.
QString textOf(const Standard::TransmissionMetrics& metrics)
{
    const auto regionText = [](const FieldRegion& region) {
        return QString::asprintf(" %u,%u,%u,%u", region.getFirstSampleIndex(),
                                 region.getFirstLineIndex(), region.getWidth(), region.getHeight());
    };
    QStringList fields;
    for (const std::vector<FieldMetrics>& field : metrics) {
        CHECK(field == std::vector<FieldMetrics>(field.size(), field.at(0)));
        fields << QString::number(field.size()) + QLatin1Char(':') +
                      regionText(field[0].getWholeFieldRegion()) +
                      regionText(field[0].getActivePictureRegion());
    }
    return fields.join(QLatin1Char('|'));
}

} // namespace

TEST_CASE("Metrics place the picture of each standard in its store", "[video]")
{
    // clang-format off
    const Table<Standard, const char*, const char*> rows{
        {standardOf(P50_3G_A), "1: 0,0,2640,1125 720,41,1920,1080", ""},
        {standardOf(P720_50_1G5), "1: 0,0,1980,750 700,25,1280,720", ""},
        {standardOf(I50_1G5), "1: 0,0,2640,563 720,20,1920,540|1: 0,563,2640,562 720,583,1920,540", ""},
        {standardOf(PSF24_2048_1G5), "1: 0,0,2750,563 702,20,2048,540|1: 0,563,2750,562 702,583,2048,540", ""},
        {standardOf(P50_3G_B), "1: 0,0,5280,563 1440,20,3840,540|1: 0,563,5280,562 1440,583,3840,540", ""},
        {standardOf(P30_RGB12_3G_B), "1: 0,0,4400,1125 560,41,3840,1080", ""},
        {standardOf(P50_DUAL_LINK), "2: 0,0,2640,563 720,20,1920,540|2: 0,563,2640,562 720,583,1920,540", ""},
        {standardOf(P60_12G), "4: 0,0,2200,1125 280,41,1920,1080", ""},
        {standardOf(P30_6G), "4: 0,0,2200,1125 280,41,1920,1080", ""},
        {standardOf(0xC2CB8001), "4: 0,0,2200,1125 280,41,1920,1080", ""}, // dual 6G
        {standardOf(P60_QUAD_A), "4: 0,0,2200,1125 280,41,1920,1080", ""},
        {standardOf(P60_QUAD_B), "4: 0,0,4400,563 560,20,3840,540|4: 0,563,4400,562 560,583,3840,540", ""},
        {standardOf(P50_3G_A, true), "4: 0,0,2640,1125 720,41,1920,1080", ""},
        {standardOf(P50_3G_A, true, 8), "4: 0,0,2640,1125 720,41,1920,1080", ""},
        // Not to be filled: the picture does not fit the field, nor always the line (1100 - 1920).
        {standardOf(PSF30_12G_RGB), "4: 0,0,4400,563 560,20,3840,1080|4: 0,563,4400,562 560,583,3840,1080",
         "The picture does not fit its field"},
        {standardOf(0xC0CB8001), "4: 0,0,1100,1125 4294966476,41,1920,1080",
         "The picture does not fit its lines"},
    };
    // clang-format on
    for (const auto& [standard, metrics, reason] : rows) {
        CAPTURE(standard.getDescription());
        const LogCapture log;
        bool succeeded = false;
        CHECK(textOf(standard.getTransmissionMetrics(&succeeded)) == QLatin1String(metrics));
        CHECK(succeeded);
        CHECK(textOf(standard.getTransmissionMetrics()) == QLatin1String(metrics));
        CHECK(standard.getReasonWithoutMetrics() == reason);
        CHECK(log.lines().isEmpty());
    }
}

TEST_CASE("Metrics that cannot be made say why, once", "[video]")
{
    const char* const none = "Couldn't create metrics.";
    const char* const dualLink = "Only support DualLink 1.5G line interlieve.";
    const char* const noRaster = "No raster is known for this interface";
    const char* const noLevelB = "Metrics of level B are known for progressive pictures alone";
    const char* const noDualLink = "Metrics of two 1.5G links are known for line interleave alone";
    const Table<const char*, Standard, const char*, const char*> rows{
        {"level B interlaced", standardOf(I50_RGB_3G_B), none, noLevelB},
        {"level B segmented", standardOf(0x8A472201), none, noLevelB},
        {"level B line interleave with one field", standardOf(P50_3G_B | 0x00800000), none,
         noRaster},
        {"dual link interlaced", standardOf(0x87052201), dualLink, noDualLink},
        {"dual link with one field", standardOf(P50_DUAL_LINK | 0x00800000), none, noDualLink},
        {"dual link 3G", imagine(2, SdiDataRate_3G), dualLink, noDualLink},
        {"dual link level B", imagine(2, SdiDataRate_1G5, Level_B), dualLink, noDualLink},
        {"no links", imagine(0, SdiDataRate_3G), none, noRaster},
        {"three links", imagine(3, SdiDataRate_3G), none, noRaster},
        {"eight links", imagine(8, SdiDataRate_1G5), none, noRaster},
        {"no level", imagine(1, SdiDataRate_3G, Level(2)), "Don't support level C",
         "Metrics are known for levels A and B alone"},
        {"no lines", imagine(1, SdiDataRate_3G, Level_A, {}), none, noRaster},
        {"lines but no first active ones", imagine(1, SdiDataRate_3G, Level_A, {1125}, {}), none,
         noRaster},
    };
    for (const auto& [what, standard, logged, reason] : rows) {
        CAPTURE(what);
        const LogCapture log;
        bool succeeded = true;
        CHECK(standard.getTransmissionMetrics(&succeeded).empty());
        CHECK_FALSE(succeeded);
        CHECK(standard.getReasonWithoutMetrics() == reason);
        CHECK(log.lines() == QStringList{"error: StandardFromPayloadIdentifier::"
                                         "getTransmissionMetrics: "_s +
                                         QLatin1String(logged)});
    }
}
