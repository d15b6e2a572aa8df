#include "NodeJson.h"

#include "JsonText.h"

#include <QJsonArray>
#include <QJsonValue>

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
    appendJson(json, node.invalidTexts);
    json.append(',');
    appendJson(json, node.inactiveTexts);
    json.append(',').append(static_cast<char>('0' + node.state));
}

void appendNamedContent(QByteArray& json, const GatewayNode& node)
{
    json.append("\"values\":");
    appendJsonValues(json, node.values);
    json.append(",\"invalid\":");
    appendJson(json, node.invalidTexts);
    json.append(",\"inactive\":");
    appendJson(json, node.inactiveTexts);
    json.append(",\"state\":\"").append(getStateText(node.state)).append('"');
}

void appendServer(QByteArray& json, const GatewayServer& server)
{
    json.append("\"name\":");
    appendJson(json, server.name);
    json.append(",\"address\":");
    appendJson(json, server.address);
    json.append(",\"state\":");
    appendJson(json, server.state);
    json.append(",\"problem\":");
    appendJson(json, server.problem);
    json.append(",\"retryMs\":").append(QByteArray::number(server.retryMs));
}
