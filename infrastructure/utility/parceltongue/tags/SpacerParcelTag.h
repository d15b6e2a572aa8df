// The tag of one word that fills up lines and fields to a round number of words. A value.
#pragma once

#include "infrastructure/utility/parceltongue/ParcelTag.h"

/// Header and footer are the same word, which calls itself a header.
class SpacerParcelTag : public ParcelTag
{
public:
    /// The least that a run of words can be lengthened by.
    static constexpr quint32 NUM_WORDS_IN_TAG() { return 1; }
    /// The size of the header, as every class of tag states it.
    static constexpr quint32 NUM_WORDS_IN_HEADER_TAG() { return NUM_WORDS_IN_TAG(); }
    /// The size of the footer.
    static constexpr quint32 NUM_WORDS_IN_FOOTER_TAG() { return NUM_WORDS_IN_TAG(); }

    SpacerParcelTag(quint8 byteA, quint8 byteB)
        : ParcelTag(ParcelTongue::TagType_Spacer, byteA, byteB)
    {
    }

    quint32 getWord() const { return headWord(ParcelTongue::WordKind_Header, NUM_WORDS_IN_TAG()); }

    std::vector<quint32> getHeaderWords() const override { return {getWord()}; }
    std::vector<quint32> getFooterWords() const override { return {getWord()}; }
};
