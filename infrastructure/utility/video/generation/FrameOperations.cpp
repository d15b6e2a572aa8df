#include "infrastructure/utility/video/generation/FrameOperations.h"

#include "infrastructure/utility/Log.h"

#include <algorithm>

namespace FrameOperations {

namespace {

constexpr std::size_t LINE_NUMBER_INDEX = 4;
constexpr std::size_t CRC_INDEX = 6;
/// The words at the start of a line that its own CRC covers.
constexpr std::size_t COVERED_WORDS = CRC_INDEX;
constexpr std::size_t TIMING_REFERENCE_WORDS = 4;

bool hasSizeOf(const FieldMetrics& metrics, const Frame& frame)
{
    return frame.size() == metrics.getTotalSamples();
}

/// Calls `use` with each whole line, from its first word. `width` is not 0.
template <typename Use>
void forEachLine(Frame& frame, std::size_t width, Use use)
{
    for (std::size_t start = 0; frame.size() - start >= width; start += width) {
        use(frame.data() + start);
    }
}

// The CRC. Its 18 bits have no feedback into bit 0 within ten shifts, so that a word is one step.
// x = 1 cancels itself in pairs: exponents of multiples of the generator come in even number.

constexpr quint32 crcStep(quint32 crc, quint32 word)
{
    const quint32 out = (crc ^ word) & 0x3FFu;
    return (crc >> 10) ^ (out << 8) ^ (out << 4) ^ (out << 3);
}

quint32 crcOf(const quint16* words, std::size_t count)
{
    quint32 crc = 0;
    for (std::size_t i = 0; i < count; ++i) {
        crc = crcStep(crc, words[i]);
    }
    return crc;
}

/// Nine bits, with the inverse of the highest above them.
constexpr quint16 crcWord(quint32 bits)
{
    return static_cast<quint16>((bits & 0x1FFu) | (~bits << 1 & 0x200u));
}

constexpr WordPair crcWords(quint32 crc)
{
    return {crcWord(crc), crcWord(crc >> 9)};
}

// Folding. With y for a shift of a whole word, y^120 + y^32 + y^6 + 1 is a multiple of the
// generator. So a word may be dropped without changing the CRC if it is xored into the words 88,
// 114 and 120 further on. That reduces a line to its last words in steps that do not wait for each
// other. The fourth power of that multiple has the same terms four times as far apart, in whole
// vectors, and is used first on long lines. y^53 + y^29 + y^7 + y^2 + y + 1 is a multiple as well,
// and reduces 120 words to 53.

/// Folds `count` words into the last `degree` words of `run`, which has room for `degree` words,
/// all 0, and after them the `count` words. `count` is at least `degree`. The exponents go down to
/// 0.
template <std::size_t degree, std::size_t exponent, std::size_t... lower>
void fold(const quint16* words, std::size_t count, quint16* run, std::size_t from = 0)
{
    // From here on, the word that this exponent would reach is among the last words, which stay.
    const std::size_t end = count - exponent;
    for (std::size_t i = from; i < end; ++i) {
        run[i + degree] =
            static_cast<quint16>((words[i] ^ run[i + exponent]) ^ (0 ^ ... ^ run[i + lower]));
    }
    if constexpr (sizeof...(lower) > 0) {
        fold<degree, lower...>(words, count, run, end);
    }
}

/// The CRCs of equally long runs of words. Several are computed together, since each step of one
/// waits for the step before.
class CrcWriter
{
public:
    explicit CrcWriter(std::size_t wordsOfRun)
        : count(wordsOfRun)
        , longRun(wordsOfRun >= LONG_DEGREE ? LONG_DEGREE + wordsOfRun : 0)
        , run(DEGREE + std::min(wordsOfRun, LONG_DEGREE))
    {
    }

    /// Reads all of `words`. Their CRC is in `target` at the latest after `flush`.
    void add(const quint16* words, quint16* target)
    {
        if (count < DEGREE) {
            write(crcOf(words, count), target);
            return;
        }
        std::size_t left = count;
        if (count >= LONG_DEGREE) {
            fold<LONG_DEGREE, 128, 24, 0>(words, count, longRun.data());
            words = longRun.data() + count;
            left = LONG_DEGREE;
        }
        fold<DEGREE, 32, 6, 0>(words, left, run.data());
        fold<SHORT_DEGREE, 29, 7, 2, 1, 0>(run.data() + left, DEGREE, ends[used].data());
        targets[used] = target;
        if (++used == LANES) {
            flush();
        }
    }

    void flush()
    {
        std::array<quint32, LANES> crcs = {};
        for (std::size_t i = DEGREE; i < DEGREE + SHORT_DEGREE; ++i) {
            for (std::size_t lane = 0; lane < LANES; ++lane) {
                crcs[lane] = crcStep(crcs[lane], ends[lane][i]);
            }
        }
        for (std::size_t lane = 0; lane < used; ++lane) {
            write(crcs[lane], targets[lane]);
        }
        used = 0;
    }

private:
    static constexpr std::size_t LONG_DEGREE = 480;
    static constexpr std::size_t DEGREE = 120;
    static constexpr std::size_t SHORT_DEGREE = 53;
    static constexpr std::size_t LANES = 4;

    static void write(quint32 crc, quint16* target)
    {
        const WordPair words = crcWords(crc);
        std::copy(words.begin(), words.end(), target);
    }

