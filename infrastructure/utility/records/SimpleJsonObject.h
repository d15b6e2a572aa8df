// Status that travels as a JSON object.
#pragma once

#include <QJsonObject>
#include <QString>

/// Something that writes itself into a JSON object and reads itself back.
class SimpleJsonObject
{
public:
    /// The name of the class in JSON.
    virtual QString getClassName() const = 0;
    /// Sets this object's keys in `json`; others stay.
    virtual void writeToJson(QJsonObject& json) const = 0;
    /// Reads this object's keys from `json`; a missing one gives an empty value.
    virtual void readFromJson(const QJsonObject& json) = 0;

    virtual ~SimpleJsonObject() = default;

protected:
    SimpleJsonObject() = default;
    SimpleJsonObject(const SimpleJsonObject&) = default;
    SimpleJsonObject& operator=(const SimpleJsonObject&) = default;
};
