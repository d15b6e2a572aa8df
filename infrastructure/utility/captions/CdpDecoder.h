// Reads caption distribution packets (SMPTE ST 334-2) and says how well they conform. One thread.
#pragma once

#include "infrastructure/utility/captions/CaptionDistributionPacket.h"
#include "infrastructure/utility/captions/CdpErrorReport.h"

/// Reads packets in the order of the stream. It rejects nothing: the report answers each question
/// of conformance, and reading goes on as far as the bytes allow. Between packets it remembers only
/// the sequence.
class CdpDecoder
{
public:
    /// Reads the user words of an ancillary packet, from 96 on, into `packet`, whose former content
    /// is dropped, as far as it had a meaning.
    CdpErrorReport decode(const uint8_t* bytes, std::size_t size,
                          CaptionDistributionPacket& packet);
    /// Forgets the sequence: the next packet may have any.
    void reset() { hasSequence = false; }

private:
    bool hasSequence = false;
    uint16_t lastSequence = 0;
};
