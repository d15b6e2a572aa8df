// The values of a node of the state tree.
#pragma once

#include "infrastructure/datacore/DatacoreElement.h"

#include <QVector>

#include <deque>

/// A list of strings: none, one or more. In JSON: null, a string, an array of strings.
class DatacoreDataElement final : public DatacoreElement
{
public:
    explicit DatacoreDataElement(DatacoreElementPrivateInterface& elementOwner);
    DatacoreDataElement(DatacoreElementPrivateInterface& elementOwner, const QString& value);
    DatacoreDataElement(DatacoreElementPrivateInterface& elementOwner,
                        const std::deque<QString>& values);

    int getCount() const { return single.isNull() ? several.size() : 1; }
    /// The value at an index from 0; empty if there is none.
    QString getValue(int index) const;
    std::deque<QString> getValues() const;

    /// Replaces all values, with one value or with a list. The owner is told, unless the values are
    /// equal.
    void setValue(const QString& value);
    void setValues(const std::deque<QString>& values);

    QLatin1String getKey() const override { return QLatin1String("data"); }
    bool isData() const override;
    QJsonValue toJsonValue() const override;
    void appendJsonText(JsonTextWriter& text) const override;
    /// A JSON number, boolean or object is read as an empty string.
    void readJsonValue(const QJsonValue& value) override;
    void readPlainJson(const PlainJsonValue& value) override;

private:
    template <typename Text>
    bool holds(const Text& value) const
    {
        return !single.isNull() && single == value;
    }
    template <typename Text>
    void readText(const Text& text);
    void hold(const QString& value);
    void hold(QLatin1String value);
    template <typename Values>
    void hold(const Values& values);

    // Nearly every node has one value, which needs no memory beside its text.
    QString single;           ///< the value where there is exactly one, never null; null otherwise
    QVector<QString> several; ///< the values where there is not exactly one
};
