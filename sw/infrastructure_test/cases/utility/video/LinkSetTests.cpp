// What several links make together, and what is said where they disagree.
#include "infrastructure/utility/video/LinkSet.h"
#include "infrastructure/utility/video/NearestPayloadIdentifiers.h"
#include "infrastructure/utility/video/PayloadIdentifierFactory.h"
#include "infrastructure/utility/video/SupportedVideoStandards.h"
#include "infrastructure/utility/video/VideoStandardFactory.h"
#include "sw/infrastructure_test/Catch.h"
#include "sw/infrastructure_test/TestSupport.h"

#include <QCryptographicHash>

#include <random>

using namespace Tessorn::Sdi;

namespace {

const std::vector<SupportedVideoStandards::Standard>& listed()
{
    return SupportedVideoStandards::getInstance().getStandards();
}

/// From ST 274, ST 296 and ST 2048-2 and the multiplexing of each interface, by the bytes alone.
LinkRaster rasterOf(const PayloadIdentifierBase& identifier)
{
    const quint32 byte0 = identifier.getRawValue() >> 24;
    // Frames at codes 2 to 11, each with the words of a line at 74.25 MHz.
    const quint32 words1125[] = {2750, 2750, 2750, 2640, 2200, 2200, 2750, 2640, 2200, 2200};
    const quint32 words750[] = {4125, 4125, 0, 3960, 3300, 3300, 0, 1980, 1650, 1650};
    const quint32 code = identifier.getFrameRate();
    const bool isFast = code == 4 || code >= 8;
    const bool is750 = byte0 == 0x84 || byte0 == 0x88;
    const bool isSingleClock = byte0 == 0x84 || byte0 == 0x85 || byte0 == 0x87 || byte0 == 0xC0;
    const bool isLevelB = byte0 == 0x8A || byte0 == 0x98;
    const bool once = isSingleClock || (isFast && !isLevelB && !is750);
    return {(is750 ? words750 : words1125)[code - 2] * (once ? 1 : 2), is750 ? 750u : 1125u,
            is750 || identifier.getTransportInterlaced() == 1 ? 1u : 2u};
}

std::vector<LinkInput> inputsOf(const StandardFromPayloadIdentifier& standard)
{
    std::vector<LinkInput> inputs;
    for (const auto& identifier : standard.getPayloadIdentifiers()) {
        inputs.push_back({{identifier->getRawValue()}, rasterOf(*identifier)});
    }
    return inputs;
}

/// "other-rate 4, missing 2": names and inputs, from 1.
QString toText(const FindingList& findings)
{
    QStringList texts;
    for (const Finding& finding : findings.getFindings()) {
        texts << QString::fromLatin1(finding.getName()).mid(5);
        if (finding.place.link >= 0) {
            texts.back() += QStringLiteral(" %1").arg(finding.place.link + 1);
        }
    }
    return texts.join(", "_s);
}

quint32 with(quint32 word, PayloadIdentifierKey key, quint32 value)
{
    return findPayloadIdentifierFacts(word >> 24)->fields.get(key).write(word, value);
}

} // namespace

