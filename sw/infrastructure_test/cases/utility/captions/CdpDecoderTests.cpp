#include "infrastructure/utility/captions/CdpDecoder.h"
#include "infrastructure/utility/captions/ScenaristCaptions.h"
#include "sw/infrastructure_test/Catch.h"
#include "sw/infrastructure_test/DatacoreTest.h"
#include "sw/infrastructure_test/TestSupport.h"

#include <QFile>

#include <random>

namespace {

using Bytes = std::vector<uint8_t>;

// 59.94 Hz, sequence 0x12FF, all flags but that of a change; bytes laid out by hand after SMPTE
// ST 334-2: header, time code, a pair of CEA-608, a packet start of CEA-708, padding, one service.
const Bytes GOOD{
    // clang-format off
    0x96, 0x69, 0x39, 0x7F, 0xF7, 0x12, 0xFF,
    0x71, 0xD9, 0xD8, 0xC7, 0xA6,
    0x72, 0xEA, 0xFC, 0x94, 0x20, 0xFF, 0x11, 0x22, 0xFA, 0, 0, 0xFA, 0, 0, 0xFA, 0, 0, 0xFA, 0, 0,
    0xFA, 0, 0, 0xFA, 0, 0, 0xFA, 0, 0, 0xFA, 0, 0,
    0x73, 0xD1, 0xC1, 'e', 'n', 'g', 0x81, 0xBF, 0xFF,
    0x74, 0x12, 0xFF, 0,
    // clang-format on
};

/// The bytes with the checksum that they need.
Bytes summed(Bytes bytes)
{
    unsigned sum = 0;
    bytes.back() = 0;
    for (const uint8_t byte : bytes) {
        sum += byte;
    }
    bytes.back() = static_cast<uint8_t>(256 - sum % 256);
    return bytes;
}

struct Decoded
{
    CdpErrorReport report;
    CaptionDistributionPacket packet;
};

Decoded decode(const Bytes& bytes)
{
    CdpDecoder decoder;
    Decoded decoded;
    decoded.report = decoder.decode(bytes.data(), bytes.size(), decoded.packet);
    return decoded;
}

} // namespace

TEST_CASE("A caption packet is read as the standard lays it out, and made again", "[captions]")
{
    const auto [report, packet] = decode(summed(GOOD));
    CHECK(report.toString() == "conformant"_s);
    CHECK(packet.toString() == "59.94 Hz, sequence 4863, 19:58:47;26, 10 triplets (2 valid), "
                               "services 1 eng"_s);
    CHECK((packet.isServiceActive && packet.isServicesStart && !packet.isServicesChange &&
           packet.isServicesComplete && packet.timecode.isField2));
    CHECK(packet.triplets[0] == CaptionTriplet{true, CaptionTripletType_Field1, {0x94, 0x20}});
    CHECK(packet.triplets[1] ==
          CaptionTriplet{true, CaptionTripletType_PacketStart708, {0x11, 0x22}});
    CHECK(packet.triplets[2] == CaptionTriplet{false, CaptionTripletType_Data708, {0, 0}});
    CHECK((packet.services[0].isEasyReader() && !packet.services[0].isWide()));
    CHECK(packet.toBytes() == summed(GOOD));

    CaptionDistributionPacket made = packet;
    made.isServiceActive = made.isServicesStart = made.isServicesComplete = false;
    made.isServicesChange = true;
    made.timecode = {22, 36, 18, 19, false, false};
    made.services[0].bytes = {0xA5, 'f', 0x20, 0xFF, 0x01, 0x40, 0};
    made.triplets[0].type = CaptionTripletType_Field2;
    for (const auto& [code, rate, count] :
         Table<unsigned, const char*, std::size_t>{{1, "23.976", 25},
                                                   {2, "24", 25},
                                                   {3, "25", 24},
                                                   {4, "29.97", 20},
                                                   {5, "30", 20},
                                                   {6, "50", 12},
                                                   {7, "59.94", 10},
                                                   {8, "60", 10}}) {
        made.frameRateCode = code;
        made.tripletCount = 1;
        made.pad();
        const auto [again, read] = decode(made.toBytes());
        CHECK(again.toString() == "conformant"_s);
        CHECK(read.toBytes() == made.toBytes());
        CHECK(read.toString() ==
              "%1 Hz, sequence 4863, 22:36:18:19, %2 triplets (1 valid), services field 2 f??"_s
                  .arg(QLatin1String(rate))
                  .arg(count));
        CHECK((read.timecode == made.timecode && read.triplets[0] == made.triplets[0]));
        CHECK((read.services[0].getNumber() == 37 && read.services[0].isWide() &&
               !read.services[0].isEasyReader() && !read.services[0].isDigital()));
        CHECK((!read.isServiceActive && read.isServicesChange && !read.isServicesStart &&
               !read.isServicesComplete));
    }
    while (made.append({})) {
    }
    CHECK(made.tripletCount == 31);
    CHECK(CaptionDistributionPacket().toBytes() ==
          Bytes{0x96, 0x69, 0x0B, 0x4F, 0x03, 0, 0, 0x74, 0, 0, 0x30});
}

