#include "infrastructure/utility/captions/Cc608XdsDecoder.h"
#include "sw/infrastructure_test/Catch.h"
#include "sw/infrastructure_test/TestSupport.h"

#include <algorithm>
#include <random>

namespace {

XdsPair pairOf(int c1, int c2)
{
    return {static_cast<uint8_t>(c1),
            static_cast<uint8_t>(c2),
            static_cast<uint8_t>(c1 | 0x80),
            static_cast<uint8_t>(c2),
            false,
            0};
}

using Codes = std::vector<std::array<int, 2>>;

/// Start, text and end of a packet with the right checksum.
Codes packetCodes(int startCode, int type, const std::string& text)
{
    Codes codes{{startCode, type}};
    int sum = startCode + type + 15;
    for (std::size_t i = 0; i + 1 < text.size(); i += 2) {
        codes.push_back({text[i], text[i + 1]});
        sum += text[i] + text[i + 1];
    }
    codes.push_back({15, (128 - sum % 128) % 128});
    return codes;
}

struct Xds
{
    explicit Xds(std::size_t packets = XdsPacketPool::DEFAULT_PACKET_COUNT)
        : pool(packets)
    {
    }

    /// The result of the last pair; `packet` is what it gave.
    XdsResult feed(const Codes& codes)
    {
        XdsResult result = XdsOk;
        for (const auto& code : codes) {
            result = decoder.processPair(pairOf(code[0], code[1]), packet);
        }
        return result;
    }
    /// Feeds the end pair that fits a packet, and the text of what comes out.
    QString finish(int startCode, int type, const std::string& text)
    {
        const XdsResult result = feed({packetCodes(startCode, type, text).back()});
        REQUIRE(result == XdsPacketReady);
        const QString finished = packet->text();
        CHECK(packet->startCode() == startCode);
        CHECK(packet->type() == type);
        pool.release(packet);
        return finished;
    }

    XdsPacketPool pool;
    Cc608XdsDecoder decoder{pool};
    XdsPacket* packet = nullptr;
};

/// The decoder once more, with a list that is searched.
struct PlainDecoder
{
    struct Packet
    {
        int startCode, type;
        Codes pairs;
    };
    std::size_t poolSize;
    bool isCollecting = false;
    std::vector<Packet> open; ///< the current one first
    Packet finished{};

    bool moveToFront(int startCode, int type)
    {
        const auto found = std::find_if(open.begin(), open.end(), [&](const Packet& packet) {
            return packet.startCode == startCode && packet.type == type;
        });
        if (found == open.end()) {
            return false;
        }
        std::rotate(open.begin(), found, found + 1);
        return true;
    }

    int process(int c1, int c2)
    {
        if (c1 % 2 == 1 && c1 <= 13 && c2 >= 1 && c2 <= 127) {
            if (!moveToFront(c1, c2)) {
                if (open.size() == poolSize) {
                    if (open.empty()) {
                        return 7;
                    }
                    open.pop_back();
                }
                open.insert(open.begin(), Packet{});
            }
            open.front() = {c1, c2, {{c1, c2}}};
            isCollecting = true;
            return 0;
        }
        if (c1 % 2 == 0 && c1 >= 2 && c1 <= 14) {
            if (!moveToFront(c1 - 1, c2)) {
                return 2;
            }
            isCollecting = true;
            return 0;
        }
        if (!isCollecting) {
            return 0;
        }
        if (c1 >= 16 && c1 <= 31) {
            isCollecting = false;
            return 0;
        }
        if (c1 == 15 && open.empty()) {
            return 6;
        }
        if (open.empty()) {
            isCollecting = false;
            return 2;
        }
        open.front().pairs.push_back({c1, c2});
        if (c1 == 15) {
            finished = open.front();
            open.erase(open.begin());
            int sum = 0;
            for (const auto& pair : finished.pairs) {
                sum += pair[0] + pair[1];
            }
            return sum % 128 == 0 ? 1 : 3;
        }
        if (open.front().pairs.size() >= 33) {
            open.erase(open.begin());
            isCollecting = false;
            return 5;
        }
        return 0;
    }
};

void runRandomPairs(std::size_t count)
{
    Xds xds;
    std::mt19937 random(69);
    std::size_t finished = 0;
    for (std::size_t i = 0; i < count; ++i) {
        const auto bits = static_cast<unsigned>(random());
        const XdsResult result = xds.decoder.processPair(
            XdsPair::fromRaw(static_cast<uint8_t>(bits), static_cast<uint8_t>(bits >> 8), false),
            xds.packet);
        if (result == XdsPacketReady) {
            ++finished;
            xds.pool.release(xds.packet);
        } else if (result != XdsOk) {
            xds.decoder.reset();
        }
    }
    CHECK(finished > 0);
    xds.decoder.reset();
    CHECK(xds.pool.inUseCount() == 0);
}

} // namespace

