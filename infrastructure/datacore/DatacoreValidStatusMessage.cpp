#include "infrastructure/datacore/DatacoreValidStatusMessage.h"

DatacoreValidStatusMessage::DatacoreValidStatusMessage(MessageType messageType, qint32 number)
    : MessageBase(messageType, number)
{
}

DatacoreValidStatusMessage::DatacoreValidStatusMessage(const QJsonObject& json)
    : MessageBase(json)
{
}

DatacoreValidStatusMessage DatacoreValidStatusMessage::makeFromJson(const QJsonObject& json)
{
    return json.contains(CLASSNAME())
               ? DatacoreValidStatusMessage(json)
               : DatacoreValidStatusMessage(MessageType_Info, MessageContent_NoContent);
}

QString DatacoreValidStatusMessage::getClass() const
{
    return QStringLiteral("DatacoreValidStatusMessage");
}

QString DatacoreValidStatusMessage::getText() const
{
    // Peers and manuals quote these texts: the odd spellings stay.
    static constexpr TextRow TEXTS[] = {
        {2, "Stored integer is Oversized"},
        {3, "Stored integer is Undersized"},
        {4, "Stored number is Oversized"},
        {5, "Stored number is Undersized"},
        {6, "Stored value could not be deserialised into the specified integral type"},
        {7, "Stored value could not be deserialised into the specified floating point type"},
        {8, "Stored value could not be deserialised into type int"},
        {9, "Stored value could not be deserialised into valid enum value"},
        {10, "Stored value could not be deserialised into type boolean"},
        {11, "Stored value could not be deserialised into type VideoStandardUserDescription"},
        {12, "Stored value could not be deserialised into type "
             "FalseColourOverlayRangesSummaryStruct"},
        {13, "Stored value could not be deserialised into type SfpData"},
        {14, "Stored value could not be deserialised into type ActivePictureCrcValuesList"},
        {15, "Stored value could not be deserialised into GrandmasterInfo"},
        {16, "Stored value could not be deserialised into AudioFlowChannelsStructList"},
        {17, "Stored value could not be deserialised into AudioFlowDataList"},
        {18, "Stored value could not be deserialised into PTP Monitoring data"},
        {19, "Stored value could not be deserialised into GPIO Config data"},
        {20, "Stored value could not be deserialised into desired type"},
        {21, "Stored Array has too few items"},
        {22, "Stored Array has too many items"},
        {23, "Stored Array contains duplicate items"},
        {24, "The picture extends beyond the viewable area"},
        {25, "The payload identifier is required and is missing"},
        {26, "The stored value is not supported"},
        {27, "The current configuration is in an invalid state"},
        {28, "Not enouch space in active line for pathological pairs"},
        {29, "Stored value could not be deserialised into type VideoStandard"},
        {30, "Stored value could not be deserialised into type VideoStandard 2110"},
        {31, "IpV4 Address is '0.0.0.0' which is considered invalid"},
        {32, "Invalid Mac address"},
        {33, "IpV4 address outside multicast range of 224.0.0.0 to 239.255.255.255"},
        {34, "IPV4 address in reserved range of multicast address space (224.0.0.0 "
             "to 224.0.1.255)"},
        {35, "IPV4 address inside range of multicast address space (224.0.0.0 to 239.255.255.255)"},
        {36, "Inter packet distribution range is not valid for the current standard"},
        {37, "Single line trigger not supported for level B"},
        {38, "Single field trigger not supported for progressive"},
        {39, "Driver A requires recalibration and Vel restart"},
        {40, "Jitter lock failed"},
        {41, "Jitter measurement unreliable (H)"},
        {42, "Jitter measurement unreliable (L)"},
        {43, "2110 Video standard parameters are invalid"},
        {44, "Packets per marker bit not stable, 2110-21 will not function correctly"},
        {47, "25G SFPs are not supported on this Vel device"},
        {48, "Bouncing box not supported for Level B mapping structure II, III, IV"},
    };
    return findText(TEXTS, getIdentifier());
}
