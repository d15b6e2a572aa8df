#include "infrastructure/utility/BitTwiddles.h"
#include "infrastructure/utility/captions/CaptionDemultiplexer.h"
#include "infrastructure/utility/captions/ScenaristCaptions.h"
#include "infrastructure/utility/video/ancillary/AncillaryContents.h"
#include "infrastructure/utility/video/ancillary/AncillaryExtractor.h"
#include "infrastructure/utility/video/ancillary/AncillaryWords.h"
#include "sw/infrastructure_test/Catch.h"
#include "sw/infrastructure_test/DatacoreTest.h"
#include "sw/infrastructure_test/TestSupport.h"

#include <QFile>

#include <cstring>
#include <random>

namespace {

using Bytes = std::vector<uint8_t>;
using Codes = std::vector<uint16_t>;

uint8_t withParity(unsigned byte)
{
    return static_cast<uint8_t>(byte | Tessorn::BitTwiddles::getOddParityBit(byte & 0x7F) << 7);
}

AncillaryCollectorPacket cdpOf(const std::vector<CaptionTriplet>& triplets)
{
    CaptionDistributionPacket cdp;
    for (const CaptionTriplet& triplet : triplets) {
        cdp.append(triplet);
    }
    cdp.pad();
    const Bytes bytes = cdp.toBytes();
    return makeAncillaryPacket({0x61, 0x01}, bytes.data(), bytes.size());
}

CaptionTriplet pairOf(bool isField1, uint16_t code)
{
    return {true,
            isField1 ? CaptionTripletType_Field1 : CaptionTripletType_Field2,
            {withParity(code >> 8), withParity(code & 0xFF)}};
}

/// The names of the findings so far, which are then forgotten.
QString takeNames(FindingList& findings)
{
    QStringList names;
    for (const Finding& finding : findings.getFindings()) {
        names.append(QLatin1String(finding.getName()));
    }
    findings.clear();
    return names.join(" "_s);
}

Bytes operator+(Bytes a, const Bytes& b)
{
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

/// What a channel of CEA-708 shows of packets that are made here.
struct Channel
{
    /// Sends a packet of service blocks, cut to `pairs` pairs, and returns its findings.
    QString send(const Bytes& blocks, std::size_t pairs = 64)
    {
        Bytes bytes{0};
        bytes.insert(bytes.end(), blocks.begin(), blocks.end());
        bytes.resize(bytes.size() + bytes.size() % 2);
        bytes[0] = static_cast<uint8_t>(sequence++ << 6 | (bytes.size() / 2 & 0x3F));
        for (std::size_t i = 0; i < std::min(bytes.size(), 2 * pairs); i += 2) {
            const auto type =
                i == 0 ? CaptionTripletType_PacketStart708 : CaptionTripletType_Data708;
            channel.processTriplet({true, type, {bytes[i], bytes[i + 1]}}, findings, {});
        }
        return takeNames(findings);
    }
    /// Sends a block of codes for service 1 and returns what it shows.
    QString codes(const Bytes& codes)
    {
        REQUIRE(codes.size() < 32);
        CHECK(send(Bytes{static_cast<uint8_t>(0x20 | codes.size())} + codes) == ""_s);
        return channel.service(1)->text();
    }
    unsigned sequence = 0;
    CaptionChannel708 channel;
    FindingList findings;
};

Bytes textOf(const char* text)
{
    return Bytes(text, text + std::strlen(text));
}

/// Window 0 of 3 rows and 8 columns, visible.
const Bytes WINDOW{0x98, 0x20, 0, 0, 2, 7, 0};

} // namespace

TEST_CASE("Mixed services give the pictures that each gives alone", "[captions]")
{
    std::mt19937 random(1234);
    std::array<CaptionProcessor608, 4> alone;
    QStringList programmes;
    CaptionDemultiplexer mixed(
        [&programmes](const XdsPacket& packet) { programmes.append(packet.toString()); });
    CHECK_FALSE((mixed.isPresent608(1) || mixed.isPresent608(4)));
    std::array<Codes, 2> fields;
    const auto chunk = [&](unsigned service) {
        constexpr uint16_t controls[] = {0x1420, 0x1425, 0x1427, 0x1429, 0x142D, 0x142F, 0x142C,
                                         0x142E, 0x1470, 0x1350, 0x1152, 0x1722, 0x112A, 0x1220};
        Codes codes;
        for (auto count = 1 + random() % 3; count > 0; --count) {
            auto code = static_cast<uint16_t>(controls[random() % 14] | (service % 2) << 11);
            code = (code & 0x7670) == 0x1420 && service > 1 ? code | 0x0100 : code;
            codes.insert(codes.end(), 1 + random() % 2, code);
        }
        for (auto count = random() % 12; count > 0; --count) {
            codes.push_back(static_cast<uint16_t>(random() % 5 == 0 ? 0 : 0x6161 + random() % 20));
        }
        for (const uint16_t code : codes) {
            alone[service].process(code, static_cast<int>(service % 2));
        }
        Codes& field = fields[service / 2];
        field.insert(field.end(), codes.begin(), codes.end());
        alone[service].process(0, 0); // the next codes are no repetition
        field.push_back(0);
    };
    for (int round = 0; round < 400; ++round) {
        for (unsigned field = 0; field < 2; ++field) {
            for (auto count = random() % 4; count > 0; --count) {
                chunk(2 * field + static_cast<unsigned>(random() % 2));
            }
        }
        const Codes title{0x0103, 0x4162, 0x0F4A};
        fields[1].insert(fields[1].end(), title.begin(), title.end());
        fields[1].push_back(0x7878); // text behind XDS belongs to no service
        chunk(3);
        for (std::size_t i = 0; i < std::max(fields[0].size(), fields[1].size()); ++i) {
            std::vector<CaptionTriplet> triplets;
            for (const bool isField1 : {true, false}) {
                const Codes& codes = fields[isField1 ? 0 : 1];
                if (i < codes.size()) {
                    triplets.push_back(pairOf(isField1, codes[i]));
                }
            }
            triplets.push_back({false, CaptionTripletType_Field1, {0x94, 0x2C}}); // not valid
            REQUIRE(mixed.process(cdpOf(triplets)));
        }
        fields = {};
        for (unsigned service = 0; service < 4; ++service) {
            CAPTURE(round, service);
            const CaptionProcessor608& shown = mixed.service608(service + 1);
            REQUIRE(shown.displayedGrid().toString() == alone[service].displayedGrid().toString());
            REQUIRE(shown.nonDisplayedGrid() == alone[service].nonDisplayedGrid());
            REQUIRE(shown.getMode() == alone[service].getMode());
        }
        REQUIRE(mixed.getXdsRevision() == static_cast<uint32_t>(round + 1));
    }
    CHECK((mixed.isPresent608(1) && mixed.isPresent608(2) && mixed.isPresent608(3)));
    CHECK(programmes.count("Current type 3: \"Ab\""_s) == 400);
    // Two equal codes with one of the other channel between them both act.
    CaptionField608 field;
    for (const uint16_t code : Codes{0x1429, 0x1150, 0x1723, 0x1F23, 0x1723, 0x4141}) {
        field.process(code);
    }
    CHECK(field.service(0).displayedGrid().rowText(0).startsWith("      AA"_s));
    // The sequence stands still in all of these packets.
    CHECK(mixed.getFindings().getTotal() == mixed.getFindings().getCount(FindingCode::CdpSequence));
}

TEST_CASE("CEA-608 packets of either field are taken, others are told", "[captions]")
{
    QFile file(DatacoreTest::testSourceDirectory + "/captions/program.xds"_s);
    REQUIRE(file.open(QIODevice::ReadOnly));
    const QByteArray records = file.readAll(); // both bytes, field 1 or not
    QStringList programmes;
    CaptionDemultiplexer services(
        [&programmes](const XdsPacket& packet) { programmes.append(packet.toString()); });
    const auto process = [&services](const Bytes& words) {
        return services.process(makeAncillaryPacket({0x61, 0x02}, words.data(), words.size()),
                                {0, 1, 9, 3});
    };
    for (int i = 0; i + 2 < records.size(); i += 3) {
        process({static_cast<uint8_t>(records[i + 2] == 0 ? 0x7F : 0x80),
                 static_cast<uint8_t>(records[i]), static_cast<uint8_t>(records[i + 1])});
    }
    CHECK(programmes.value(0) == "Current type 3: \"Evening news\""_s);
    CHECK((services.getXdsRevision() == 3 && services.getFindings().isEmpty()));
    CHECK((process({0, 0x01, 0x83}) && process({0, 0x8F, 0x80}))); // wrong checksum
    CHECK((services.getXdsRevision() == 3 && takeNames(services.getFindings()) == "cdp.xds"_s));

    const auto shown = [&services](unsigned number) {
        return services.service608(number).displayedGrid().toString().trimmed();
    };
    CHECK((process({0x80, 0x94, 0x29}) && process({0x80, 0xC8, 0xE9}))); // CC1: "Hi"
    CHECK((process({0x00, 0x1C, 0x29}) && process({0x00, 0xC8, 0xEF}))); // CC4: "Ho"
    CHECK((shown(1) == "Hi"_s && shown(2).isEmpty() && shown(3).isEmpty() && shown(4) == "Ho"_s));
    CHECK((services.isPresent608(1) && !services.isPresent608(2) && services.isPresent608(4)));
    CHECK(services.getFindings().isEmpty());
    CHECK((process({0x80, 0xC8, 0x48}) && process({0x80, 0x48, 0xC8}))); // even parity
    CHECK(shown(1) == "Hi"_s);
    CHECK(services.getFindings().getFindings()[1] ==
          Finding{FindingCode::CdpParity, {0, 1, 9, 3}, 0, 0, {}});
    CHECK(takeNames(services.getFindings()) == "cdp.parity cdp.parity"_s);
    CHECK((process({0x80, 0xC8}) && process({0x80, 0xC8, 0xC8, 0x80})));
    CHECK(services.getFindings().getFindings()[0].toString() ==
          "error anc.length: link 1, field 2, line 9, sample 3: the packet has 2 user words in "
          "place of "
          "3"_s);
    CHECK(takeNames(services.getFindings()) == "anc.length anc.length"_s);
    AncillaryCollectorPacket open = cdpOf({});
    open.buffer[11 + open.getDataCount()] = 0;
    CHECK(services.process(open));
    CHECK(services.getFindings().getFindings()[0].toString() ==
          "error anc.end-marker: the data count, 49, and the end of the packet disagree"_s);
    services.getFindings().clear();
    for (const AncillaryDidSdid other : {AncillaryDidSdid{0x61, 3}, AncillaryDidSdid{0x60, 2}}) {
        CHECK_FALSE(services.process(makeAncillaryPacket(other, nullptr, 0)));
    }
    CHECK(services.getFindings().isEmpty());
    // A caption packet that is damaged is used as far as it goes, and told at its place.
    Bytes cdp = CaptionDistributionPacket().toBytes();
    cdp.back() ^= 1;
    services.process(makeAncillaryPacket({0x61, 1}, cdp.data(), cdp.size()), {0, 0, 9, 3});
    CHECK(services.getFindings().getFindings()[0].place == FindingPlace{0, 0, 9, 3});
}

TEST_CASE("Languages are those last announced", "[captions]")
{
    CaptionDemultiplexer services;
    const auto announce = [&services](const std::vector<CaptionServiceEntry>& entries) {
        CaptionDistributionPacket cdp;
        cdp.hasServices = true;
        cdp.serviceCount = entries.size();
        std::copy(entries.begin(), entries.end(), cdp.services.begin());
        const Bytes bytes = cdp.toBytes();
        services.process(makeAncillaryPacket({0x61, 0x01}, bytes.data(), bytes.size()));
    };
    announce({{{0xC1, 'e', 'n', 'g', 0x81, 0, 0}},
              {{0xBF, 's', 'p', 'a', 0xBF, 0, 0}},
              {{0x80, 'f', 'r', 'a', 0x00, 0, 0}},
              {{0x80, 'd', 'e', 'u', 0x01, 0, 0}}});
    CHECK((services.language708(1) == "eng"_s && services.language708(63) == "spa"_s));
    CHECK((services.language608(false) == "fra"_s && services.language608(true) == "deu"_s));
    CHECK((services.language708(2).isEmpty() && services.language708(64).isEmpty()));
    announce({{{0xC1, 'i', 't', 'a', 0x81, 0, 0}}});
    CHECK((services.language708(1) == "ita"_s && services.language708(63) == "spa"_s));
}

TEST_CASE("A service of CEA-708 shows the text of its windows", "[captions]")
{
    // Codes after CEA-708, clause 7 and 8; each row begins with the window above.
    for (const auto& [codes, text] : Table<Bytes, QString>{
             {Bytes{}, ""_s},
             {textOf("Hi"), "Hi"_s},
             {textOf("12345678901"), "12345678"_s}, // a full line
             {textOf("ab\rcd"), "ab\ncd"_s},
             {textOf("ab\rcd\ref\rgh"), "cd\nef\ngh"_s}, // rolls
             {textOf("ab\b\bxy\b"), "x"_s},
             {textOf("\bx"), "x"_s},
             {textOf("12345678\b"), "1234567"_s},
             {textOf("ab\rcd\x0E"
                     "e"),
              "ab\ne"_s},
             {textOf("ab\rcd\x0C"
                     "e"),
              "e"_s},
             {textOf("a\x03"
                     "b\x7F"),
              "ab♪"_s},
             {{'a', 0x92, 1, 3, 'b', 0x92, 0xF2, 0xC7, 'c', 0x92, 15, 63, 'd', 0x92, 0, 0, 'e'},
              "e\n   b\n       d"_s},
             {{'a', 0x11, 'x', 0x17, 'x', 0x18, 1, 2, 0x1F, 'x', 'y', 'b'}, "a_b"_s},
             {{'a', 0xA0, 0xA1, 0xE9, 0xFF, 0x10, 0xA0, 0x10, 0xFF, 0x10, 0x22}, "a\u00A0¡éÿ___"_s},
             // Codes that are not obeyed have their bytes.
             {{'a', 0x10, 0x00, 0x10, 0x08, 'x', 0x10, 0x10, 'x', 'x', 0x10, 0x18, 'x', 'x', 'x',
               'b'},
              "ab"_s},
             {{0x10, 0x07, 0x10, 0x0F, 'x', 0x10, 0x17, 'x', 'x', 0x10, 0x1F, 'x', 'x', 'x', 'b'},
              "b"_s},
             {{0x10, 0x80, 'x', 'x', 'x', 'x', 0x10, 0x8F, 'x', 'x', 'x', 'x', 'x', 'b'}, "b"_s},
             {{0x10, 0x87, 'x', 'x', 'x', 'x', 0x10, 0x88, 'x', 'x', 'x', 'x', 'x', 'b'}, "b"_s},
             {{0x10, 0x90, 0xE3, 'x', 'x', 'x', 0x10, 0x9F, 0, 'b'}, "b"_s},
             {{0x8D, 'x',  0x8E, 0x90, 'x',  'x', 0x91, 'x', 'x', 'x',
               0x93, 0x94, 0x95, 0x96, 0x97, 'x', 'x',  'x', 'x', 'b'},
              "b"_s},
             // Windows: cleared, hidden, toggled, shown, deleted, reset.
             {{'a', 0x88, 0x01, 'b'}, " b"_s},
             {{'a', 0x8A, 0x01}, ""_s},
             {{'a', 0x8B, 0x01}, ""_s},
             {{'a', 0x8B, 0x01, 0x8B, 0x01}, "a"_s},
             {{'a', 0x8A, 0xFF, 0x89, 0x01}, "a"_s},
             {{'a', 0x8A, 0xFE, 0x8B, 0xFE, 0x88, 0xFE, 0x8C, 0xFE}, "a"_s},
             {{'a', 0x8C, 0x01, 0x89, 0x01, 'b', 0x80, 'c'}, ""_s},
             {{'a', 0x8F, 'b'}, ""_s},
             // Two windows, in the order of their priorities.
             {{'a', 0x9F, 0x27, 0, 0, 0, 2, 0, 'b', 0x80, 'c', 0x86, 'd', 0x87, 'e'}, "acd\nbe"_s},
             {{0x98, 0x27, 0, 0, 0, 2, 0, 'b', 0x9F, 0x20, 0, 0, 0, 2, 0, 'a'}, "a\nb"_s},
             // Defined again: smaller, then larger; the text that has room stays.
             {textOf("abcdefgh\rx") + Bytes{0x98, 0x20, 0, 0, 0, 3, 0, 0x98, 0x20, 0, 0, 15, 63, 0},
              "abcd"_s},
             {Bytes{0x98, 0x20, 0, 0, 15, 63, 0, 0x92, 15, 63} + textOf("x"),
              QString(41, QLatin1Char(' ')) + "x"_s},
             {{'a', 0x98, 0x00, 0, 0, 2, 7, 0}, ""_s},
         }) {
        Channel shown;
        CAPTURE(codes);
        CHECK(shown.codes(WINDOW + codes) == text);
        const CaptionService708& service = *shown.channel.service(1);
        CHECK((service.window(0).isVisible() || text.isEmpty() || service.window(7).isVisible()));
        CHECK_FALSE(service.window(8).isDefined());
    }
    Channel shown;
    CHECK(shown.codes({'x', '\b', '\r', '\f', 14, 0x92, 1, 1, 0x88, 0xFF}) == ""_s); // no window
    shown.codes({0x98, 0x25, 0, 0, 15, 63, 0});
    const CaptionWindow708& window = shown.channel.service(1)->window(0);
    CHECK((window.getRows() == 15 && window.getColumns() == 42 && window.getPriority() == 5));
    for (unsigned code = 0x20; code < 0x80; ++code) {
        shown.codes(Bytes{0x10, static_cast<uint8_t>(code)} + textOf(code % 32 == 31 ? "\r" : ""));
    }
    CHECK(window.rowText(0) == " \u00A0___…____Š_Œ___█‘’“”•___™š_œ℠_Ÿ"_s);
    CHECK(window.rowText(1) == QString(32, QLatin1Char('_')));
    CHECK(window.rowText(2) == QString(22, QLatin1Char('_')) + "⅛⅜⅝⅞│┐└─┘┌"_s);
    CHECK((window.rowText(3).isEmpty() && window.rowText(15).isEmpty()));
}

TEST_CASE("Packets of CEA-708 are put together and taken apart", "[captions]")
{
    Channel shown;
    const auto text = [&shown](unsigned number) {
        const CaptionService708* const service = shown.channel.service(number);
        return service == nullptr ? "none"_s : service->text();
    };
    shown.channel.processTriplet({true, CaptionTripletType_Data708, {0x21, 'x'}}, shown.findings,
                                 {}); // joined within a packet
    CHECK(text(1) == "none"_s);
    // Two services, one with a number of its own byte, an empty block, filler that is no block.
    CHECK(shown.send(Bytes{0x29} + WINDOW + Bytes{'H', 'i', 0x20, 0xE9, 63} + WINDOW +
                     Bytes{'H', 'o', 0x00, 0x21, 'x'}) == ""_s);
    CHECK((text(1) == "Hi"_s && text(63) == "Ho"_s && text(64) == "none"_s && text(2) == "none"_s));
    CHECK(shown.send({0x22, '!', '?', 0x27, 'a', 'b'}) == "cdp.block-cut"_s);
    CHECK(text(1) == "Hi!?"_s);
    CHECK(shown.send({0x22, '.', 0x92}) == "cdp.code-cut"_s);
    CHECK(text(1) == "Hi!?."_s);
    CHECK(shown.send({0xFF}) == "cdp.block-cut"_s);
    CHECK(shown.send({0xE0, 0x21, 'x'}) == ""_s); // no number follows an empty block
    CHECK(text(1) == "Hi!?.x"_s);
    ++shown.sequence;
    CHECK(shown.send({0x21, 'y'}) == "cdp.channel-sequence"_s);
    CHECK(shown.send({0x21, 'z', 0x22, '1', '2'}, 2) == ""_s); // not yet
    CHECK(text(1) == "Hi!?.xy"_s);
    CHECK(shown.send({0x21, '-'}) == "cdp.channel-cut"_s);
    CHECK(text(1) == "Hi!?.xyz"_s); // the block that had come; the line is full
    Bytes longest{0x3F};
    longest.resize(127, 'w'); // one block, then blocks "ww": service 3, cut
    CHECK(shown.send(longest) == "cdp.block-cut"_s);
    // Padding within a packet and pairs of CEA-608 change nothing.
    shown.channel.processTriplet({true, CaptionTripletType_PacketStart708, {0xC2, 0x22}},
                                 shown.findings, {});
    for (const CaptionTriplet& other :
         {CaptionTriplet{false, CaptionTripletType_Data708, {'a', 'b'}},
          CaptionTriplet{false, CaptionTripletType_PacketStart708, {0, 0}},
          CaptionTriplet{true, CaptionTripletType_Field2, {'c', 'd'}}}) {
        shown.channel.processTriplet(other, shown.findings, {});
    }
    shown.channel.processTriplet({true, CaptionTripletType_Data708, {'\f', 'k'}}, shown.findings,
                                 {});
    CHECK(text(1) == "k"_s);
    // Sequence 1 in place of 0, of five pairs, then 3 in place of 2, whole.
    Channel other;
    other.sequence = 3;
    CHECK(other.send({0}) == ""_s);
    for (const uint8_t header : Bytes{0x45, 0xC1}) {
        other.channel.processTriplet({true, CaptionTripletType_PacketStart708, {header, 0}},
                                     other.findings, {0, 1, 2, 3});
    }
    const auto& told = other.findings.getFindings();
    REQUIRE(told.size() == 3);
    CHECK(told[0] == Finding{FindingCode::CdpChannelCut, {0, 1, 2, 3}, 10, 2, {}});
    CHECK(told[1] == Finding{FindingCode::CdpChannelSequence, {0, 1, 2, 3}, 0, 1, {}});
    CHECK(told[2] == Finding{FindingCode::CdpChannelSequence, {0, 1, 2, 3}, 2, 3, {}});
}

TEST_CASE("Whatever is seen of a service changes its revision", "[captions]")
{
    CaptionProcessor608 processor;
    const auto changes = [&processor](uint16_t code) {
        const uint32_t before = processor.getRevision();
        processor.process(code, 0);
        return processor.getRevision() != before;
    };
    CHECK((changes(0x4141) && processor.hasPendingChange() && changes(0x142C))); // text, erase
    CHECK_FALSE((changes(0x1420) || changes(0x4141) || changes(0) || changes(0x142E)));
    CHECK((changes(0x142F) && !processor.hasPendingChange() && changes(0x1425)));
    CHECK_FALSE(changes(0x1426)); // rolls already: nothing is cleared

    std::mt19937 random(708);
    CaptionGrid608 grid = processor.displayedGrid();
    for (int i = 0; i < 20000; ++i) {
        const auto bits = static_cast<unsigned>(random());
        const bool isSame = !changes(static_cast<uint16_t>(
            bits % 2 == 0 ? 0x1420 | (bits >> 8 & 0x034F) : bits >> 8 & 0x7F7F));
        REQUIRE((!isSame || processor.displayedGrid() == grid));
        grid = processor.displayedGrid();
    }

    Channel shown;
    shown.codes(WINDOW);
    const CaptionService708& service = *shown.channel.service(1);
    QString text = service.text();
    int seen = 0;
    for (int i = 0; i < 20000; ++i) {
        const uint32_t before = service.getRevision();
        Bytes codes;
        for (auto count = 1 + random() % 8; count > 0; --count) {
            codes.push_back(
                static_cast<uint8_t>(random() % 3 == 0 ? 0x80 + random() % 32 : random()));
        }
        codes.insert(codes.begin(), static_cast<uint8_t>(0x20 | codes.size()));
        shown.send(codes);
        REQUIRE((service.text() == text || service.getRevision() != before));
        seen += service.text() != text ? 1 : 0;
        text = service.text();
    }
    CHECK(seen > 1000);
    const uint32_t before = service.getRevision();
    shown.codes({0x8F, 0x98, 0x00, 0, 0, 2, 7, 0, 'x', 0x88, 1, '\r', 0x8C, 1});
    CHECK(service.getRevision() - before <= 1); // nothing was seen but what was reset
}

TEST_CASE("Any packets of captions are taken", "[captions]")
{
    std::mt19937 random(61);
    CaptionDemultiplexer services;
    for (int i = 0; i < 5000; ++i) {
        Bytes words(random() % 256);
        for (uint8_t& word : words) {
            word = static_cast<uint8_t>(random());
        }
        std::vector<CaptionTriplet> triplets;
        for (std::size_t at = 0; at + 2 < words.size(); at += 3) {
            triplets.push_back(
                {words[at] < 240,
                 static_cast<CaptionTripletType>(words[at] % 8 < 6 ? 2 : words[at] % 4),
                 {words[at + 1], words[at + 2]}});
        }
        services.process(cdpOf(triplets));
        services.process(makeAncillaryPacket({0x61, static_cast<uint8_t>(1 + i % 2)}, words.data(),
                                             words.size()));
    }
    CHECK(services.channel708().service(1) != nullptr);
    CHECK(services.getFindings().getFindings().size() == FindingList::DEFAULT_LIMIT);
}
