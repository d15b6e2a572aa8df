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