TEST_CASE("Every supported standard is told from its links, with nothing to say", "[video]")
{
    const LogCapture log;
    const ExactRate rates[] = {{24000, 1001}, {24, 1}, {48000, 1001}, {25, 1},       {30000, 1001},
                               {30, 1},       {48, 1}, {50, 1},       {60000, 1001}, {60, 1}};
    QSet<QString> forms;
    for (const auto& standard : listed()) {
        CAPTURE(standard->getDescription());
        std::vector<LinkInput> inputs = inputsOf(*standard);
        const LinkSet set = analyseLinkSet(inputs);
        REQUIRE(toText(set.findings) == ""_s);
        REQUIRE(set.isSound());
        REQUIRE(*set.standard == *standard);
        REQUIRE(set.getReasonWithoutMetrics() == standard->getReasonWithoutMetrics());
        const quint32 code = standard->getFrameRate();
        REQUIRE(set.getFrameRate() == rates[code - 2]);
        const bool is1001 = rates[code - 2].denominator != 1;
        const quint64 clock = getSampleClockHz(standard->getSdiDataRates()[0]);
        REQUIRE(set.getSampleClock() ==
                (is1001 ? ExactRate{clock * 1000, 1001} : ExactRate{clock, 1}));
        const quint32 byte0 = inputs[0].words[0] >> 24;
        forms.insert(QStringLiteral("%1 %2").arg(byte0, 0, 16).arg(toString(set.form)));
        // Both streams of level B, and silent inputs beside those that are used.
        if (byte0 == 0x8A || byte0 == 0x98) {
            for (LinkInput& input : inputs) {
                const quint32 channel =
                    createPayloadIdentifier(input.words[0])->getChannelAssignment();
                input.words.push_back(
                    with(input.words[0], PayloadIdentifierKey_ChannelAssignment, channel + 1));
            }
        }
        inputs.insert(inputs.begin(), 2, LinkInput());
        REQUIRE(toText(analyseLinkSet(inputs).findings) == ""_s);
    }
    CHECK(forms == QSet<QString>{"84 single link"_s, "85 single link"_s, "85 square division"_s,
                                 "87 dual link"_s, "88 single link"_s, "89 single link"_s,
                                 "89 square division"_s, "8a both streams of level B"_s,
                                 "8a square division"_s, "97 two-sample interleave"_s,
                                 "98 two-sample interleave"_s, "c0 two-sample interleave"_s,
                                 "c2 two-sample interleave"_s, "ce two-sample interleave"_s});
    CHECK(log.lines().isEmpty());
}

TEST_CASE("A fault on any one link of a standard is found there, and nothing else", "[video]")
{
    const LogCapture log;
    std::mt19937 random(1);
    for (std::size_t i = 0; i < listed().size(); i += 1 + random() % 40) {
        const std::vector<LinkInput> inputs = inputsOf(*listed()[i]);
        const std::size_t link = random() % inputs.size();
        const quint32 word = inputs[link].words[0];
        const PayloadIdentifierFieldMap& fields = findPayloadIdentifierFacts(word >> 24)->fields;
        const auto toggled = [&](PayloadIdentifierKey key) {
            return fields.contains(key)
                       ? word ^ (fields.get(key).getMask() & (0u - fields.get(key).getMask()))
                       : 0;
        };
        const bool isDivided = listed()[i]->isSquareDivision();
        const quint32 other = createPayloadIdentifier(inputs[(link + 1) % inputs.size()].words[0])
                                  ->getChannelAssignment();
        const quint32 structure = createPayloadIdentifier(word)->getSampleStructure();
        const quint32 otherWord = word >> 24 == 0x89 ? 0x85852001 : 0x89C98001;
        const quint32 silent = 0xFFFFFFFF;
        const Table<QString, quint32> ofOne{
            {"reserved-bits"_s, word | (~fields.getMask() & (fields.getMask() + 1))},
            {"unknown-interface"_s, word & 0xFFFFFF},
            {"reserved-value"_s, with(word, PayloadIdentifierKey_PictureRate, 1)},
            {"reserved-value"_s, with(word, PayloadIdentifierKey_SampleStructure, 13)},
        };
        const Table<QString, quint32> ofSeveral{
            {"other-structure"_s,
             with(word, PayloadIdentifierKey_SampleStructure, structure == 1 ? 2 : 1)},
            {"other-rate"_s, toggled(PayloadIdentifierKey_PictureRate)},
            {"other-scan"_s, toggled(PayloadIdentifierKey_PictureInterlaced)},
            {"other-scan"_s, toggled(PayloadIdentifierKey_TransportInterlaced)},
            {"other-depth"_s, toggled(PayloadIdentifierKey_BitDepth)},
            {"other-width"_s, toggled(PayloadIdentifierKey_HorizontalArraySize)},
            {"other-colour"_s, toggled(PayloadIdentifierKey_Colourimetry)},
            {"other-curve"_s, toggled(PayloadIdentifierKey_TransferCharacteristics)},
            {"other-signal"_s, toggled(PayloadIdentifierKey_LuminanceAndColourDifferenceSignal)},
            {"other-interface"_s, inputs.size() == 2 ? 0 : otherWord},
            {"doubled"_s,
             isDivided ? 0 : with(word, PayloadIdentifierKey_ChannelAssignment, other)},
            {"missing"_s, silent},
        };
        auto rows = ofOne;
        if (inputs.size() > 1) {
            rows.insert(rows.end(), ofSeveral.begin(), ofSeveral.end());
        }
        for (const auto& [name, bad] : rows) {
            if (bad == 0) {
                continue; // the interface has no such field
            }
            std::vector<LinkInput> faulty = inputs;
            faulty[link] = {bad == silent ? std::vector<quint32>() : std::vector{bad}};
            CAPTURE(listed()[i]->getDescription(), name, link, bad);
            const LinkSet set = analyseLinkSet(faulty);
            REQUIRE_FALSE(set.isSound());
            if (inputs.size() == 2 && name.startsWith("other"_s)) {
                // Either may be meant, and the one that is need not be listed.
                REQUIRE(toText(set.findings).startsWith(name));
            } else {
                REQUIRE(toText(set.findings) == QStringLiteral("%1 %2").arg(name).arg(link + 1));
            }
        }
        std::vector<LinkInput> faulty = inputs;
        LinkRaster& measured = faulty[link].measured;
        quint32* const figures[] = {&measured.wordsPerLine, &measured.lines, &measured.fields};
        *figures[random() % 3] += 1;
        REQUIRE(toText(analyseLinkSet(faulty).findings) ==
                QStringLiteral("raster %1").arg(link + 1));
    }
    CHECK(log.lines().isEmpty());
}

