#include "infrastructure/utility/captions/CdpErrorReport.h"

#include <QStringList>

#include <algorithm>
#include <array>

namespace {

using Number = uint32_t CdpErrorReport::*;

struct Question
{
    bool CdpErrorReport::*passed;
    FindingCode code;
    Number expected; ///< null: nothing to tell
    Number found;
};

constexpr Number NONE = nullptr;

constexpr std::array<Question, 12> QUESTIONS{{
    {&CdpErrorReport::longEnough, FindingCode::CdpTooShort, NONE, &CdpErrorReport::expectedLength},
    {&CdpErrorReport::identifierCorrect, FindingCode::CdpIdentifier,
     &CdpErrorReport::expectedIdentifier, &CdpErrorReport::receivedIdentifier},
    {&CdpErrorReport::lengthCorrect, FindingCode::CdpLength, &CdpErrorReport::expectedLength,
     &CdpErrorReport::receivedLength},
    {&CdpErrorReport::frameRateKnown, FindingCode::CdpFrameRate, NONE,
     &CdpErrorReport::receivedFrameRate},
    {&CdpErrorReport::sectionsCorrect, FindingCode::CdpSections, NONE, NONE},
    {&CdpErrorReport::markersCorrect, FindingCode::CdpMarkers, NONE, NONE},
    {&CdpErrorReport::countWithinRate, FindingCode::CdpCount, &CdpErrorReport::expectedCount,
     &CdpErrorReport::receivedCount},
    {&CdpErrorReport::paddingComplete, FindingCode::CdpPadding, &CdpErrorReport::expectedCount,
     &CdpErrorReport::receivedCount},
    {&CdpErrorReport::parityCorrect, FindingCode::CdpParity, NONE, NONE},
    {&CdpErrorReport::footerSequenceCorrect, FindingCode::CdpFooterSequence,
     &CdpErrorReport::receivedSequence, &CdpErrorReport::footerSequence},
    {&CdpErrorReport::checksumCorrect, FindingCode::CdpChecksum, &CdpErrorReport::expectedChecksum,
     &CdpErrorReport::receivedChecksum},
    {&CdpErrorReport::sequenceContinuous, FindingCode::CdpSequence,
     &CdpErrorReport::expectedSequence, &CdpErrorReport::receivedSequence},
}};

} // namespace

bool CdpErrorReport::isConformant() const
{
    return std::all_of(QUESTIONS.begin(), QUESTIONS.end(),
                       [this](const Question& question) { return this->*question.passed; });
}

void CdpErrorReport::addFindings(FindingList& findings, const FindingPlace& place) const
{
    for (const Question& question : QUESTIONS) {
        if (!(this->*question.passed)) {
            const auto numberOf = [this](Number number) {
                return number == NONE ? qint64{0} : qint64{this->*number};
            };
            findings.add(
                {question.code, place, numberOf(question.expected), numberOf(question.found), {}});
        }
    }
}

QString CdpErrorReport::toString() const
{
    FindingList findings;
    addFindings(findings, {});
    QStringList texts;
    for (const Finding& finding : findings.getFindings()) {
        texts.append(finding.toString());
    }
    return texts.isEmpty() ? QStringLiteral("conformant") : texts.join(QLatin1String(", "));
}
