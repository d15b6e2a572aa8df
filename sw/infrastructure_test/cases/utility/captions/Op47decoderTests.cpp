#include "infrastructure/utility/captions/Op47decoder.h"
#include "sw/infrastructure_test/Catch.h"

#include <cstring>
#include <random>

namespace {

/// Hamming 8/4 codes of ETSI EN 300 706, table 3, the bit that is sent first in bit 0.
constexpr uint8_t HAMMING[16] = {0x15, 0x02, 0x49, 0x5E, 0x64, 0x73, 0x38, 0x2F,
                                 0xD0, 0xC7, 0x8C, 0x9B, 0xA1, 0xB6, 0xFD, 0xEA};

struct Header
{
    unsigned page = 0x88;
    unsigned subcode = 0;
    bool erase = false;
    bool subtitle = false;
    unsigned c11To14 = 0; ///< C11 in bit 0
};

std::vector<uint8_t> teletextPacket(unsigned magazine, unsigned row, const Header& header = {})
{
    std::vector<uint8_t> bytes{0x55, 0x55, 0x27, HAMMING[magazine | (row & 1) << 3],
                               HAMMING[row >> 1]};
    if (row == 0) {
        const unsigned subcode = header.subcode;
        for (const unsigned data :
             {header.page & 15, header.page >> 4, subcode & 15,
              (subcode >> 4 & 7) | (header.erase ? 8u : 0u), subcode >> 7 & 15,
              (subcode >> 11 & 3) | (header.subtitle ? 8u : 0u), 15u, header.c11To14}) {
            bytes.push_back(HAMMING[data]);
        }
    }
    while (bytes.size() < 45) {
        bytes.push_back(static_cast<uint8_t>('A' + bytes.size()));
    }
    return bytes;
}

using Packets = std::vector<std::vector<uint8_t>>;

/// A whole ancillary packet with a descriptor for each teletext packet, and its checksum word.
std::vector<uint8_t> op47(const Packets& packets)
{
    std::vector<uint8_t> words{0x00, 0xFF, 0xFF, 0x43, 0x02, 0, 0x51, 0x15, 0, 0x02, 0, 0, 0, 0, 0};
    for (std::size_t i = 0; i < packets.size(); ++i) {
        words[10 + i] = static_cast<uint8_t>(0xEA + i);
        words.insert(words.end(), packets[i].begin(), packets[i].end());
    }
    words.push_back(0xCC);
    words[5] = static_cast<uint8_t>(words.size() - 7);
    words[8] = words[5];
    return words;
}

struct Decoded
{
    Op47ErrorReport report;
    TeletextPacketContainer container;
    std::size_t count() const { return container.teletextPackets().size(); }
    const TeletextPacket& operator[](std::size_t i) const { return container.teletextPackets()[i]; }
};

Decoded decode(Op47decoder& decoder, const std::vector<uint8_t>& words)
{
    Decoded decoded{{}, TeletextPacketContainer(words)};
    decoded.report = decoder.decode(decoded.container);
    return decoded;
}

Decoded decode(const std::vector<uint8_t>& words)
{
    Op47decoder decoder;
    return decode(decoder, words);
}

} // namespace

TEST_CASE("A page header gives its page, subcode and control bits", "[captions]")
{
    // Each bit both ways, and all that is not looked at inverted: run-in, parity, C5, C7 to C10.
    constexpr uint8_t unread[13] = {0xFF, 0xFF, 0xFF, 0x55, 0x55, 0x55, 0x55,
                                    0x55, 0x55, 0x55, 0x75, 0xFF, 0x55};
    for (unsigned bits = 0; bits < 32; ++bits) {
        const bool isFirst = bits < 16;
        const Header header{isFirst ? 0xA7u : 0x58u, isFirst ? 0x1234u : 0x0DCBu, isFirst, !isFirst,
                            bits % 16};
        std::vector<uint8_t> packet = teletextPacket(isFirst ? 3 : 4, 0, header);
        for (std::size_t i = 0; i < 13; ++i) {
            packet[i] = static_cast<uint8_t>(packet[i] ^ (bits % 2 == 0 ? 0 : unread[i]));
        }
        Op47decoder decoder;
        CHECK((decoder.getLastMagazine() == -1 && decoder.getLastPage() == -1));
        const Decoded decoded = decode(decoder, op47({packet}));
        CHECK(decoded.report.toString() == "conformant"_s);
        REQUIRE(decoded.count() == 1);
        CHECK(decoded[0].values() == std::tuple(isFirst ? 3 : 4, 0, true, 32, isFirst ? 107 : 58,
                                                header.page, header.subcode, isFirst, !isFirst,
                                                bits % 2 != 0, bits % 16 / 2));
        CHECK(decoded[0].displayData == decoded.container.bytes().data() + 15 + 13);
        CHECK((decoder.getLastMagazine() == decoded[0].magazine &&
               decoder.getLastPage() == decoded[0].pageBcd));
        CHECK(decoded[0].toString() == (isFirst ? "magazine 3 row 0 page A7 subcode 1234: "_s
                                                : "magazine 4 row 0 page 58 subcode DCB: "_s) +
                                           "NOPQRSTUVWXYZ[\\]^_`abcdefghijklm"_s);
    }
}

