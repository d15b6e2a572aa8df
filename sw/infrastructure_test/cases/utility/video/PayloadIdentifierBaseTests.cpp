// Reading, composing, describing and comparing a payload identifier by its field table.
#include "infrastructure/utility/video/PayloadIdentifierBase.h"
#include "infrastructure/utility/video/PayloadIdentifierFactory.h"
#include "infrastructure/utility/video/PayloadIdentifierVariants.h"
#include "sw/infrastructure_test/Catch.h"
#include "sw/infrastructure_test/TestSupport.h"

#include <QFile>
#include <QRegularExpression>

namespace {

using Key = PayloadIdentifierKey;

constexpr PayloadIdentifierFieldMap BYTE_0_ONLY{
    {PayloadIdentifierKey_PayloadAndDigitalInterface, {0, {0, 1, 2, 3, 4, 5, 6, 7}}}};

/// The most memory that the process has had so far; counted from now on where it is to be and the
/// system can (proc(5), clear_refs).
int peakKib(bool isStart)
{
    QFile reset("/proc/self/clear_refs"_s);
    if (isStart && reset.open(QIODevice::WriteOnly)) {
        reset.write("5");
        reset.close();
    }
    QFile status("/proc/self/status"_s);
    REQUIRE(status.open(QIODevice::ReadOnly));
    const QByteArray text = status.readAll();
    return text.mid(text.indexOf("VmHWM:") + 6).split('k').first().trimmed().toInt();
}

QStringList lines(const char* text)
{
    return QString::fromLatin1(text).split(QLatin1Char('\n'));
}

template <typename... Kinds>
QByteArray payloadBytes()
{
    return (QByteArray() + ... + static_cast<char>(Kinds::FACTS.payloadByte));
}

} // namespace

TEST_CASE("Byte 0 of an identifier is the most significant", "[video]")
{
    const PayloadIdentifierBase identifier(0x89CA0001, BYTE_0_ONLY);
    CHECK(identifier.getBytes() == std::array<quint8, 4>{0x89, 0xCA, 0x00, 0x01});
    CHECK(identifier.getPayloadAndDigitialInterface() == 0x89);
    CHECK(PayloadIdentifierField(1, {7}).read(0x00800000) == 1);
    CHECK(PayloadIdentifierField(3, {0}).read(0x00000001) == 1);
}

TEST_CASE("The first bit of a field's list holds the lowest bit of its value", "[video]")
{
    constexpr PayloadIdentifierField split(2, {4, 7});
    static_assert(split.getMask() == 0x9000 && split.getMaximum() == 3, "known in constants");
    CHECK(split.read(0x1000) == 1);
    CHECK(split.read(0x8000) == 2);
    CHECK(split.write(0, 1) == 0x1000);
    CHECK(split.write(0, 2) == 0x8000);
    CHECK(PayloadIdentifierField(2, {7, 4}).read(0x8000) == 1);
    CHECK(PayloadIdentifierField(2, {4, 5, 7}).read(0x8000) == 4);
    CHECK(PayloadIdentifierField(2, {4, 5, 7}).read(0x4000) == 0);
    CHECK(PayloadIdentifierField(0, {7, 6, 5, 4, 3, 2, 1, 0}).read(0x01000000) == 0x80);
}

TEST_CASE("A value wider than its field is not stored, and neither is one for a missing field",
          "[video]")
{
    constexpr PayloadIdentifierField field(3, {0, 1});
    CHECK(field.write(0xFFFFFFFF, 2) == 0xFFFFFFFE);
    CHECK(field.write(0x12345678, 4) == 0x12345678);
    CHECK(field.write(0x12345678, 0xFFFFFFFF) == 0x12345678);

    constexpr PayloadIdentifierFieldMap fields{{PayloadIdentifierKey_BitDepth, {3, {0, 1}}}};
    CHECK(fields.compose(
              {{PayloadIdentifierKey_BitDepth, 2}, {PayloadIdentifierKey_AspectRatio, 1}}) == 2);
    CHECK(fields.compose({{PayloadIdentifierKey_BitDepth, 5}}, 3) == 3);
    CHECK(fields.compose({{static_cast<Key>(13), 0}, {static_cast<Key>(0xFFFFFFFF), 1}}) == 0);

    // An address names bits that exist.
    CHECK(PayloadIdentifierField(4, {0}).getMask() == 0);
    CHECK(PayloadIdentifierField(3, {0, 8, 1}).getMask() == 3);
    CHECK(PayloadIdentifierField(3, {0, 1, 2, 3, 4, 5, 6, 7, 0}).getWidth() == 8);
    CHECK_FALSE(PayloadIdentifierFieldMap({{static_cast<Key>(13), {3, {0}}}})
                    .contains(static_cast<Key>(13)));
}

