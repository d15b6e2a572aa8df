// Why a JSON operation on the state tree failed.
#pragma once

#include "infrastructure/datacore/MessageBase.h"

#include <QVector>

/// A failure of appendToJson or populateFromJson. A value.
class DatacoreJsonMessage : public MessageBase
{
public:
    /// What went wrong. The tree itself only produces the last two.
    enum MessageContent : qint32 {
        MessageContent_DatacorePathNotResolved = 0,
        MessageContent_BadlyFormedPath = 1,
        MessageContent_ClassNameMismatch = 2,
        MessageContent_InstanceNameMismatch = 3,
        MessageContent_PathNotResolved = 4,
        MessageContent_PathDoesNotEndAtDatacoreElementLeafNode = 5,
        MessageContent_JsonDoesNotContainDatacoreElementKey = 6,
    };

    static QLatin1String CLASSNAME() { return QLatin1String("DatacoreJsonMessage"); }

    DatacoreJsonMessage(MessageType messageType, qint32 number);
    explicit DatacoreJsonMessage(const QJsonObject& json);
    /// Reads the message in the object. A message of another class is logged and gives (Info, -1).
    static DatacoreJsonMessage makeFromJson(const QJsonObject& json);

    QString getClass() const override;
    QString getText() const override;
};

/// Failures, in the order in which they happened.
using DatacoreJsonMessages = QVector<DatacoreJsonMessage>;