TEST_CASE("A packet whose bytes sum to a multiple of 128 comes out whole", "[captions]")
{
    Xds xds;
    const Codes codes = packetCodes(1, 3, "Star Trek!");
    for (std::size_t i = 0; i + 1 < codes.size(); ++i) {
        CHECK(xds.feed({codes[i]}) == XdsOk);
        CHECK(xds.packet == nullptr);
    }
    REQUIRE(xds.feed({codes.back()}) == XdsPacketReady);
    REQUIRE(xds.packet != nullptr);
    REQUIRE(xds.packet->pairCount() == codes.size());
    XdsBytePair pair;
    for (std::size_t i = 0; i < codes.size(); ++i) {
        REQUIRE(xds.packet->pairAt(i, pair));
        CHECK(pair.c1 == codes[i][0]);
        CHECK(pair.c2 == codes[i][1]);
        CHECK(pair.raw1 == (codes[i][0] | 0x80));
    }
    CHECK_FALSE(xds.packet->pairAt(codes.size(), pair));
    CHECK(xds.packet->status() == XdsStatus_ChecksumGood);
    CHECK(xds.packet->classIndex() == 0);
    CHECK(xds.packet->toString() == QStringLiteral("Current type 3: \"Star Trek!\""));
    CHECK_FALSE(xds.packet->append(pair)); // no longer open
    CHECK(xds.pool.inUseCount() == 1);
    xds.pool.release(xds.packet);
    CHECK(xds.pool.inUseCount() == 0);

    // Filler behind the packet has nothing to belong to, once.
    CHECK(xds.feed({{0, 0}}) == XdsNoOpenPacket);
    CHECK(xds.feed({{0, 0}}) == XdsOk);
}

TEST_CASE("A wrong byte anywhere fails the checksum and frees the packet", "[captions]")
{
    const Codes codes = packetCodes(5, 1, "Network!");
    for (std::size_t i = 1; i + 1 < codes.size(); ++i) {
        for (const std::size_t byte : {0, 1}) {
            Xds xds;
            Codes wrong = codes;
            wrong[i][byte] ^= 1;
            CHECK(xds.feed(wrong) == XdsChecksumFailed);
            CHECK(xds.packet == nullptr);
            CHECK(xds.pool.inUseCount() == 0);
            CHECK(xds.feed({{15, 0}}) == XdsEndWithoutPacket); // the state is collecting still
        }
    }
}

TEST_CASE("Packets of several classes interleave", "[captions]")
{
    Xds xds;
    CHECK(xds.feed({{1, 3}, {'a', 'b'}, {3, 3}, {'c', 'd'}, {2, 3}, {'e', 'f'}}) == XdsOk);
    CHECK(xds.decoder.openPacketCount() == 2);
    CHECK(xds.finish(1, 3, "abef") == QStringLiteral("abef"));
    CHECK(xds.feed({{0x14, 0x20}, {'x', 'x'}}) == XdsOk); // captions in between: idle
    CHECK(xds.feed({{15, 1}, {4, 3}}) == XdsOk);
    CHECK(xds.finish(3, 3, "cd") == QStringLiteral("cd"));
    CHECK(xds.feed({{4, 3}}) == XdsNoOpenPacket);

    // A start of what is open begins it anew; a start of type 0 is data.
    CHECK(xds.feed({{7, 9}, {'a', 'b'}, {7, 9}, {'c', 'd'}, {7, 0}}) == XdsOk);
    CHECK(xds.decoder.openPacketCount() == 1);
    CHECK(xds.finish(7, 9, std::string("cd\7\0", 4)) == QStringLiteral("cd"));

    // Without an end the next data go to the packet that was current before.
    CHECK(xds.feed({{1, 1}, {3, 1}}) == XdsOk);
    CHECK(xds.finish(3, 1, "") == QString());
    CHECK(xds.feed({{'a', 'b'}}) == XdsOk);
    CHECK(xds.finish(1, 1, "ab") == QStringLiteral("ab"));
}