TEST_CASE("Reserved bits are numbered from the end that fields are not", "[video]")
{
    CHECK(PayloadIdentifierBase(0x89000000, BYTE_0_ONLY).getReservedBitErrors().isEmpty());
    const LogCapture log;
    // Bits of bytes 3, 2 and 1 of the identifier.
    const PayloadIdentifierBase identifier(0x00800104, BYTE_0_ONLY);
    const QStringList expected = lines("Reserved bit not 0, Byte 0, Bit 2\n"
                                       "Reserved bit not 0, Byte 1, Bit 0\n"
                                       "Reserved bit not 0, Byte 2, Bit 7");
    CHECK(identifier.getReservedBitErrors() == expected);
    CHECK(log.lines() ==
          QStringList(expected).replaceInStrings(QRegularExpression("^"_s), "error: "_s));
    CHECK(PayloadIdentifierBase(0xFFFFFFFF).getReservedBitErrors().size() == 32);
}

TEST_CASE("Fields that share a bit are found", "[video]")
{
    using Map = PayloadIdentifierFieldMap;
    const auto isFree = [](const Map& map) {
        return PayloadIdentifierBase(0, map).checkThatPayloadIdentifierFieldsDoNotOverlap();
    };
    CHECK(isFree(Map()));
    // The same bits of another byte are other bits.
    for (const auto& [byte, bit, free] :
         Table<quint32, quint32, bool>{{2, 5, true}, {2, 7, false}, {1, 7, true}}) {
        CHECK(isFree({{PayloadIdentifierKey_AspectRatio, {byte, {bit}}},
                      {PayloadIdentifierKey_Colourimetry, {2, {4, 7}}}}) == free);
    }
    // The same bits of another byte are other bits.
    CHECK(isFree({{PayloadIdentifierKey_AspectRatio, {1, {7}}},
                  {PayloadIdentifierKey_Colourimetry, {2, {4, 7}}}}));
}

TEST_CASE("An identifier of an unknown kind has fields and no geometry", "[video]")
{
    const PayloadIdentifierBase identifier(0x89000000, BYTE_0_ONLY);
    CHECK(identifier.validate() == lines("Error packet does not match any supported type"));
    CHECK_FALSE(identifier.isPayloadByteCorrect());
    CHECK(std::tuple(identifier.getNumberOfLinks(), identifier.getNumberOfSubImages(),
                     identifier.getSdiDataRate(), identifier.getSampleStructure()) ==
          std::tuple(0u, 1u, Tessorn::Sdi::SdiDataRate_NoSignal, 0u));
    CHECK(identifier.getLinesPerField().empty());
    CHECK(identifier.getDescription(false) == "0x0pNoRate YCbCr:422:10FR No Signal Rec.709"_s);
    CHECK(PayloadIdentifierBase(0).getDescription(false) == "No payload identifier"_s);
}

TEST_CASE("A line takes one sample a pixel for narrow 10-bit structures alone", "[video]")
{
    for (quint32 structure = 0; structure < 16; ++structure) {
        for (quint32 depth = 0; depth < 4; ++depth) {
            const PayloadIdentifier1080_3g identifier(PayloadIdentifier1080_3g::FACTS.compose(
                {{PayloadIdentifierKey_SampleStructure, structure},
                 {PayloadIdentifierKey_BitDepth, depth}}));
            const bool single = (structure == 0 || structure == 3) && depth < 2;
            CHECK(identifier.getSamplesForWidth(1920) == (single ? 1920u : 3840u));
        }
    }
}

TEST_CASE("A description tells the picture, the interface, and the signal where it is unusual",
          "[video]")
{
    // The bytes were put together by hand from the tables of SMPTE ST 352.
    const Table<quint32, const char*> rows{
        {0x8A492041, "1920x1080p50 YCbCr:422:10 3G B *LinkB* Rec.709"},
        {0x87492041, "1920x1080p50 YCbCr:422:10 DL 1.5G *LinkB* Rec.709"},
        {0x97CB8081, "3840x2160p60 YCbCr:422:10 QL 3G A 2-SI *Link3* Rec.709"},
        {0x984B20A1, "3840x2160p60 YCbCr:422:10 QL 3G B 2-SI *DS6_Link3* Rec.709"},
        {0xC2E9A021, "3840x2160p50 YCbCr:422:10 DL 6G 2-SI *Link2* PQ Rec.2020"},
        {0xCEF7A212, "3840x2160p30 RGB:444:12 12G 2-SI *Link1* ICtCp S-Log3 Rec.2020"},
        {0xC0C340E1, "4096x2160p24 YCbCr:422:10 6G 2-SI *Link8* Rec.709"},
        {0x89011003, "1920x1080iRsvRate YCbCr:422:12FR 3G A ColVancPacket"},
    };
    for (const auto& [rawValue, description] : rows) {
        const auto identifier = createPayloadIdentifier(rawValue);
        REQUIRE(identifier);
        CHECK(identifier->getReservedBitErrors().isEmpty());
        QStringList pieces = QString::fromLatin1(description).split(QLatin1Char('*'));
        CHECK(identifier->getDescription(false) == pieces.join(QString()));
        if (pieces.size() == 3) {
            pieces = QStringList{pieces[0].trimmed(), pieces[2]};
        }
        CHECK(identifier->getDescription(true) == pieces.join(QString()));
    }
}

