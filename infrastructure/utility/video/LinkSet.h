// What the payload identifiers of several physical inputs make together, and each disagreement
// between them.
//
// Normative references: SMPTE ST 352 (identifiers), ST 372 (dual link), ST 425-1 (level B), ST
// 425-5 and ST 2081-11 (quadrants, two-sample interleave).
#pragma once

#include "infrastructure/utility/Finding.h"
#include "infrastructure/utility/video/StandardFromPayloadIdentifier.h"

#include <memory>
#include <string_view>
#include <vector>

/// The raster of one link; of one sub-image if the link carries several. 0 is not known.
struct LinkRaster
{
    quint32 wordsPerLine = 0; ///< pairs of 10-bit words, blanking included
    quint32 lines = 0;        ///< of a whole frame
    quint32 fields = 0;       ///< of a frame: 1 or 2
};

/// The raster that each link of a standard has, from its metrics, otherwise from its clock.
LinkRaster getLinkRaster(const StandardFromPayloadIdentifier& standard);

/// What was seen on one physical input.
struct LinkInput
{
    /// One for the link, or one for each stream of level B, in their order. None if no identifier
    /// was seen.
    std::vector<quint32> words = {};
    LinkRaster measured = {};
};

/// What links form together.
enum class LinkSetForm {
    None,                ///< no input has an identifier of a known interface
    SingleLink,          ///< the whole picture
    LevelB,              ///< the whole picture, on both streams of a link
    DualLink,            ///< the whole picture, on links A and B
    TwoSampleInterleave, ///< four sub-images, on one link or several
    SquareDivision,      ///< a quadrant on each of four links
};

/// LinkSetForm::DualLink => "dual link".
QLatin1String toString(LinkSetForm form);

/// A number of times a second, over 1 or 1001.
struct ExactRate
{
    quint64 numerator = 0;
    quint64 denominator = 1;

    bool operator==(const ExactRate& other) const
    {
        return numerator == other.numerator && denominator == other.denominator;
    }
    bool operator!=(const ExactRate& other) const { return !(*this == other); }
    /// "60000/1001"; "50" for a whole number.
    QString toString() const;
};

/// What an analysis of links has settled on, and what speaks against it. A value.
struct LinkSet
{
    LinkSetForm form = LinkSetForm::None;
    /// What most of the links carry; null for no form.
    std::shared_ptr<const StandardFromPayloadIdentifier> standard = {};
    /// Places have the input from 0. All are named "link....".
    FindingList findings = FindingList();

    /// True if there is a standard, and no finding is an error.
    bool isSound() const;
    /// Frames a second; 0 without a standard, or if its picture rate has no number.
    ExactRate getFrameRate() const;
    /// Samples a second of each link's serial clock; likewise.
    ExactRate getSampleClock() const;
    /// Why the standard's metrics can't be used to fill a frame store; empty if they can.
    std::string_view getReasonWithoutMetrics() const;
};

/// Tells what the inputs, in their order, carry together. The identifier with the fewest
/// differences from all others is the one that the others are held to. Silent inputs beside a
/// complete set do not matter. Of more than eight inputs the others are surplus.
LinkSet analyseLinkSet(const std::vector<LinkInput>& inputs);

/// The same with one word for each link, or for each stream where a link of level B has two.
LinkSet analyseLinkWords(const std::vector<quint32>& words);
