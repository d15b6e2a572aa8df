#include "NodeJson.h"

#include "infrastructure/datacore/JsonString.h"

#include <QJsonArray>
#include <QJsonValue>

namespace {

void appendTexts(QByteArray& json, const QStringList& texts)
{
    char before = '[';
    for (const QString& text : texts) {
        json.append(before);
        appendJsonString(json, text);
        before = ',';
    }
    json.append(texts.isEmpty() ? "[]" : "]");
}

} // namespace

void appendJsonValues(QByteArray& json, const QStringList& values)
{
    if (values.isEmpty()) {
        json.append("null");
    } else if (values.size() == 1) {
        appendJsonString(json, values.first());
    } else {
        appendTexts(json, values);
    }
}

const char* getStateText(GatewayNode::State state)
{
    switch (state) {
    case GatewayNode::Current:
        return "current";
    case GatewayNode::Stale:
        return "stale";
    case GatewayNode::NeverReceived:
        break;
    }
    return "never";
}

std::optional<QStringList> readValues(const QJsonValue& json)
{
    if (json.isNull()) {
        return QStringList();
    }
    if (json.isString()) {
        return QStringList(json.toString());
    }
    if (!json.isArray()) {
        return std::nullopt;
    }
    QStringList values;
    const QJsonArray texts = json.toArray();
    for (const QJsonValue& text : texts) {
        if (!text.isString()) {
            return std::nullopt;
        }
        values.append(text.toString());
    }
    return values;
}

void appendContent(QByteArray& json, const GatewayNode& node)
{
    appendJsonValues(json, node.values);
    json.append(',');
    appendTexts(json, node.invalidTexts);
    json.append(',');
    appendTexts(json, node.inactiveTexts);
    json.append(',').append(static_cast<char>('0' + node.state));
}

void appendNamedContent(QByteArray& json, const GatewayNode& node)
{
    json.append("\"values\":");
    appendJsonValues(json, node.values);
    json.append(",\"invalid\":");
    appendTexts(json, node.invalidTexts);
    json.append(",\"inactive\":");
    appendTexts(json, node.inactiveTexts);
    json.append(",\"state\":\"").append(getStateText(node.state)).append('"');
}

void appendServer(QByteArray& json, const GatewayServer& server)
{
    json.append("\"name\":");
    appendJsonString(json, server.name);
    json.append(",\"address\":");
    appendJsonString(json, server.address);
    json.append(",\"state\":");
    appendJsonString(json, server.state);
    json.append(",\"problem\":");
    appendJsonString(json, server.problem);
    json.append(",\"retryMs\":").append(QByteArray::number(server.retryMs));
}
