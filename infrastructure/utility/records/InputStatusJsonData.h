// The status of one signal input. A value.
#pragma once

#include "infrastructure/utility/records/LaneStatusJsonData.h"

#include <QList>

/// One input: its lanes, in the order of the link.
class InputStatusJsonData : public SimpleJsonObject
{
public:
    static constexpr std::array<const char*, 1> propertyNames{"LaneStatusArray"};

    QString getClassName() const override { return QStringLiteral("InputStatusData"); }
    void writeToJson(QJsonObject& json) const override;
    /// Replaces the lanes; an object without them gives none.
    void readFromJson(const QJsonObject& json) override;

    QList<LaneStatusJsonData> lanes;
};

bool operator==(const InputStatusJsonData& a, const InputStatusJsonData& b);
bool operator!=(const InputStatusJsonData& a, const InputStatusJsonData& b);
