#include "infrastructure/utility/video/PayloadIdentifierFactory.h"

#include "infrastructure/utility/video/PayloadIdentifierInterfaces.h"

using namespace Tessorn::Sdi::PayloadId;
using PayloadIdentifierInterfaces::TABLE;

namespace {

constexpr bool isSound()
{
    for (const PayloadIdentifierFacts& row : TABLE) {
        if (PayloadIdentifierInterfaces::find(row.payloadByte) != &row ||
            !row.fields.isFreeOfOverlaps()) {
            return false;
        }
    }
    return true;
}
static_assert(isSound(), "one row for a byte 0, one field for a bit");

/// The meaning of a field's number.
using Word = QLatin1String (*)(quint32 value, quint32 pictureBit);

template <typename Vocabulary>
QLatin1String wordOf(quint32 value, quint32)
{
    return toString(static_cast<Vocabulary>(value));
}

QLatin1String rateOf(quint32 value, quint32 pictureBit)
{
    return toString(static_cast<FrameRate>(value), pictureBit);
}

QLatin1String scanOf(quint32 value, quint32)
{
    return QLatin1String(value == PROGRESSIVE ? "progressive" : "interlaced");
}

/// By key; null for a plain number.
constexpr Word WORDS[PAYLOAD_IDENTIFIER_KEY_COUNT] = {
    nullptr, // payload and digital interface
    wordOf<SampleStructure>,
    rateOf,
    scanOf, // picture
    scanOf, // transport
    wordOf<BitDepth>,
    nullptr, // aspect ratio
    nullptr, // horizontal array size
    wordOf<Colourimetry>,
    wordOf<TransferCurve>,
    wordOf<LuminanceAndColourDifferenceSignal>,
    nullptr, // channel assignment
    nullptr, // audio copy status
};

/// Four numbers of three digits each; a longer text is refused before it is split.
constexpr int LONGEST_TEXT = 4 * 3 + 3;

/// One to three digits and nothing else, up to 255.
std::optional<quint32> parseByte(QStringView text)
{
    if (text.isEmpty() || text.size() > 3) {
        return std::nullopt;
    }
    quint32 value = 0;
    for (const QChar character : text) {
        if (character < QLatin1Char('0') || character > QLatin1Char('9')) {
            return std::nullopt;
        }
        value = value * 10 + (character.unicode() - u'0');
    }
    return value <= 255 ? std::optional<quint32>(value) : std::nullopt;
}

} // namespace

const PayloadIdentifierFacts* findPayloadIdentifierFacts(quint32 payloadByte)
{
    return PayloadIdentifierInterfaces::find(payloadByte);
}

std::shared_ptr<const PayloadIdentifierVariant> createPayloadIdentifier(quint32 rawValue)
{
    const PayloadIdentifierFacts* row = findPayloadIdentifierFacts(rawValue >> 24);
    return row != nullptr ? std::make_shared<PayloadIdentifierVariant>(rawValue, *row) : nullptr;
}

std::optional<quint32> parsePayloadIdentifierBytes(QStringView text)
{
    if (text.size() > LONGEST_TEXT) {
        return std::nullopt;
    }
    const auto parts = text.split(QLatin1Char(' '));
    if (parts.size() != 4) {
        return std::nullopt;
    }
    quint32 rawValue = 0;
    for (const QStringView part : parts) {
        const std::optional<quint32> byte = parseByte(part);
        if (!byte) {
            return std::nullopt;
        }
        rawValue = (rawValue << 8) | *byte;
    }
    return rawValue;
}

QString getPayloadIdentifierText(quint32 rawValue)
{
    return QStringLiteral("%1 %2 %3 %4")
        .arg(rawValue >> 24)
        .arg((rawValue >> 16) & 0xFFu)
        .arg((rawValue >> 8) & 0xFFu)
        .arg(rawValue & 0xFFu);
}

QString getPayloadIdentifierFieldText(const PayloadIdentifierBase& identifier,
                                      PayloadIdentifierKey key)
{
    const quint32 value = identifier.getField(key);
    return key < PAYLOAD_IDENTIFIER_KEY_COUNT && WORDS[key] != nullptr
               ? QString(WORDS[key](value, identifier.getPicutreInterlaced()))
               : QString::number(value);
}