TEST_CASE("Every magazine and row has its place and its display data", "[captions]")
{
    for (unsigned magazine = 0; magazine < 8; ++magazine) {
        for (unsigned row = 1; row < 32; ++row) {
            CAPTURE(magazine, row);
            Op47decoder decoder;
            const Decoded decoded = decode(decoder, op47({teletextPacket(magazine, row)}));
            REQUIRE(decoded.count() == 1);
            const TeletextPacket& packet = decoded[0];
            const bool isShown = row <= 25;
            CHECK(packet.values() == std::tuple(magazine, row, false, isShown ? 40 : 0, 0, 0, 0,
                                                false, false, false, 0));
            CHECK((packet.displayData == nullptr) != isShown);
            CHECK(decoded.container.displayDataOffset(packet) == (isShown ? 20u : 0u));
            CHECK((decoder.getLastMagazine() == static_cast<int>(magazine) &&
                   decoder.getLastPage() == -1));
        }
    }
}

TEST_CASE("Each question of conformance has its own flag", "[captions]")
{
    const Table<bool Op47ErrorReport::*, const char*, std::vector<std::size_t>, std::size_t> rows{
        {&Op47ErrorReport::ancIsOp47, "no OP-47 packet", {0, 1, 2, 3, 4}, 0},
        {&Op47ErrorReport::payloadIdentifierCorrect, "wrong payload identifier", {6, 7}, 1},
        {&Op47ErrorReport::packetDataCountCorrect, "wrong data count", {5}, 1},
        {&Op47ErrorReport::lengthCorrect, "length 55 in place of 54", {8}, 1},
        {&Op47ErrorReport::formatCodeCorrect, "wrong format code", {9}, 1},
        {&Op47ErrorReport::longEnough, "too short", {}, 0},
        {&Op47ErrorReport::vbiPacketDescriptorsAreContiguous, "gap in the descriptors", {}, 0},
    };
    const std::vector<uint8_t> good = op47({teletextPacket(0, 20)});
    Op47ErrorReport all{true, true, true, true, true, 54, 54, true, true};
    CHECK(decode(good).report == all);
    CHECK(all != Op47ErrorReport());
    all.expectedLength = 0;
    CHECK(all != decode(good).report);
    all = {true, true, true, true, true, 55, 54, true, true};
    QStringList texts;
    for (const auto& [flag, text, places, records] : rows) {
        CAPTURE(text);
        Op47ErrorReport alone{true, true, true, true, true, 55, 54, true, true};
        CHECK(alone.isConformant());
        alone.*flag = false;
        all.*flag = false;
        texts.append(QString::fromLatin1(text));
        CHECK_FALSE(alone.isConformant());
        CHECK(alone.toString() == texts.last());
        CHECK(all.toString() == texts.join(", "_s));
        for (const std::size_t word : places) {
            std::vector<uint8_t> words = good;
            words[word] ^= 1;
            const Decoded decoded = decode(words);
            alone.receivedLength = words[8];
            CHECK(decoded.report == alone);
            CHECK(decoded.count() == records);
        }
    }

    // The data count of a foreign packet is tested too.
    std::vector<uint8_t> foreign = good;
    foreign[3] = 0x61;
    foreign[5] = 1;
    CHECK_FALSE(decode(foreign).report.packetDataCountCorrect);
}

TEST_CASE("Records come in the order of the stream up to the first unused descriptor", "[captions]")
{
    const Packets five{teletextPacket(0, 0), teletextPacket(0, 20), teletextPacket(0, 21),
                       teletextPacket(0, 22), teletextPacket(0, 23)};
    const std::vector<uint8_t> words = op47(five);
    for (unsigned used = 0; used < 32; ++used) {
        CAPTURE(used);
        std::vector<uint8_t> some = words;
        unsigned leading = 0;
        bool contiguous = true;
        for (unsigned i = 0; i < 5; ++i) {
            const bool isUsed = (used >> i & 1) != 0;
            some[10 + i] = isUsed ? 1 : 0;
            contiguous = contiguous && !(isUsed && i > 0 && (used >> (i - 1) & 1) == 0);
            leading += leading == i && isUsed ? 1 : 0;
        }
        const Decoded decoded = decode(some);
        CHECK(decoded.report.vbiPacketDescriptorsAreContiguous == contiguous);
        CHECK(decoded.report.longEnough);
        REQUIRE(decoded.count() == leading);
        for (unsigned i = 0; i < leading; ++i) {
            CHECK(decoded[i].packetNumber == (i == 0 ? 0 : 19 + i));
        }
    }
}