TEST_CASE("Each link has its name, and one that no standard has a question mark", "[video]")
{
    /// One link, level A or B, with a channel field of four bits.
    struct Wide : PayloadIdentifierBase
    {
        Wide(quint32 links, Tessorn::Sdi::Level level, quint32 channel)
            : PayloadIdentifierBase(0x01000000 | channel,
                                    {{PayloadIdentifierKey_PayloadAndDigitalInterface, {0, {0}}},
                                     {PayloadIdentifierKey_ChannelAssignment, {3, {0, 1, 2, 3}}}})
            , linkCount(links)
            , mappingLevel(level)
        {
        }
        quint32 getNumberOfLinks() const override { return linkCount; }
        Tessorn::Sdi::Level getLevel() const override { return mappingLevel; }
        quint32 linkCount;
        Tessorn::Sdi::Level mappingLevel;
    };
    using namespace Tessorn::Sdi;
    const auto names = [](quint32 links, Level level) {
        QStringList list;
        for (quint32 channel = 0; channel < 9; ++channel) {
            const QString text = Wide(links, level, channel).getDescription(false);
            list << text.section(QLatin1Char(' '), -2, -2);
        }
        return list.join(QLatin1Char(' '));
    };
    CHECK(names(1, Level_B) == "LinkA LinkB Link? Link? Link? Link? Link? Link? Link?"_s);
    CHECK(names(8, Level_B) == "DS1_Link1 DS2_Link1 DS3_Link2 DS4_Link2 DS5_Link3 "
                               "DS6_Link3 DS7_Link4 DS8_Link4 DS?_Link?"_s);
    CHECK(names(8, Level_A) == "Link1 Link2 Link3 Link4 Link5 Link6 Link7 Link8 Link?"_s);

    // A colourimetry that has no name.
    const PayloadIdentifierBase nameless(
        0x01000004, {{PayloadIdentifierKey_PayloadAndDigitalInterface, {0, {0}}},
                     {PayloadIdentifierKey_Colourimetry, {3, {0, 1, 2}}}});
    CHECK(nameless.getDescription(true).endsWith(QLatin1Char(' ')));
}

TEST_CASE("Identifiers are compared by what they say of the picture", "[video]")
{
    QStringList names;
    for (quint32 key = 0; key <= PAYLOAD_IDENTIFIER_KEY_COUNT; ++key) {
        names << toString(static_cast<Key>(key));
    }
    CHECK(
        names ==
        lines("payload and digital interface\nsample structure\npicture rate\npicture\ntransport\n"
              "bit depth\naspect ratio\nhorizontal array size\ncolourimetry\n"
              "transfer characteristics\nluminance and colour difference signal\n"
              "channel assignment\naudio copy status\n"));
    using Variant = PayloadIdentifier2160_QuadLink3g;
    const auto& facts = Variant::FACTS;
    const quint32 base = facts.compose({{PayloadIdentifierKey_PictureRate, 9}});
    for (quint32 number = 0; number < PAYLOAD_IDENTIFIER_KEY_COUNT; ++number) {
        const auto key = static_cast<Key>(number);
        const quint32 changed = base ^ facts.fields.get(key).getMask();
        const bool ignored = key == PayloadIdentifierKey_AspectRatio ||
                             key == PayloadIdentifierKey_ChannelAssignment ||
                             key == PayloadIdentifierKey_AudioCopyStatus;
        CHECK(Variant(base).isEqual(Variant(changed)) == ignored);
        CHECK(Variant(base).getDifferences(Variant(changed)) ==
              (ignored ? std::vector<Key>() : std::vector<Key>{key}));
    }
}

