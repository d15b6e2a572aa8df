// Why a node of the state tree is invalid.
#pragma once

#include "infrastructure/datacore/MessageBase.h"

#include <QVector>

/// A reason for being invalid. A value.
class DatacoreValidStatusMessage : public MessageBase
{
public:
    /// The contents that this layer writes; getText knows those of the whole instrument.
    enum MessageContent : qint32 {
        MessageContent_NoContent = 0, ///< no text
        MessageContent_DatacoreNumberValueOversize = 4,
        MessageContent_DatacoreNumberValueUndersize = 5,
        MessageContent_DatacoreValueNotConvertableToIntegralValue = 6,
        MessageContent_DatacoreValueNotConvertableToFloatingPointValue = 7,
        MessageContent_DatacoreValueNotConvertableToBoolean = 10,
        MessageContent_DatacoreValueNotConvertableToGrandmasterInfo = 15,
        MessageContent_DatacoreValueNotConvertableToDesiredType = 20,
        MessageContent_DatacoreContainsDuplicateValues = 23,
        MessageContent_DatacoreValueNotConvertableToVideoStandard = 29,
        MessageContent_DatacoreValueNotConvertableToVideoStandard2110 = 30,
        MessageContent_InvalidMacAddress = 32,
        MessageContent_VideoStandard2110ParamsInvalid = 43,
        MessageContent_PacketsPerMarkerBitNotStable = 44,
    };

    static QLatin1String CLASSNAME() { return QLatin1String("DatacoreValidStatusMessage"); }

    DatacoreValidStatusMessage(MessageType messageType, qint32 number);
    explicit DatacoreValidStatusMessage(const QJsonObject& json);
    /// Reads the message in the object. A message of another class gives (Info, NoContent).
    static DatacoreValidStatusMessage makeFromJson(const QJsonObject& json);

    QString getClass() const override;
    QString getText() const override;
};

/// Reasons for being invalid; a node with none is valid.
using DatacoreValidStatusMessages = QVector<DatacoreValidStatusMessage>;
