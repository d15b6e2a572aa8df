// The tag around a field, which gives its size. A value.
#pragma once

#include "infrastructure/utility/parceltongue/ParcelTag.h"
#include "infrastructure/utility/video/metrics/FieldMetrics.h"

/// Numbers are cut to the bits stated at their members.
///
/// Writer and reader differ in two places, both as in the format. The writer puts the low five bits
/// of `value26` at bits 28 to 24 of word 4, and drops bit 5; the reader takes bits 29 to 24 there,
/// as bits 13 to 8. And the writer never writes `value4`. If both are 0, a tag passes through its
/// words unchanged.
class FieldParcelTag : public ParcelTag
{
public:
    /// These are the sizes of what getHeader and getFooter give.
    static constexpr quint32 NUM_WORDS_IN_HEADER_TAG() { return 8; }
    static constexpr quint32 NUM_WORDS_IN_FOOTER_TAG() { return 4; }

    /// Active size and field height are taken from the metrics.
    FieldParcelTag(quint32 newValue32, quint32 newSamplesPerLine, quint32 newTotalLines,
                   const FieldMetrics& metrics, bool newFlagA, bool newFlagB, quint32 newValue5a,
                   quint32 newValue5b, quint32 newFlagC, quint32 newValue26, quint8 byteA,
                   quint8 byteB, quint32 newValue4);

    /// Reads the words of a header. Missing words count as 0.
    explicit FieldParcelTag(const std::vector<quint32>& words);

    quint32 getValue32() const { return value32; }
    quint32 getSamplesPerLine() const { return samplesPerLine; }
    quint32 getTotalLines() const { return totalLines; }
    quint32 getActiveWidth() const { return activeWidth; }
    quint32 getActiveHeight() const { return activeHeight; }
    bool getFlagA() const { return flagA != 0; }
    bool getFlagB() const { return flagB != 0; }
    quint32 getValue5a() const { return value5a; }
    quint32 getValue5b() const { return value5b; }
    bool getFlagC() const { return flagC != 0; }
    quint32 getFieldHeight() const { return fieldHeight; }
    quint32 getValue26() const { return value26; }
    quint32 getValue4() const { return value4; }

    std::array<quint32, 8> getHeader() const;
    std::array<quint32, 4> getFooter() const;

    std::vector<quint32> getHeaderWords() const override { return toVector(getHeader()); }
    std::vector<quint32> getFooterWords() const override { return toVector(getFooter()); }

    friend bool operator==(const FieldParcelTag& a, const FieldParcelTag& b);
    friend bool operator!=(const FieldParcelTag& a, const FieldParcelTag& b) { return !(a == b); }

private:
    quint32 value32;
    quint32 samplesPerLine; ///< 14 bits
    quint32 totalLines;     ///< 13 bits
    quint32 activeWidth;    ///< 14 bits
    quint32 activeHeight;   ///< 12 bits
    quint32 flagA;          ///< one bit
    quint32 flagB;          ///< one bit
    quint32 value5a;        ///< 5 bits
    quint32 value5b;        ///< 5 bits
    quint32 flagC;          ///< one bit, the lowest of the argument
    quint32 fieldHeight;    ///< 12 bits
    quint32 value26;
    quint32 value4; ///< 4 bits
};
