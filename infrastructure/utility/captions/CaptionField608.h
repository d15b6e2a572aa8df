// The two caption services of one field of line 21 (CEA-608), with text kept apart. One thread.
#pragma once

#include "infrastructure/utility/captions/CaptionProcessor608.h"

/// Printable pairs name no channel: here they go to the one whose control pair came last, where a
/// CaptionProcessor608 by itself writes them whatever channel it follows. Before the first control
/// pair, and from an XDS pair to the next control pair, text goes nowhere.
class CaptionField608
{
public:
    /// Takes a pair without parity, the first byte in the high byte.
    void process(uint16_t code);

    /// The service of channel 0 or 1: CC1 and CC2 in field 1, CC3 and CC4 in field 2.
    const CaptionProcessor608& service(unsigned channel) const { return services[channel & 1]; }
    /// True if a control pair of the channel has been seen.
    bool isPresent(unsigned channel) const { return present[channel & 1]; }

private:
    std::array<CaptionProcessor608, 2> services;
    std::array<bool, 2> present{};
    unsigned current = 2; ///< 2: none yet
};
