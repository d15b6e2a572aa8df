// The caption decoders beside Debian's libzvbi, on the same bytes: random pairs, a caption service
// as it is on air, caption distribution packets with the pairs of four services, and OP-47 packets
// of five rows. Both sides start from bytes with parity. In
// places the peer does more: it checks parity, follows all services of a field, and keeps whole
// pages.
#include "bench/Compare.h"
#include "infrastructure/utility/BitTwiddles.h"
#include "infrastructure/utility/captions/CaptionDemultiplexer.h"
#include "infrastructure/utility/captions/CaptionProcessor608.h"
#include "infrastructure/utility/captions/Cc608XdsDecoder.h"
#include "infrastructure/utility/captions/Op47decoder.h"
#include "infrastructure/utility/video/ancillary/AncillaryContents.h"

#if BENCH_HAVE_ZVBI
#include <libzvbi.h>
#endif

#include <array>
#include <cstdint>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace {

constexpr std::size_t PAIR_COUNT = 1 << 20;
constexpr std::size_t ROWS_IN_PACKET = 5;
constexpr std::size_t ROW_BYTES = 45;
constexpr std::size_t OP47_HEAD_BYTES = 15;
constexpr std::size_t OP47_PACKETS = 4096;

using RawPair = std::array<uint8_t, 2>;
using Op47Words = std::array<uint8_t, OP47_HEAD_BYTES + ROWS_IN_PACKET * ROW_BYTES>;

constexpr uint8_t withParity(unsigned byte)
{
    return static_cast<uint8_t>(byte | Tessorn::BitTwiddles::getOddParityBit(byte & 0x7F) << 7);
}

/// Appends pairs with their parity until there are PAIR_COUNT.
class PairStream
{
public:
    PairStream() { pairs.reserve(PAIR_COUNT); }

    bool isFull() const { return pairs.size() >= PAIR_COUNT; }
    void add(unsigned first, unsigned second)
    {
        if (!isFull()) {
            pairs.push_back({withParity(first), withParity(second)});
        }
    }
    /// A control code, sent twice as usual.
    void control(unsigned code)
    {
        add(code >> 8, code & 0xFF);
        add(code >> 8, code & 0xFF);
    }
    void text(const std::string& characters)
    {
        for (std::size_t i = 0; i < characters.size(); i += 2) {
            add(static_cast<unsigned char>(characters[i]),
                i + 1 < characters.size() ? static_cast<unsigned char>(characters[i + 1]) : 0);
        }
    }

    std::vector<RawPair> pairs;
};

std::vector<RawPair> randomPairs()
{
    std::mt19937 random(608);
    PairStream stream;
    while (!stream.isFull()) {
        const auto bits = static_cast<unsigned>(random());
        stream.add(bits & 0x7F, bits >> 8 & 0x7F);
    }
    return stream.pairs;
}

std::string sentence(std::mt19937& random, std::size_t characters)
{
    std::string text;
    while (text.size() < characters) {
        text += std::string(1 + random() % 8, static_cast<char>('a' + random() % 25)) + ' ';
    }
    text.resize(characters);
    return text;
}

/// Pop-on captions of two rows, with filler while each is shown.
std::vector<RawPair> captionStream()
{
    std::mt19937 random(21);
    PairStream stream;
    while (!stream.isFull()) {
        stream.control(0x1420); // resume caption loading
        stream.control(0x142E); // erase the non-displayed memory
        for (const unsigned preamble : {0x1340u, 0x1360u}) {
            stream.control(preamble + 0x10 + static_cast<unsigned>(random() % 4) * 2);
            stream.text(sentence(random, 20 + random() % 8));
        }
        stream.control(0x142C); // erase the displayed memory
        stream.control(0x142F); // end of caption
        for (std::size_t filler = random() % 10; filler > 0; --filler) {
            stream.add(0, 0);
        }
    }
    return stream.pairs;
}

