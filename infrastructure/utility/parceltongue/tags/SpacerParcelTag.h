// The one-word tag that fills lines and fields up to a round number of words. A value.
#pragma once

#include "infrastructure/utility/parceltongue/ParcelTag.h"

/// Header and footer are the same word, which is marked as a header.
class SpacerParcelTag : public ParcelTag
{
public:
    /// The least by which a run of words can be lengthened.
    static constexpr quint32 NUM_WORDS_IN_TAG() { return 1; }
    /// The size of the header, as in every tag class.
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
