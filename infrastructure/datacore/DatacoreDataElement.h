// The values of a node of the state tree.
#pragma once

#include "infrastructure/datacore/DatacoreElement.h"

#include <deque>

/// A list of strings: none, one or more. In JSON: null, a string, an array of strings.
class DatacoreDataElement final : public DatacoreElement
{
public:
    DatacoreDataElement(DatacoreElementPrivateInterface& elementOwner,
                        DatacoreElementState& elementState)
        : DatacoreElement(elementOwner, elementState)
    {
    }

    int getCount() const { return isSingle() ? 1 : getSeveral().size(); }
    /// The value at an index from 0; empty if there is none.
    QString getValue(int index) const;
    std::deque<QString> getValues() const;

    /// Replaces all values, with one value or with a list. The owner is told, unless the values are
    /// equal.
    void setValue(const QString& value);
    void setValues(const std::deque<QString>& values);
    /// Sets the first values, during construction; nobody is told.
    void initialiseValue(const QString& value);
    void initialiseValues(const std::deque<QString>& values);

    QLatin1String getKey() const override { return QLatin1String("data"); }
    bool isData() const override;
    QJsonValue toJsonValue() const override;
    void appendJsonText(JsonTextWriter& text) const override;
    /// A JSON number, boolean or object is read as an empty string.
    void readJsonValue(const QJsonValue& value) override;
    void readPlainJson(const PlainJsonValue& value) override;
    /// The same from the characters of a string.
    void readPlainText(QLatin1String text);

private:
    bool isSingle() const { return !getState().value.isNull(); }
    QVector<QString> getSeveral() const { return getState().getRare(&Rare::values); }
    void setSeveral(const QVector<QString>& values) { getState().setRare(&Rare::values, values); }
    template <typename Text>
    bool holds(const Text& value) const
    {
        return isSingle() && getState().value == value;
    }
    template <typename Values>
    bool holdsAll(const Values& values) const;
    template <typename Text>
    void readText(const Text& text);
    void hold(const QString& value);
    void hold(QLatin1String value);
    template <typename Values>
    void hold(const Values& values);
};