/// Packets of several classes as a station sends them, some interrupted by captions and resumed.
std::vector<RawPair> xdsStream()
{
    constexpr std::array<std::array<unsigned, 2>, 6> kinds{
        {{1, 3}, {1, 5}, {5, 1}, {5, 2}, {7, 1}, {3, 3}}};
    std::mt19937 random(69);
    PairStream stream;
    while (!stream.isFull()) {
        const auto [startCode, type] = kinds[random() % kinds.size()];
        const std::string text = sentence(random, 2 + random() % 15 * 2);
        const bool isInterrupted = random() % 4 == 0;
        unsigned sum = startCode + type + XdsPacket::END_CODE;
        stream.add(startCode, type);
        for (std::size_t i = 0; i < text.size(); i += 2) {
            if (isInterrupted && i == text.size() / 4 * 2) {
                stream.control(0x1520);
                stream.text("caption text");
                stream.add(startCode + 1, type);
            }
            const auto first = static_cast<unsigned char>(text[i]);
            const auto second = static_cast<unsigned char>(text[i + 1]);
            stream.add(first, second);
            sum += unsigned{first} + second;
        }
        stream.add(XdsPacket::END_CODE, (0x80 - (sum & 0x7F)) & 0x7F);
    }
    return stream.pairs;
}

constexpr uint8_t hamming84(unsigned data)
{
    constexpr std::array<uint8_t, 16> table{0x15, 0x02, 0x49, 0x5E, 0x64, 0x73, 0x38, 0x2F,
                                            0xD0, 0xC7, 0x8C, 0x9B, 0xA1, 0xB6, 0xFD, 0xEA};
    return table[data & 15];
}

/// Page headers and rows of subtitle pages 888 and 889, five teletext packets to an ancillary
/// packet.
[[maybe_unused]] std::vector<Op47Words> op47Packets()
{
    std::mt19937 random(47);
    std::vector<Op47Words> packets(OP47_PACKETS);
    unsigned row = 0;
    unsigned pageUnits = 8; // a page is complete when the header of another follows
    for (Op47Words& words : packets) {
        constexpr uint8_t length = sizeof(Op47Words) - 7;
        const std::array<uint8_t, OP47_HEAD_BYTES> head{0x00,   0xFF, 0xFF, 0x43,   0x02,
                                                        length, 0x51, 0x15, length, 0x02,
                                                        0xEA,   0xEB, 0xEC, 0xED,   0xEE};
        std::copy(head.begin(), head.end(), words.begin());
        for (std::size_t i = 0; i < ROWS_IN_PACKET; ++i) {
            uint8_t* bytes = words.data() + OP47_HEAD_BYTES + i * ROW_BYTES;
            const std::array<uint8_t, 13> address{0x55,
                                                  0x55,
                                                  0x27,
                                                  hamming84((row & 1) << 3),
                                                  hamming84(row >> 1),
                                                  hamming84(pageUnits),
                                                  hamming84(8),
                                                  hamming84(0),
                                                  hamming84(8),
                                                  hamming84(0),
                                                  hamming84(8),
                                                  hamming84(0),
                                                  hamming84(0)};
            const std::size_t dataAt = row == 0 ? 13 : 5;
            std::copy_n(address.begin(), dataAt, bytes);
            for (std::size_t at = dataAt; at < ROW_BYTES; ++at) {
                bytes[at] = withParity(static_cast<unsigned>('a' + random() % 26));
            }
            row = row == 0 ? 20 : (row < 23 ? row + 1 : 0);
            pageUnits ^= row == 0 ? 1 : 0;
        }
    }
    return packets;
}

/// The frames of a stream at 29.97 Hz: a pair of each field, one of the first field's services and
/// one of the second's in turn.
struct CaptionFrames
{
    std::vector<std::array<RawPair, 2>> pairs;
    std::vector<AncillaryCollectorPacket> packets;
};

[[maybe_unused]] CaptionFrames captionFrames()
{
    constexpr std::size_t frames = 256; // as many as stay in the cache: there is one at a time
    constexpr std::size_t run = 64;     ///< pairs of one service before those of the other
    const std::vector<RawPair> source = captionStream();
    CaptionFrames made;
    CaptionDistributionPacket cdp;
    for (std::size_t i = 0; i < frames; ++i) {
        std::array<RawPair, 2> pairs{source[i], source[i + frames]};
        const bool isSecondChannel = i / run % 2 != 0;
        cdp.tripletCount = 0;
        for (const bool isField1 : {true, false}) {
            RawPair& pair = pairs[isField1 ? 0 : 1];
            const unsigned first = pair[0] & 0x7Fu;
            if (first >= 0x10 && first < 0x20) { // of this channel and field
                pair[0] = withParity(first | (isSecondChannel ? 8u : 0u) |
                                     (!isField1 && first == 0x14 ? 1u : 0u));
            }
            cdp.append(
                {true, isField1 ? CaptionTripletType_Field1 : CaptionTripletType_Field2, pair});
        }
        cdp.pad();
        ++cdp.sequence;
        const std::vector<uint8_t> bytes = cdp.toBytes();
        made.pairs.push_back(pairs);
        made.packets.push_back(makeAncillaryPacket({0x61, 0x01}, bytes.data(), bytes.size()));
    }
    return made;
}