    std::size_t count;
    std::vector<quint16> longRun;
    std::vector<quint16> run;
    std::array<std::array<quint16, SHORT_DEGREE + DEGREE>, LANES> ends = {};
    std::array<quint16*, LANES> targets = {};
    std::size_t used = 0;
};

/// Calls `use` with the first word of each row of a rectangle in the store, and the number of words
/// left from there. `width` is in words.
template <typename Use>
void forEachRow(const FieldMetrics& metrics, std::vector<quint32>& store, quint32 width,
                quint32 firstRow, quint32 height, Use use)
{
    const quint64 stride = metrics.getWidth();
    quint64 start = metrics.getFirstActiveSampleOffset() + firstRow * stride;
    for (quint32 row = std::min(height, metrics.getActiveHeight()); row > 0; --row) {
        if (start >= store.size()) {
            return;
        }
        const auto index = static_cast<std::size_t>(start);
        use(store.data() + index, std::min<std::size_t>(width, store.size() - index));
        start += stride;
    }
}

} // namespace

WordPair lineNumberWords(quint32 lineNumber)
{
    const quint32 low = lineNumber & 0x7Fu;
    return {static_cast<quint16>(low << 2 | (~low << 3 & 0x200u)),
            static_cast<quint16>((lineNumber >> 7 & 0xFu) << 2 | 0x200u)};
}

WordPair calculateCrc(const Frame& words)
{
    return crcWords(crcOf(words.data(), words.size()));
}

std::size_t writeTimingReferences(Frame& frame, const FieldMetrics& metrics, quint16 eavWord,
                                  quint16 savWord)
{
    const std::size_t active = metrics.getActivePictureRegion().getFirstSampleIndex();
    if (active < TIMING_REFERENCE_WORDS || active > frame.size()) {
        VELLOG_ERR() << "No room for timing references in " << frame.size()
                     << " words, active samples from " << active;
        return 0;
    }
    const auto write = [&](std::size_t index, quint16 word) {
        const quint16 reference[TIMING_REFERENCE_WORDS] = {1023, 0, 0, word};
        std::copy(std::begin(reference), std::end(reference), frame.data() + index);
    };
    const std::size_t savIndex = active - TIMING_REFERENCE_WORDS;
    write(0, eavWord);
    write(savIndex, savWord);
    return savIndex * sizeof(quint16);
}

bool writeLineNumbers(Frame& frame, const FieldMetrics& metrics, bool firstFlag, bool secondFlag)
{
    if (!hasSizeOf(metrics, frame)) {
        return false;
    }
    if (frame.empty() || (!firstFlag && !secondFlag)) {
        return true;
    }
    if (metrics.getWidth() < LINE_NUMBER_INDEX + 2) {
        return false;
    }
    auto number = static_cast<quint16>(metrics.getFirstLineNumber());
    forEachLine(frame, metrics.getWidth(), [&](quint16* line) {
        const WordPair words = lineNumberWords(number++);
        std::copy(words.begin(), words.end(), line + LINE_NUMBER_INDEX);
    });
    return true;
}

bool writeCrcs(Frame& frame, const FieldMetrics& metrics, const Frame& previousActiveLine)
{
    const std::size_t width = metrics.getWidth();
    const std::size_t activeWidth = metrics.getActiveWidth();
    if (!hasSizeOf(metrics, frame) || previousActiveLine.size() != activeWidth) {
        return false;
    }
    if (width == 0 || frame.size() < width) {
        return true;
    }
    if (width < CRC_INDEX + 2 || activeWidth > width) {
        return false;
    }
    // With almost no blanking, a line's CRC is among the words that the next one covers.
    const bool oneByOne = width - activeWidth < CRC_INDEX + 2;
    Frame first = previousActiveLine;
    first.insert(first.end(), frame.begin(), frame.begin() + COVERED_WORDS);
    CrcWriter crcs(activeWidth + COVERED_WORDS);
    const quint16* covered = first.data();
    forEachLine(frame, width, [&](quint16* line) {
        crcs.add(covered, line + CRC_INDEX);
        if (oneByOne) {
            crcs.flush();
        }
        covered = line + width - activeWidth;
    });
    crcs.flush();
    return true;
}

Frame lastActiveLine(const Frame& frame, const FieldMetrics& metrics)
{
    if (frame.size() < metrics.getActiveWidth()) {
        return {};
    }
    return {frame.end() - static_cast<std::ptrdiff_t>(metrics.getActiveWidth()), frame.end()};
}

void fillRectangle32(const FieldMetrics& metrics, std::vector<quint32>& store, quint32 width,
                     quint32 firstRow, quint32 height, quint32 value)
{
    const quint32 words = std::min(width, metrics.getActiveWidth());
    forEachRow(metrics, store, words, firstRow, height,
               [&](quint32* row, std::size_t count) { std::fill_n(row, count, value); });
}

void fillRectangle10(const FieldMetrics& metrics, std::vector<quint32>& store, quint32 width,
                     quint32 firstRow, quint32 height, quint32 value, bool secondChannel)
{
    const quint32 samples = std::min(width, metrics.getActiveWidth());
    const std::size_t pairs = samples / 2;
    const quint32 both = (value & 0x3FFu) * 1025u;
    forEachRow(metrics, store, samples - samples / 2, firstRow, height,
               [&](quint32* row, std::size_t count) {
                   std::fill_n(row, std::min(pairs, count), both);
                   if (count > pairs) {
                       row[pairs] = secondChannel ? (row[pairs] & 0x3FFu) | value << 10
                                                  : (row[pairs] & 0xFFC00u) | value;
                   }
               });
}

} // namespace FrameOperations
