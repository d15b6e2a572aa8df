#include "infrastructure/datacore/DatacoreJsonMessage.h"

#include "infrastructure/utility/Log.h"

DatacoreJsonMessage::DatacoreJsonMessage(MessageType messageType, qint32 number)
    : MessageBase(messageType, number)
{
}

DatacoreJsonMessage::DatacoreJsonMessage(const QJsonObject& json)
    : MessageBase(json)
{
}

DatacoreJsonMessage DatacoreJsonMessage::makeFromJson(const QJsonObject& json)
{
    if (json.contains(CLASSNAME())) {
        return DatacoreJsonMessage(json);
    }
    VELLOG_ERR() << "Failed to construct a DatacoreJsonMessage from " << json.keys();
    return DatacoreJsonMessage(MessageType_Info, -1);
}

QString DatacoreJsonMessage::getClass() const
{
    return QStringLiteral("DatacoreJsonMessage");
}

QString DatacoreJsonMessage::getText() const
{
    // The last two look like identifiers on purpose: peers match on them.
    static constexpr TextRow TEXTS[] = {
        {0, "Datacore path could not be resolved"},
        {1, "Badly formed path"},
        {2, "New data class name does not match destination class name"},
        {3, "New data instance name does not match destination instance name"},
        {4, "Path could not be resolved"},
        {5, "MessageContentPathDoesNotEndAtDatacoreElementLeafNode"},
        {6, "MessageContentJsonDoesNotContainDatacoreElementKey"},
    };
    return findText(TEXTS, getIdentifier());
}
