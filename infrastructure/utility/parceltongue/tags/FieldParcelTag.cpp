#include "infrastructure/utility/parceltongue/tags/FieldParcelTag.h"

#include <tuple>

using namespace ParcelTongue;

namespace {

constexpr quint32 low(quint32 value, int bits)
{
    return value & ((1u << bits) - 1u);
}

quint32 wordAt(const std::vector<quint32>& words, std::size_t index)
{
    return index < words.size() ? words[index] : 0;
}

constexpr quint8 byteOf(quint32 word, int shift)
{
    return static_cast<quint8>(low(word >> shift, 8));
}

} // namespace

// The header, without bits 31 and 30:
//
//   word 1   29 ... 0: value32, bits 29 to 0
//   word 2   28 ... 17: activeHeight | 15 ... 2: samplesPerLine | 1, 0: value32, bits 31 and 30
//   word 3   29: flagA | 28: flagB | 26 ... 14: totalLines | 13 ... 0: activeWidth
//   word 4   28 ... 24: value26, bits 4 to 0 | 23 ... 19: value5a | 18 ... 14: value5b |
//            13: flagC | 11 ... 0: fieldHeight
//   word 5   29 ... 26: value4, read only | 25 ... 0: value26, bits 31 to 6
//   words 6 and 7 are filler

FieldParcelTag::FieldParcelTag(quint32 newValue32, quint32 newSamplesPerLine, quint32 newTotalLines,
                               const FieldMetrics& metrics, bool newFlagA, bool newFlagB,
                               quint32 newValue5a, quint32 newValue5b, quint32 newFlagC,
                               quint32 newValue26, quint8 byteA, quint8 byteB, quint32 newValue4)
    : ParcelTag(TagType_Field, byteA, byteB)
    , value32(newValue32)
    , samplesPerLine(low(newSamplesPerLine, 14))
    , totalLines(low(newTotalLines, 13))
    , activeWidth(low(metrics.getActiveWidth(), 14))
    , activeHeight(low(metrics.getActiveHeight(), 12))
    , flagA(newFlagA ? 1 : 0)
    , flagB(newFlagB ? 1 : 0)
    , value5a(low(newValue5a, 5))
    , value5b(low(newValue5b, 5))
    , flagC(low(newFlagC, 1))
    , fieldHeight(low(metrics.getHeight(), 12))
    , value26(newValue26)
    , value4(low(newValue4, 4))
{
}

FieldParcelTag::FieldParcelTag(const std::vector<quint32>& words)
    : ParcelTag(TagType_Field, byteOf(wordAt(words, 0), 16), byteOf(wordAt(words, 0), 8))
    , value32(low(wordAt(words, 1), 30) | wordAt(words, 2) << 30)
    , samplesPerLine(low(wordAt(words, 2) >> 2, 14))
    , totalLines(low(wordAt(words, 3) >> 14, 13))
    , activeWidth(low(wordAt(words, 3), 14))
    , activeHeight(low(wordAt(words, 2) >> 17, 12))
    , flagA(low(wordAt(words, 3) >> 29, 1))
    , flagB(low(wordAt(words, 3) >> 28, 1))
    , value5a(low(wordAt(words, 4) >> 19, 5))
    , value5b(low(wordAt(words, 4) >> 14, 5))
    , flagC(low(wordAt(words, 4) >> 13, 1))
    , fieldHeight(low(wordAt(words, 4), 12))
    , value26((wordAt(words, 4) & 0x3F000000u) >> 16 | wordAt(words, 5) << 6)
    , value4(low(wordAt(words, 5) >> 26, 4))
{
}

std::array<quint32, 8> FieldParcelTag::getHeader() const
{
    return {headWord(WordKind_Header, NUM_WORDS_IN_HEADER_TAG()),
            furtherWord(low(value32, 30)),
            furtherWord(activeHeight << 17 | samplesPerLine << 2 | value32 >> 30),
            furtherWord(flagA << 29 | flagB << 28 | totalLines << 14 | activeWidth),
            furtherWord(low(value26, 5) << 24 | value5a << 19 | value5b << 14 | flagC << 13 |
                        fieldHeight),
            furtherWord(value26 >> 6),
            FILLER_WORD,
            FILLER_WORD};
}

std::array<quint32, 4> FieldParcelTag::getFooter() const
{
    return {headWord(WordKind_Footer, NUM_WORDS_IN_FOOTER_TAG()), furtherWord(1), FILLER_WORD,
            FILLER_WORD};
}

bool operator==(const FieldParcelTag& a, const FieldParcelTag& b)
{
    const auto fields = [](const FieldParcelTag& tag) {
        return std::make_tuple(tag.getTagByteA(), tag.getTagByteB(), tag.value32,
                               tag.samplesPerLine, tag.totalLines, tag.activeWidth,
                               tag.activeHeight, tag.flagA, tag.flagB, tag.value5a, tag.value5b,
                               tag.flagC, tag.fieldHeight, tag.value26, tag.value4);
    };
    return fields(a) == fields(b);
}
