// The eleven kinds of interface: where their fields lie, what they answer, what they complain of.
#include "infrastructure/utility/video/PayloadIdentifierFactory.h"
#include "infrastructure/utility/video/PayloadIdentifierVariants.h"
#include "infrastructure/utility/video/StandardFromPayloadIdentifier.h"
#include "sw/infrastructure_test/Catch.h"
#include "sw/infrastructure_test/TestSupport.h"

#include <QCryptographicHash>
#include <QSize>

#include <bitset>
#include <random>

using namespace Tessorn::Sdi;

namespace {

using Key = PayloadIdentifierKey;
using Values = std::initializer_list<PayloadIdentifierFieldValue>;

constexpr auto TRANSPORT = PayloadIdentifierKey_TransportInterlaced;
constexpr auto PICTURE = PayloadIdentifierKey_PictureInterlaced;
constexpr auto STRUCTURE = PayloadIdentifierKey_SampleStructure;
constexpr auto ARRAY = PayloadIdentifierKey_HorizontalArraySize;
constexpr auto DEPTH = PayloadIdentifierKey_BitDepth;

/// An identifier of the kind of this byte 0.
std::shared_ptr<const PayloadIdentifierBase> make(quint32 payloadByte, Values values)
{
    return createPayloadIdentifier(findPayloadIdentifierFacts(payloadByte)->compose(values));
}

/// The masks of the fields among the 32 bits, key 0 to 12, worked out by hand from SMPTE ST 352 and
/// the interface standards. 0: the interface has no such field.
struct FieldMasks
{
    quint32 payloadByte;
    quint32 masks[PAYLOAD_IDENTIFIER_KEY_COUNT];
};

// clang-format off
const FieldMasks FIELD_MASKS[] = {
    //     byte 0      struct rate     picture   transport depth aspect array   colour  transfer  lum   channel copy
    {0x84, {0xFF000000, 0xF00, 0xF0000, 0x400000, 0,        1, 0,      0,      0x3000, 0x300000, 0x10, 0,    0}},
    {0x88, {0xFF000000, 0xF00, 0xF0000, 0x400000, 0x800000, 3, 0x8000, 0x4000, 0x3000, 0x300000, 0x10, 0,    0}},
    {0x85, {0xFF000000, 0xF00, 0xF0000, 0x400000, 0x800000, 3, 0x2000, 0x4000, 0x9000, 0x300000, 0x10, 0,    0}},
    {0x87, {0xFF000000, 0xF00, 0xF0000, 0x400000, 0x800000, 3, 0x2000, 0x4000, 0,      0,        0,    0x40, 0}},
    {0x89, {0xFF000000, 0xF00, 0xF0000, 0x400000, 0x800000, 3, 0x8000, 0x4000, 0x3000, 0x300000, 0x10, 0,    0}},
    {0x8A, {0xFF000000, 0xF00, 0xF0000, 0x400000, 0x800000, 3, 0x2000, 0x4000, 0x9000, 0x300000, 0x10, 0x40, 0}},
    {0x97, {0xFF000000, 0xF00, 0xF0000, 0x400000, 0x800000, 3, 0x8000, 0x4000, 0x3000, 0x300000, 0x10, 0xC0, 4}},
    {0x98, {0xFF000000, 0xF00, 0xF0000, 0x400000, 0x800000, 3, 0x2000, 0x4000, 0x9000, 0x300000, 0x10, 0xE0, 4}},
    {0xC2, {0xFF000000, 0xF00, 0xF0000, 0x400000, 0x800000, 3, 0x8000, 0x4000, 0x3000, 0x300000, 0x10, 0xE0, 4}},
    {0xC0, {0xFF000000, 0xF00, 0xF0000, 0x400000, 0x800000, 3, 0x8000, 0x4000, 0x3000, 0x300000, 0x10, 0xE0, 4}},
    {0xCE, {0xFF000000, 0xF00, 0xF0000, 0x400000, 0x800000, 3, 0x8000, 0x4000, 0x3000, 0x300000, 0x10, 0xE0, 4}},
};
// clang-format on

} // namespace

