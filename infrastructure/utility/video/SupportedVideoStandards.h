// The standards that the instrument can generate and recognise, generated from a table of what each
// interface carries. Built at first use; immutable, so any thread may read it.
//
// Normative references: SMPTE ST 292-1 and ST 372 (1.5 Gb/s, one and two links), ST 425-1 (3 Gb/s),
// ST 425-5 (four links of 3 Gb/s), ST 2081-10 and -11 (6 Gb/s, one and two links), ST 2082-10
// (12 Gb/s). Two links of 3 Gb/s (ST 425-3) have no payload identifier here. Where an interface
// standard has combinations that the identifiers' own rules call illegal, they are left out: 4:2:2
// at 12 bits on two links of 1.5 Gb/s and on one of level B, X'Y'Z' on 3 Gb/s. The samples are of
// narrow range, in Rec.709, or in Rec.2020 with each of the transfer curves.
#pragma once

#include "infrastructure/utility/video/StandardFromPayloadIdentifier.h"

#include <memory>
#include <vector>

/// The list and its two indexes; look-ups take logarithmic time.
class SupportedVideoStandards
{
public:
    /// Shared with its finders and never changed; null if a look-up found nothing. Whoever holds
    /// one keeps the memory of them all.
    using Standard = std::shared_ptr<const StandardFromPayloadIdentifier>;

    /// The list of the process. Any thread may be the first to ask.
    static const SupportedVideoStandards& getInstance();

    SupportedVideoStandards();
    SupportedVideoStandards(const SupportedVideoStandards&) = delete;
    SupportedVideoStandards& operator=(const SupportedVideoStandards&) = delete;

    /// By interface, slowest first, square division last.
    const std::vector<Standard>& getStandards() const { return standards; }

    /// The standard with exactly this description, or null.
    Standard findByDescription(const QString& description) const;

    /// The standard whose identifiers are equal to this one, or null. Aspect ratio, channel
    /// assignment, audio copy status and reserved bits do not matter. The identifier of a 1080-line
    /// standard is also that of a quadrant; it does not itself tell which of the two is meant.
    Standard findByPayloadIdentifier(quint32 rawValue, bool squareDivision = false) const;

private:
    /// Hashes of what standards are found by, lowest first, and their places in the list.
    struct Index
    {
        std::vector<quint32> hashes;
        std::vector<quint16> places;
    };

    template <typename Hash>
    Index makeIndex(Hash hashOf) const;
    template <typename Matches>
    Standard find(const Index& index, quint32 hash, Matches matches) const;

    std::vector<Standard> standards;
    Index byDescription;
    Index byPayloadIdentifier;
};
