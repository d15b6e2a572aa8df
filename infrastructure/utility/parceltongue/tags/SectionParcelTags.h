// The tags around the stretches of a line: a whole line of vertical blanking, or the horizontal
// blanking and the active picture of a picture line. Values.
#pragma once

#include "infrastructure/utility/parceltongue/ParcelTag.h"

/// A tag that contains nothing but its type and its two bytes.
template <ParcelTongue::TagType type>
class SectionParcelTag : public ParcelTag
{
public:
    /// These are the sizes of what getHeader and getFooter give.
    static constexpr quint32 NUM_WORDS_IN_HEADER_TAG() { return 4; }
    static constexpr quint32 NUM_WORDS_IN_FOOTER_TAG() { return 4; }

    explicit SectionParcelTag(quint8 byteA = 0, quint8 byteB = 0)
        : ParcelTag(type, byteA, byteB)
    {
    }

    std::array<quint32, 4> getHeader() const { return words(ParcelTongue::WordKind_Header); }
    std::array<quint32, 4> getFooter() const { return words(ParcelTongue::WordKind_Footer); }

    std::vector<quint32> getHeaderWords() const override { return toVector(getHeader()); }
    std::vector<quint32> getFooterWords() const override { return toVector(getFooter()); }

private:
    std::array<quint32, 4> words(ParcelTongue::WordKind kind) const
    {
        using ParcelTongue::FILLER_WORD;
        return {headWord(kind, 4), FILLER_WORD, FILLER_WORD, FILLER_WORD};
    }
};

/// These are the three stretches of a line.
using VerticalBlankingParcelTag = SectionParcelTag<ParcelTongue::TagType_VerticalBlanking>;
using HorizontalBlankingParcelTag = SectionParcelTag<ParcelTongue::TagType_HorizontalBlanking>;
using ActivePictureParcelTag = SectionParcelTag<ParcelTongue::TagType_ActivePicture>;
