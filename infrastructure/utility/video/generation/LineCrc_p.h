// The CRC of a line (SMPTE ST 292-1, clause 5.5): step by step, and over long runs of words, which
// are folded first.
#pragma once

#include <QtGlobal>

#include <array>
#include <cstddef>
#include <vector>

namespace LineCrc {

// Its 18 bits have no feedback into bit 0 within ten shifts, so that a word is one step. x = 1
// cancels itself in pairs: exponents of multiples of the generator come in even number.

/// The register after one more word.
constexpr quint32 step(quint32 crc, quint32 word)
{
    const quint32 out = (crc ^ word) & 0x3FFu;
    return (crc >> 10) ^ (out << 8) ^ (out << 4) ^ (out << 3);
}

/// The register after words, from 0.
inline quint32 of(const quint16* words, std::size_t count)
{
    quint32 crc = 0;
    for (std::size_t i = 0; i < count; ++i) {
        crc = step(crc, words[i]);
    }
    return crc;
}

/// Nine bits, with the inverse of the highest above them.
constexpr quint16 toWord(quint32 bits)
{
    return static_cast<quint16>((bits & 0x1FFu) | (~bits << 1 & 0x200u));
}

/// The two words of a line.
constexpr std::array<quint16, 2> toWords(quint32 crc)
{
    return {toWord(crc), toWord(crc >> 9)};
}

// Folding. With y for a shift of a whole word, y^120 + y^32 + y^6 + 1 is a multiple of the
// generator. So a word may be dropped without changing the CRC if it is xored into the words 88,
// 114 and 120 further on. That reduces a line to its last words in steps that do not wait for each
// other. The fourth power of that multiple has the same terms four times as far apart, in whole
// vectors, and is used first on long lines. y^53 + y^29 + y^7 + y^2 + y + 1 is a multiple as well,
// and reduces 120 words to 53.

constexpr std::size_t LONG_DEGREE = 480;
constexpr std::size_t DEGREE = 120;
constexpr std::size_t SHORT_DEGREE = 53;

/// Folds `count` words into the last `degree` words of `run`, which has room for `degree` words,
/// all 0, and after them the `count` words. `count` is at least `degree`. The exponents go down to
/// 0. Words that several streams take in turn fold like one stream's if all numbers are multiplied
/// by the number of streams.
template <std::size_t degree, std::size_t exponent, std::size_t... lower, typename Word>
void fold(const Word* words, std::size_t count, Word* run, std::size_t from = 0)
{
    // From here on, the word that this exponent would reach is among the last words, which stay.
    const std::size_t end = count - exponent;
    for (std::size_t i = from; i < end; ++i) {
        run[i + degree] =
            static_cast<Word>((words[i] ^ run[i + exponent]) ^ (Word(0) ^ ... ^ run[i + lower]));
    }
    if constexpr (sizeof...(lower) > 0) {
        fold<degree, lower...>(words, count, run, end);
    }
}

/// The CRC registers of both channels of store words; one in the lower half, one in the upper.
using Registers = quint64;

/// Both after one more store word.
constexpr Registers stepBoth(Registers crcs, quint32 storeWord)
{
    constexpr quint64 WORDS = 0x000003FF000003FFu;
    constexpr quint64 REST = 0x000000FF000000FFu; // of 18 bits, without the lowest ten
    const quint64 both = storeWord | quint64(storeWord >> 10) << 32;
    const quint64 out = (crcs ^ both) & WORDS;
    return (crcs >> 10 & REST) ^ (out << 8) ^ (out << 4) ^ (out << 3);
}

/// The register of channel 0 or 1.
constexpr quint32 ofChannel(Registers crcs, int channel)
{
    return static_cast<quint32>(crcs >> (32 * channel));
}

/// Works out the registers of `streams` streams whose store words come in turn.
template <std::size_t streams>
class StoreRun
{
public:
    /// Of each stream.
    using Result = std::array<Registers, streams>;

    /// Of at most this many words, a multiple of `streams`.
    explicit StoreRun(std::size_t mostWords)
        : longRun(streams * LONG_DEGREE + mostWords)
        , run(streams * (DEGREE + LONG_DEGREE))
        , shortRun(streams * (SHORT_DEGREE + DEGREE))
    {
    }

    /// `count` words.
    Result of(const quint32* words, std::size_t count)
    {
        constexpr std::size_t n = streams;
        if (count >= n * LONG_DEGREE) {
            fold<n * LONG_DEGREE, n * 128, n * 24, 0>(words, count, longRun.data());
            words = longRun.data() + count;
            count = n * LONG_DEGREE;
        }
        if (count >= n * DEGREE) {
            fold<n * DEGREE, n * 32, n * 6, 0>(words, count, run.data());
            fold<n * SHORT_DEGREE, n * 29, n * 7, n * 2, n, 0>(run.data() + count, n * DEGREE,
                                                               shortRun.data());
            words = shortRun.data() + n * DEGREE;
            count = n * SHORT_DEGREE;
        }
        Result result = {};
        for (std::size_t i = 0; i < count; i += n) {
            for (std::size_t stream = 0; stream < n; ++stream) {
                result[stream] = stepBoth(result[stream], words[i + stream]);
            }
        }
        return result;
    }

private:
    std::vector<quint32> longRun;
    std::vector<quint32> run;
    std::vector<quint32> shortRun;
};

} // namespace LineCrc
