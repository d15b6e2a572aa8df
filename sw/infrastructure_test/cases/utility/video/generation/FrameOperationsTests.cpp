// Timing references, line numbers, CRCs and rectangles of a frame.
#include "infrastructure/utility/video/generation/FrameOperations.h"
#include "infrastructure/utility/video/generation/LineCrc_p.h"
#include "sw/infrastructure_test/Catch.h"

#include <algorithm>
#include <random>

using namespace FrameOperations;

namespace {

/// 720-line, 625-line and 1080-line pictures, a second field, and small ones around the lengths at
/// which the way of working changes.
const FieldMetrics SHAPES[] = {
    {FieldRegion(0, 0, 2200, 20), FieldRegion(280, 4, 1920, 12)},
    {FieldRegion(0, 0, 1650, 9), FieldRegion(370, 2, 1280, 5)},
    {FieldRegion(0, 563, 2640, 11), FieldRegion(720, 565, 1920, 7)},
    {FieldRegion(0, 0, 864, 6), FieldRegion(144, 1, 720, 4)},
    {FieldRegion(0, 0, 150, 7), FieldRegion(37, 1, 113, 4)},
    {FieldRegion(0, 0, 150, 7), FieldRegion(36, 1, 114, 4)},
    {FieldRegion(0, 0, 150, 8), FieldRegion(35, 1, 115, 4)},
    {FieldRegion(0, 0, 300, 5), FieldRegion(99, 1, 201, 4)},
    {FieldRegion(0, 0, 500, 5), FieldRegion(27, 1, 473, 4)},
    {FieldRegion(0, 0, 500, 6), FieldRegion(26, 1, 474, 4)},
    {FieldRegion(0, 0, 500, 7), FieldRegion(25, 1, 475, 4)},
    {FieldRegion(0, 0, 20, 3), FieldRegion(12, 0, 8, 3)},
    {FieldRegion(0, 0, 2200, 1), FieldRegion(280, 0, 1920, 1)},
    {FieldRegion(0, 0, 8, 3), FieldRegion(8, 0, 0, 3)},
    {FieldRegion(0, 0, 130, 7), FieldRegion(7, 0, 123, 7)}, // a CRC lies in what the next covers
};

Frame randomFrame(std::size_t count, quint32 mask = 0x3FF)
{
    std::mt19937 random(31);
    Frame frame(count);
    for (quint16& word : frame) {
        word = static_cast<quint16>(random() & mask);
    }
    return frame;
}

/// The CRC register a bit at a time, as the generator polynomial reads (SMPTE ST 292-1).
WordPair crcBitByBit(const Frame& words)
{
    quint32 crc = 0;
    for (const quint32 word : words) {
        for (int bit = 0; bit < 10; ++bit) {
            const bool out = ((crc ^ (word >> bit)) & 1) != 0;
            crc >>= 1;
            if (out) { // x^18 + x^5 + x^4 + 1, x^17 in the lowest bit
                crc ^= 1u << 17 | 1u << 13 | 1u << 12;
            }
        }
    }
    const auto word = [](quint32 nine) {
        return static_cast<quint16>((nine & 0x100) != 0 ? nine : nine | 0x200);
    };
    return {word(crc & 0x1FF), word(crc >> 9)};
}

Frame lineOf(quint16 active)
{
    Frame words(1920, active);
    words.insert(words.end(), {0x3FF, 0, 0, 0x2D8, 0x204, 0x200});
    return words;
}

} // namespace

TEST_CASE("A line number is two words, with bit 9 the inverse of bit 8", "[frames]")
{
    CHECK(lineNumberWords(1) == WordPair{0x204, 0x200});
    CHECK(lineNumberWords(500) == WordPair{0x1D0, 0x20C});
    CHECK(lineNumberWords(1125) == WordPair{0x194, 0x220});
    for (quint32 number = 0; number < 0x1000; ++number) {
        const WordPair words = lineNumberWords(number);
        REQUIRE(((words[0] >> 2 & 0x7Fu) | (words[1] >> 2 & 0xFu) << 7) == (number & 0x7FF));
        REQUIRE((words[0] >> 9 & 1) == (~words[0] >> 8 & 1));
        REQUIRE((words[0] & 3) == 0);
        REQUIRE((words[1] & ~0x3Cu) == 0x200);
    }
}

TEST_CASE("The CRC of known lines", "[frames]")
{
    CHECK(calculateCrc({}) == WordPair{0x200, 0x200});
    // Worked out bit by bit outside this program.
    CHECK(calculateCrc(lineOf(64)) == WordPair{699, 572});
    CHECK(calculateCrc(lineOf(512)) == WordPair{759, 488});
}

