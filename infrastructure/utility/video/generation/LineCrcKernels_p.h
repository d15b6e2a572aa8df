// The loops of the line CRC: folding of long runs of words, and the steps of several lines at once.
#pragma once

#include "infrastructure/utility/KernelForm_p.h"

#include <QtGlobal>

#include <cstddef>

struct LineCrcKernels
{
    // With y for a shift of a whole word, y^120 + y^32 + y^6 + 1 is a multiple of the generator. So
    // a word may be dropped without changing the CRC if it is xored into the words 88, 114 and 120
    // further on. That reduces a line to its last words in steps that do not wait for each other.
    // The fourth power of that multiple has the same terms four times as far apart, in whole
    // vectors, and is used first on long lines. y^53 + y^29 + y^7 + y^2 + y + 1 is a multiple as
    // well, and reduces 120 words to 53.
    static constexpr std::size_t LONG_DEGREE = 480;
    static constexpr std::size_t DEGREE = 120;
    static constexpr std::size_t SHORT_DEGREE = 53;

    /// The room that `fold` needs, in words.
    static constexpr std::size_t spaceFor(std::size_t mostWords)
    {
        return mostWords < DEGREE ? 0 : DEGREE + 2 * LONG_DEGREE + mostWords;
    }
    static constexpr std::size_t FOLDED_SPACE = SHORT_DEGREE + DEGREE;

    /// The lines that `step` takes together.
    static constexpr std::size_t LINES = 8;

    /// Replaces a run of words by a shorter one with the same CRC: 53 words if there were 120,
    /// which then lie in `folded`, otherwise the same. A word has any even number of bytes, so the
    /// words of several streams may come in turn. `space` and `folded` are all 0 at the first call.
    void (*fold)(const void*& words, std::size_t& count, std::size_t wordBytes, quint8* space,
                 quint8* folded);

    /// The registers after `count` words of each line, from 0.
    void (*step)(const quint16* const (&lines)[LINES], std::size_t count, quint32 (&crcs)[LINES]);

    static const LineCrcKernels& of(PlainForm);
    static const LineCrcKernels& of(VectorForm);
};
