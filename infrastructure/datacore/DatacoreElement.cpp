#include "infrastructure/datacore/DatacoreElement.h"

#include "infrastructure/datacore/JsonText_p.h"
#include "infrastructure/datacore/PlainJson_p.h"

namespace {

bool fail(DatacoreJsonMessages& messages, DatacoreJsonMessage::MessageContent content)
{
    messages.append(DatacoreJsonMessage(MessageBase::MessageType_Error, content));
    return false;
}

} // namespace

bool DatacoreElement::isData() const
{
    return false;
}

void DatacoreElement::appendJsonText(JsonTextWriter& text) const
{
    text.appendValue(toJsonValue());
}

void DatacoreElement::readPlainJson(const PlainJsonValue& value)
{
    readJsonValue(value.toJsonValue());
}

bool DatacoreElement::appendToJson(const QString& path, QJsonObject& json, bool justData,
                                   bool /*withChildren*/, DatacoreJsonMessages& messages) const
{
    if (justData && !isData()) {
        return true;
    }
    if (!path.isEmpty()) {
        return fail(messages,
                    DatacoreJsonMessage::MessageContent_PathDoesNotEndAtDatacoreElementLeafNode);
    }
    json.insert(getKey(), toJsonValue());
    return true;
}

bool DatacoreElement::populateFromJson(const QString& path, const QJsonObject& json, bool justData,
                                       DatacoreJsonMessages& messages)
{
    if (justData && !isData()) {
        return true;
    }
    if (!path.isEmpty()) {
        return fail(messages,
                    DatacoreJsonMessage::MessageContent_PathDoesNotEndAtDatacoreElementLeafNode);
    }
    const auto found = json.constFind(getKey());
    if (found == json.constEnd()) {
        return fail(messages,
                    DatacoreJsonMessage::MessageContent_JsonDoesNotContainDatacoreElementKey);
    }
    readJsonValue(found.value());
    return true;
}
