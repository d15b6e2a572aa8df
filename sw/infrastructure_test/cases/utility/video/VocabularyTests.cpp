// The words of SDI, of payload identifiers and of video over IP.
#include "infrastructure/utility/video/IpVideoVocabulary.h"
#include "infrastructure/utility/video/PayloadIdVocabulary.h"
#include "infrastructure/utility/video/SdiVocabulary.h"
#include "infrastructure/utility/video/types/VideoTypes.h"
#include "sw/infrastructure_test/Catch.h"

#include <QStringList>
#include <QTextStream>

#include <limits>
#include <sstream>

using namespace Tessorn;
using namespace Tessorn::Sdi;
using namespace Tessorn::Sdi::PayloadId;

namespace {

// The numbers are stored and sent: the order of a list in a header must not move them. The others
// have their texts below.
static_assert(Colourimetry_Rec601 == 999 && FrameRate_47_95 == 4 && FrameRate_25 == 5 &&
                  FrameRate_120 == 15,
              "");

/// The texts of the values 0 to last.
template <typename Value>
QStringList texts(quint32 last)
{
    QStringList list;
    for (quint32 value = 0; value <= last; ++value) {
        list << toString(static_cast<Value>(value));
    }
    return list;
}

QStringList split(const char* text)
{
    return QString::fromLatin1(text).split(QLatin1Char('|'));
}

constexpr quint32 NO_WORD = std::numeric_limits<quint32>::max();

} // namespace

TEST_CASE("SDI words have the display texts of the instrument, and Error for any other number",
          "[video]")
{
    CHECK(texts<SdiDataRate>(7) == split("12G|6G|3G|1.5G|270M|No Signal|Unknown|Error"));
    CHECK(texts<Level>(2) == split("A|B|Error"));
    CHECK(texts<SubImageDivision>(3) == split("|2-SI|SqDv|Error"));
    CHECK(texts<PictureFormat>(4) == split("Error|psf|i|p|Error"));
    CHECK(toString(SdiDataRate(NO_WORD)) == QLatin1String("Error"));
}

TEST_CASE("Payload identifier words have their texts, and none for a number that is no code",
          "[video]")
{
    CHECK(
        texts<SampleStructure>(16) ==
        split("YCbCr:422|YCbCr:444|RGB:444|YCbCr:420|YCbCrA:4224|YCbCrA:4444|RGBA:4444|RESERVED|"
              "YCbCrD:4224|YCbCrD:4444|RGBD:4444|RESERVED|RESERVED|RESERVED|X'Y'Z':444|RESERVED|"));
    CHECK(texts<BitDepth>(4) == split("10FR|10|12|12FR|"));
    CHECK(texts<Colourimetry>(4) == split("Rec.709|ColVancPacket|Rec.2020|Unknown|"));
    CHECK(toString(Colourimetry_Rec601) == QLatin1String("Rec.601"));
    CHECK(toString(Colourimetry(998)).isEmpty());
    CHECK(texts<TransferCurve>(4) == split("SDR-TV|HLG|PQ|S-Log3|"));
    CHECK(texts<LuminanceAndColourDifferenceSignal>(2) == split("YCbCr|ICtCp|"));

    // Only structures 0 and 3 are narrow, and depths pair by their bits.
    for (quint32 code = 0; code < 16; ++code) {
        CHECK(isNarrow(SampleStructure(code)) == (code == 0 || code == 3));
        CHECK(is10Bit(BitDepth(code)) == (code < 2));
        CHECK(is12Bit(BitDepth(code)) == (code == 2 || code == 3));
    }
}

TEST_CASE("A rate code shows frames of a progressive picture and fields of any other", "[video]")
{
    CHECK(toString(FrameRate_25, 1) == QLatin1String("25"));
    CHECK(toString(FrameRate_25, 0) == QLatin1String("50"));
    CHECK(toString(FrameRate_47_95, 0) == QLatin1String("95.90"));
    CHECK(toString(FrameRate_None, 1) == QLatin1String("NoRate"));
    CHECK(toString(FrameRate_Reserved, 0) == QLatin1String("RsvRate"));
    CHECK(toString(FrameRate(16), 1).isEmpty());

    // The texts are the rates in hertz, whole or rounded to two decimals.
    for (quint32 code = FrameRate_23_98; code <= FrameRate_120; ++code) {
        const FrameRateRow& row = FRAME_RATES[code];
        REQUIRE(row.value == code);
        const double hz = row.nominalHz / (row.is1001 ? 1.001 : 1.0);
        const auto text = [&row](double rate) {
            return row.is1001 ? QString::number(rate, 'f', 2) : QString::number(rate);
        };
        CHECK(QString(toString(FrameRate(code), 1)) == text(hz));
        CHECK(QString(toString(FrameRate(code), 0)) == text(2 * hz));
    }
}

