#include "infrastructure/utility/captions/Op47ErrorReport.h"

#include <QStringList>

#include <algorithm>
#include <array>

namespace {

struct Question
{
    bool Op47ErrorReport::*passed;
    const char* complaint; ///< %1 and %2: the received and the expected length
};

constexpr std::array<Question, 7> QUESTIONS{{
    {&Op47ErrorReport::ancIsOp47, "no OP-47 packet"},
    {&Op47ErrorReport::payloadIdentifierCorrect, "wrong payload identifier"},
    {&Op47ErrorReport::packetDataCountCorrect, "wrong data count"},
    {&Op47ErrorReport::lengthCorrect, "length %1 in place of %2"},
    {&Op47ErrorReport::formatCodeCorrect, "wrong format code"},
    {&Op47ErrorReport::longEnough, "too short"},
    {&Op47ErrorReport::vbiPacketDescriptorsAreContiguous, "gap in the descriptors"},
}};

} // namespace

bool Op47ErrorReport::isConformant() const
{
    return std::all_of(QUESTIONS.begin(), QUESTIONS.end(),
                       [this](const Question& question) { return this->*question.passed; });
}

QString Op47ErrorReport::toString() const
{
    QStringList complaints;
    for (const Question& question : QUESTIONS) {
        if (!(this->*question.passed)) {
            complaints.append(QLatin1String(question.complaint));
        }
    }
    return complaints.isEmpty()
               ? QStringLiteral("conformant")
               : complaints.join(QLatin1String(", "))
                     .replace(QLatin1String("%1"), QString::number(receivedLength))
                     .replace(QLatin1String("%2"), QString::number(expectedLength));
}