TEST_CASE("The thirty-third pair of a packet without end drops it", "[captions]")
{
    Xds xds;
    xds.feed({{1, 3}, {3, 3}});
    for (int i = 1; i < 32; ++i) {
        CHECK(xds.feed({{'a', 'b'}}) == XdsOk);
    }
    CHECK(xds.feed({{'a', 'b'}}) == XdsPacketTooLong);
    CHECK(xds.pool.inUseCount() == 1);
    CHECK(xds.feed({{'a', 'b'}}) == XdsOk); // idle
    CHECK(xds.feed({{2, 3}}) == XdsOk);

    // 32 pairs and an end are the longest packet.
    std::string longest(62, 'q');
    CHECK(xds.feed(packetCodes(9, 1, longest)) == XdsPacketReady);
    CHECK(xds.packet->pairCount() == 33);
    CHECK(xds.packet->classIndex() == 4);
    xds.pool.release(xds.packet);
}

TEST_CASE("An empty pool gives the packet touched longest ago", "[captions]")
{
    Xds xds(3);
    xds.feed({{1, 1}, {'a', 'a'}, {1, 2}, {'b', 'b'}, {1, 3}, {'c', 'c'}, {2, 1}});
    CHECK(xds.feed({{1, 4}}) == XdsOk); // in place of type 2
    CHECK(xds.feed({{2, 2}}) == XdsNoOpenPacket);
    CHECK(xds.feed({{2, 3}}) == XdsOk);
    CHECK(xds.finish(1, 3, "cc") == QStringLiteral("cc"));
    CHECK(xds.pool.inUseCount() == 2);

    Xds none(1);
    REQUIRE(none.feed(packetCodes(1, 3, "ab")) == XdsPacketReady);
    XdsPacket* kept = none.packet;
    CHECK(none.feed({{1, 3}}) == XdsNoPacketAvailable);
    none.pool.release(kept);
    CHECK(none.feed({{1, 3}}) == XdsOk);
}

TEST_CASE("The pool takes back only what is out", "[captions]")
{
    const LogCapture log;
    Xds xds(2);
    XdsPacketPool other(2);
    XdsPacket* packet = xds.pool.take();
    XdsPacket own;
    xds.pool.release(nullptr);
    CHECK(log.lines().isEmpty());
    xds.pool.release(&own);
    other.release(packet);
    xds.pool.release(packet);
    xds.pool.release(packet);
    CHECK(log.lines().size() == 3);
    xds.feed({{1, 3}}); // now the packet is the decoder's
    xds.pool.release(packet);
    CHECK(log.lines().size() == 4);
    xds.decoder.reset();
    CHECK(log.contains(QStringLiteral("error: XDS packet released that is not in use")));
    CHECK(xds.pool.inUseCount() == 0);
    CHECK(other.inUseCount() == 0);
    {
        Cc608XdsDecoder shortLived(xds.pool);
        shortLived.processPair(pairOf(1, 3), packet);
        CHECK(xds.pool.inUseCount() == 1);
    }
    CHECK(xds.pool.inUseCount() == 0);
    CHECK(xds.pool.packetCount() == 2);
}

TEST_CASE("Classes follow from the start code", "[captions]")
{
    XdsPacket packet;
    CHECK(packet.classIndex() == 8);
    CHECK(packet.startCode() == 0xFF);
    CHECK(packet.type() == 0xFF);
    for (unsigned code = 0; code < 256; ++code) {
        packet.clear();
        REQUIRE(packet.append({static_cast<uint8_t>(code), 1, 0, 0}));
        CHECK(packet.classIndex() == (code % 2 == 1 && code <= 13 ? code / 2 : 7));
    }
    XdsPacket other = packet;
    CHECK(other == packet);
    REQUIRE(other.append({'A', 'B', 0, 0}));
    CHECK_FALSE(other == packet);
    CHECK(XdsPacket::className(6) == QStringLiteral("Private data"));
    CHECK(XdsPacket::className(7) == QStringLiteral("Unknown"));
}