TEST_CASE("Every field of every kind is read back alone from its own bits", "[video]")
{
    const FieldMasks& row = GENERATE(from_range(std::begin(FIELD_MASKS), std::end(FIELD_MASKS)));
    const PayloadIdentifierFacts& facts = *findPayloadIdentifierFacts(row.payloadByte);
    const LogCapture ignored; // byte 0 is not always that of the kind
    CAPTURE(row.payloadByte);
    quint32 all = 0;
    for (quint32 number = 0; number < PAYLOAD_IDENTIFIER_KEY_COUNT; ++number) {
        const auto key = static_cast<Key>(number);
        CAPTURE(number);
        const PayloadIdentifierField field = facts.fields.get(key);
        CHECK(field.getMask() == row.masks[number]);
        all |= row.masks[number];

        const quint32 alone = facts.fields.compose({{key, field.getMaximum()}});
        CHECK(alone == row.masks[number]);
        CHECK(facts.fields.compose({{key, field.getMaximum() + 1}}, 0x5A5A5A5A) == 0x5A5A5A5A);
        const PayloadIdentifierVariant set(alone, facts);
        const PayloadIdentifierVariant cleared(~row.masks[number], facts);
        for (quint32 other = 0; other < PAYLOAD_IDENTIFIER_KEY_COUNT; ++other) {
            const auto otherKey = static_cast<Key>(other);
            const quint32 maximum = facts.fields.get(otherKey).getMaximum();
            CHECK(set.getField(otherKey) == (other == number ? maximum : 0));
            CHECK(cleared.getField(otherKey) == (other == number ? 0 : maximum));
        }
        CHECK(set.getReservedBitErrors().isEmpty());
    }
    const PayloadIdentifierVariant full(all, facts);
    CHECK(full.checkThatPayloadIdentifierFieldsDoNotOverlap());
    CHECK(full.getReservedBitErrors().isEmpty());
    // Every bit outside the fields is reserved.
    CHECK(static_cast<std::size_t>(
              PayloadIdentifierVariant(~all, facts).getReservedBitErrors().size()) ==
          std::bitset<32>(~all).count());
}

TEST_CASE("Each reader reads its own field", "[video]")
{
    const auto identifier = createPayloadIdentifier(0xCE7DAEB6); // by hand
    using Base = PayloadIdentifierBase;
    std::vector<quint32> read;
    for (const auto reader :
         {&Base::getPayloadAndDigitialInterface, &Base::getSampleStructure, &Base::getFrameRate,
          &Base::getPicutreInterlaced, &Base::getTransportInterlaced, &Base::getBitDepth,
          &Base::getAspectRatio, &Base::getHorizontalArraySize, &Base::getColourimetry,
          &Base::getTransferCharacteristics, &Base::getLuminanceAndColourDifferenceSignal,
          &Base::getChannelAssignment, &Base::getAudioCopyStatus}) {
        read.push_back((*identifier.*reader)());
    }
    CHECK(read == std::vector<quint32>{0xCE, 14, 13, 1, 0, 2, 1, 0, 2, 3, 1, 5, 1});
}

TEST_CASE("Each kind answers for its interface", "[video]")
{
    const Table<quint32, quint32, quint32, SdiDataRate, Level, quint32> rows{
        {132, 0, 1, SdiDataRate_1G5, Level_A, 1}, {136, 0, 1, SdiDataRate_3G, Level_A, 1},
        {133, 0, 1, SdiDataRate_1G5, Level_A, 1}, {135, 0, 2, SdiDataRate_1G5, Level_A, 1},
        {137, 0, 1, SdiDataRate_3G, Level_A, 1},  {138, 0, 1, SdiDataRate_3G, Level_B, 1},
        {151, 1, 4, SdiDataRate_3G, Level_A, 4},  {152, 1, 4, SdiDataRate_3G, Level_B, 4},
        {194, 1, 2, SdiDataRate_6G, Level_A, 4},  {192, 1, 1, SdiDataRate_6G, Level_A, 4},
        {206, 1, 1, SdiDataRate_12G, Level_A, 4},
    };
    for (const auto& [payloadByte, division, links, rate, level, subImages] : rows) {
        const auto identifier = make(payloadByte, {});
        CAPTURE(payloadByte);
        CHECK(std::tuple<quint32, quint32, SdiDataRate, Level, quint32>(
                  identifier->getSubImageDivision(), identifier->getNumberOfLinks(),
                  identifier->getSdiDataRate(), identifier->getLevel(),
                  identifier->getNumberOfSubImages()) ==
              std::tuple(division, links, rate, level, subImages));
    }
}

