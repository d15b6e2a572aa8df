#include "infrastructure/utility/records/LaneStatusJsonData.h"

namespace {

using Lane = LaneStatusJsonData;

/// A property is one of the two kinds; the other pointer is null.
struct Property
{
    const char* key;
    QString Lane::*text;
    bool Lane::*flag;
};

constexpr Property text(const char* key, QString Lane::*member)
{
    return {key, member, nullptr};
}

constexpr Property flag(const char* key, bool Lane::*member)
{
    return {key, nullptr, member};
}

constexpr std::array<Property, Lane::PROPERTY_COUNT> PROPERTIES{{
    text("TotalHorizontalPixels", &Lane::totalHorizontalPixels),
    text("TotalVerticalPixelsProgressiveOrField1", &Lane::totalVerticalPixelsProgressiveOrField1),
    text("TotalVerticalPixelsField2", &Lane::totalVerticalPixelsField2),
    text("ActiveHorizontalPixels", &Lane::activeHorizontalPixels),
    text("ActiveVerticalPixelsProgressiveOrField1", &Lane::activeVerticalPixelsProgressiveOrField1),
    text("ActiveVerticalPixelsField2", &Lane::activeVerticalPixelsField2),
    flag("IsProgressiveFlag", &Lane::isProgressiveFlag),
    flag("IsLevelBFlag", &Lane::isLevelBFlag),
    flag("IsStableFlag", &Lane::isStableFlag),
    flag("Smpte352PacketLinkAchannelCpositionDetectedFlag",
         &Lane::smpte352PacketLinkAchannelCpositionDetectedFlag),
    flag("Smpte352PacketLinkBchannelCpositionDetectedFlag",
         &Lane::smpte352PacketLinkBchannelCpositionDetectedFlag),
    flag("Smpte352PacketLinkAchannelYpositionDetectedFlag",
         &Lane::smpte352PacketLinkAchannelYpositionDetectedFlag),
    flag("Smpte352PacketLinkBchannelYpositionDetectedFlag",
         &Lane::smpte352PacketLinkBchannelYpositionDetectedFlag),
    text("Smpte352PacketLinkAchannelCPosition", &Lane::smpte352PacketLinkAchannelCPosition),
    text("Smpte352PacketLinkBchannelCPosition", &Lane::smpte352PacketLinkBchannelCPosition),
    text("Smpte352PacketLinkAchannelYPosition", &Lane::smpte352PacketLinkAchannelYPosition),
    text("Smpte352PacketLinkBchannelYPosition", &Lane::smpte352PacketLinkBchannelYPosition),
}};

constexpr std::array<const char*, Lane::PROPERTY_COUNT> keysOfProperties()
{
    std::array<const char*, Lane::PROPERTY_COUNT> keys{};
    for (std::size_t i = 0; i < keys.size(); ++i) {
        keys[i] = PROPERTIES[i].key;
    }
    return keys;
}

const Property* findProperty(int index)
{
    return index >= 0 && index < Lane::PROPERTY_COUNT ? &PROPERTIES[static_cast<std::size_t>(index)]
                                                      : nullptr;
}

} // namespace

constexpr std::array<const char*, Lane::PROPERTY_COUNT> LaneStatusJsonData::propertyNames =
    keysOfProperties();

void LaneStatusJsonData::writeToJson(QJsonObject& json) const
{
    for (const Property& property : PROPERTIES) {
        json.insert(QLatin1String(property.key), property.text ? QJsonValue(this->*property.text)
                                                               : QJsonValue(this->*property.flag));
    }
}

void LaneStatusJsonData::readFromJson(const QJsonObject& json)
{
    for (const Property& property : PROPERTIES) {
        const QJsonValue value = json.value(QLatin1String(property.key));
        if (property.text) {
            this->*property.text = value.toString();
        } else {
            this->*property.flag = value.toBool();
        }
    }
}

void LaneStatusJsonData::setRasterProperties(int totalHorizontal, int totalVerticalField1,
                                             int totalVerticalField2, int activeHorizontal,
                                             int activeVerticalField1, int activeVerticalField2,
                                             bool isLevelB, bool isProgressive)
{
    const QString suffix = isLevelB ? QStringLiteral(" (B mux)") : QString();
    const auto field2 = [isProgressive](int lines) {
        return isProgressive ? QStringLiteral("progressive") : QString::number(lines);
    };
    isLevelBFlag = isLevelB;
    isProgressiveFlag = isProgressive;
    totalHorizontalPixels = QString::number(totalHorizontal) + suffix;
    activeHorizontalPixels = QString::number(activeHorizontal) + suffix;
    totalVerticalPixelsProgressiveOrField1 = QString::number(totalVerticalField1);
    activeVerticalPixelsProgressiveOrField1 = QString::number(activeVerticalField1);
    totalVerticalPixelsField2 = field2(totalVerticalField2);
    activeVerticalPixelsField2 = field2(activeVerticalField2);
}

QVariant LaneStatusJsonData::getProperty(int index) const
{
    const Property* property = findProperty(index);
    if (property == nullptr) {
        return QVariant();
    }
    return property->text ? QVariant(this->*property->text) : QVariant(this->*property->flag);
}

bool LaneStatusJsonData::setProperty(int index, const QVariant& value)
{
    if (!value.isValid()) {
        return false;
    }
    const Property* property = findProperty(index);
    if (property == nullptr) {
        return true;
    }
    if (property->text) {
        this->*property->text = value.toString();
    } else {
        this->*property->flag = value.toBool();
    }
    return true;
}

bool operator==(const LaneStatusJsonData& a, const LaneStatusJsonData& b)
{
    for (const Property& property : PROPERTIES) {
        const bool areEqual = property.text ? a.*property.text == b.*property.text
                                            : a.*property.flag == b.*property.flag;
        if (!areEqual) {
            return false;
        }
    }
    return true;
}

bool operator!=(const LaneStatusJsonData& a, const LaneStatusJsonData& b)
{
    return !(a == b);
}
