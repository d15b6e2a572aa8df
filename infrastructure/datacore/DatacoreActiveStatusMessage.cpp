#include "infrastructure/datacore/DatacoreActiveStatusMessage.h"

DatacoreActiveStatusMessage::DatacoreActiveStatusMessage(MessageType messageType, qint32 number)
    : MessageBase(messageType, number)
{
}

DatacoreActiveStatusMessage::DatacoreActiveStatusMessage(const QJsonObject& json)
    : MessageBase(json)
{
}

DatacoreActiveStatusMessage DatacoreActiveStatusMessage::makeFromJson(const QJsonObject& json)
{
    return json.contains(CLASSNAME())
               ? DatacoreActiveStatusMessage(json)
               : DatacoreActiveStatusMessage(MessageType_Info, MessageContent_NoContent);
}

QString DatacoreActiveStatusMessage::getClass() const
{
    return QStringLiteral("DatacoreActiveStatusMessage");
}

QString DatacoreActiveStatusMessage::getText() const
{
    static constexpr TextRow TEXTS[] = {
        {2, "Command Executor is Busy"},
        {3, "There is not currently any need for this datacore, its value is meaningless and "
            "probably represents data that doesn't exist yet!"},
        {4, "Parameter not supported for current video standard"},
        {5, "One or more child datacores are invalid."},
    };
    return findText(TEXTS, getIdentifier());
}
