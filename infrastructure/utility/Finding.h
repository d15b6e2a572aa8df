// What an analysis has found, and where.
#pragma once

#include "infrastructure/utility/FindingCode.h"

#include <QString>

#include <array>
#include <vector>

/// A place in what was looked at. What does not apply is -1.
struct FindingPlace
{
    int link = -1;    ///< physical input or stream, from 0
    int field = -1;   ///< 0 or 1
    int line = -1;    ///< number of the line in the frame, from 1
    int sample = -1;  ///< word of the line, from 0
    int stream = -1;  ///< of those that come in turn, from 0
    int channel = -1; ///< of the two in a sample: 0 luma, 1 colour

    bool operator==(const FindingPlace& other) const;
    bool operator!=(const FindingPlace& other) const { return !(*this == other); }
    /// "link 1, field 1, line 41, sample 1924, stream 1, channel 2": all but lines and samples are
    /// counted from 1 here; empty for no place.
    QString toString() const;
};

/// One finding. A value.
struct Finding
{
    FindingCode code;
    FindingPlace place = {};
    qint64 expected = 0;
    qint64 found = 0;
    QString detail = {}; ///< what else there is to say, such as the nearest lawful words

    const char* getName() const { return getKind(code).name; }
    FindingSeverity getSeverity() const { return getKind(code).severity; }
    /// "error sdi.crc: line 41: the CRC is 1A2B, the line has 1A2C": severity, name, place, text,
    /// detail. Expected and found stand in hexadecimal.
    QString toString() const;

    bool operator==(const Finding& other) const;
    bool operator!=(const Finding& other) const { return !(*this == other); }
};

/// The first findings in order, and how many there were of each code. Bounded: a finding beyond the
/// limit is counted only.
class FindingList
{
public:
    static constexpr std::size_t DEFAULT_LIMIT = 100;

    explicit FindingList(std::size_t mostKept = DEFAULT_LIMIT)
        : limit(mostKept)
    {
    }

    /// Keeps it if there is room, and counts it.
    void add(const Finding& finding);
    /// All findings of another list, with its counts.
    void append(const FindingList& other);
    /// Forgets all findings and counts.
    void clear();

    bool isEmpty() const { return total == 0; }
    /// The first ones, at most as many as the limit.
    const std::vector<Finding>& getFindings() const { return findings; }
    quint64 getTotal() const { return total; }
    /// A line for each one kept, and one that tells how many are not; empty if there are none.
    QString toString() const;
    /// How many had this code, kept or not.
    quint64 getCount(FindingCode code) const { return counts[static_cast<std::size_t>(code)]; }

private:
    std::size_t limit;
    std::vector<Finding> findings;
    std::array<quint64, FINDING_CODE_COUNT> counts = {};
    quint64 total = 0;
};