TEST_CASE("Each fault of a caption packet is answered alone", "[captions]")
{
    const QString markers = "error cdp.markers: a reserved bit is wrong"_s;
    const QString parity = "error cdp.parity: a pair of CEA-608 has a byte of even parity"_s;
    const QString sections =
        "error cdp.sections: the sections are not those that the flags tell, each once, in order"_s;
    const QString conformant = "conformant"_s;
    for (const auto& [at, byte, text] : Table<std::size_t, uint8_t, QString>{
             {0, 0x97,
              "error cdp.identifier: no caption packet: it begins with 9769 in place of 9669"_s},
             {1, 0x68,
              "error cdp.identifier: no caption packet: it begins with 9668 in place of 9669"_s},
             {2, 0x3A,
              "error cdp.length: the caption packet gives its length as 3A in place of 39"_s},
             {3, 0x70, markers},
             {3, 0x9F, "error cdp.frame-rate: frame rate code 9 is reserved"_s},
             {3, 0x0F, "error cdp.frame-rate: frame rate code 0 is reserved"_s},
             {3, 0x8F, conformant},
             {3, 0x6F,
              "error cdp.padding: padding is missing: there are A triplets in place of C"_s},
             {4, 0xF6, markers},
             {4, 0x77, sections}, // time code, triplets, services: not told
             {4, 0xB7, sections},
             {4, 0xD7, sections},
             {4, 0xE7, sections}, // start, change, complete: as in the section itself
             {4, 0xFF, sections},
             {4, 0xF3, sections},
             {7, 0x70, sections}, // no such section
             {8, 0x59, markers},
             {9, 0x58, markers},
             {11, 0xE6, markers},
             {13, 0xCA, markers},
             {14, 0xF4, markers},
             {15, 0x95, parity},
             {16, 0x21, parity},
             {17, 0xFC, parity},
             {17, 0xFD, parity},
             {17, 0xF9, conformant}, // not valid
             {17, 0xFE, conformant}, // of CEA-708
             {45, 0x51, markers},
             {46, 0x41, markers},
             {55, 0x13,
              "error cdp.footer-sequence: the footer's sequence is 1213, the header's 12FF"_s},
         }) {
        CAPTURE(at, int{byte});
        Bytes bytes = GOOD;
        bytes[at] = byte;
        CHECK(decode(summed(bytes)).report.toString() == text);
    }
    Bytes bytes = summed(GOOD);
    bytes.back() = static_cast<uint8_t>(bytes.back() + 1);
    CHECK(decode(bytes).report.toString() ==
          "error cdp.checksum: the caption packet's checksum is A2, its bytes make A1"_s);
    bytes = GOOD;
    bytes[13] = 0xEB; // one triplet more than there is room for
    bytes.insert(bytes.begin() + 44, {0xFA, 0, 0});
    bytes[2] = 0x3C;
    CHECK(decode(summed(bytes)).report.toString() ==
          "error cdp.count: there are B triplets where the frame rate has room for A"_s);
    bytes = GOOD;
    bytes.insert(bytes.begin() + 53, {0x75, 2, 0x74, 0x74}); // a section of the future
    bytes[2] = 0x3D;
    CHECK(decode(summed(bytes)).report.toString() == conformant);
    bytes[53] = 0xF0;
    CHECK(decode(summed(bytes)).report.toString() == sections);
    bytes = GOOD;
    bytes.insert(bytes.begin() + 12, GOOD.begin() + 7, GOOD.begin() + 12); // twice
    bytes[2] = 0x3E;
    CHECK(decode(summed(bytes)).report.toString() == sections);
    bytes = summed(GOOD);
    bytes.push_back(0); // behind the packet
    CHECK(decode(bytes).report.toString() ==
          "error cdp.length: the caption packet gives its length as 39 in place of 3A"_s);

    FindingList findings;
    decode(Bytes{0x96}).report.addFindings(findings, {1, 0, 9, 7});
    CHECK(
        (findings.getTotal() == 1 && findings.getFindings()[0].place == FindingPlace{1, 0, 9, 7}));
    using Report = CdpErrorReport;
    checkEachFieldCounts(&Report::longEnough, &Report::identifierCorrect, &Report::lengthCorrect,
                         &Report::frameRateKnown, &Report::sectionsCorrect, &Report::markersCorrect,
                         &Report::countWithinRate, &Report::paddingComplete, &Report::parityCorrect,
                         &Report::footerSequenceCorrect, &Report::checksumCorrect,
                         &Report::sequenceContinuous);
    checkEachFieldCounts(
        &Report::receivedIdentifier, &Report::expectedIdentifier, &Report::receivedLength,
        &Report::expectedLength, &Report::receivedFrameRate, &Report::receivedCount,
        &Report::expectedCount, &Report::receivedSequence, &Report::expectedSequence,
        &Report::footerSequence, &Report::receivedChecksum, &Report::expectedChecksum);
}