TEST_CASE("Links that don't belong together are told apart by input", "[video]")
{
    const quint32 p50 = 0x89C98001;
    const quint32 silent = 0xFFFFFFFF;
    const Table<std::vector<quint32>, const char*> rows{
        {{p50, p50 ^ 0x8000, p50, p50}, ""},                    // aspect ratio
        {{0x97CB8001, 0x97CB8041, 0x97CB8081, 0x97CB80C5}, ""}, // audio copy
        {{0x984B2001, 0x984B2061, 0x984B20A1, 0x984B20E1}, ""}, // either stream of each link
        {{0xCECB80E1}, ""},                                     // any stream of one link
        {{0x89C98000}, "not-listed 1"},                         // full range
        {{p50, p50 ^ 1, p50 ^ 1, p50 ^ 1}, "other-depth 1, not-listed"},
        {std::vector<quint32>(4, 0x85052001), "not-listed"}, // quadrants of 2160 interlaced lines
        {{0x89C98002}, "unlawful 1"},
        {{0x87C92001, 0x87C92041}, "unlawful"},
        {{silent, silent}, "silent"},
        {std::vector<quint32>(), "silent"},
        {{0x01C98001}, "unknown-interface 1"},
        {std::vector<quint32>(6, p50), "surplus 5, surplus 6"},
        {std::vector<quint32>(9, 0xCECB8001),
         "surplus 2, surplus 3, surplus 4, surplus 5, surplus 6, surplus 7, surplus 8, surplus 9"},
        {{p50, p50}, "surplus 2"},
        {{p50, p50, 0x8A492001}, "surplus 2, surplus 3"},
        {{silent, 0x97CB8001, 0x97CB8041, 0x97CB8081, 0}, "unknown-interface 5"},
        {{0x97CB8001, 0x97CB8041, 0x97CB8081, silent, silent, silent, silent, silent, 0x97CB80C1},
         "surplus 9, missing 4"},
        {{p50, silent, silent, p50}, "missing 2, missing 3"},
        {{p50, p50, p50}, "missing 4"},
        {std::vector<quint32>(2, 0x84490001), "surplus 2"},
        {{silent, 0x87492001, silent, 0x87492041}, ""},
        {{0x89C98001, 0x87492001, 0x87492041}, "surplus 1"},
        {{0x87492041}, "swapped 1, missing 2"},
        {{0x97CB8001, 0x97CB8041, 0x97CB80C1}, "swapped 3, missing 4"},
        {{0x87492041, 0x87492001}, "swapped 1, swapped 2"},
        {{0x87492041, 0x87492041}, "doubled 1"},
        {{0x97CB80C1, 0x97CB8041, 0x97CB8081, 0x97CB8001}, "swapped 1, swapped 4"},
        {{0x97CB8001, 0x97CB8001, 0x97CB8081, 0x97CB8081}, "doubled 2, doubled 4"},
        {{0x97CB8041, 0x97CB8001, 0x97CB8001, 0x97CB80C1}, "swapped 1, swapped 2, doubled 3"},
        {{0xC2CB8001, 0xC2CB8041}, "no-such-channel 2"},
        {{0x984B2001, 0x984B2021, 0x984B2081, 0x984B20C1}, "doubled 2"},
        {{0x8A492001, 0x8A492041}, ""}, // two streams of one link
        {{0x8A492041, 0x8A492001}, "swapped 1, swapped 1"},
        {{0x8A492041, 0x8A492041}, "doubled 1"},
        {{0x8A492001, 0x8A492001, 0x8A492001, 0x8A492041}, "no-such-channel 4"},
        {{0x984B2001, 0x984B2021, 0x984B2041, 0x984B2061, 0x984B2081, 0x984B20E1, 0x984B20C1,
          0x984B20A1},
         "swapped 3, swapped 4"},
        {{p50, p50, 0x8A492001, 0}, "unknown-interface 4, other-interface 3"},
    };
    for (const auto& [words, expected] : rows) {
        std::vector<LinkInput> inputs;
        for (const quint32 word : words) {
            inputs.push_back({word == silent ? std::vector<quint32>() : std::vector{word}});
        }
        const bool hasSilent = std::find(words.begin(), words.end(), silent) != words.end();
        const LinkSet set = hasSilent ? analyseLinkSet(inputs) : analyseLinkWords(words);
        CAPTURE(expected);
        CHECK(toText(set.findings) == QLatin1String(expected));
    }
    // Several words on one input.
    const Table<std::vector<quint32>, const char*> oneInput{
        {{p50, p50, p50 | 8}, ""},
        {{p50, 0x89CA8001, p50}, "ambiguous 1"},
        {{0xCECB8001, 0xCECB8021, 0xCECB80E1}, ""},
        {{0x8A492001, 0x8A492041, 0x8A492041}, ""},
        {{0x8A492001, p50}, "ambiguous 1"},
    };
    for (const auto& [words, expected] : oneInput) {
        CHECK(toText(analyseLinkSet(std::vector<LinkInput>{{words}}).findings) ==
              QLatin1String(expected));
    }
    const std::vector<LinkInput> both{{{0x97CB8001, 0x97CB8041}}, {}, {}, {}};
    CHECK(toText(analyseLinkSet(both).findings) ==
          "ambiguous 1, missing 2, missing 3, missing 4"_s);
    const std::vector<LinkInput> crossed{
        {{0x984B2001, 0x984B2041}}, {{0x984B2081, 0x984B20C1}}, {}, {}};
    CHECK(toText(analyseLinkSet(crossed).findings) ==
          "swapped 1, swapped 2, swapped 2, missing 3, missing 4"_s);
    std::vector<LinkInput> quadrants(4, LinkInput{{0x8A492001, 0x8A492041}});
    quadrants[3].words.erase(quadrants[3].words.begin());
    CHECK(toText(analyseLinkSet(quadrants).findings) == ""_s);
    const std::vector<LinkInput> two{{{0xCECB8001}}, {{0xCECB8001}, {2640, 0, 0}}};
    CHECK(toText(analyseLinkSet(two).findings) == "surplus 2"_s);
    // An eighth input that is silent, and a raster of which only a part is known.
    std::vector<LinkInput> partly(8);
    partly[7] = {{p50}, {2640, 0, 0}};
    CHECK(toText(analyseLinkSet(partly).findings) == ""_s);
    CHECK(analyseLinkSet(std::vector<LinkInput>()).getReasonWithoutMetrics() ==
          "There is no standard");
}