TEST_CASE("Picture and transport bits make the scan, but not on every interface", "[video]")
{
    const auto scan = [](quint32 payloadByte, quint32 picture, quint32 transport, quint32 structure,
                         quint32 depth) {
        return make(payloadByte, {{PICTURE, picture},
                                  {TRANSPORT, transport},
                                  {STRUCTURE, structure},
                                  {DEPTH, depth}})
            ->getPicutreInterlacedProgressivePsf();
    };
    constexpr PictureFormat byBits[2][2] = {
        {PictureFormat_Interlaced, PictureFormat_Interlaced},
        {PictureFormat_Psf, PictureFormat_Progressive},
    };
    for (const quint32 picture : {0u, 1u}) {
        for (const quint32 transport : {0u, 1u}) {
            for (const quint32 byte : {0x84u, 0x88u}) {
                CHECK(scan(byte, picture, transport, 0, 1) == PictureFormat_Progressive);
            }
            for (const quint32 byte : {0x85u, 0x89u, 0x97u, 0xC2u, 0xC0u, 0xCEu}) {
                CHECK(scan(byte, picture, transport, 0, 1) == byBits[picture][transport]);
            }
            for (const quint32 byte : {0x87u, 0x8Au, 0x98u}) {
                for (const auto& [structure, depth] : Table<quint32, quint32>{
                         {0, 0}, {0, 1}, {3, 0}, {3, 1}, {0, 2}, {3, 2}, {2, 1}}) {
                    CAPTURE(byte, structure, depth);
                    CHECK(scan(byte, picture, transport, structure, depth) ==
                          (structure != 2 && depth < 2 ? PictureFormat_Progressive
                                                       : byBits[picture][transport]));
                }
            }
        }
    }
}

TEST_CASE("Sizes follow array size, scan and sample structure", "[video]")
{
    struct Known
    {
        quint32 payloadByte;
        quint32 array;
        quint32 structure;
        QSize picture;
        quint32 fieldWidth;
        quint32 heights[4]; // picture and transport bits: 00, 01, 10, 11
    };
    const Known rows[] = {
        {0x84, 0, 0, {1280, 720}, 1280, {720, 720, 720, 720}},
        {0x84, 0, 1, {1280, 720}, 1280, {720, 720, 720, 720}},
        {0x88, 0, 0, {1280, 720}, 1280, {720, 720, 720, 720}},
        {0x88, 1, 1, {1280, 720}, 2560, {720, 720, 720, 720}},
        {0x85, 0, 0, {1920, 1080}, 1920, {540, 540, 540, 1080}},
        {0x85, 1, 1, {2048, 1080}, 2048, {540, 540, 540, 1080}},
        {0x87, 1, 1, {2048, 1080}, 2048, {540, 540, 540, 1080}},
        {0x8A, 0, 1, {1920, 1080}, 1920, {540, 540, 540, 1080}},
        {0x89, 0, 3, {1920, 1080}, 1920, {540, 540, 540, 1080}},
        {0x89, 1, 2, {2048, 1080}, 4096, {540, 540, 540, 1080}},
        {0x97, 0, 0, {3840, 2160}, 1920, {540, 540, 1080, 1080}},
        {0x97, 1, 1, {4096, 2160}, 4096, {540, 540, 1080, 1080}},
        {0x98, 1, 1, {4096, 2160}, 2048, {540, 540, 540, 1080}},
        {0xC2, 0, 1, {3840, 2160}, 3840, {540, 540, 1080, 1080}},
        {0xC0, 1, 0, {4096, 2160}, 2048, {540, 540, 1080, 1080}},
        {0xCE, 0, 1, {3840, 2160}, 3840, {540, 540, 1080, 1080}},
    };
    using Lines = std::vector<quint32>;
    for (const Known& row : rows) {
        for (quint32 bits = 0; bits < 4; ++bits) {
            CAPTURE(row.payloadByte, bits);
            const auto identifier = make(row.payloadByte, {{PICTURE, bits >> 1},
                                                           {TRANSPORT, bits & 1u},
                                                           {ARRAY, row.array},
                                                           {STRUCTURE, row.structure},
                                                           {DEPTH, 1}});
            CHECK(identifier->getPictureWidth() == static_cast<quint32>(row.picture.width()));
            CHECK(identifier->getPictureHeight() == static_cast<quint32>(row.picture.height()));
            CHECK(identifier->getFieldActivePictureWidthInSamples() == row.fieldWidth);
            CHECK(identifier->getFieldActivePictureHeight() == row.heights[bits]);
            const bool is720 = row.picture.height() == 720;
            const auto lines = is720       ? std::pair(Lines{750}, Lines{26})
                               : bits == 3 ? std::pair(Lines{1125}, Lines{42})
                                           : std::pair(Lines{563, 562}, Lines{21, 584});
            CHECK(identifier->getLinesPerField() == lines.first);
            CHECK(identifier->getFirstActivePictureLines() == lines.second);
        }
    }
}

