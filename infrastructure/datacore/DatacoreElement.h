// What the four elements of a node have in common: an owner, a key, and the rules of the JSON
// operations.
#pragma once

#include "infrastructure/datacore/DatacoreElementPrivateInterface.h"
#include "infrastructure/datacore/DatacoreJsonInterface.h"

#include <QJsonValue>

class PlainJsonValue;

/// One part of a node: its values, its class name, or one of its two lists of reasons. It is a leaf
/// of the path: any path but the empty one fails with message (Error, 5).
class DatacoreElement : public DatacoreJsonInterface
{
public:
    /// The key under which it stands in its node's JSON.
    virtual QLatin1String getKey() const = 0;
    /// True for what the just-data form holds. Elements that it does not hold neither write nor
    /// read anything in that form, and answer true.
    virtual bool isData() const;

    bool appendToJson(const QString& path, QJsonObject& json, bool justData, bool withChildren,
                      DatacoreJsonMessages& messages) const final;
    /// A missing key fails with message (Error, 6).
    bool populateFromJson(const QString& path, const QJsonObject& json, bool justData,
                          DatacoreJsonMessages& messages) final;

    /// What stands under the key.
    virtual QJsonValue toJsonValue() const = 0;
    /// Appends what stands under the key, as compact JSON text.
    virtual void appendJsonText(QByteArray& text) const;
    /// Takes what stands under the key. The owner is told if that is a change.
    virtual void readJsonValue(const QJsonValue& value) = 0;
    /// The same, read where it stands in plain text.
    virtual void readPlainJson(const PlainJsonValue& value);

protected:
    /// The owner must outlive the element.
    explicit DatacoreElement(DatacoreElementPrivateInterface& elementOwner);

    DatacoreElementPrivateInterface& getOwner() const { return *owner; }

private:
    DatacoreElementPrivateInterface* owner;
};