TEST_CASE("A finding about links says what was expected, in figures and in words", "[video]")
{
    QStringList texts;
    const auto append = [&texts](const std::vector<LinkInput>& inputs) {
        const LinkSet set = analyseLinkSet(inputs);
        for (const Finding& finding : set.findings.getFindings()) {
            texts << QStringLiteral("%1 %2 %3: %4")
                         .arg(QString::fromLatin1(finding.getName()).mid(5))
                         .arg(finding.expected, 0, 16)
                         .arg(finding.found, 0, 16)
                         .arg(finding.detail);
        }
    };
    append({{{0x89C18001}, {1980, 750, 1}}});
    append({{{0x89CA8001}, {2640, 1125, 1}}});
    append({{{0x89C98001}, {5280, 1125, 2}}});
    append({{{0x97CB8001}}, {{0x97C91045}}, {}, {{0x97CB80C9}}});
    append({{{0x87492041}}, {{0x87492001}}});
    append({{{0x8BC98001}}});
    append({{{0x89C98003}}});
    append({{{0x97CB8001}, {0, 750, 0}}, {{0x97CB8041}}, {{0x97CB8081}}, {{0x97CB80C1}}});
    append({{{0xCE478201}}});
    append({{{0x89C98001, 0x89CA8001}}});
    append({{{0x89C98001}}, {{0x89F9D212}}, {{0x89C98001}}, {{0x89098001}}});
    append({{{0x984B2001}}, {}, {}, {{0x984B20C1}}});
    append({{{0x8A492001, 0x8A492041}, {2640, 0, 1}}});
    CHECK(
        texts ==
        lines({
            "reserved-value 0 1: picture rate RsvRate; nearest lawful: 89C98001, 89CA8001, "
            "89CB8001",
            "raster 898 a50: 2200 words, 1125 lines, 1 field by the identifier; 2640 words, 1125 "
            "lines, "
            "1 field measured; nearest lawful: 89C98001",
            "raster a50 14a0: 2640 words, 1125 lines, 1 field by the identifier; 5280 words, 1125 "
            "lines, 2 fields measured; nearest lawful: 8A492001",
            "reserved-bits 0 8: nearest lawful: 97CB80C1",
            "other-rate b 9: picture rate 50, not 60; nearest lawful: 97CB0045",
            "other-colour 0 1: colourimetry ColVancPacket, not Rec.709; nearest lawful: 97CB0045",
            "missing 2 0: ",
            "swapped 0 1: nearest lawful: 87492001",
            "swapped 1 0: nearest lawful: 87492041",
            "unknown-interface 0 8b: nearest lawful: 89C98001, 97C98001, C2C98001, CEC98001",
            "unlawful 89c98001 89c98003: nearest lawful: 89C98001",
            "raster 898 0: 2200 words, 1125 lines, 1 field by the identifier; 750 lines measured",
            "unlawful cec78201 ce478201: nearest lawful: CEC78201, 87472201, 89478201, 8A472201",
            "ambiguous 89c98001 89ca8001: ",
            "other-structure 0 2: sample structure RGB:444, not YCbCr:422; nearest lawful: "
            "89C98001",
            "other-depth 1 2: bit depth 12, not 10; nearest lawful: 89C98001",
            "other-width 0 1: horizontal array size 1, not 0; nearest lawful: 89C98001",
            "other-colour 0 1: colourimetry ColVancPacket, not Rec.709; nearest lawful: 89C98001",
            "other-curve 0 3: transfer characteristics S-Log3, not SDR-TV; nearest lawful: "
            "89C98001",
            "other-signal 0 1: luminance and colour difference signal ICtCp, not YCbCr; nearest "
            "lawful: "
            "89C98001",
            "other-scan 1 0: picture interlaced, not progressive; nearest lawful: 89C98001",
            "other-scan 1 0: transport interlaced, not progressive; nearest lawful: 89C98001",
            "missing 2 0: ",
            "missing 4 0: ",
            "raster 14a0 a50: 5280 words, 1125 lines, 2 fields by the identifier; 2640 words, 1 "
            "field "
            "measured; nearest lawful: 89C98001, CEC98001",
        }));
    CHECK(analyseLinkWords({0x87492041, 0x87492001}).isSound());
    CHECK(ExactRate{60000, 1001}.toString() == "60000/1001"_s);
    CHECK(ExactRate{60000, 1001} != ExactRate{60000, 1});
    CHECK(analyseLinkWords({0x89C18001}).getSampleClock() == ExactRate());
    CHECK(toString(LinkSetForm::None) == "nothing"_s);

    QByteArray kinds;
    for (const FindingKind& kind : FINDING_KINDS) {
        if (QByteArray(kind.name).startsWith("link.")) {
            kinds += QByteArray(kind.name) + '|' + QByteArray::number(int(kind.severity)) + '|' +
                     kind.text + '\n';
        }
    }
    CHECK(QCryptographicHash::hash(kinds, QCryptographicHash::Sha256).toHex() ==
          "28a9d934f9cc5adb9c3fe8032f43356d6932953f5b737ff58bbc143cd1138915");
}

