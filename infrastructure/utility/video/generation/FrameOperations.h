// Completes a frame of 10-bit words for serial output with timing references, line numbers and
// CRCs, and fills rectangles with a value. Pure functions over the caller's buffers, given as
// pointer and count of words or as vectors.
//
// A frame is the words of one data stream, luma or chroma separately, in store order. Each line:
//
//   EAV       | line number | CRC  | rest of the blanking | SAV     | active samples
//   0 ... 3   | 4, 5        | 6, 7 | ...                  | 4 words | ...
//
// Normative reference: SMPTE ST 292-1:2018, clauses 5.3 (timing references), 5.4 (line numbers)
// and 5.5 (CRCs).
#pragma once

#include "infrastructure/utility/video/metrics/FieldMetrics.h"

#include <array>
#include <cstddef>
#include <vector>

namespace FrameOperations {

/// One 10-bit word in each element.
using Frame = std::vector<quint16>;
/// Two consecutive words of a line.
using WordPair = std::array<quint16, 2>;

/// 1 => 0x204, 0x200; 1125 => 0x194, 0x220. Bits above the eleven of a line number are dropped.
WordPair lineNumberWords(quint32 lineNumber);

/// The last word of a timing reference with its protection bits. First field, vertical blanking,
/// end of active video => 0x2D8; first field, picture, start => 0x200.
constexpr quint16 timingReferenceWord(bool secondField, bool verticalBlanking, bool endOfActive)
{
    const unsigned f = secondField ? 1 : 0;
    const unsigned v = verticalBlanking ? 1 : 0;
    const unsigned h = endOfActive ? 1 : 0;
    return static_cast<quint16>(0x200u | f << 8 | v << 7 | h << 6 | (v ^ h) << 5 | (f ^ h) << 4 |
                                (f ^ v) << 3 | (f ^ v ^ h) << 2);
}

/// The two CRC words over a run of words, of which the lowest 10 bits count: x^18 + x^5 + x^4 + 1,
/// least significant bit first, from 0. No words => 0x200, 0x200.
WordPair calculateCrc(const quint16* words, std::size_t count);
inline WordPair calculateCrc(const Frame& words)
{
    return calculateCrc(words.data(), words.size());
}

/// Writes the timing references of every line of a field: those of vertical blanking outside the
/// lines of the picture. Writes nothing and returns false if the size is not the metrics' or a line
/// has no room for them.
bool writeTimingReferences(quint16* field, std::size_t count, const FieldMetrics& metrics,
                           bool secondField);
/// Writes the timing references of the frame's first line: 1023, 0, 0, eavWord at its start, and
/// 1023, 0, 0, savWord before its active samples. Returns the offset of the second in bytes. A
/// frame without room for them stays as it is; the result is then 0, with a log line.
std::size_t writeTimingReferences(Frame& frame, const FieldMetrics& metrics, quint16 eavWord,
                                  quint16 savWord);

/// Numbers the lines from the metrics' first on, in 16 bits, if one of the flags is set. Writes
/// nothing and returns false if the frame's size is not the metrics' or its lines have no room.
bool writeLineNumbers(quint16* frame, std::size_t count, const FieldMetrics& metrics,
                      bool firstFlag, bool secondFlag);
inline bool writeLineNumbers(Frame& frame, const FieldMetrics& metrics, bool firstFlag,
                             bool secondFlag)
{
    return writeLineNumbers(frame.data(), frame.size(), metrics, firstFlag, secondFlag);
}

/// Writes the CRC words of each line: over the active samples of the line before and the first six
/// words of its own. `previousActiveLine` holds the active samples before the first line. Writes
/// nothing and returns false if the frame's size is not the metrics', if the previous line is not
/// as long as the active picture is wide, or if the lines have no room.
bool writeCrcs(quint16* frame, std::size_t count, const FieldMetrics& metrics,
               const quint16* previousActiveLine, std::size_t previousCount);
inline bool writeCrcs(Frame& frame, const FieldMetrics& metrics, const Frame& previousActiveLine)
{
    return writeCrcs(frame.data(), frame.size(), metrics, previousActiveLine.data(),
                     previousActiveLine.size());
}

/// The last active samples of the frame, which the CRC of the next frame's first line covers. Empty
/// if the frame does not have that many.
Frame lastActiveLine(const Frame& frame, const FieldMetrics& metrics);

/// Fills a rectangle of a field with a word. It begins `firstRow` lines below the first active
/// sample. `width` and `height` are limited to those of the active picture, so rows that begin
/// further down may reach into the blanking below it. Nothing is written past the store's end.
void fillRectangle32(const FieldMetrics& metrics, quint32* store, std::size_t count, quint32 width,
                     quint32 firstRow, quint32 height, quint32 value);
inline void fillRectangle32(const FieldMetrics& metrics, std::vector<quint32>& store, quint32 width,
                            quint32 firstRow, quint32 height, quint32 value)
{
    fillRectangle32(metrics, store.data(), store.size(), width, firstRow, height, value);
}

/// The same in samples of 10 bits, two to a word: `value` goes to both channels of width / 2 words.
/// Since the number of samples is limited to the active width, they reach its left half at most.
/// With an odd width, the last word of each row gets it in one channel only, as given: in bits 19
/// to 10 with `secondChannel`, otherwise in the lowest 10; the other channel stays.
void fillRectangle10(const FieldMetrics& metrics, quint32* store, std::size_t count, quint32 width,
                     quint32 firstRow, quint32 height, quint32 value, bool secondChannel);
inline void fillRectangle10(const FieldMetrics& metrics, std::vector<quint32>& store, quint32 width,
                            quint32 firstRow, quint32 height, quint32 value, bool secondChannel)
{
    fillRectangle10(metrics, store.data(), store.size(), width, firstRow, height, value,
                    secondChannel);
}

} // namespace FrameOperations
