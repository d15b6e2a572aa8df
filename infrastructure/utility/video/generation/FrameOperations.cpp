#include "infrastructure/utility/video/generation/FrameOperations.h"

#include "infrastructure/utility/Log.h"
#include "infrastructure/utility/video/generation/LineCrc_p.h"

#include <algorithm>

namespace FrameOperations {

namespace {

constexpr std::size_t LINE_NUMBER_INDEX = 4;
constexpr std::size_t CRC_INDEX = 6;
/// The words at the start of a line that its own CRC covers.
constexpr std::size_t COVERED_WORDS = CRC_INDEX;
constexpr std::size_t TIMING_REFERENCE_WORDS = 4;

/// Calls `use` with each whole line, from its first word. `width` is not 0.
template <typename Use>
void forEachLine(quint16* frame, std::size_t count, std::size_t width, Use use)
{
    for (std::size_t start = 0; count - start >= width; start += width) {
        use(frame + start);
    }
}

void writeReference(quint16* words, quint16 lastWord)
{
    const quint16 reference[TIMING_REFERENCE_WORDS] = {1023, 0, 0, lastWord};
    std::copy(std::begin(reference), std::end(reference), words);
}

/// The CRCs of equally long runs of words. Several are computed together, since each step of one
/// waits for the step before.
class CrcWriter
{
public:
    explicit CrcWriter(std::size_t wordsOfRun)
        : count(wordsOfRun)
        , folder(wordsOfRun, sizeof(quint16), LINES)
    {
    }

    /// Reads all of `words`. Their CRC is in `target` at the latest after `flush`.
    void add(const quint16* words, quint16* target)
    {
        const LineCrc::FoldedRun run = folder.fold(words, count, used);
        folded[used] = static_cast<const quint16*>(run.words);
        foldedCount = run.count;
        targets[used] = target;
        if (++used == LINES) {
            flush();
        }
    }

    void flush()
    {
        if (used == 0) {
            return;
        }
        std::fill(folded + used, std::end(folded), folded[0]);
        quint32 crcs[LINES];
        getKernels<LineCrcKernels>().step(folded, foldedCount, crcs);
        for (std::size_t line = 0; line < used; ++line) {
            const WordPair words = LineCrc::toWords(crcs[line]);
            std::copy(words.begin(), words.end(), targets[line]);
        }
        used = 0;
    }

private:
    static constexpr std::size_t LINES = LineCrcKernels::LINES;

    std::size_t count;
    LineCrc::LineFolder folder;
    const quint16* folded[LINES] = {};
    std::size_t foldedCount = 0;
    quint16* targets[LINES] = {};
    std::size_t used = 0;
};

/// Calls `use` with the first word of each row of a rectangle in the store, and the number of words
/// left from there. `width` is in words.
template <typename Use>
void forEachRow(const FieldMetrics& metrics, quint32* store, std::size_t count, quint32 width,
                quint32 firstRow, quint32 height, Use use)
{
    const quint64 stride = metrics.getWidth();
    quint64 start = metrics.getFirstActiveSampleOffset() + firstRow * stride;
    for (quint32 row = std::min(height, metrics.getActiveHeight()); row > 0; --row) {
        if (start >= count) {
            return;
        }
        const auto index = static_cast<std::size_t>(start);
        use(store + index, std::min<std::size_t>(width, count - index));
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

WordPair calculateCrc(const quint16* words, std::size_t count)
{
    return LineCrc::toWords(LineCrc::of(words, count));
}

bool writeTimingReferences(quint16* field, std::size_t count, const FieldMetrics& metrics,
                           bool secondField)
{
    const FieldRegion active = metrics.getActivePictureRegion();
    const std::size_t start = active.getFirstSampleIndex();
    if (count != metrics.getTotalSamples() || start < TIMING_REFERENCE_WORDS ||
        start > metrics.getWidth()) {
        return false;
    }
    quint32 line = metrics.getWholeFieldRegion().getFirstLineIndex();
    forEachLine(field, count, metrics.getWidth(), [&](quint16* words) {
        const bool blanking = !active.contains(active.getFirstSampleIndex(), line++);
        writeReference(words, timingReferenceWord(secondField, blanking, true));
        writeReference(words + start - TIMING_REFERENCE_WORDS,
                       timingReferenceWord(secondField, blanking, false));
    });
    return true;
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
    const std::size_t savIndex = active - TIMING_REFERENCE_WORDS;
    writeReference(frame.data(), eavWord);
    writeReference(frame.data() + savIndex, savWord);
    return savIndex * sizeof(quint16);
}

bool writeLineNumbers(quint16* frame, std::size_t count, const FieldMetrics& metrics,
                      bool firstFlag, bool secondFlag)
{
    if (count != metrics.getTotalSamples()) {
        return false;
    }
    if (count == 0 || (!firstFlag && !secondFlag)) {
        return true;
    }
    if (metrics.getWidth() < LINE_NUMBER_INDEX + 2) {
        return false;
    }
    auto number = static_cast<quint16>(metrics.getFirstLineNumber());
    forEachLine(frame, count, metrics.getWidth(), [&](quint16* line) {
        const WordPair words = lineNumberWords(number++);
        std::copy(words.begin(), words.end(), line + LINE_NUMBER_INDEX);
    });
    return true;
}

bool writeCrcs(quint16* frame, std::size_t count, const FieldMetrics& metrics,
               const quint16* previousActiveLine, std::size_t previousCount)
{
    const std::size_t width = metrics.getWidth();
    const std::size_t activeWidth = metrics.getActiveWidth();
    if (count != metrics.getTotalSamples() || previousCount != activeWidth) {
        return false;
    }
    if (width == 0 || count < width) {
        return true;
    }
    if (width < CRC_INDEX + 2 || activeWidth > width) {
        return false;
    }
    // With almost no blanking, a line's CRC is among the words that the next one covers.
    const bool oneByOne = width - activeWidth < CRC_INDEX + 2;
    Frame first(previousActiveLine, previousActiveLine + previousCount);
    first.insert(first.end(), frame, frame + COVERED_WORDS);
    CrcWriter crcs(activeWidth + COVERED_WORDS);
    const quint16* covered = first.data();
    forEachLine(frame, count, width, [&](quint16* line) {
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

void fillRectangle32(const FieldMetrics& metrics, quint32* store, std::size_t count, quint32 width,
                     quint32 firstRow, quint32 height, quint32 value)
{
    const quint32 words = std::min(width, metrics.getActiveWidth());
    forEachRow(metrics, store, count, words, firstRow, height,
               [&](quint32* row, std::size_t left) { std::fill_n(row, left, value); });
}

void fillRectangle10(const FieldMetrics& metrics, quint32* store, std::size_t count, quint32 width,
                     quint32 firstRow, quint32 height, quint32 value, bool secondChannel)
{
    const quint32 samples = std::min(width, metrics.getActiveWidth());
    const std::size_t pairs = samples / 2;
    const quint32 both = (value & 0x3FFu) * 1025u;
    forEachRow(metrics, store, count, samples - samples / 2, firstRow, height,
               [&](quint32* row, std::size_t left) {
                   std::fill_n(row, std::min(pairs, left), both);
                   if (left > pairs) {
                       row[pairs] = secondChannel ? (row[pairs] & 0x3FFu) | value << 10
                                                  : (row[pairs] & 0xFFC00u) | value;
                   }
               });
}

} // namespace FrameOperations