TEST_CASE("Serial clocks are multiples of the two that studio video began with", "[video]")
{
    // ITU-R BT.601: 2 x 13.5 MHz. SMPTE ST 274: 74.25 MHz, doubled with each generation of the
    // link; 12G carries eight times the samples of 1.5G.
    const quint32 hd = 74250000;
    const quint32 clocks[] = {8 * hd, 4 * hd, 2 * hd, hd, 2 * 13500000, 0, 0};
    for (quint32 rate = 0; rate < std::size(clocks); ++rate) {
        CHECK(getSampleClockHz(SdiDataRate(rate)) == clocks[rate]); // 12G first, then none
    }
    CHECK(getSampleClockHz(SdiDataRate(NO_WORD)) == 0);
}

TEST_CASE("A 20-bit sample has channel one in the low bits of a store word", "[video]")
{
    using Types::Sdi20BitSample;
    CHECK(Sdi20BitSample{0x3AC, 0}.toStoreWord() == 0x3AC);
    CHECK(Sdi20BitSample{0, 0x3AC}.toStoreWord() == 0xEB000);
    CHECK(Sdi20BitSample{0xFFFF, 0}.toStoreWord() == 0x3FF);
    CHECK(Sdi20BitSample::fromStoreWord(0xFFFEB001) == Sdi20BitSample{0x001, 0x3AC});
    CHECK(Sdi20BitSample{1, 2} != Sdi20BitSample{2, 2});
    CHECK(Sdi20BitSample{1, 2} != Sdi20BitSample{1, 1});
}

TEST_CASE("Positions and samples stream as text, and grids compare by their contents", "[video]")
{
    const auto write = [](auto& stream) {
        stream << Types::PixelCoordinates{1, 2} << Types::SampleLocation(280, 41)
               << Types::DigitalInterfaceSampleLocation(0, 42) << Types::Sdi20BitSample{64, 512};
    };
    QString text;
    QTextStream stream(&text);
    std::ostringstream standardStream;
    write(stream);
    write(standardStream);
    CHECK(text == "Pixel[x:1, y:2]Sample[sampleIndex:280, lineIndex:41]"
                  "Sample[digital sample:0, line:42]Sample[64, 512]"_s);
    CHECK(standardStream.str() == text.toStdString());

    Types::RawSdiSampleGrid grid;
    grid.rows.resize(2);
    grid.rows[1].lineSamples = {{64, 512}, {940, 512}};
    grid.rows[1].rowField7 = -1;
    Types::RawSdiSampleGrid other = grid;
    CHECK(other == grid);
    other.rows[1].lineSamples[1].channelTwo = 511;
    CHECK(other != grid);
    other = grid;
    other.rows[1].rowField7 = 1;
    CHECK(other != grid);
    other = grid;
    other.rows[0].rowDescriptor = {0};
    CHECK(other != grid);
}

TEST_CASE("IP video words have their texts, and Error for any other number", "[video]")
{
    using namespace Tessorn::IpTypes;
    CHECK(texts<Sampling2110>(12) ==
          split("YCbCr:422|YCbCr:444|YCbCr:420|CLYCbCr:444|CLYCbCr:422|CLYCbCr:420|ICtCp:444|"
                "ICtCp:422|ICtCp:420|RGB|XYZ|KEY|Error"));
    CHECK(texts<BitDepth2110>(5) == split("10|12|8|16|16f|Error"));
    CHECK(texts<Colourimetry2110>(8) ==
          split("BT709|BT2020|BT601|BT2100|ST2065-1|ST2065-3|Unspecified|XYZ|Error"));
    CHECK(
        texts<TransferCurve2110>(10) ==
        split("SDR|PQ|HLG|S-Log3|Linear|BT2100LINPQ|BT2100LINHLG|ST2065-1|ST428-1|Density|Error"));
}