[[maybe_unused]] void decode608(CaptionProcessor608& processor, const std::vector<RawPair>& pairs)
{
    std::array<Caption608BytePair, 64> batch;
    for (std::size_t done = 0; done < pairs.size(); done += batch.size()) {
        const std::size_t count = std::min(batch.size(), pairs.size() - done);
        for (std::size_t i = 0; i < count; ++i) {
            const RawPair& pair = pairs[done + i];
            batch[i] = Caption608BytePair::fromRaw(pair[0], pair[1], true);
        }
        benchmark::DoNotOptimize(processor.processPairs(batch.data(), count));
    }
}

[[maybe_unused]] void decodeXds(XdsPacketPool& pool, Cc608XdsDecoder& decoder,
                                const std::vector<RawPair>& pairs)
{
    XdsPacket* packet = nullptr;
    for (const RawPair& pair : pairs) {
        const XdsResult result =
            decoder.processPair(XdsPair::fromRaw(pair[0], pair[1], false), packet);
        if (result == XdsPacketReady) {
            benchmark::DoNotOptimize(packet);
            pool.release(packet);
        } else if (result != XdsOk) {
            decoder.reset();
        }
    }
}

[[maybe_unused]] void decodeOp47(Op47decoder& decoder, const std::vector<Op47Words>& packets,
                                 std::vector<TeletextPacket>& teletext)
{
    for (const Op47Words& words : packets) {
        teletext.clear();
        benchmark::DoNotOptimize(decoder.decode(words.data(), words.size(), teletext));
        benchmark::DoNotOptimize(teletext.data());
    }
}

#if BENCH_HAVE_ZVBI

/// The peer's whole decoder, with a handler for one kind of event, fed with lines.
class ZvbiDecoder
{
public:
    ZvbiDecoder(int events, const std::vector<vbi_sliced>& slicedLines)
        : decoder(vbi_decoder_new(), &vbi_decoder_delete)
        , lines(slicedLines)
    {
        vbi_event_handler_register(
            decoder.get(), events, [](vbi_event* event, void*) { benchmark::DoNotOptimize(event); },
            nullptr);
    }

    /// Decodes all lines, `linesInFrame` with each call and frame.
    void decodeAll(std::size_t linesInFrame)
    {
        for (std::size_t i = 0; i + linesInFrame <= lines.size(); i += linesInFrame) {
            vbi_decode(decoder.get(), lines.data() + i, static_cast<int>(linesInFrame), time);
            time += 1 / 29.97;
        }
    }

private:
    std::unique_ptr<vbi_decoder, decltype(&vbi_decoder_delete)> decoder;
    std::vector<vbi_sliced> lines;
    double time = 0;
};

void compare608(benchmark::State& state, const std::vector<RawPair>& pairs, double must, double aim)
{
    std::vector<vbi_sliced> lines;
    for (const RawPair& pair : pairs) {
        vbi_sliced line{};
        line.id = VBI_SLICED_CAPTION_525;
        line.line = 21;
        std::copy(pair.begin(), pair.end(), line.data);
        lines.push_back(line);
    }
    ZvbiDecoder peer(VBI_EVENT_CAPTION, lines);
    CaptionProcessor608 processor;
    processor.setFieldSelect(CaptionFieldSelect608_Field1);
    // Many pairs per call, so that the peer's overhead for a call does not count.
    bench::compare(
        state, must, aim, [&] { decode608(processor, pairs); }, [&] { peer.decodeAll(1024); });
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(pairs.size()));
}