TEST_CASE("An OP-47 packet may end anywhere", "[captions]")
{
    const std::vector<uint8_t> whole =
        op47({teletextPacket(0, 1), teletextPacket(0, 2), teletextPacket(0, 3),
              teletextPacket(0, 4), teletextPacket(0, 5)});
    for (std::size_t size = 0; size <= whole.size(); ++size) {
        CAPTURE(size);
        // A vector of this very size, so that a sanitizer sees every byte beyond it.
        const std::vector<uint8_t> words(whole.begin(),
                                         whole.begin() + static_cast<std::ptrdiff_t>(size));
        const Decoded decoded = decode(words);
        const std::size_t records = size < 60 ? 0 : std::min<std::size_t>((size - 15) / 45, 5);
        CHECK(decoded.count() == records);
        const bool isLength = size <= 15 || size == whole.size();
        CHECK(decoded.report ==
              Op47ErrorReport{true, true, isLength, isLength, true, size <= 15 ? 0u : 234u,
                              static_cast<uint32_t>(size) - 7u, records == 5, true});
    }
    CHECK(decode({}).report.expectedLength == 0xFFFFFFF9u);
    CHECK(decode(std::vector<uint8_t>(6)).report.expectedLength == 0xFFFFFFFFu);

    std::vector<uint8_t> unused(16, 0);
    std::copy_n(whole.begin(), 10, unused.begin());
    CHECK(decode(unused).report.longEnough); // nothing is promised
}

TEST_CASE("The page filter keeps the rows of one page", "[captions]")
{
    Op47decoder decoder;
    decoder.setPageFilter(true, 0, -1); // the page of no header yet, which is none
    CHECK(decode(decoder, op47({teletextPacket(0, 20)})).count() == 0);
    decoder.setPageFilter(true, 0, 0x88);
    const auto count = [&decoder](const Packets& packets) {
        const Decoded decoded = decode(decoder, op47(packets));
        CHECK(decoded.report.isConformant());
        return decoded.count();
    };
    Header other;
    other.page = 0x89;
    CHECK(count({teletextPacket(0, 20)}) == 0); // no header yet
    CHECK(count({teletextPacket(0, 0)}) == 1);
    CHECK(count({teletextPacket(0, 20), teletextPacket(0, 21)}) == 2);
    CHECK(count({teletextPacket(1, 20), teletextPacket(0, 21)}) == 0); // the first refusal ends it
    CHECK(count({teletextPacket(0, 20), teletextPacket(1, 20), teletextPacket(0, 21)}) == 1);
    CHECK(count({teletextPacket(0, 20), teletextPacket(0, 0, other), teletextPacket(0, 0)}) == 1);
    CHECK(decoder.getLastPage() == 0x89);
    CHECK(count({teletextPacket(0, 20)}) == 0);
    CHECK(count({teletextPacket(0, 0), teletextPacket(0, 20)}) == 2);
    decoder.setPageFilter(true, 5, 0x88);
    CHECK(count({teletextPacket(5, 20), teletextPacket(6, 21)}) == 1);
    CHECK(decoder.getLastMagazine() == 6); // that of a refused packet too
    decoder.setPageFilter(false, 0, 0);
    CHECK(count({teletextPacket(5, 20)}) == 1);

    // A refusal hides that the packet is too short.
    decoder.setPageFilter(true, 0, 0x42);
    std::vector<uint8_t> words = op47({teletextPacket(0, 1), teletextPacket(0, 2)});
    words.resize(15 + 45);
    CHECK(decode(decoder, words).report.longEnough);
}

TEST_CASE("Decoding appends, and any bytes decode", "[captions]")
{
    Op47decoder decoder;
    TeletextPacketContainer container(op47({teletextPacket(0, 25)}));
    decoder.decode(container);
    decoder.decode(container);
    std::vector<TeletextPacket> kept(1);
    decoder.decode(container.bytes().data(), container.bytes().size(), kept);
    CHECK((kept.size() == 2 && kept[1] == container.teletextPackets()[0]));
    CHECK(container.teletextPackets().size() == 2);
    CHECK(container.toString().startsWith("magazine 8 row 25: FGHIJ"_s));

    std::mt19937 random(47);
    for (int i = 0; i < 20000; ++i) {
        std::vector<uint8_t> words(random() % 260);
        for (uint8_t& word : words) {
            word = static_cast<uint8_t>(random());
        }
        constexpr uint8_t start[] = {0x00, 0xFF, 0xFF, 0x43, 0x02};
        std::copy_n(start, std::min(words.size(), sizeof start), words.begin());
        const Decoded decoded = decode(decoder, words);
        REQUIRE(decoded.count() * 45 <= words.size());
        for (const TeletextPacket& packet : decoded.container.teletextPackets()) {
            REQUIRE(decoded.container.displayDataOffset(packet) + packet.displayDataLength <=
                    words.size());
        }
    }
}
