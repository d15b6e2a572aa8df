// Describes video payload identifiers: describe_payload 97CB8001 [97CB8041 ...]
// Each word is the four bytes of one link in hexadecimal, byte 0 first.
#include "infrastructure/utility/CommandLine.h"
#include "infrastructure/utility/video/LinkSet.h"
#include "infrastructure/utility/video/PayloadIdentifierFactory.h"
#include "infrastructure/utility/video/VideoStandardFactory.h"

#include <QTextStream>

#include <cstdio>
#include <optional>

namespace {

/// Eight hexadecimal digits, with or without "0x".
std::optional<quint32> parseWord(QString word)
{
    if (word.startsWith(QLatin1String("0x"), Qt::CaseInsensitive)) {
        word.remove(0, 2);
    }
    bool ok = word.size() == 8 && word.at(0).isLetterOrNumber();
    const quint32 value = ok ? word.toUInt(&ok, 16) : 0;
    return ok ? std::optional<quint32>(value) : std::nullopt;
}

QString join(const std::vector<quint32>& numbers)
{
    QStringList texts;
    for (const quint32 number : numbers) {
        texts << QString::number(number);
    }
    return texts.join(QLatin1String(", "));
}

void printComplaints(QTextStream& out, const char* heading, const QStringList& complaints)
{
    out << "  " << heading << (complaints.isEmpty() ? " none\n" : "\n");
    for (const QString& complaint : complaints) {
        out << "    " << complaint << "\n";
    }
}

void printIdentifier(QTextStream& out, const PayloadIdentifierBase& identifier)
{
    out << identifier.getDescription(false) << "\n  bytes "
        << getPayloadIdentifierText(identifier.getRawValue()) << "\n";
    for (quint32 number = 0; number < PAYLOAD_IDENTIFIER_KEY_COUNT; ++number) {
        const auto key = static_cast<PayloadIdentifierKey>(number);
        if (identifier.getFieldMap().contains(key)) {
            const QString value = QString::number(identifier.getField(key));
            const QString text = getPayloadIdentifierFieldText(identifier, key);
            out << "    " << toString(key) << " " << value
                << (text != value ? QLatin1Char(' ') + text : QString()) << "\n";
        }
    }
    printComplaints(out, "reserved bits", identifier.getReservedBitErrors());
    printComplaints(out, "complaints", identifier.validate());
    out << "  picture " << identifier.getPictureWidth() << " x " << identifier.getPictureHeight()
        << "\n  field   " << identifier.getFieldActivePictureWidthInSamples() << " samples x "
        << identifier.getFieldActivePictureHeight() << " lines\n  lines   "
        << join(identifier.getLinesPerField()) << ", first active "
        << join(identifier.getFirstActivePictureLines()) << "\n";
}

/// Adds the other links of an interface of several.
void completeLinks(std::vector<quint32>& words)
{
    const auto identifiers = createVideoStandard(words.front())->getPayloadIdentifiers();
    for (std::size_t link = 1; link < identifiers.size(); ++link) {
        const bool isBefore =
            identifiers[link]->getChannelAssignment() < identifiers[0]->getChannelAssignment();
        words.insert(isBefore ? words.end() - 1 : words.end(), identifiers[link]->getRawValue());
    }
}

void printStandard(QTextStream& out, const LinkSet& set)
{
    const StandardFromPayloadIdentifier& standard = *set.standard;
    out << "standard " << standard.getDescription() << "\n  " << toString(set.form) << ", links "
        << standard.getNumberOfLinks() << ", sub-images " << standard.getNumberOfSubImages()
        << ", aggregate rate " << toString(standard.getAggregateDataRate()) << ", samples per line "
        << standard.getSamplesPerLine() << "\n  " << set.getFrameRate().toString()
        << " frames/s, clock " << set.getSampleClock().toString() << " Hz\n  mapping mode ";
    const std::optional<quint32> mode = standard.findMappingMode();
    out << (mode ? QString::number(*mode) : QStringLiteral("none")) << "\n";
    const std::string_view reason = set.getReasonWithoutMetrics();
    if (!reason.empty()) {
        out << "  no metrics: " << Tessorn::Vocabulary::latin1(reason) << "\n";
        return;
    }
    for (const auto& field : standard.getTransmissionMetrics()) {
        out << "  " << field.size() << " times " << field.front() << "\n";
    }
}

} // namespace

int main(int argc, char** argv)
{
    const char* usage =
        "usage: describe_payload WORD [WORD ...] | --help | --version\n"
        "  WORD: four bytes of a link's identifier in hexadecimal, such as 89C98001\n";
    if (const std::optional<int> exitValue = answerHelpOrVersion(argc, argv, usage)) {
        return *exitValue;
    }
    std::vector<quint32> words;
    for (int i = 1; i < argc; ++i) {
        const std::optional<quint32> word = parseWord(QString::fromLocal8Bit(argv[i]));
        if (!word || findPayloadIdentifierFacts(*word >> 24) == nullptr) {
            std::fprintf(stderr, "Not a payload identifier: %s\n", argv[i]);
            words.clear();
            break;
        }
        words.push_back(*word);
    }
    if (words.empty()) {
        std::fputs(usage, stderr);
        return 2;
    }
    QTextStream out(stdout);
    for (const quint32 word : words) {
        printIdentifier(out, *createPayloadIdentifier(word));
    }
    if (words.size() == 1) {
        completeLinks(words);
    }
    const LinkSet set = analyseLinkWords(words);
    printStandard(out, set);
    out << set.findings.toString();
    return set.isSound() ? 0 : 1;
}