TEST_CASE("The CRC is the one that a register gives bit by bit", "[frames]")
{
    for (std::size_t count : {1u, 2u, 7u, 119u, 120u, 121u, 1926u}) {
        const Frame words = randomFrame(count);
        CHECK(calculateCrc(words) == crcBitByBit(words));
        Frame withMore = words; // only the lowest 10 bits count
        for (quint16& word : withMore) {
            word = static_cast<quint16>(word | 0xA400);
        }
        CHECK(calculateCrc(withMore) == calculateCrc(words));
    }
}

TEST_CASE("A folded run has the CRC of the whole, for any length, place and form", "[frames]")
{
    const ForcedKernels forced(GENERATE(KernelForm::Plain, KernelForm::Vector));
    constexpr std::size_t MOST = 1000;
    const Frame words = randomFrame(MOST + 8, 0xFFFF);
    std::vector<quint32> store(4 * MOST);
    std::generate(store.begin(), store.end(), std::mt19937(5));
    LineCrc::LineFolder folder(MOST, sizeof(quint16));
    LineCrc::StoreRun<2> two(2 * MOST);
    LineCrc::StoreRun<4> four(4 * MOST);
    for (std::size_t count = 0; count <= MOST; count += count < 250 ? 1 : 7) {
        CAPTURE(count);
        const quint16* const from = words.data() + count % 8;
        const LineCrc::FoldedRun run = folder.fold(from, count);
        REQUIRE(run.count == (count < 120 ? count : 53));
        REQUIRE(LineCrc::of(static_cast<const quint16*>(run.words), run.count) ==
                LineCrc::of(from, count));

        const quint16* lines[LineCrcKernels::LINES];
        std::generate(std::begin(lines), std::end(lines),
                      [at = words.data()]() mutable { return at++; });
        quint32 crcs[LineCrcKernels::LINES];
        getKernels<LineCrcKernels>().step(lines, count, crcs);
        for (std::size_t i = 0; i < LineCrcKernels::LINES; ++i) {
            REQUIRE(crcs[i] == LineCrc::of(lines[i], count));
        }

        const auto ofTwo = two.of(store.data(), 2 * count);
        const auto ofFour = four.of(store.data(), 4 * count);
        LineCrc::Registers expected[2] = {};
        for (std::size_t i = 0; i < count; ++i) {
            expected[0] = LineCrc::stepBoth(expected[0], store[2 * i + 1]);
            expected[1] = LineCrc::stepBoth(expected[1], store[4 * i + 2]);
        }
        REQUIRE(ofTwo[1] == expected[0]);
        REQUIRE(ofFour[2] == expected[1]);
    }
}

TEST_CASE("Each line's CRC covers the picture before it and the words in front", "[frames]")
{
    const ForcedKernels forced(GENERATE(KernelForm::Plain, KernelForm::Vector));
    for (const FieldMetrics& metrics : SHAPES) {
        for (const quint32 mask : {0x3FFu, 0xFFFFu, 0u}) {
            CAPTURE(&metrics - SHAPES, mask);
            Frame frame = randomFrame(metrics.getTotalSamples(), mask);
            Frame expected = frame;
            const Frame previous = randomFrame(metrics.getActiveWidth(), mask >> 1);
            REQUIRE(writeCrcs(frame, metrics, previous));

            const auto active = static_cast<std::ptrdiff_t>(previous.size());
            for (auto start = expected.begin(); start != expected.end();
                 start += metrics.getWidth()) {
                Frame covered = start == expected.begin() ? previous : Frame(start - active, start);
                covered.insert(covered.end(), start, start + 6);
                const WordPair words = crcBitByBit(covered);
                std::copy(words.begin(), words.end(), start + 6);
            }
            REQUIRE(frame == expected);
        }
    }
}

TEST_CASE("Frames of one size give the first line's CRC from the frame before", "[frames]")
{
    const FieldMetrics metrics = SHAPES[0];
    Frame first = randomFrame(metrics.getTotalSamples());
    const Frame last = lastActiveLine(first, metrics);
    REQUIRE(last.size() == 1920);
    CHECK(std::equal(last.begin(), last.end(), first.end() - 1920));
    CHECK(lastActiveLine(Frame(1919), metrics).empty());
    CHECK(lastActiveLine(Frame(1920), metrics).size() == 1920);

    Frame second = first;
    REQUIRE(writeCrcs(second, metrics, last));
    Frame covered = last;
    covered.insert(covered.end(), first.begin(), first.begin() + 6);
    CHECK(WordPair{second[6], second[7]} == crcBitByBit(covered));
}