namespace {

/// Reads each value's own text, its text in the other case and with a blank: the values that are
/// taken, in order.
template <typename Value>
QStringList readTexts(Value (*parse)(QStringView, bool*), quint32 last)
{
    QStringList taken;
    for (quint32 number = 0; number <= last + 1; ++number) {
        const QString text = toString(static_cast<Value>(number));
        bool ok = false;
        const Value read = parse(text, &ok);
        CHECK(read == (ok ? number : 0));
        if (ok) {
            taken << text;
        }
        parse(text + QLatin1Char(' '), &ok);
        CHECK_FALSE(ok);
        ok = true;
        CHECK(parse(text.toLower() + QLatin1Char('x'), &ok) == 0);
        CHECK_FALSE(ok);
    }
    bool ok = true;
    CHECK(parse(QString(), &ok) == 0);
    CHECK_FALSE(ok);
    CHECK(parse(QString(), nullptr) == 0);
    return taken;
}

} // namespace

TEST_CASE("Only the IP video words that can be set are read, letter for letter", "[video]")
{
    using namespace Tessorn::IpTypes;
    CHECK(readTexts(parseSampling2110, 11) == split("YCbCr:422"));
    CHECK(readTexts(parseBitDepth2110, 4) == split("10|12"));
    CHECK(readTexts(parseColourimetry2110, 7) == split("BT709|BT2020"));
    CHECK(readTexts(parseTransferCurve2110, 9) == split("SDR|PQ|HLG|S-Log3"));
    bool ok = true;
    parseSampling2110("ycbcr:422"_s, &ok);
    CHECK_FALSE(ok);
}

TEST_CASE("IP frame rates are read in decimal or as a rational, and their pictures have a letter",
          "[video]")
{
    using namespace Tessorn::IpTypes;
    const Table<IpFrameRate, const char*, const char*, const char*> rows{
        {{24, 1001}, "23.98", "47.95", "24000/1001"},
        {{24, 1000}, "24", "48", "24"},
        {{25, 1000}, "25", "50", "25"},
        {{30, 1001}, "29.97", "59.94", "30000/1001"},
        {{30, 1000}, "30", "60", "30"},
        {{48, 1001}, "47.95", "95.90", "48000/1001"},
        {{48, 1000}, "48", "96", "48"},
        {{50, 1000}, "50", "100", "50"},
        {{60, 1001}, "59.94", "119.88", "60000/1001"},
        {{60, 1000}, "60", "120", "60"},
    };
    for (const auto& [rate, shown, shownInterlaced, rational] : rows) {
        for (const char* text : {shown, rational}) {
            bool ok = false;
            CHECK(parseIpFrameRate(QString::fromLatin1(text), &ok) == rate);
            CHECK(ok);
        }
        CHECK(toString(rate, false) == QLatin1String(shown));
        CHECK(toString(rate, true) == QLatin1String(shownInterlaced));
    }

    // Those outside the table are refused, and shown as they are.
    for (const char* text : {"", " 25", "25.0", "50/1", "23.976", "25000/1001", "119.88", "120"}) {
        bool ok = true;
        CHECK(parseIpFrameRate(QString::fromLatin1(text), &ok) == IpFrameRate{60, 1000});
        CHECK_FALSE(ok);
    }
    CHECK(toString(IpFrameRate{120, 1001}, false) == QLatin1String("120000/1001"));
    CHECK(toString(IpFrameRate{120, 1001}, true) == QLatin1String("240000/1001"));
    CHECK(toString(IpFrameRate{25, 1001}, false) == QLatin1String("25000/1001"));
    CHECK(toString(IpFrameRate{60, 0}, true) == QLatin1String("120"));
    CHECK(toString(IpFrameRate{NO_WORD, 1001}, true) == QLatin1String("8589934590000/1001"));

    CHECK(getPictureFormatText(false, false) == QLatin1String("p"));
    CHECK(getPictureFormatText(true, false) == QLatin1String("i"));
    CHECK(getPictureFormatText(true, true) == QLatin1String("psf"));
    CHECK(getPictureFormatText(false, true) == QLatin1String("p"));
}
