#include "infrastructure/datacore/MessageFactory.h"

#include "infrastructure/datacore/DatacoreActiveStatusMessage.h"
#include "infrastructure/datacore/DatacoreJsonMessage.h"
#include "infrastructure/datacore/DatacoreValidStatusMessage.h"
#include "infrastructure/utility/Log.h"

namespace {

struct ClassRow
{
    QLatin1String (*className)();
    std::unique_ptr<MessageBase> (*make)(const QJsonObject& json);
};

template <typename Message>
std::unique_ptr<MessageBase> make(const QJsonObject& json)
{
    return std::make_unique<Message>(json);
}

template <typename Message>
constexpr ClassRow ROW{&Message::CLASSNAME, &make<Message>};

/// In order of precedence, for an object that names more than one.
constexpr ClassRow CLASSES[] = {
    ROW<DatacoreJsonMessage>,
    ROW<DatacoreValidStatusMessage>,
    ROW<DatacoreActiveStatusMessage>,
};

const ClassRow* findClass(const QJsonValue& entry)
{
    if (!entry.isObject()) {
        VELLOG_ERR() << "Not a serialised object, of QJson type: " << int(entry.type());
        return nullptr;
    }
    const QJsonObject json = entry.toObject();
    if (!json.contains(MessageBase::BASE_KEY())) {
        VELLOG_ERR() << "Not recognised as a serialised message: " << json.keys();
        return nullptr;
    }
    for (const ClassRow& row : CLASSES) {
        if (json.contains(row.className())) {
            return &row;
        }
    }
    VELLOG_ERR() << "Unsupported message type: " << json.keys();
    return nullptr;
}

} // namespace

QLatin1String identifyMessage(const QJsonValue& entry)
{
    const ClassRow* row = findClass(entry);
    return row != nullptr ? row->className() : QLatin1String();
}

std::vector<std::unique_ptr<MessageBase>> deserialiseMessages(const QJsonArray& array)
{
    std::vector<std::unique_ptr<MessageBase>> messages;
    messages.reserve(static_cast<std::size_t>(array.size()));
    for (const QJsonValue& entry : array) {
        if (const ClassRow* row = findClass(entry); row != nullptr) {
            messages.push_back(row->make(entry.toObject()));
        }
    }
    return messages;
}
