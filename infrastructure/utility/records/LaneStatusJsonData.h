// The status of one lane of a signal input. Numbers for display are ready-formatted text. A value.
#pragma once

#include "infrastructure/utility/records/SimpleJsonObject.h"

#include <QVariant>

#include <array>

/// One lane: 17 properties, each a text or a flag, by index, by key and as members.
class LaneStatusJsonData : public SimpleJsonObject
{
public:
    static constexpr int PROPERTY_COUNT = 17;
    /// The JSON key of each property, by index.
    static const std::array<const char*, PROPERTY_COUNT> propertyNames;

    QString getClassName() const override { return QStringLiteral("LaneStatusData"); }
    void writeToJson(QJsonObject& json) const override;
    void readFromJson(const QJsonObject& json) override;

    /// Sets the raster's six texts and the two flags. A level B raster has " (B mux)" after its
    /// horizontal sizes; a progressive one has "progressive" for the values of field 2.
    void setRasterProperties(int totalHorizontal, int totalVerticalField1, int totalVerticalField2,
                             int activeHorizontal, int activeVerticalField1,
                             int activeVerticalField2, bool isLevelB, bool isProgressive);

    /// The property of that index; invalid for any other index.
    QVariant getProperty(int index) const;
    /// Stores a property, as a text or a flag according to its kind.
    ///     invalid value => false, no change
    ///     no such index => true, no change
    bool setProperty(int index, const QVariant& value);

    QString totalHorizontalPixels;
    QString totalVerticalPixelsProgressiveOrField1;
    QString totalVerticalPixelsField2;
    QString activeHorizontalPixels;
    QString activeVerticalPixelsProgressiveOrField1;
    QString activeVerticalPixelsField2;
    bool isProgressiveFlag = false;
    bool isLevelBFlag = false;
    bool isStableFlag = false;
    bool smpte352PacketLinkAchannelCpositionDetectedFlag = false;
    bool smpte352PacketLinkBchannelCpositionDetectedFlag = false;
    bool smpte352PacketLinkAchannelYpositionDetectedFlag = false;
    bool smpte352PacketLinkBchannelYpositionDetectedFlag = false;
    QString smpte352PacketLinkAchannelCPosition;
    QString smpte352PacketLinkBchannelCPosition;
    QString smpte352PacketLinkAchannelYPosition;
    QString smpte352PacketLinkBchannelYPosition;
};

bool operator==(const LaneStatusJsonData& a, const LaneStatusJsonData& b);
bool operator!=(const LaneStatusJsonData& a, const LaneStatusJsonData& b);