TEST_CASE("Any, only, none of and never are four different sets", "[video]")
{
    using namespace PayloadIdentifierSets;
    const auto numbers = [](PayloadIdentifierValues values) {
        QStringList list;
        for (const quint32 value : {0u, 1u, 2u, 3u, 30u, 31u, 32u, 0xFFFFFFFFu}) {
            list << (values.contains(value) ? QString::number(value) : "-"_s);
        }
        return list.join(QLatin1Char(' '));
    };
    CHECK(numbers(ANY) == "0 1 2 3 30 31 32 4294967295"_s);
    CHECK(numbers(NEVER) == "- - - - - - - -"_s);
    CHECK(numbers(only(0, 2, 30)) == "0 - 2 - 30 - - -"_s);
    CHECK(numbers(only(1) | only(77)) == "- 1 - - - 31 32 4294967295"_s);
    CHECK(numbers(noneOf(0, 30)) == "- 1 2 3 - 31 32 4294967295"_s);
    CHECK(numbers(range(1, 30)) == "- 1 2 3 30 - - -"_s);
    CHECK(numbers(PayloadIdentifierCondition().values) == numbers(ANY));
    CHECK((ANY.isAny() && !noneOf(31).isAny() && !NEVER.isAny()));
}

TEST_CASE("The law of every interface is the one written down", "[video]")
{
    // Words of each kind from all over the 24 bits behind byte 0, and what is complained of:
    // "84040300:Invalid picture rate: 4|Invalid sampling structure: 3\n". The sum was taken of the
    // same lines made outside this program, from the rules in words.
    QCryptographicHash sum(QCryptographicHash::Sha256);
    for (const quint32 payloadByte :
         {0x84u, 0x88u, 0x85u, 0x87u, 0x89u, 0x8Au, 0x97u, 0x98u, 0xC2u, 0xC0u, 0xCEu}) {
        const PayloadIdentifierFacts& facts = *findPayloadIdentifierFacts(payloadByte);
        for (quint32 i = 0; i < 1u << 13; ++i) {
            const quint32 rawValue = payloadByte << 24 | (i * 0x9E3779u & 0xFFFFFFu);
            const PayloadIdentifierVariant identifier(rawValue & facts.fields.getMask(), facts);
            sum.addData(QByteArray::number(rawValue, 16) + ':' +
                        identifier.validate().join(QLatin1Char('|')).toLatin1() + '\n');
        }
    }
    CHECK(sum.result().toHex() ==
          "e9acb0c8e980b6f39a9c500516f1d2974893e235e130afb1d1be57c6969eeef0");
}

TEST_CASE("A wrong byte 0 is one complaint before the others", "[video]")
{
    // What no field of one bit can bring about.
    const auto complaint = [](const PayloadIdentifierFacts& facts, int rule) {
        return std::string_view(facts.rules.first[rule].complaint);
    };
    CHECK(complaint(PayloadIdentifier1080_1g5::FACTS, 4) ==
          "Invalid horizontal pixel array size: ");
    CHECK(complaint(PayloadIdentifier1080_1g5::FACTS, 6) == "Invalid bit depth: ");
    CHECK(complaint(PayloadIdentifier720_1g5::FACTS, 3) == "Invalid bit depth: ");
    const PayloadIdentifier720_3g identifier(0x89000000);
    CHECK_FALSE(identifier.isPayloadByteCorrect());
    CHECK(identifier.validate() ==
          QStringList{"Incorrect payload identifier: 137"_s, "Invalid picture rate: 0"_s});
    CHECK(PayloadIdentifier2160_12g(0).validate() ==
          QStringList{"Incorrect payload identifier: 0"_s});
}

TEST_CASE("Any bytes make an identifier that answers, and its fields make the bytes", "[video]")
{
    std::mt19937 random(352);
    const LogCapture ignored; // reserved bits
    for (const FieldMasks& row : FIELD_MASKS) {
        const PayloadIdentifierFacts& facts = *findPayloadIdentifierFacts(row.payloadByte);
        for (int i = 0; i < 300; ++i) {
            const quint32 rawValue =
                row.payloadByte << 24 | (static_cast<quint32>(random()) & 0xFFFFFFu);
            const auto identifier = createPayloadIdentifier(rawValue);
            quint32 again = 0;
            for (quint32 key = 0; key < PAYLOAD_IDENTIFIER_KEY_COUNT; ++key) {
                again = facts.fields.compose(
                    {{static_cast<Key>(key), identifier->getField(static_cast<Key>(key))}}, again);
            }
            REQUIRE(again == (rawValue & facts.fields.getMask()));
            REQUIRE(static_cast<std::size_t>(identifier->getReservedBitErrors().size()) ==
                    std::bitset<32>(rawValue & ~again).count());
            REQUIRE(identifier->isEqual(PayloadIdentifierVariant(again, facts)));

            const StandardFromPayloadIdentifier standard({identifier});
            bool succeeded = false;
            const auto metrics = standard.getTransmissionMetrics(&succeeded);
            REQUIRE(metrics.empty() != succeeded);
            REQUIRE(standard.getSamplesPerLine() > 0);
            REQUIRE(standard.getDescription() == identifier->getDescription(true));
        }
    }
}