TEST_CASE("The nearest lawful identifiers differ in the fewest fields", "[video]")
{
    using Words = std::vector<quint32>;
    const Table<quint32, Words> rows{
        {0x89C98001, {0x89C98001}},
        {0x89C98009, {0x89C98001}},
        {0x89C18001, {0x89C98001, 0x89CA8001, 0x89CB8001}},
        {0x87C92001, {0x87492001, 0x84490001, 0x89C98001, 0x97C98001}},
        {0x8A892015, {0x8A492011, 0x89C98011, 0x97C98011, 0xC2C98011}},
        {0x97C1A0D5, {0x97C9A0D5, 0x97CAA0D5, 0x97CBA0D5}},
        {0x85C12702, {0x85C22001, 0x85C32001, 0x85C52001, 0x85C62001}},
        {0x89C58203, {0x89C58203}},
        {0x97FB8001, {0x97FBA001, 0x97CB8001}},
        {0xCEC58401, {0xCEC58101, 0xCEC58201, 0xCEC58501, 0xCEC58601}},
        {0x97F18701, {0x97C98001, 0x97CA8001, 0x97CB8001, 0x97C98301}},
        {0x89C18700, {0x89C98000, 0x89CA8000, 0x89CB8000, 0x89C28100}},
        {0x8A492000, {0x8A492001}},
        {0x00C98001, {0x89C98001, 0x97C98001, 0xC2C98001, 0xCEC98001}},
        {0x00FFFFFF, {}},
        {0x89C90001, {0x89C90001}},
        {0x89C9E001, {0x89C9E001}},
    };
    for (const auto& [word, nearest] : rows) {
        CHECK(findNearestPayloadIdentifiers(word) == nearest);
        CHECK(isPayloadIdentifierLawful(word) == (nearest == Words{word}));
    }
    CHECK(findNearestPayloadIdentifiers(0x89C18001, 1).size() == 1);
    CHECK(findNearestPayloadIdentifiers(0x89C98001, 4, [](quint32) { return false; }).empty());
}

