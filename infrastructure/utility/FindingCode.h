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

    LinksSilent,
    LinkUnknownInterface,
    LinkReservedBits,
    LinkReservedValue,
    LinkUnlawful,
    LinkNotListed,
    LinkAmbiguous,
    LinkOtherInterface,
    LinkOtherStructure,
    LinkOtherRate,
    LinkOtherScan,
    LinkOtherDepth,
    LinkOtherWidth,
    LinkOtherColour,
    LinkOtherCurve,
    LinkOtherSignal,
    LinkNoSuchChannel,
    LinkSwapped,
    LinkDoubled,
    LinkMissing,
    LinkSurplus,
    LinkRasterContradicts,

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

    // Ancillary packets and captions
    AncParity,
    AncChecksum,
    AncPastEnd,
    AncCut,
    AncGap,
    AncEndMarker,
    AncLength,
    CdpTooShort,
    CdpIdentifier,
    CdpLength,
    CdpFrameRate,
    CdpSections,
    CdpMarkers,
    CdpCount,
    CdpPadding,
    CdpParity,
    CdpFooterSequence,
    CdpChecksum,
    CdpSequence,
    CdpChannelCut,
    CdpChannelSequence,
    CdpBlockCut,
    CdpCodeCut,
    CdpXds,
};

/// What a code stands for.
struct FindingKind
{
    FindingCode code;
    FindingSeverity severity;
    char name[24]; ///< stable, for programs: "sdi.word-too-wide"
    /// For engineers; %1 is what was expected, %2 what was found; %3 and %4 in decimal.
    char text[84];
};

