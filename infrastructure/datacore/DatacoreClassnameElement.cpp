#include "infrastructure/datacore/DatacoreClassnameElement.h"

#include "infrastructure/datacore/JsonText_p.h"
#include "infrastructure/datacore/PlainJson_p.h"

void DatacoreClassnameElement::setClassName(const QString& name)
{
    if (name != getClassName()) {
        getState().className = name;
        getOwner().elementChangedLocally();
    }
}

QJsonValue DatacoreClassnameElement::toJsonValue() const
{
    return getClassName();
}

void DatacoreClassnameElement::appendJsonText(JsonTextWriter& text) const
{
    text.appendString(getClassName());
}

void DatacoreClassnameElement::readJsonValue(const QJsonValue& /*value*/) {}

void DatacoreClassnameElement::readPlainJson(const PlainJsonValue& /*value*/) {}
