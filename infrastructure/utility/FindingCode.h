// The kinds of findings.
#pragma once

#include <QtGlobal>

#include <cstddef>

/// How much a finding matters.
enum class FindingSeverity {
    Information, ///< worth knowing, nothing is wrong
    Warning,     ///< lawful, or harmless, but hardly meant
    Error,       ///< against the standard, or damaged
};

/// What was found. Numbers may change from version to version; the names in the table don't.
enum class FindingCode : quint16 {
    WordTooWide,

    // Frames and words of a link.
    TagWord,
    TagLost,
    FrameCutShort,
    TimingReference,
    TimingProtection,
    TimingFlags,
    LineNumber,
    LineCrc,
    BlankingValue,
    ReservedValue,
    LineLength,
    LineSlip,
    ReferencesLost,
};

/// What a code stands for.
struct FindingKind
{
    FindingCode code;
    FindingSeverity severity;
    const char* name; ///< stable, for programs: "sdi.word-too-wide"
    const char*
        text; ///< for engineers; %1 is what was expected, %2 what was found; %3 and %4 in decimal
};

/// One row for each code, in their order.
constexpr FindingKind FINDING_KINDS[] = {
    {FindingCode::WordTooWide, FindingSeverity::Error, "sdi.word-too-wide",
     "a word has more than 10 bits: %2"},

    {FindingCode::TagWord, FindingSeverity::Error, "tag.word", "a tag's word is %2, not %1"},
    {FindingCode::TagLost, FindingSeverity::Error, "tag.lost", "tags are not where they belong"},
    {FindingCode::FrameCutShort, FindingSeverity::Error, "frame.cut-short",
     "the frame ends after %4 lines of %3"},
    {FindingCode::TimingReference, FindingSeverity::Error, "sdi.timing-reference",
     "a timing reference has %2 for %1"},
    {FindingCode::TimingProtection, FindingSeverity::Error, "sdi.timing-protection",
     "a timing reference ends with %2, not %1: its protection bits do not fit"},
    {FindingCode::TimingFlags, FindingSeverity::Error, "sdi.timing-flags",
     "a timing reference ends with %2, not %1: it belongs to another line"},
    {FindingCode::LineNumber, FindingSeverity::Error, "sdi.line-number",
     "a word of the line number is %2, not %1"},
    {FindingCode::LineCrc, FindingSeverity::Error, "sdi.crc", "a word of the CRC is %2, not %1"},
    {FindingCode::BlankingValue, FindingSeverity::Warning, "sdi.blanking-value",
     "blanking has %2 for %1, outside any ancillary packet"},
    {FindingCode::ReservedValue, FindingSeverity::Error, "sdi.reserved-value",
     "a sample has a value reserved for references: %2"},
    {FindingCode::LineLength, FindingSeverity::Error, "sdi.line-length",
     "the line has %4 words for %3"},
    {FindingCode::LineSlip, FindingSeverity::Error, "sdi.line-slip",
     "line %4 comes in the place of line %3"},
    {FindingCode::ReferencesLost, FindingSeverity::Error, "sdi.references-lost",
     "no timing reference where the next lines begin"},
};

constexpr std::size_t FINDING_CODE_COUNT = sizeof(FINDING_KINDS) / sizeof(FINDING_KINDS[0]);

/// The row of a code.
constexpr const FindingKind& getKind(FindingCode code)
{
    return FINDING_KINDS[static_cast<std::size_t>(code)];
}

namespace FindingCodeChecks {

/// False if a code has another's row.
constexpr bool isInOrder()
{
    for (std::size_t i = 0; i < FINDING_CODE_COUNT; ++i) {
        if (FINDING_KINDS[i].code != static_cast<FindingCode>(i)) {
            return false;
        }
    }
    return true;
}
static_assert(isInOrder(), "a row for each code, in the order of the codes");

} // namespace FindingCodeChecks