TEST_CASE("Sizes that do not agree leave the frame as it was", "[frames]")
{
    const FieldMetrics metrics(FieldRegion(0, 0, 200, 5), FieldRegion(40, 1, 160, 3));
    const Table<FieldMetrics, std::size_t, std::size_t> rows{
        {metrics, 999, 160},
        {metrics, 1001, 160},
        {metrics, 0, 160},
        {metrics, 1000, 159},
        {metrics, 1000, 161},
        {{FieldRegion(0, 0, 7, 5), FieldRegion(7, 1, 0, 3)}, 35, 0},
        {{FieldRegion(0, 0, 20, 5), FieldRegion(0, 1, 21, 3)}, 100, 21},
    };
    for (const auto& [rowMetrics, words, previous] : rows) {
        CAPTURE(words, previous);
        Frame frame(words, 0x155);
        CHECK_FALSE(writeCrcs(frame, rowMetrics, Frame(previous)));
        CHECK(frame == Frame(words, 0x155));
    }
    Frame frame(999, 0x155);
    CHECK_FALSE(writeLineNumbers(frame, metrics, true, true));
    CHECK_FALSE(writeLineNumbers(frame, metrics, false, false));
    CHECK(frame == Frame(999, 0x155));
    Frame narrow(10);
    CHECK_FALSE(writeLineNumbers(narrow, {FieldRegion(0, 0, 5, 2), FieldRegion()}, true, true));
    narrow.resize(6);
    CHECK(writeLineNumbers(narrow, {FieldRegion(0, 0, 6, 1), FieldRegion()}, true, true));
    CHECK(narrow == Frame{0, 0, 0, 0, 0x204, 0x200});

    // No line: nothing to do, and nothing wrong.
    Frame empty;
    const FieldMetrics none(FieldRegion(0, 0, 0, 0), FieldRegion());
    CHECK(writeCrcs(empty, none, {}));
    CHECK(writeLineNumbers(empty, none, true, true));
    CHECK(empty.empty());

    // The size wraps around to that of two words, less than a line.
    const FieldMetrics wrapping(FieldRegion(0, 0, 0x80000001, 2), FieldRegion());
    Frame two{1, 2};
    CHECK(writeCrcs(two, wrapping, {}));
    CHECK(two == Frame{1, 2});
}

TEST_CASE("Lines are numbered from the first of the metrics on, if either flag is set", "[frames]")
{
    const FieldMetrics metrics(FieldRegion(0, 563, 50, 562), FieldRegion(20, 583, 30, 540));
    const Frame blank(metrics.getTotalSamples(), 0x155);
    for (const auto& [first, second] : {std::pair(true, false), {false, true}, {true, true}}) {
        Frame frame = blank;
        REQUIRE(writeLineNumbers(frame, metrics, first, second));
        Frame expected = blank;
        for (quint32 line = 0; line < 562; ++line) {
            const WordPair words = lineNumberWords(564 + line);
            expected[line * 50 + 4] = words[0];
            expected[line * 50 + 5] = words[1];
        }
        CHECK(frame == expected);
    }
    Frame frame = blank;
    CHECK(writeLineNumbers(frame, metrics, false, false));
    CHECK(frame == blank);
}

TEST_CASE("Each line gets its references, with the eight words of the standard", "[frames]")
{
    // First field and second: start of picture, end; start of blanking, end (SMPTE ST 292-1).
    const quint16 words[2][4] = {{0x200, 0x274, 0x2AC, 0x2D8}, {0x31C, 0x368, 0x3B0, 0x3C4}};
    const FieldMetrics metrics(FieldRegion(0, 5, 20, 6), FieldRegion(12, 7, 8, 3));
    for (const bool second : {false, true}) {
        Frame frame(120 + 2, 7); // a field within a larger buffer
        REQUIRE(writeTimingReferences(frame.data() + 1, 120, metrics, second));
        Frame expected(frame.size(), 7);
        for (quint32 line = 0; line < 6; ++line) {
            const quint16* ofLine = words[second ? 1 : 0] + (line >= 2 && line < 5 ? 0 : 2);
            const Frame reference = {0x3FF, 0, 0, ofLine[1], 7, 7, 7, 7, 0x3FF, 0, 0, ofLine[0]};
            std::copy(reference.begin(), reference.end(), expected.begin() + 1 + line * 20);
        }
        CHECK(frame == expected);
        CHECK_FALSE(writeTimingReferences(frame.data(), 121, metrics, second));
        CHECK_FALSE(writeTimingReferences(
            frame.data(), 120, {FieldRegion(0, 5, 20, 6), FieldRegion(3, 7, 17, 3)}, second));
        CHECK_FALSE(writeTimingReferences(
            frame.data(), 120, {FieldRegion(0, 5, 20, 6), FieldRegion(21, 7, 8, 3)}, second));
        CHECK(frame == expected);
    }
}