/// One row for each code, in their order.
inline constexpr FindingKind FINDING_KINDS[] = {
    {FindingCode::WordTooWide, FindingSeverity::Error, "sdi.word-too-wide",
     "a word has more than 10 bits: %2"},

    {FindingCode::LinksSilent, FindingSeverity::Warning, "link.silent",
     "no input has a payload identifier"},
    {FindingCode::LinkUnknownInterface, FindingSeverity::Error, "link.unknown-interface",
     "byte 0 is that of no known interface: %2"},
    {FindingCode::LinkReservedBits, FindingSeverity::Error, "link.reserved-bits",
     "bits are set that the interface reserves: %2"},
    {FindingCode::LinkReservedValue, FindingSeverity::Error, "link.reserved-value",
     "a field has a reserved value: %2"},
    {FindingCode::LinkUnlawful, FindingSeverity::Error, "link.unlawful",
     "the interface carries no such picture: %2"},
    {FindingCode::LinkNotListed, FindingSeverity::Information, "link.not-listed",
     "lawful, but not in the list of supported standards: %2"},
    {FindingCode::LinkAmbiguous, FindingSeverity::Error, "link.ambiguous",
     "the input has two identifiers, %1 and %2"},
    {FindingCode::LinkOtherInterface, FindingSeverity::Error, "link.other-interface",
     "another interface than the others: %2, not %1"},
    {FindingCode::LinkOtherStructure, FindingSeverity::Error, "link.other-structure",
     "another sample structure than the others: %2, not %1"},
    {FindingCode::LinkOtherRate, FindingSeverity::Error, "link.other-rate",
     "another picture rate than the others: %2, not %1"},
    {FindingCode::LinkOtherScan, FindingSeverity::Error, "link.other-scan",
     "scanned otherwise than the others: %2, not %1"},
    {FindingCode::LinkOtherDepth, FindingSeverity::Error, "link.other-depth",
     "another bit depth than the others: %2, not %1"},
    {FindingCode::LinkOtherWidth, FindingSeverity::Error, "link.other-width",
     "another horizontal array size than the others: %2, not %1"},
    {FindingCode::LinkOtherColour, FindingSeverity::Error, "link.other-colour",
     "another colourimetry than the others: %2, not %1"},
    {FindingCode::LinkOtherCurve, FindingSeverity::Error, "link.other-curve",
     "another transfer curve than the others: %2, not %1"},
    {FindingCode::LinkOtherSignal, FindingSeverity::Error, "link.other-signal",
     "another luminance and colour difference signal than the others: %2, not %1"},
    {FindingCode::LinkNoSuchChannel, FindingSeverity::Error, "link.no-such-channel",
     "the interface has no such channel assignment: %2, not %1"},
    {FindingCode::LinkSwapped, FindingSeverity::Warning, "link.swapped",
     "in the place of another: the channel assignment is %2, not %1"},
    {FindingCode::LinkDoubled, FindingSeverity::Error, "link.doubled",
     "the same as another: the channel assignment is %2, not %1"},
    {FindingCode::LinkMissing, FindingSeverity::Error, "link.missing",
     "no payload identifier where channel assignment %1 belongs"},
    {FindingCode::LinkSurplus, FindingSeverity::Error, "link.surplus",
     "more than belongs to the picture: %2"},
    {FindingCode::LinkRasterContradicts, FindingSeverity::Error, "link.raster",
     "the measured raster is not that of the payload identifier"},
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

    {FindingCode::AncParity, FindingSeverity::Error, "anc.parity",
     "a word has wrong parity bits: %2 in place of %1"},
    {FindingCode::AncChecksum, FindingSeverity::Error, "anc.checksum",
     "the checksum is %2, the words make %1"},
    {FindingCode::AncPastEnd, FindingSeverity::Error, "anc.past-end",
     "a packet of %1 words runs past the end: there are %2"},
    {FindingCode::AncCut, FindingSeverity::Error, "anc.cut",
     "a packet of %1 words is cut by another after %2"},
    {FindingCode::AncGap, FindingSeverity::Warning, "anc.gap",
     "%2 words lie before this packet that belong to none"},
    {FindingCode::AncEndMarker, FindingSeverity::Error, "anc.end-marker",
     "the data count, %2, and the end of the packet disagree"},
    {FindingCode::AncLength, FindingSeverity::Error, "anc.length",
     "the packet has %2 user words in place of %1"},
    {FindingCode::CdpTooShort, FindingSeverity::Error, "cdp.too-short",
     "the caption packet of %2 bytes ends within what it promises"},
    {FindingCode::CdpIdentifier, FindingSeverity::Error, "cdp.identifier",
     "no caption packet: it begins with %2 in place of %1"},
    {FindingCode::CdpLength, FindingSeverity::Error, "cdp.length",
     "the caption packet gives its length as %2 in place of %1"},
    {FindingCode::CdpFrameRate, FindingSeverity::Error, "cdp.frame-rate",
     "frame rate code %2 is reserved"},
    {FindingCode::CdpSections, FindingSeverity::Error, "cdp.sections",
     "the sections are not those that the flags tell, each once, in order"},
    {FindingCode::CdpMarkers, FindingSeverity::Error, "cdp.markers", "a reserved bit is wrong"},
    {FindingCode::CdpCount, FindingSeverity::Error, "cdp.count",
     "there are %2 triplets where the frame rate has room for %1"},
    {FindingCode::CdpPadding, FindingSeverity::Error, "cdp.padding",
     "padding is missing: there are %2 triplets in place of %1"},
    {FindingCode::CdpParity, FindingSeverity::Error, "cdp.parity",
     "a pair of CEA-608 has a byte of even parity"},
    {FindingCode::CdpFooterSequence, FindingSeverity::Error, "cdp.footer-sequence",
     "the footer's sequence is %2, the header's %1"},
    {FindingCode::CdpChecksum, FindingSeverity::Error, "cdp.checksum",
     "the caption packet's checksum is %2, its bytes make %1"},
    {FindingCode::CdpSequence, FindingSeverity::Error, "cdp.sequence",
     "gap: caption packet %2 comes in place of %1"},
    {FindingCode::CdpChannelCut, FindingSeverity::Error, "cdp.channel-cut",
     "a CEA-708 packet of %1 bytes ends after %2"},
    {FindingCode::CdpChannelSequence, FindingSeverity::Error, "cdp.channel-sequence",
     "gap: CEA-708 packet %2 comes in place of %1"},
    {FindingCode::CdpBlockCut, FindingSeverity::Error, "cdp.block-cut",
     "a service block of %1 bytes ends after %2"},
    {FindingCode::CdpCodeCut, FindingSeverity::Error, "cdp.code-cut",
     "a code of CEA-708 service %2 is cut by the end of its block"},
    {FindingCode::CdpXds, FindingSeverity::Error, "cdp.xds",
     "an XDS packet has a wrong checksum, or 33 pairs and no end"},
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
