#include "infrastructure/datacore/DatacoreDataElement.h"

#include "infrastructure/datacore/JsonText_p.h"
#include "infrastructure/datacore/PlainJson_p.h"
#include "infrastructure/utility/Log.h"

#include <QJsonArray>

#include <algorithm>

DatacoreDataElement::DatacoreDataElement(DatacoreElementPrivateInterface& elementOwner)
    : DatacoreElement(elementOwner)
{
}

DatacoreDataElement::DatacoreDataElement(DatacoreElementPrivateInterface& elementOwner,
                                         const QString& value)
    : DatacoreElement(elementOwner)
{
    hold(value);
}

DatacoreDataElement::DatacoreDataElement(DatacoreElementPrivateInterface& elementOwner,
                                         const std::deque<QString>& values)
    : DatacoreElement(elementOwner)
{
    hold(values);
}

void DatacoreDataElement::hold(const QString& value)
{
    single = value.isNull() ? QString(QLatin1String("")) : value;
    several = QVector<QString>();
}

/// In the memory of the value before, where nobody shares it.
void DatacoreDataElement::hold(QLatin1String value)
{
    single = value;
    several = QVector<QString>();
}

template <typename Values>
void DatacoreDataElement::hold(const Values& values)
{
    if (values.size() == 1) {
        hold(values.front());
        return;
    }
    single = QString();
    several = QVector<QString>();
    several.reserve(static_cast<int>(values.size()));
    for (const QString& value : values) {
        several.append(value);
    }
}

QString DatacoreDataElement::getValue(int index) const
{
    return !single.isNull() && index == 0 ? single : several.value(index);
}

std::deque<QString> DatacoreDataElement::getValues() const
{
    return single.isNull() ? std::deque<QString>(several.begin(), several.end())
                           : std::deque<QString>{single};
}

void DatacoreDataElement::setValue(const QString& value)
{
    if (!holds(value)) {
        hold(value);
        getOwner().elementChangedLocally();
    }
}

void DatacoreDataElement::setValues(const std::deque<QString>& values)
{
    const bool same = values.size() == 1
                          ? holds(values.front())
                          : single.isNull() && std::equal(values.begin(), values.end(),
                                                          several.begin(), several.end());
    if (!same) {
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
    if (!single.isNull()) {
        return single;
    }
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
    if (!single.isNull()) {
        text.appendString(single);
    } else if (several.isEmpty()) {
        text.append("null");
    } else {
        text.append("[");
        for (const QString& value : several) {
            text.appendString(value);
            text.append(",");
        }
        text.replaceLast(']');
    }
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
        const bool same =
            values.size() == 1 ? holds(values.front()) : single.isNull() && values == several;
        if (!same) {
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