TEST_CASE("A gap in the sequence is told once", "[captions]")
{
    CdpDecoder decoder;
    CaptionDistributionPacket packet;
    const auto next = [&](unsigned sequence, bool isDamaged = false) {
        CaptionDistributionPacket sent;
        sent.sequence = static_cast<uint16_t>(sequence);
        Bytes bytes = sent.toBytes();
        bytes[5] = static_cast<uint8_t>(bytes[5] ^ (isDamaged ? 1 : 0));
        const CdpErrorReport report = decoder.decode(bytes.data(), bytes.size(), packet);
        CHECK(report.checksumCorrect != isDamaged);
        return report.sequenceContinuous;
    };
    CHECK((next(0xFFFE) && next(0xFFFF) && next(0) && next(1)));
    CHECK_FALSE((next(1) || next(3) || next(2)));
    CHECK((next(3) && next(4, true) && next(5))); // a damaged one counts as the one in its place
    decoder.reset();
    CHECK(next(100));
}

TEST_CASE("A caption packet may end anywhere and hold anything", "[captions]")
{
    const Bytes good = summed(GOOD);
    for (std::size_t size = 0; size < good.size(); ++size) {
        const Bytes some(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(size));
        const CdpErrorReport report = decode(some).report;
        CHECK_FALSE(report.longEnough);
        CHECK(report.toString().startsWith(
            "error cdp.too-short: the caption packet of %1 bytes ends within what it promises"_s
                .arg(QString::number(size, 16).toUpper())));
    }
    CdpDecoder used; // what was there before is gone
    CaptionDistributionPacket kept;
    for (const std::size_t size : {good.size(), std::size_t{6}}) {
        used.decode(good.data(), size, kept);
    }
    CHECK(kept.toBytes() == CaptionDistributionPacket().toBytes());
    std::mt19937 random(334);
    for (int i = 0; i < 20000; ++i) {
        Bytes bytes = good;
        bytes.resize(random() % 256);
        for (unsigned changes = random() % 8; changes > 0 && !bytes.empty(); --changes) {
            bytes[random() % bytes.size()] = static_cast<uint8_t>(random());
        }
        const auto [report, packet] = decode(bytes);
        REQUIRE((packet.tripletCount <= 31 && packet.serviceCount <= 15));
        REQUIRE(packet.toString().startsWith(QLatin1String(report.frameRateKnown ? "" : "?")));
    }
}

TEST_CASE("Caption files become caption packets and come back", "[captions]")
{
    QFile file(DatacoreTest::testSourceDirectory + "/captions/styles.scc"_s);
    REQUIRE(file.open(QIODevice::ReadOnly));
    QStringList errors;
    CdpDecoder decoder;
    CaptionDistributionPacket packet, read;
    std::vector<ScenaristPair> pairs, back;
    for (const ScenaristLine& line : readScenaristFile(file.readAll(), errors)) {
        for (const ScenaristPair& pair : line.pairs) {
            pairs.push_back(pair);
            packet.tripletCount = 0;
            packet.append({true, CaptionTripletType_Field1, pair});
            packet.pad();
            ++packet.sequence;
            const Bytes bytes = packet.toBytes();
            REQUIRE(decoder.decode(bytes.data(), bytes.size(), read).toString() == "conformant"_s);
            back.push_back(read.triplets[0].bytes);
        }
    }
    CHECK(pairs.size() > 100);
    CHECK(back == pairs);
}