TEST_CASE("A comparison can log each field that differs, in its own order", "[video]")
{
    const PayloadIdentifier2160_12g one(0xCECA8001);
    const PayloadIdentifier1080_3g other(0x89312102);
    const LogCapture log;
    CHECK_FALSE(one.isEqual(other, true));
    CHECK(log.lines() == lines("info: Comparing payload Identifiers...\n"
                               "info: 3840x2160p59.94 YCbCr:422:10 12G 2-SI Link1 Rec.709\n"
                               "info: 1920x1080iRsvRate YCbCr:444:12 3G A S-Log3 Rec.2020\n"
                               "info: NO MATCH - getSampleStructure\n"
                               "info: NO MATCH - getFrameRate\n"
                               "info: NO MATCH - getPicutreInterlaced\n"
                               "info: NO MATCH - getTransportInterlaced\n"
                               "info: NO MATCH - getBitDepth\n"
                               "info: NO MATCH - getColourimetry\n"
                               "info: NO MATCH - getPayloadAndDigitialInterface\n"
                               "info: NO MATCH - getTransferCharacteristics\n"
                               "info: Comparable? false"));

    const LogCapture otherFields;
    CHECK_FALSE(one.isEqual(PayloadIdentifier2160_12g(0xCECA8001 ^ 0x4010), true));
    CHECK(otherFields.lines().mid(3) == lines("info: NO MATCH - getHorizontalArraySize\n"
                                              "info: NO MATCH - "
                                              "getLuminanceAndColourDifferenceSignal\n"
                                              "info: Comparable? false"));

    const LogCapture equalLog;
    CHECK(one.isEqual(one, true));
    CHECK(equalLog.lines().last() == "info: Comparable? true"_s);
    CHECK(equalLog.lines().size() == 4);

    const LogCapture silent;
    CHECK_FALSE(one.isEqual(other));
    CHECK(silent.lines().isEmpty());
}

TEST_CASE("Byte 0 chooses the kind of an identifier", "[video]")
{
    const QByteArray known = QByteArray::fromHex("84858788898a9798c0c2ce");
    int found = 0;
    for (quint32 byte = 0; byte < 256; ++byte) {
        const auto identifier = createPayloadIdentifier(byte << 24);
        CHECK((identifier != nullptr) == known.contains(static_cast<char>(byte)));
        REQUIRE((findPayloadIdentifierFacts(byte) != nullptr) == (identifier != nullptr));
        if (identifier) {
            ++found;
            CHECK(identifier->isPayloadByteCorrect());
            CHECK(findPayloadIdentifierFacts(byte)->payloadByte == byte);
        }
    }
    CHECK(found == 11);
    CHECK(findPayloadIdentifierFacts(0x184) == nullptr);

    // The names, and the kind that the factory makes.
    CHECK(payloadBytes<PayloadIdentifier720_1g5, PayloadIdentifier1080_1g5,
                       PayloadIdentifier1080_DualLink1g5, PayloadIdentifier720_3g,
                       PayloadIdentifier1080_3g, PayloadIdentifier1080_Levelb3g,
                       PayloadIdentifier2160_QuadLink3g, PayloadIdentifier2160_QuadLinkLevelb3g,
                       PayloadIdentifier2160_6g, PayloadIdentifier2160_DualLink6g,
                       PayloadIdentifier2160_12g>() == known);
    CHECK(&createPayloadIdentifier(0x98000000)->getFacts() ==
          &PayloadIdentifier2160_QuadLinkLevelb3g::FACTS);
}

TEST_CASE("The bytes of an identifier are four decimal numbers", "[video]")
{
    CHECK(parsePayloadIdentifierBytes("137 201 0 1"_s) == 0x89C90001);
    CHECK(parsePayloadIdentifierBytes("0 0 0 255"_s) == 0xFF);
    CHECK(getPayloadIdentifierText(0x89C900FF) == "137 201 0 255"_s);
    for (const char* bad :
         {"", " ", "137", "137 201 0", "137 201 0 1 2", "137 201 0 256", "137 201 0 -1",
          "137  201 0 1", " 137 201 0 1", "137 201 0 1 ", "137 201 0 ", "137,201,0,1",
          "0x89 201 0 1", "137 201 0 +1", "137 201 0 1.0", "137 201 0 0001", "137 201 0 a",
          "137 201 0\t1", "137 201 0 4294967297"}) {
        CAPTURE(bad);
        CHECK_FALSE(parsePayloadIdentifierBytes(QString::fromLatin1(bad)).has_value());
    }
    CHECK_FALSE(parsePayloadIdentifierBytes("\u0661 0 0 0"_s).has_value());
    // The longest text there is; and one that would be millions of parts.
    CHECK(parsePayloadIdentifierBytes("255 255 255 255"_s) == 0xFFFFFFFF);
    const QString blanks(4 << 20, QLatin1Char(' '));
    const int before = peakKib(true);
    CHECK_FALSE(parsePayloadIdentifierBytes(blanks).has_value());
    CHECK(peakKib(false) - before < 4096);
    for (const quint32 value : {0u, 0x01020304u, 0xFFFFFFFFu, 0x80000001u}) {
        CHECK(parsePayloadIdentifierBytes(getPayloadIdentifierText(value)) == value);
    }
}
