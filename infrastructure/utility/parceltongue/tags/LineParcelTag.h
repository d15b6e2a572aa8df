// The tag around a line. A value.
#pragma once

#include "infrastructure/utility/parceltongue/ParcelTag.h"

/// Numbers are cut to their bits: 14 for the line, 11 for the other line.
class LineParcelTag : public ParcelTag
{
public:
    /// These are the sizes of what getHeader and getFooter give.
    static constexpr quint32 NUM_WORDS_IN_HEADER_TAG() { return 4; }
    static constexpr quint32 NUM_WORDS_IN_FOOTER_TAG() { return 4; }

    /// Both numbers are the line; the flag is 1.
    LineParcelTag(quint32 line, quint8 byteA, quint8 byteB)
        : LineParcelTag(line, line, byteA, byteB)
    {
    }
    /// The flag is 1.
    LineParcelTag(quint32 line, quint32 otherLine, quint8 byteA, quint8 byteB)
        : LineParcelTag(line, otherLine, 1, byteA, byteB)
    {
    }
    LineParcelTag(quint32 line, quint32 otherLine, quint8 flag, quint8 byteA, quint8 byteB)
        : ParcelTag(ParcelTongue::TagType_Line, byteA, byteB)
        , lineNumber(line & 0x3FFF)
        , otherLineNumber(otherLine & 0x7FF)
        , lineFlag(flag)
    {
    }

    quint32 getLineNumber() const { return lineNumber; }
    quint32 getOtherLineNumber() const { return otherLineNumber; }
    quint32 getLineFlag() const { return lineFlag; }

    /// Word 1. The flag has eight bits; its top two coincide with the word's, which are always set.
    ///
    ///   31 30 | 31 ... 26 | 25 ... 15       | 14 | 13 ... 0
    ///   1  1  | lineFlag  | otherLineNumber | 0  | lineNumber
    std::array<quint32, 4> getHeader() const
    {
        using namespace ParcelTongue;
        return {headWord(WordKind_Header, 4),
                furtherWord(lineFlag << 26 | otherLineNumber << 15 | lineNumber), FILLER_WORD,
                FILLER_WORD};
    }
    std::array<quint32, 4> getFooter() const
    {
        using namespace ParcelTongue;
        return {headWord(WordKind_Footer, 4), FILLER_WORD, FILLER_WORD, FILLER_WORD};
    }

    std::vector<quint32> getHeaderWords() const override { return toVector(getHeader()); }
    std::vector<quint32> getFooterWords() const override { return toVector(getFooter()); }

private:
    quint32 lineNumber;
    quint32 otherLineNumber;
    quint32 lineFlag;
};
