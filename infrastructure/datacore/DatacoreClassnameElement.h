// The class name of a node of the state tree.
#pragma once

#include "infrastructure/datacore/DatacoreElement.h"

/// A class name. It is written but never read: a peer's class name is ignored.
class DatacoreClassnameElement final : public DatacoreElement
{
public:
    DatacoreClassnameElement(DatacoreElementPrivateInterface& elementOwner,
                             DatacoreElementState& elementState)
        : DatacoreElement(elementOwner, elementState)
    {
    }

    const QString& getClassName() const { return getState().className; }
    /// Sets the name. The owner is told if it is another one.
    void setClassName(const QString& name);

    QLatin1String getKey() const override { return QLatin1String("class"); }
    QJsonValue toJsonValue() const override;
    void appendJsonText(JsonTextWriter& text) const override;
    void readJsonValue(const QJsonValue& value) override;
    void readPlainJson(const PlainJsonValue& value) override;
};