TEST_CASE("Ancillary packets of ten words carry a pair of either field", "[captions]")
{
    Xds xds;
    std::vector<uint8_t> words{0x00, 0xFF, 0xFF, 0x61, 0x02, 3, 0x00, 0x01, 0x83, 0x00};
    CHECK(xds.decoder.processAncillaryPacket(words, xds.packet) == XdsOk);
    CHECK(xds.decoder.openPacketCount() == 1);
    words[6] = 0x80; // field 1
    words[7] = 0x03;
    CHECK(xds.decoder.processAncillaryPacket(words, xds.packet) == XdsOk);
    CHECK(xds.decoder.openPacketCount() == 1);
    words[6] = 0x7F;
    CHECK(xds.decoder.processAncillaryPacket(words, xds.packet) == XdsOk);
    CHECK(xds.decoder.openPacketCount() == 2);
    words = {0x00, 0xFF, 0xFF, 0x61, 0x02, 3, 0x00, 0x8F, 0x6B, 0x00};
    REQUIRE(xds.decoder.processAncillaryPacket(words, xds.packet) == XdsPacketReady);
    XdsBytePair pair;
    REQUIRE(xds.packet->pairAt(1, pair));
    CHECK(pair == XdsBytePair{0x0F, 0x6B, 0x8F, 0x6B});
    xds.pool.release(xds.packet);
    for (const std::size_t size : {0, 9, 11}) {
        words.resize(size);
        CHECK(xds.decoder.processAncillaryPacket(words, xds.packet) == XdsNoPacketAvailable);
        CHECK(xds.packet == nullptr);
    }
}

TEST_CASE("The decoder agrees with a searched list on any pairs", "[captions]")
{
    for (const std::size_t poolSize : {1u, 4u, 69u}) {
        Xds xds(poolSize);
        PlainDecoder plain{poolSize, false, {}, {}};
        std::mt19937 random(static_cast<unsigned>(poolSize));
        int ready = 0;
        for (int i = 0; i < 100000; ++i) {
            const auto bits = static_cast<unsigned>(random());
            // Few types, and ends whose checksum is right more often than by chance.
            const int c1 = static_cast<int>(bits % 4 == 0 ? bits >> 8 & 0x0F : bits >> 8 & 0xFF);
            int c2 = static_cast<int>(bits % 16 < 12 ? bits >> 16 & 7 : bits >> 16 & 0xFF);
            if (c1 == 15 && bits >> 28 < 8 && !plain.open.empty()) {
                int sum = 15;
                for (const auto& pair : plain.open.front().pairs) {
                    sum += pair[0] + pair[1];
                }
                c2 = (128 - sum % 128) % 128;
            }
            CAPTURE(i, c1, c2, poolSize);
            const XdsResult result = xds.feed({{c1, c2}});
            REQUIRE(static_cast<int>(result) == plain.process(c1, c2));
            REQUIRE(xds.decoder.openPacketCount() == plain.open.size());
            REQUIRE((xds.packet != nullptr) == (result == XdsPacketReady));
            if (result == XdsPacketReady) {
                ++ready;
                REQUIRE(xds.packet->startCode() == plain.finished.startCode);
                REQUIRE(xds.packet->pairCount() == plain.finished.pairs.size());
                XdsBytePair pair;
                for (std::size_t at = 0; xds.packet->pairAt(at, pair); ++at) {
                    REQUIRE(pair.c1 == plain.finished.pairs[at][0]);
                    REQUIRE(pair.c2 == plain.finished.pairs[at][1]);
                }
                xds.pool.release(xds.packet);
            }
            if (random() % 1000 == 0) {
                xds.decoder.reset();
                plain.open.clear();
                plain.isCollecting = false;
                REQUIRE(xds.pool.inUseCount() == 0);
            }
        }
        CHECK(ready > 100);
    }
}

TEST_CASE("Random pairs go through the XDS decoder", "[captions]")
{
    runRandomPairs(500000);
}

TEST_CASE("Fifty million random pairs go through the XDS decoder", "[captions][.][long]")
{
    runRandomPairs(50000000);
}
