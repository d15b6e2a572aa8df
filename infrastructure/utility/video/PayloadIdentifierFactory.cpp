#include "infrastructure/utility/video/PayloadIdentifierFactory.h"

#include "infrastructure/utility/video/PayloadIdentifierVariants.h"

namespace {

using Identifier = std::shared_ptr<const PayloadIdentifierBase>;

struct Kind
{
    const PayloadIdentifierFacts* facts;
    Identifier (*create)(quint32 rawValue);
};

template <typename Variant>
constexpr Kind kind()
{
    return {&Variant::FACTS,
            [](quint32 rawValue) -> Identifier { return std::make_shared<Variant>(rawValue); }};
}

constexpr Kind KINDS[] = {
    kind<PayloadIdentifier720_1g5>(),         kind<PayloadIdentifier720_3g>(),
    kind<PayloadIdentifier1080_1g5>(),        kind<PayloadIdentifier1080_DualLink1g5>(),
    kind<PayloadIdentifier1080_3g>(),         kind<PayloadIdentifier1080_Levelb3g>(),
    kind<PayloadIdentifier2160_QuadLink3g>(), kind<PayloadIdentifier2160_QuadLinkLevelb3g>(),
    kind<PayloadIdentifier2160_DualLink6g>(), kind<PayloadIdentifier2160_6g>(),
    kind<PayloadIdentifier2160_12g>(),
};

const Kind* findKind(quint32 payloadByte)
{
    for (const Kind& kind : KINDS) {
        if (kind.facts->payloadByte == payloadByte) {
            return &kind;
        }
    }
    return nullptr;
}

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
    const Kind* found = findKind(payloadByte);
    return found != nullptr ? found->facts : nullptr;
}

Identifier createPayloadIdentifier(quint32 rawValue)
{
    const Kind* found = findKind(rawValue >> 24);
    return found != nullptr ? found->create(rawValue) : nullptr;
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
