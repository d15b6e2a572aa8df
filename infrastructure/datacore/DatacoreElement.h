// What the four elements of a node have in common: an owner, a key, and the rules of the JSON
// operations.
#pragma once

#include "infrastructure/datacore/DatacoreElementPrivateInterface.h"
#include "infrastructure/datacore/DatacoreElementState.h"
#include "infrastructure/datacore/DatacoreJsonInterface.h"

#include <QJsonValue>

class JsonTextWriter;
class PlainJsonValue;

/// One part of a node: its values, its class name, or one of its two lists of reasons. An element
/// is a view: what it shows is kept by the node, so it is made where it is needed and costs no
/// memory in between. Paths end here: any path but the empty one fails with message (Error, 5).
class DatacoreElement : public DatacoreJsonInterface
{
public:
    /// Its key in the node's JSON.
    virtual QLatin1String getKey() const = 0;
    /// True if the just-data form includes this element. In that form the others neither write nor
    /// read anything, and return true.
    virtual bool isData() const;

    bool appendToJson(const QString& path, QJsonObject& json, bool justData, bool withChildren,
                      DatacoreJsonMessages& messages) const final;
    /// A missing key fails with message (Error, 6).
    bool populateFromJson(const QString& path, const QJsonObject& json, bool justData,
                          DatacoreJsonMessages& messages) final;

    /// The value for the key.
    virtual QJsonValue toJsonValue() const = 0;
    /// Appends the value for the key, as compact JSON text.
    virtual void appendJsonText(JsonTextWriter& text) const;
    /// Takes the key's value. The owner is told if that is a change.
    virtual void readJsonValue(const QJsonValue& value) = 0;
    /// The same from plain text, read in place.
    virtual void readPlainJson(const PlainJsonValue& value);

protected:
    using Rare = DatacoreElementState::Rare;

    /// The owner and what it keeps must outlive the element.
    DatacoreElement(DatacoreElementPrivateInterface& elementOwner,
                    DatacoreElementState& elementState)
        : owner(&elementOwner)
        , state(&elementState)
    {
    }

    DatacoreElementPrivateInterface& getOwner() const { return *owner; }
    const DatacoreElementState& getState() const { return *state; }
    DatacoreElementState& getState() { return *state; }

private:
    DatacoreElementPrivateInterface* owner;
    DatacoreElementState* state;
};