void compareXds(benchmark::State& state, const std::vector<RawPair>& pairs, double must, double aim)
{
    const std::unique_ptr<vbi_xds_demux, decltype(&vbi_xds_demux_delete)> peer(
        vbi_xds_demux_new(
            [](vbi_xds_demux*, const vbi_xds_packet* packet, void*) -> vbi_bool {
                benchmark::DoNotOptimize(packet);
                return 1;
            },
            nullptr),
        &vbi_xds_demux_delete);
    XdsPacketPool pool;
    Cc608XdsDecoder decoder(pool);
    bench::compare(
        state, must, aim, [&] { decodeXds(pool, decoder, pairs); },
        [&] {
            for (const RawPair& pair : pairs) {
                vbi_xds_demux_feed(peer.get(), pair.data());
            }
        });
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(pairs.size()));
}

void compareOp47(benchmark::State& state, double must, double aim)
{
    const std::vector<Op47Words> packets = op47Packets();
    std::vector<vbi_sliced> lines;
    for (const Op47Words& words : packets) {
        for (std::size_t i = 0; i < ROWS_IN_PACKET; ++i) {
            vbi_sliced line{};
            line.id = VBI_SLICED_TELETEXT_B;
            line.line = static_cast<uint32_t>(10 + i);
            std::copy_n(words.data() + OP47_HEAD_BYTES + i * ROW_BYTES + 3, ROW_BYTES - 3,
                        line.data);
            lines.push_back(line);
        }
    }
    ZvbiDecoder peer(VBI_EVENT_TTX_PAGE, lines);
    Op47decoder decoder;
    std::vector<TeletextPacket> teletext;
    bench::compare(
        state, must, aim, [&] { decodeOp47(decoder, packets, teletext); },
        [&] { peer.decodeAll(ROWS_IN_PACKET); });
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(packets.size()));
}

void compareCdp(benchmark::State& state, double must, double aim)
{
    constexpr std::size_t rounds = 32;
    const CaptionFrames frames = captionFrames();
    std::vector<vbi_sliced> lines;
    for (const std::array<RawPair, 2>& pairs : frames.pairs) {
        for (const std::size_t field : {0, 1}) {
            vbi_sliced line{};
            line.id = field == 0 ? VBI_SLICED_CAPTION_525_F1 : VBI_SLICED_CAPTION_525_F2;
            line.line = field == 0 ? 21 : 284;
            std::copy(pairs[field].begin(), pairs[field].end(), line.data);
            lines.push_back(line);
        }
    }
    ZvbiDecoder peer(VBI_EVENT_CAPTION, lines);
    CaptionDemultiplexer services;
    bench::compare(
        state, must, aim,
        [&] {
            for (std::size_t round = 0; round < rounds; ++round) {
                for (const AncillaryCollectorPacket& packet : frames.packets) {
                    benchmark::DoNotOptimize(services.process(packet));
                }
            }
        },
        [&] {
            for (std::size_t round = 0; round < rounds; ++round) {
                peer.decodeAll(2);
            }
        });
    state.SetItemsProcessed(state.iterations() *
                            static_cast<int64_t>(rounds * frames.packets.size()));
}

#else

void skip(benchmark::State& state)
{
    state.SkipWithError("libzvbi-dev is not installed: nothing to compare with");
}

void compare608(benchmark::State& state, const std::vector<RawPair>&, double, double)
{
    skip(state);
}
void compareXds(benchmark::State& state, const std::vector<RawPair>&, double, double)
{
    skip(state);
}
void compareOp47(benchmark::State& state, double, double)
{
    skip(state);
}
void compareCdp(benchmark::State& state, double, double)
{
    skip(state);
}

#endif

void cea608Random(benchmark::State& state)
{
    compare608(state, randomPairs(), 2.5, 4);
}

void cea608Captions(benchmark::State& state)
{
    compare608(state, captionStream(), 3, 6);
}

void xdsRandom(benchmark::State& state)
{
    compareXds(state, randomPairs(), 0.9, 1.25);
}

void xdsStation(benchmark::State& state)
{
    compareXds(state, xdsStream(), 0.9, 1.1);
}

void cdpFourServices(benchmark::State& state)
{
    compareCdp(state, 0.5, 1);
}

void op47FiveRows(benchmark::State& state)
{
    compareOp47(state, 3, 6);
}

BENCHMARK(cea608Random)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(cea608Captions)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(xdsRandom)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(xdsStation)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(cdpFourServices)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(op47FiveRows)->UseManualTime()->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
