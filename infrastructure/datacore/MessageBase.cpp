#include "infrastructure/datacore/MessageBase.h"

namespace {

// clang-format off
QLatin1String typeKey() { return QLatin1String("type"); }
QLatin1String identifierKey() { return QLatin1String("identifier"); }
// clang-format on

} // namespace

MessageBase::MessageBase(MessageType messageType, qint32 number)
    : identifier(number)
    , type(messageType)
{
}

MessageBase::MessageBase(const QJsonObject& json)
{
    const QJsonObject numbers = json.value(BASE_KEY()).toObject();
    if (const auto found = numbers.constFind(typeKey()); found != numbers.constEnd()) {
        type = static_cast<MessageType>(found.value().toInt());
    }
    if (const auto found = numbers.constFind(identifierKey()); found != numbers.constEnd()) {
        identifier = found.value().toInt();
    }
}

MessageBase::~MessageBase() = default;

QJsonObject MessageBase::toJson() const
{
    QJsonObject numbers;
    numbers.insert(identifierKey(), identifier);
    numbers.insert(typeKey(), static_cast<qint32>(type));
    QJsonObject json;
    json.insert(getClass(), QJsonObject());
    json.insert(BASE_KEY(), numbers);
    return json;
}

bool MessageBase::hasText() const
{
    return !getText().isEmpty();
}

qint32 MessageBase::getIdentifier() const
{
    return identifier;
}

void MessageBase::setIdentifier(qint32 number)
{
    identifier = number;
}

MessageBase::MessageType MessageBase::getType() const
{
    return type;
}

void MessageBase::setType(MessageType newType)
{
    type = newType;
}

bool MessageBase::equals(const MessageBase& other) const
{
    return type == other.getType() && identifier == other.getIdentifier();
}
