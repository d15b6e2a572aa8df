// The caption channel of CEA-708: packets put together from triplets and taken apart into service
// blocks. One thread.
//
//   packet         sequence (2 bits), size (6 bits: 0 is 128 bytes, n is 2n) | service blocks ...
//   service block  number (3 bits), size (5 bits) | [00, number (6 bits) if the first is 7] | codes
#pragma once

#include "infrastructure/utility/captions/CaptionDistributionPacket.h"
#include "infrastructure/utility/captions/CaptionService708.h"
#include "infrastructure/utility/Finding.h"

#include <array>
#include <memory>

/// Services 1 to 63, each made when its first block comes: about 11 KiB each, and never more.
class CaptionChannel708
{
public:
    static constexpr unsigned MAX_SERVICE = 63;

    /// Takes a triplet; those of CEA-608 are ignored. Findings, at `place`: "cdp.channel-cut",
    /// "cdp.channel-sequence", "cdp.block-cut", "cdp.code-cut".
    void processTriplet(const CaptionTriplet& triplet, FindingList& findings,
                        const FindingPlace& place);
    /// A service by its number; null if none of its blocks has come.
    const CaptionService708* service(unsigned number) const;

private:
    void processPacket(FindingList& findings, const FindingPlace& place);

    std::array<std::unique_ptr<CaptionService708>, MAX_SERVICE + 1> services;
    std::array<uint8_t, 128> packet{};
    std::size_t packetSize = 0; ///< as its header says; 0: none is open
    std::size_t filled = 0;
    int lastSequence = -1;
};