TEST_CASE("A link has a raster even where its standard has no metrics", "[video]")
{
    const Table<quint32, bool, quint32, quint32> rows{
        {0xCE478201, false, 4400, 2}, // segmented 2160 lines, one sub-image of four
        {0xC2478201, false, 4400, 2},
        {0x8A472201, true, 4400, 2}, // a quadrant
        {0x8A402201, false, 0, 2},   // no rate
    };
    for (const auto& [word, squareDivision, wordsPerLine, fields] : rows) {
        const auto standard = createVideoStandard(word, squareDivision);
        REQUIRE_FALSE(standard->getReasonWithoutMetrics().empty());
        const LinkRaster raster = getLinkRaster(*standard);
        CAPTURE(word);
        CHECK(std::tuple(raster.wordsPerLine, raster.lines, raster.fields) ==
              std::tuple(wordsPerLine, 1125u, fields));
    }
    CHECK(getLinkRaster(StandardFromPayloadIdentifier({})).lines == 0);
}

TEST_CASE("Random words of random links are judged in silence", "[video]")
{
    const LogCapture log;
    std::mt19937 random(2);
    const auto& standards = listed();
    for (int round = 0; round < 100; ++round) {
        std::vector<LinkInput> inputs(random() % 10);
        for (LinkInput& input : inputs) {
            for (quint32 words = random() % 4; words > 0; --words) {
                const quint32 good =
                    standards[random() % standards.size()]->getPrimaryIdentifier()->getRawValue();
                input.words.push_back(random() % 3 == 0 ? quint32(random())
                                                        : good ^ (1u << random() % 32));
            }
            input.measured = {quint32(random()) >> random() % 32, quint32(random() % 2 * 1125),
                              quint32(random() % 3)};
        }
        const LinkSet set = analyseLinkSet(inputs);
        REQUIRE((set.form == LinkSetForm::None) == (set.standard == nullptr));
        for (const Finding& finding : set.findings.getFindings()) {
            REQUIRE(finding.place.link < std::max(int(inputs.size()), 4));
        }
    }
    CHECK(log.lines().isEmpty());
}
