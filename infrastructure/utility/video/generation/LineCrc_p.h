// The CRC of a line (SMPTE ST 292-1, clause 5.5): step by step, and over long runs of words, which
// are folded first.
#pragma once

#include "infrastructure/utility/video/generation/LineCrcKernels_p.h"

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

/// What is left of a run of words: a run with the same CRC.
struct FoldedRun
{
    const void* words;
    std::size_t count;
};

/// Folds runs of words of so many bytes, an even number.
class LineFolder
{
public:
    /// Of runs of at most this many words; so many results last at a time.
    LineFolder(std::size_t mostWords, std::size_t bytesOfWord, std::size_t results = 1)
        : wordBytes(bytesOfWord)
        , space(bytesOfWord * LineCrcKernels::spaceFor(mostWords))
        , folded(results * bytesOfWord * LineCrcKernels::FOLDED_SPACE)
    {
    }

    /// The result lasts until the next one of the same number.
    FoldedRun fold(const void* words, std::size_t count, std::size_t result = 0)
    {
        FoldedRun run{words, count};
        kernels.fold(run.words, run.count, wordBytes, space.data(),
                     folded.data() + result * wordBytes * LineCrcKernels::FOLDED_SPACE);
        return run;
    }

private:
    const LineCrcKernels& kernels = getKernels<LineCrcKernels>();
    std::size_t wordBytes;
    std::vector<quint8> space;
    std::vector<quint8> folded;
};

/// Works out the registers of `streams` streams whose store words come in turn.
template <std::size_t streams>
class StoreRun
{
public:
    /// Of each stream.
    using Result = std::array<Registers, streams>;

    /// Of at most this many words, a multiple of `streams`.
    explicit StoreRun(std::size_t mostWords)
        : folder(mostWords / streams, streams * sizeof(quint32))
    {
    }

    /// `count` words.
    Result of(const quint32* words, std::size_t count)
    {
        const FoldedRun left = folder.fold(words, count / streams);
        const auto* last = static_cast<const quint32*>(left.words);
        Result result = {};
        for (std::size_t i = 0; i < left.count * streams; i += streams) {
            for (std::size_t stream = 0; stream < streams; ++stream) {
                result[stream] = stepBoth(result[stream], last[i + stream]);
            }
        }
        return result;
    }

private:
    LineFolder folder;
};

} // namespace LineCrc
