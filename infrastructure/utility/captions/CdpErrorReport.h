// How well a caption distribution packet conforms to SMPTE ST 334-2. A value.
#pragma once

#include "infrastructure/utility/Finding.h"

#include <QString>

#include <cstdint>
#include <tuple>

/// One answer per question; they are independent of each other. A flag whose question was not
/// reached is true.
struct CdpErrorReport
{
    bool longEnough = true;            ///< the packet holds what its header and counts promise
    bool identifierCorrect = true;     ///< 0x96 0x69; otherwise nothing else is read
    bool lengthCorrect = true;         ///< the packet's own length is that of its bytes
    bool frameRateKnown = true;        ///< code 1 to 8
    bool sectionsCorrect = true;       ///< those that the flags tell, each once, in order
    bool markersCorrect = true;        ///< reserved bits
    bool countWithinRate = true;       ///< no more triplets than the frame rate allows
    bool paddingComplete = true;       ///< nor fewer
    bool parityCorrect = true;         ///< of all valid CEA-608 pairs
    bool footerSequenceCorrect = true; ///< the footer repeats the header's sequence
    bool checksumCorrect = true;
    bool sequenceContinuous = true; ///< one more than that of the packet before
    uint32_t receivedIdentifier = 0;
    uint32_t expectedIdentifier = 0x9669;
    uint32_t receivedLength = 0;
    uint32_t expectedLength = 0;
    uint32_t receivedFrameRate = 0; ///< its code
    uint32_t receivedCount = 0;     ///< of triplets
    uint32_t expectedCount = 0;
    uint32_t receivedSequence = 0;
    uint32_t expectedSequence = 0;
    uint32_t footerSequence = 0;
    uint32_t receivedChecksum = 0;
    uint32_t expectedChecksum = 0;

    auto values() const
    {
        return std::tie(longEnough, identifierCorrect, lengthCorrect, frameRateKnown,
                        sectionsCorrect, markersCorrect, countWithinRate, paddingComplete,
                        parityCorrect, footerSequenceCorrect, checksumCorrect, sequenceContinuous,
                        receivedIdentifier, expectedIdentifier, receivedLength, expectedLength,
                        receivedFrameRate, receivedCount, expectedCount, receivedSequence,
                        expectedSequence, footerSequence, receivedChecksum, expectedChecksum);
    }

    /// True if every flag is.
    bool isConformant() const;
    /// Adds a finding, "cdp. ...", for each flag that is false.
    void addFindings(FindingList& findings, const FindingPlace& place) const;
    /// "conformant", or the findings one after the other.
    QString toString() const;
};

inline bool operator==(const CdpErrorReport& a, const CdpErrorReport& b)
{
    return a.values() == b.values();
}
inline bool operator!=(const CdpErrorReport& a, const CdpErrorReport& b)
{
    return !(a == b);
}
