// Why a node of the state tree is inactive.
#pragma once

#include "infrastructure/datacore/MessageBase.h"

#include <QVector>

/// A reason for being inactive. A value.
class DatacoreActiveStatusMessage : public MessageBase
{
public:
    /// The identifiers. Each one but NoContent has a text.
    enum MessageContent : qint32 {
        MessageContent_NoContent = 0, ///< no text
        MessageContent_CommandExecutorBusy = 2,
        MessageContent_NotNeeded = 3,
        MessageContent_NotSupportedForVideoStandard = 4,
        MessageContent_ChildrenInvalid = 5,
    };

    static QLatin1String CLASSNAME() { return QLatin1String("DatacoreActiveStatusMessage"); }

    DatacoreActiveStatusMessage(MessageType messageType, qint32 number);
    explicit DatacoreActiveStatusMessage(const QJsonObject& json);
    /// Reads the message in the object. A message of another class gives (Info, NoContent).
    static DatacoreActiveStatusMessage makeFromJson(const QJsonObject& json);

    QString getClass() const override;
    QString getText() const override;
};

/// Reasons for being inactive; a node with none is active.
using DatacoreActiveStatusMessages = QVector<DatacoreActiveStatusMessage>;
