// Extracts teletext subtitles from OP-47 ancillary packets (SMPTE RDD 8). One thread.
//
//   word  0         3    4     5    6     7     8       9     10 to 14     15, 60, 105, 150, 195
//         00 FF FF  DID  SDID  DC   0x51  0x15  length  0x02  descriptors  teletext packets
//
// A teletext packet is 45 bytes: run-in and framing code (3), address (2), data (40).
#pragma once

#include "infrastructure/utility/captions/Op47ErrorReport.h"
#include "infrastructure/utility/captions/TeletextPacketContainer.h"

#include <cstddef>
#include <cstdint>
#include <vector>

/// Decodes ancillary packets in the order of the stream. It never rejects a packet: the report
/// answers each question of conformance, and extraction goes as far as the data allows. Between
/// packets it remembers only the page that the rows belong to. Hamming-protected bytes are read
/// without correction; display bytes keep their parity.
class Op47decoder
{
public:
    /// Keeps only the rows of one page, given as in TeletextPacket::pageBcd: subtitle page 888 is
    /// magazine 0, page 0x88. The first teletext packet of another page ends the decoding of its
    /// ancillary packet.
    void setPageFilter(bool enabled, int32_t magazine, int32_t page);

    /// Decodes the container's bytes and appends to its records.
    Op47ErrorReport decode(TeletextPacketContainer& container);
    /// The same for words given by pointer and size: the appended records point into them.
    Op47ErrorReport decode(const uint8_t* words, std::size_t size,
                           std::vector<TeletextPacket>& packets);

    /// The magazine of the last teletext packet, -1 before the first.
    int32_t getLastMagazine() const { return lastMagazine; }
    /// The page of the last page header in BCD, -1 before the first.
    int32_t getLastPage() const { return lastPage; }

private:
    std::size_t appendPackets(const uint8_t* bytes, std::size_t count,
                              std::vector<TeletextPacket>& packets);
    bool decodeTeletextPacket(const uint8_t* bytes, TeletextPacket& packet);
    bool passesFilter(const TeletextPacket& packet) const;

    int32_t lastMagazine = -1;
    int32_t lastPage = -1;
    bool filterEnabled = false;
    int32_t filterMagazine = -1;
    int32_t filterPage = -1;
};
