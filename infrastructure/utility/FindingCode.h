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
    const char* name; ///< stable, for programs: "sdi.word-too-wide"
    const char* text; ///< for engineers; %1 is what was expected, %2 what was found
};

/// One row for each code, in their order.
constexpr FindingKind FINDING_KINDS[] = {
    {FindingCode::WordTooWide, FindingSeverity::Error, "sdi.word-too-wide",
     "a word has more than 10 bits: %2"},

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

constexpr const FindingKind& getKind(FindingCode code)
{
    return FINDING_KINDS[static_cast<std::size_t>(code)];
}

namespace FindingCodeChecks {

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
