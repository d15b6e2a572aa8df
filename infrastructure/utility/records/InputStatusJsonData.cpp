#include "infrastructure/utility/records/InputStatusJsonData.h"

#include <QJsonArray>

void InputStatusJsonData::writeToJson(QJsonObject& json) const
{
    QJsonArray array;
    for (const LaneStatusJsonData& lane : lanes) {
        QJsonObject object;
        lane.writeToJson(object);
        array.append(object);
    }
    json.insert(QLatin1String(propertyNames[0]), array);
}

void InputStatusJsonData::readFromJson(const QJsonObject& json)
{
    lanes.clear();
    const QJsonArray array = json.value(QLatin1String(propertyNames[0])).toArray();
    for (const QJsonValue& value : array) {
        LaneStatusJsonData lane;
        lane.readFromJson(value.toObject());
        lanes.append(lane);
    }
}

bool operator==(const InputStatusJsonData& a, const InputStatusJsonData& b)
{
    return a.lanes == b.lanes;
}

bool operator!=(const InputStatusJsonData& a, const InputStatusJsonData& b)
{
    return !(a == b);
}
