#include "infrastructure/datacore/DatacoreClassnameElement.h"

#include "infrastructure/datacore/JsonText_p.h"
#include "infrastructure/datacore/PlainJson_p.h"

DatacoreClassnameElement::DatacoreClassnameElement(DatacoreElementPrivateInterface& elementOwner,
                                                   const QString& name)
    : DatacoreElement(elementOwner)
    , className(name)
{
}

void DatacoreClassnameElement::setClassName(const QString& name)
{
    if (name != className) {
        className = name;
        getOwner().elementChangedLocally();
    }
}

QJsonValue DatacoreClassnameElement::toJsonValue() const
{
    return className;
}

void DatacoreClassnameElement::appendJsonText(JsonTextWriter& text) const
{
    text.appendString(className);
}

void DatacoreClassnameElement::readJsonValue(const QJsonValue& /*value*/) {}

void DatacoreClassnameElement::readPlainJson(const PlainJsonValue& /*value*/) {}
