#include "infrastructure/datacore/DatacoreDataElement.h"

#include "infrastructure/datacore/JsonText_p.h"
#include "infrastructure/datacore/PlainJson_p.h"
#include "infrastructure/utility/Log.h"

#include <QJsonArray>

#include <algorithm>

void DatacoreDataElement::initialiseValue(const QString& value)
{
    getState().value = value.isNull() ? QString(QLatin1String("")) : value;
    setSeveral({});
}

void DatacoreDataElement::initialiseValues(const std::deque<QString>& values)
{
    hold(values);
}

/// In the memory of the value before, where nobody shares it.
void DatacoreDataElement::hold(QLatin1String value)
{
    getState().value = value;
    setSeveral({});
}

void DatacoreDataElement::hold(const QString& value)
{
    initialiseValue(value);
}

template <typename Values>
void DatacoreDataElement::hold(const Values& values)
{
    if (values.size() == 1) {
        initialiseValue(values.front());
        return;
    }
    QVector<QString> several;
    several.reserve(static_cast<int>(values.size()));
    for (const QString& value : values) {
        several.append(value);
    }
    getState().value = QString();
    setSeveral(several);
}

template <typename Values>
bool DatacoreDataElement::holdsAll(const Values& values) const
{
    if (values.size() == 1) {
        return holds(values.front());
    }
    const QVector<QString> several = getSeveral();
    return !isSingle() && std::equal(values.begin(), values.end(), several.begin(), several.end());
}

QString DatacoreDataElement::getValue(int index) const
{
    return isSingle() && index == 0 ? getState().value : getSeveral().value(index);
}

std::deque<QString> DatacoreDataElement::getValues() const
{
    if (isSingle()) {
        return {getState().value};
    }
    const QVector<QString> several = getSeveral();
    return std::deque<QString>(several.begin(), several.end());
}

void DatacoreDataElement::setValue(const QString& value)
{
    if (!holds(value)) {
        initialiseValue(value);
        getOwner().elementChangedLocally();
    }
}

void DatacoreDataElement::setValues(const std::deque<QString>& values)
{
    if (!holdsAll(values)) {
        hold(values);
        getOwner().elementChangedLocally();
    }
}

bool DatacoreDataElement::isData() const
{
    return true;
}

QJsonValue DatacoreDataElement::toJsonValue() const
{
    if (isSingle()) {
        return getState().value;
    }
    const QVector<QString> several = getSeveral();
    if (several.isEmpty()) {
        return QJsonValue::Null;
    }
    QJsonArray array;
    for (const QString& value : several) {
        array.append(value);
    }
    return array;
}

void DatacoreDataElement::appendJsonText(JsonTextWriter& text) const
{
    if (isSingle()) {
        text.appendString(getState().value);
        return;
    }
    const QVector<QString> several = getSeveral();
    if (several.isEmpty()) {
        text.append("null");
        return;
    }
    text.append("[");
    for (const QString& value : several) {
        text.appendString(value);
        text.append(",");
    }
    text.replaceLast(']');
}

void DatacoreDataElement::readJsonValue(const QJsonValue& value)
{
    if (value.isNull()) {
        if (getCount() != 0) {
            hold(QVector<QString>());
            getOwner().elementPopulated();
        }
        return;
    }
    if (value.isArray()) {
        const QJsonArray array = value.toArray();
        QVector<QString> values;
        values.reserve(array.size());
        for (const QJsonValue& entry : array) {
            values.append(entry.toString());
        }
        if (!holdsAll(values)) {
            hold(values);
            getOwner().elementPopulated();
        }
        return;
    }
    readText(value.toString());
}

void DatacoreDataElement::readPlainJson(const PlainJsonValue& value)
{
    if (value.isNull() || value.isArray()) {
        readJsonValue(value.toJsonValue());
    } else {
        readText(value.toLatin1());
    }
}

void DatacoreDataElement::readPlainText(QLatin1String text)
{
    readText(text);
}

template <typename Text>
void DatacoreDataElement::readText(const Text& text)
{
    if (holds(text)) {
        return;
    }
    if (getCount() == 0) {
        VELLOG_ERR() << "0 sized entry for data element";
    }
    hold(text);
    getOwner().elementPopulated();
}
