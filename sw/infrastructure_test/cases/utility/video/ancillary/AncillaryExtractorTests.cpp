#include "infrastructure/utility/video/ancillary/AncillaryContents.h"
#include "infrastructure/utility/video/ancillary/AncillaryExtractor.h"
#include "infrastructure/utility/video/ancillary/AncillaryNames.h"
#include "infrastructure/utility/video/ancillary/AncillaryWords.h"
#include "sw/infrastructure_test/Catch.h"

#include <QCryptographicHash>

#include <random>

namespace {

using Words = std::vector<quint16>;
using Bytes = std::vector<uint8_t>;

AncillaryCollectorPacket packetOf(AncillaryDidSdid kind, const Bytes& userWords)
{
    return makeAncillaryPacket(kind, userWords.data(), userWords.size());
}

/// An ST 352 packet as a generator sends it, and a packet of one user word.
const Words PAYLOAD{0x000, 0x3FF, 0x3FF, 0x241, 0x101, 0x104, 0x189, 0x2C9, 0x180, 0x101, 0x119};
const Words SHORT{0x000, 0x3FF, 0x3FF, 0x2E7, 0x101, 0x101, 0x102, 0x1EB};

Words operator+(Words a, const Words& b)
{
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

Words changed(Words words, std::size_t at, quint16 word)
{
    words[at] = word;
    return words;
}

/// What an extractor gives, in texts.
struct Extraction
{
    void read(const AncillaryRun& run, AncillarySpace space, const FindingPlace& first)
    {
        extractor.readRun(run, first, space);
    }
    QStringList packets;
    FindingPlace place; ///< of the last packet, without its sample
    FindingList list;
    AncillaryExtractor extractor{
        [this](const ExtractedAncillaryPacket& found) {
            packets.append(QString::number(found.place.line) + " "_s +
                           QString::number(found.place.sample) +
                           (found.space == AncillarySpace::Horizontal ? " H "_s : " V "_s) +
                           found.packet.toString() + (found.isWhole ? ""_s : " not whole"_s) +
                           (found.isParityGood ? ""_s : " parity"_s) +
                           (found.isChecksumGood ? ""_s : " checksum"_s));
            place = found.place;
            place.sample = -1;
        },
        list};
    QStringList findings() const
    {
        QStringList texts;
        for (const Finding& finding : list.getFindings()) {
            texts.append(finding.toString());
        }
        return texts;
    }
};

} // namespace

TEST_CASE("Packets are found in one stream, two that are interleaved, and samples of 20 bits",
          "[ancillary]")
{
    const QStringList both{"7 105 V DID 0x41 SDID 0x01 DC 4: 89 c9 80 01"_s,
                           "7 1000 V DID 0xE7 SDID 0x01 DC 1: 02"_s};
    Words luma(1916, 0x040), chroma(1916, 0x200);
    std::copy(PAYLOAD.begin(), PAYLOAD.end(), luma.begin() + 5);
    std::copy(SHORT.begin(), SHORT.end(), luma.begin() + 900);
    std::copy(SHORT.begin(), SHORT.end(), chroma.end() - 8);
    Words mixed;
    std::vector<quint32> samples;
    for (std::size_t i = 0; i < luma.size(); ++i) {
        mixed.insert(mixed.end(), {chroma[i], static_cast<quint16>(luma[i] | 0xFC00)});
        samples.push_back(luma[i] | quint32{chroma[i]} << 10 | 0xFFF00000);
    }
    const FindingPlace place{0, 1, 7, 100, 2, 3};
    const QStringList last{"7 2008 V DID 0xE7 SDID 0x01 DC 1: 02"_s};
    for (const auto& [run, expected, channel] :
         Table<AncillaryRun, QStringList, int>{{{luma.data(), luma.size()}, both, 3},
                                               {{chroma.data(), chroma.size()}, last, 3},
                                               {{mixed.data() + 1, luma.size(), 2}, both, 3},
                                               {{mixed.data(), luma.size(), 2}, last, 3},
                                               {{samples.data(), luma.size(), false}, both, 0},
                                               {{samples.data(), luma.size(), true}, last, 1}}) {
        Extraction extraction;
        extraction.read(run, AncillarySpace::Vertical, place);
        CHECK(extraction.packets == expected);
        CHECK(extraction.place == FindingPlace{0, 1, 7, -1, 2, channel});
        CHECK(extraction.findings() == QStringList());
        CHECK(run.findFlag(0) == (expected == both ? 5u : 1908u));
        CHECK(run.findFlag(6) == (expected == both ? 900u : 1908u));
        CHECK(run.findFlag(1909) == run.size());
        CHECK(run.part(6, 896).findFlag(0) == 896); // its third word is left out
        CHECK((run.part(2000, 5).size() == 0 && run.part(1915, 5).size() == 1));
    }
}

TEST_CASE("Each fault of a packet is told at its word", "[ancillary]")
{
    const QString good = "1 0 H DID 0x41 SDID 0x01 DC 4: 89 c9 80 01"_s;
    const QString after = "1 11 H DID 0xE7 SDID 0x01 DC 1: 02"_s;
    const QString at = "link 1, field 2, line 1, sample "_s;
    const Words short352(PAYLOAD.begin(), PAYLOAD.begin() + 8);
    for (const auto& [words, packets, findings] : Table<Words, QStringList, QStringList>{
             {{}, {}, {}},
             {PAYLOAD + SHORT, {good, after}, {}},
             {changed(PAYLOAD, 3, 0x141) + SHORT,
              {good + " parity checksum"_s, after},
              {"error anc.parity: "_s + at +
                   "3: a word has wrong parity bits: 141 in place of 241"_s,
               "error anc.checksum: "_s + at + "10: the checksum is 119, the words make 219"_s}},
             {changed(PAYLOAD, 10, 0x11A) + SHORT,
              {good + " checksum"_s, after},
              {"error anc.checksum: "_s + at + "10: the checksum is 11A, the words make 119"_s}},
             {changed(PAYLOAD, 10, 0x319), // bit 9 counts
              {good + " checksum"_s},
              {"error anc.checksum: "_s + at + "10: the checksum is 319, the words make 119"_s}},
             {Words{0x040, 0x040} + SHORT,
              {"1 2 H DID 0xE7 SDID 0x01 DC 1: 02"_s},
              {"warning anc.gap: "_s + at +
               "2: 2 words lie before this packet that belong to none"_s}},
             {short352,
              {"1 0 H DID 0x41 SDID 0x01 DC 4: 89 c9 00 00 (no end marker) not whole"_s},
              {"error anc.past-end: "_s + at +
               "0: a packet of B words runs past the end: there are 8"_s}},
             {Words{0x000, 0x3FF, 0x3FF, 0x241},
              {"1 0 H DID 0x41 SDID 0x00 DC 0:  (no end marker) not whole"_s},
              {"error anc.past-end: "_s + at +
               "0: a packet of 7 words runs past the end: there are 4"_s}},
             {Words(PAYLOAD.begin(), PAYLOAD.end() - 1) + SHORT, // its checksum is missing
              {good + " (no end marker) not whole"_s, "1 10 H DID 0xE7 SDID 0x01 DC 1: 02"_s},
              {"error anc.cut: "_s + at + "0: a packet of B words is cut by another after A"_s}}}) {
        Extraction extraction;
        extraction.read({words.data(), words.size()}, AncillarySpace::Horizontal, {0, 1, 1, 0});
        CHECK(extraction.packets == packets);
        CHECK(extraction.findings() == findings);
    }
    // In standard definition bit 8 of audio is data; that of the packet's head is not.
    for (const auto& [did, parityCount] : Table<uint8_t, quint64>{
             {0xFF, 1}, {0xF8, 1}, {0xEF, 1}, {0xEC, 1}, {0xF4, 3}, {0xF0, 3}, {0xEB, 3}}) {
        Words words = makeAncillaryWords(packetOf({did, 1}, {0x00, 0x01, 0x02}));
        words[6] ^= 0x300;
        words[7] ^= 0x300;
        words[4] ^= 0x200;
        Extraction extraction;
        extraction.read({words.data(), words.size()}, AncillarySpace::Vertical, {});
        CHECK(extraction.list.getCount(FindingCode::AncParity) == parityCount);
        words[8] ^= 0x200;
        extraction.read({words.data(), words.size()}, AncillarySpace::Vertical, {});
        CHECK(extraction.list.getCount(FindingCode::AncParity) == 2 * parityCount + 1);
    }
}

TEST_CASE("Every packet becomes words and comes back", "[ancillary]")
{
    CHECK(makeAncillaryWords(packetOf({0x41, 0x01}, {0x89, 0xC9, 0x80, 0x01})) == PAYLOAD);
    std::mt19937 random(291);
    for (unsigned count = 0; count < 256; ++count) {
        Bytes bytes(count);
        for (uint8_t& byte : bytes) {
            byte = static_cast<uint8_t>(random());
        }
        const auto packet = packetOf({static_cast<uint8_t>(count), 0x55}, bytes);
        const Words words = makeAncillaryWords(packet);
        FindingList list;
        unsigned times = 0;
        AncillaryExtractor extractor(
            [&](const ExtractedAncillaryPacket& found) {
                CHECK(found.packet == packet);
                ++times;
            },
            list);
        extractor.readRun({words.data(), words.size()}, {}, AncillarySpace::Horizontal);
        CHECK((times == 1 && list.isEmpty()));
    }
    CHECK(packetOf({1, 2}, Bytes(256, 7)) == packetOf({1, 2}, Bytes(255, 7)));
    CHECK(packetOf({1, 2}, Bytes(256, 7)).getDataCount() == 255);
}

TEST_CASE("A field is searched in its blanking, line by line", "[ancillary]")
{
    // 60 words a line, 30 of them picture; lines 4 to 9, of which 6 to 8 have a picture.
    const FieldMetrics metrics({0, 3, 60, 6}, {30, 5, 30, 3});
    Words store(360, 0x040);
    const auto put = [&store](std::size_t line, std::size_t sample, const Words& words) {
        std::copy(words.begin(), words.end(),
                  store.begin() + static_cast<std::ptrdiff_t>((line - 4) * 60 + sample));
    };
    put(4, 8, PAYLOAD);
    put(5, 40, PAYLOAD);
    put(6, 35, PAYLOAD); // picture
    put(7, 8, SHORT);
    put(7, 19, PAYLOAD);                  // runs into the start of active video
    put(8, 0, PAYLOAD);                   // before the horizontal space
    put(9, 52, changed(SHORT, 5, 0x203)); // past the end of the line
    Extraction extraction;
    REQUIRE(extraction.extractor.readField({store.data(), store.size()}, metrics, {2, 1, -1, -1}));
    CHECK(
        extraction.packets ==
        QStringList{"4 8 H DID 0x41 SDID 0x01 DC 4: 89 c9 80 01"_s,
                    "5 40 V DID 0x41 SDID 0x01 DC 4: 89 c9 80 01"_s,
                    "7 8 H DID 0xE7 SDID 0x01 DC 1: 02"_s,
                    "7 19 H DID 0x41 SDID 0x01 DC 4: 89 00 00 00 (no end marker) not whole"_s,
                    "9 52 V DID 0xE7 SDID 0x01 DC 3: 02 eb 00 (no end marker) not whole parity"_s});
    REQUIRE(extraction.list.getTotal() == 4);
    CHECK(extraction.list.getFindings()[0].place == FindingPlace{2, 1, 7, 19});
    CHECK(extraction.list.getFindings()[0].code == FindingCode::AncGap);
    CHECK(extraction.list.getFindings()[2].found == 8);
    for (const FieldMetrics& other :
         {FieldMetrics({0, 3, 60, 5}, {30, 5, 30, 3}), FieldMetrics({0, 3, 59, 6}, {30, 5, 29, 3}),
          FieldMetrics({0, 3, 60, 6}, {11, 5, 49, 3}), FieldMetrics({0, 0, 0, 0}, {0, 0, 0, 0})}) {
        CHECK_FALSE(extraction.extractor.readField({store.data(), store.size()}, other, {}));
    }
}

TEST_CASE("Any words are searched, once each", "[ancillary]")
{
    std::mt19937 random(12);
    const Words common{0x000, 0x3FF, 0x3FF, 0x000, 0x241, 0x101, 0x2FF, 0xFFFF, 0x104};
    for (int round = 0; round < 3000; ++round) {
        Words words(random() % 600);
        for (quint16& word : words) {
            word = random() % 8 == 0 ? static_cast<quint16>(random()) : common[random() % 9];
        }
        FindingList list(3);
        std::size_t end = 0;
        AncillaryExtractor extractor(
            [&](const ExtractedAncillaryPacket& found) {
                const auto at = static_cast<std::size_t>(found.place.sample);
                REQUIRE(at >= end); // none overlaps the one before
                REQUIRE(
                    (at + 3 <= words.size() && (words[at + 1] & words[at + 2] & 0x3FF) == 0x3FF));
                end = at + 3 + (found.isWhole ? 4u + found.packet.getDataCount() : std::size_t{0});
                REQUIRE(end <= words.size());
                REQUIRE(found.packet.verifyPacketDataCount() == found.isWhole);
            },
            list);
        extractor.readRun({words.data(), words.size()}, {}, AncillarySpace::Vertical);
        // Each flag begins a packet, unless it lies in none.
        const AncillaryRun run(words.data(), words.size());
        REQUIRE(run.findFlag(end) == words.size());
    }
}

TEST_CASE("Kinds of packets have the names of the register", "[ancillary]")
{
    QCryptographicHash hash(QCryptographicHash::Sha1);
    int count = 0;
    for (unsigned did = 0; did < 256; ++did) {
        for (unsigned sdid = 0; sdid < 256; ++sdid) {
            const QByteArray name =
                getAncillaryName({static_cast<uint8_t>(did), static_cast<uint8_t>(sdid)});
            if (name != "unknown" && (did < 0x80 || sdid == 0x7A)) {
                hash.addData(QByteArray::number(did, 16) + '/' + QByteArray::number(sdid, 16) +
                             name + '\n');
                ++count;
            }
        }
    }
    CHECK(count == 77);
    CHECK(hash.result().toHex() == "b6a930d4e610428989e35a8dad4c36d4ff0ffadf");
    CHECK(QByteArray(getAncillaryName({0x61, 0x01})) == "caption distribution packet (ST 334-1)");
}

TEST_CASE("A payload identifier packet gives its payload word", "[ancillary]")
{
    const Bytes words{0x89, 0xC9, 0x80, 0x01};
    CHECK(readPayloadWord(packetOf({0x41, 0x01}, words)) == 0x89C98001u);
    CHECK_FALSE(readPayloadWord(packetOf({0x41, 0x02}, words)).has_value());
    CHECK_FALSE(readPayloadWord(packetOf({0x40, 0x01}, words)).has_value());
    CHECK_FALSE(readPayloadWord(packetOf({0x41, 0x01}, {1, 2, 3})).has_value());
    CHECK_FALSE(readPayloadWord(packetOf({0x41, 0x01}, {1, 2, 3, 4, 5})).has_value());
    AncillaryCollectorPacket open = packetOf({0x41, 0x01}, words);
    open.buffer[15] = 0;
    CHECK_FALSE(readPayloadWord(open).has_value());
}

TEST_CASE("Time code packets give time, flags and user bits", "[ancillary]")
{
    // 19:58:47:26, user bits 8 to 1, each flag on its own; the nibbles of SMPTE ST 12-1.
    Bytes words{0x60, 0x10, 0x20, 0x20, 0x70, 0x30, 0x40, 0x40,
                0x80, 0x50, 0x50, 0x60, 0x90, 0x70, 0x10, 0x80};
    AncillaryTimecode code{19, 58, 47, 26, false, false, false, false, false, false, 0x87654321};
    CHECK(readTimecode(packetOf({0x60, 0x60}, words)) == code);
    CHECK(code.toString() == "LTC 19:58:47:26"_s);
    using Code = AncillaryTimecode;
    for (const auto& [word, bit, flag] :
         Table<std::size_t, uint8_t, bool Code::*>{{2, 0x40, &Code::isDropFrame},
                                                   {2, 0x80, &Code::isColourFrame},
                                                   {6, 0x80, &Code::flag27},
                                                   {10, 0x80, &Code::flag43},
                                                   {14, 0x40, &Code::flag58},
                                                   {14, 0x80, &Code::flag59}}) {
        Bytes flagged = words;
        flagged[word] = static_cast<uint8_t>(flagged[word] | bit);
        Code expected = code;
        expected.*flag = true;
        CHECK(expected != code);
        CHECK(readTimecode(packetOf({0x60, 0x60}, flagged)) == expected);
    }
    for (const auto& [type, text] : Table<quint8, QString>{{1, "VITC 1 19:58:47;26"_s},
                                                           {2, "VITC 2 19:58:47;26"_s},
                                                           {0x83, "type 0x83 19:58:47;26"_s}}) {
        Bytes typed = words;
        typed[2] = 0x60;
        for (std::size_t i = 0; i < 8; ++i) {
            typed[i] = static_cast<uint8_t>(typed[i] | (type >> i & 1) << 3);
            typed[i + 8] = static_cast<uint8_t>(typed[i + 8] | (0xA7 >> i & 1) << 3 | 0x07);
        }
        const auto read = readTimecode(packetOf({0x60, 0x60}, typed));
        REQUIRE(read.has_value());
        CHECK((read->payloadType == type && read->distributedBinaryBits == 0xA7));
        CHECK(read->toString() == text);
        CHECK((read->isLawful && read->userBits == 0x87654321));
    }
    for (const auto& [word, nibble, isLawful] :
         Table<std::size_t, uint8_t, bool>{{0, 0x90, true},
                                           {0, 0xA0, false},
                                           {2, 0x30, true},
                                           {4, 0xA0, false},
                                           {6, 0x50, true},
                                           {6, 0x60, false},
                                           {10, 0x60, false},
                                           {12, 0x30, true},
                                           {14, 0x20, false},
                                           {14, 0x00, true}}) {
        Bytes other = words;
        other[word] = nibble;
        CAPTURE(word, int{nibble});
        CHECK(readTimecode(packetOf({0x60, 0x60}, other))->isLawful == isLawful);
    }
    words.push_back(0);
    CHECK_FALSE(readTimecode(packetOf({0x60, 0x60}, words)).has_value());
    CHECK_FALSE(readTimecode(packetOf({0x60, 0x61}, Bytes(16))).has_value());
}

TEST_CASE("Active format packets give code, frame and bars", "[ancillary]")
{
    const auto textOf = [](const Bytes& words) {
        const auto format = readActiveFormat(packetOf({0x41, 0x05}, words));
        return format ? format->toString() : "none"_s;
    };
    CHECK(textOf({0x54, 0, 0, 0xC0, 0x00, 0x83, 0x03, 0xB5}) ==
          "AFD 1010 in 16:9: 16:9 (centre), bars top 131, bottom 949"_s);
    CHECK(textOf({0x48, 0, 0, 0x10, 0x01, 0x02, 0x0A, 0x0B}) ==
          "AFD 1001 in 4:3: 4:3 (centre), bars right 2571"_s);
    CHECK(textOf({0x48, 0, 0, 0x20, 0x01, 0x02, 0x0A, 0x0B}).endsWith(", bars left 258"_s));
    CHECK(textOf({0, 0, 0, 0, 0, 0, 0}) == "none"_s);
    CHECK_FALSE(readActiveFormat(packetOf({0x41, 0x06}, Bytes(8))).has_value());
    // The texts of ETSI TS 101 154, annex B.
    QStringList texts;
    for (unsigned code = 0; code < 16; ++code) {
        texts.append(textOf({static_cast<uint8_t>(code << 3), 0, 0, 0, 0, 0, 0, 0}).mid(17));
    }
    CHECK(texts.join(","_s) ==
          "undefined,reserved,16:9 (top),14:9 (top),wider than 16:9 (centre),reserved,reserved,"
          "reserved,as the coded frame,4:3 (centre),16:9 (centre),14:9 (centre),reserved,"
          "4:3 with 14:9 protected,16:9 with 14:9 protected,16:9 with 4:3 protected"_s);
    const ActiveFormat format{10, true, 12, {131, 949}};
    CHECK(readActiveFormat(packetOf({0x41, 0x05}, {0x54, 0, 0, 0xC0, 0, 131, 3, 0xB5})) == format);
    for (const ActiveFormat& other :
         {ActiveFormat{11, true, 12, {131, 949}}, ActiveFormat{10, false, 12, {131, 949}},
          ActiveFormat{10, true, 8, {131, 949}}, ActiveFormat{10, true, 12, {132, 949}},
          ActiveFormat{10, true, 12, {131, 948}}}) {
        CHECK(other != format);
    }
}
