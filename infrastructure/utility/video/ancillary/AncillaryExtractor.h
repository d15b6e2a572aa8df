// Finds the ancillary packets (SMPTE ST 291-1) in the words of a data stream and checks them. One
// thread.
#pragma once

#include "infrastructure/utility/Finding.h"
#include "infrastructure/utility/video/ancillary/AncillaryCollectorPacket.h"
#include "infrastructure/utility/video/metrics/FieldMetrics.h"

#include <cstddef>
#include <functional>

/// Words of one data stream that follow one another, and where they lie in memory. A view. Only the
/// lowest 10 bits of a word count.
class AncillaryRun
{
public:
    /// `count` words, a `step` apart: 1, or 2 for each stream of two that are interleaved.
    AncillaryRun(const quint16* firstWord, std::size_t wordCount, std::size_t wordStep = 1)
        : words(firstWord)
        , count(wordCount)
        , step(wordStep)
    {
    }
    /// The words of one channel in samples of 20 bits, at bit 0 or, for the second, at bit 10.
    AncillaryRun(const quint32* firstSample, std::size_t sampleCount, bool secondChannel)
        : samples(firstSample)
        , count(sampleCount)
        , shift(secondChannel ? 10 : 0)
    {
    }

    std::size_t size() const { return count; }
    /// The channel in samples of 20 bits, 0 or 1; -1 for words.
    int getChannel() const { return samples == nullptr ? -1 : shift == 0 ? 0 : 1; }
    /// The word at an index below size().
    quint16 operator[](std::size_t index) const
    {
        return static_cast<quint16>(
            (words != nullptr ? words[index * step] : samples[index] >> shift) & 0x3FF);
    }
    /// A part of the run; what lies beyond its end is left out.
    AncillaryRun part(std::size_t first, std::size_t most) const;
    /// The index of the first ancillary data flag, 000 3FF 3FF, that begins at `from` or later;
    /// size() if there is none. Passes over other words about as fast as memory gives them.
    std::size_t findFlag(std::size_t from) const;

private:
    const quint16* words = nullptr;
    const quint32* samples = nullptr;
    std::size_t count;
    std::size_t step = 1;
    unsigned shift = 0;
};

/// Where packets lie in a frame.
enum class AncillarySpace {
    Horizontal, ///< between a line's CRC and its start of active video
    Vertical,   ///< in place of the picture, on lines without one
};

/// A packet and what is known of it.
struct ExtractedAncillaryPacket
{
    /// The low 8 bits of its words; the collector's header is 0. Without an end marker if the
    /// packet is not whole: user words that are missing are 0.
    AncillaryCollectorPacket packet;
    FindingPlace place; ///< of its first word, the ancillary data flag
    AncillarySpace space = AncillarySpace::Vertical;
    bool isWhole = true;
    bool isParityGood = true;
    bool isChecksumGood = true; ///< true too for a packet that is not whole
};

/// Takes runs of words in any order and hands each packet on as it is found, good or bad. Holds one
/// packet at a time. Findings: "anc.parity", "anc.checksum", "anc.past-end", "anc.cut" and, in
/// horizontal space, "anc.gap".
///
/// A packet ends where its data count says, at the next ancillary data flag, or with the run,
/// whichever comes first.
class AncillaryExtractor
{
public:
    /// What is called with each packet, which holds for the length of the call.
    using Receiver = std::function<void(const ExtractedAncillaryPacket&)>;

    /// The list must outlive the extractor.
    AncillaryExtractor(Receiver packetReceiver, FindingList& findingList);

    /// Takes a run that lies within one line and one space; `first` is the place of its first word.
    /// Its channel is the run's if that has one.
    void readRun(const AncillaryRun& run, const FindingPlace& first, AncillarySpace space);
    /// Takes one stream of a whole field in store order: the horizontal space of all lines and the
    /// vertical space of those without picture. Link, field and stream of `place` are handed
    /// through. False if the run's size is not the metrics' or its lines have no room for timing
    /// references.
    bool readField(const AncillaryRun& field, const FieldMetrics& metrics,
                   const FindingPlace& place);

private:
    std::size_t readPacket(const AncillaryRun& run, std::size_t flagAt, const FindingPlace& first);
    void add(FindingCode code, const FindingPlace& first, std::size_t at, qint64 expected,
             qint64 found);

    Receiver receiver;
    FindingList& findings;
    ExtractedAncillaryPacket found;
};