TEST_CASE("Timing references go to the start and in front of the picture", "[frames]")
{
    const FieldMetrics metrics(FieldRegion(0, 0, 30, 2), FieldRegion(12, 0, 18, 2));
    Frame frame(60, 7);
    CHECK(writeTimingReferences(frame, metrics, 0x274, 0x200) == 16);
    Frame expected(60, 7);
    const Frame words = {1023, 0, 0, 0x274, 7, 7, 7, 7, 1023, 0, 0, 0x200};
    std::copy(words.begin(), words.end(), expected.begin());
    CHECK(frame == expected);

    Frame exact(12, 7);
    CHECK(writeTimingReferences(exact, metrics, 0x274, 0x200) == 16);
    CHECK(exact == words);
    CHECK(writeTimingReferences(exact, {FieldRegion(0, 0, 12, 1), FieldRegion(4, 0, 8, 1)}, 1, 2) ==
          0);
    CHECK(exact[3] == 2); // in the place of the first
    Frame small(11, 7);
    CHECK(writeTimingReferences(small, metrics, 1, 2) == 0);
    CHECK(small == Frame(11, 7));
    CHECK(writeTimingReferences(frame, {FieldRegion(0, 0, 30, 2), FieldRegion(3, 0, 27, 2)}, 1,
                                2) == 0);
    CHECK(frame == expected);
}

TEST_CASE("Rectangles fill the active picture row by row", "[frames]")
{
    using Store = std::vector<quint32>;
    // 6 lines of 10 words; the picture is 7 wide from word 3 on, on lines 1 to 4.
    const FieldMetrics metrics(FieldRegion(0, 0, 10, 6), FieldRegion(3, 1, 7, 4));
    const auto filled = [](quint32 rows, quint32 firstRow, const Store& words) {
        Store store(60, 0xFFFFFFFF);
        for (quint32 row = firstRow; row < firstRow + rows; ++row) {
            for (std::size_t i = 0; i < words.size(); ++i) {
                store[(1 + row) * 10 + 3 + i] = words[i];
            }
        }
        return store;
    };
    const auto check = [&](const Store& expected, auto fill) {
        Store store(60, 0xFFFFFFFF);
        fill(store);
        CHECK(store == expected);
    };
    check(filled(2, 1, Store(2, 0x12345678)),
          [&](Store& store) { fillRectangle32(metrics, store, 2, 1, 2, 0x12345678); });
    check(filled(4, 0, Store(7, 5)), // held to the picture's size
          [&](Store& store) { fillRectangle32(metrics, store, 99, 0, 99, 5); });
    check(filled(1, 0, Store(2, 0x155 * 1025)), // an even number of samples
          [&](Store& store) { fillRectangle10(metrics, store, 4, 0, 1, 0x1555, false); });
    check(filled(2, 1, {0x55555, 0x55555, 0xFFC00 | 0x155}), // the last in the first channel
          [&](Store& store) { fillRectangle10(metrics, store, 5, 1, 2, 0x155, false); });
    check(filled(2, 1, {0x55555, 0x55555, 0x155 << 10 | 0x3FF}), // and in the second
          [&](Store& store) { fillRectangle10(metrics, store, 5, 1, 2, 0x155, true); });
    const quint32 both = 0x3CD * 1025;
    check(filled(4, 0, {both, both, both, 0xABCDu << 10 | 0x3FF}), // the last as it is given
          [&](Store& store) { fillRectangle10(metrics, store, 99, 0, 99, 0xABCD, true); });

    // Nothing beyond the store's end.
    Store cut(36, 0);
    fillRectangle32(metrics, cut, 7, 2, 4, 1);
    Store expected(36, 0);
    std::fill(expected.begin() + 33, expected.end(), 1);
    CHECK(cut == expected);
    fillRectangle10(metrics, cut, 7, 2, 4, 2, false);
    std::fill(expected.begin() + 33, expected.end(), 2 * 1025);
    CHECK(cut == expected);
    fillRectangle32(metrics, cut, 7, 0xFFFFFFFF, 4, 9);
    CHECK(cut == expected);
    Store none;
    fillRectangle32(metrics, none, 7, 0, 4, 1);
    CHECK(none.empty());
}
