#include "Metrics.h"

#include <algorithm>

namespace {

/// A label's value: the format escapes three characters.
QByteArray escaped(const QString& text)
{
    return text.toUtf8().replace('\\', "\\\\").replace('"', "\\\"").replace('\n', "\\n");
}

void appendFamily(QByteArray& text, const char* name, const char* type, const char* help)
{
    text.append("# HELP ").append(name).append(' ').append(help).append("\n# TYPE ");
    text.append(name).append(' ').append(type).append('\n');
}

void appendOne(QByteArray& text, const char* name, const char* type, const char* help,
               quint64 number)
{
    appendFamily(text, name, type, help);
    text.append(name).append(' ').append(QByteArray::number(number)).append('\n');
}

/// Appends the number that a value stands for; false if it is none.
bool appendNumber(QByteArray& text, const QString& value, bool isBool)
{
    if (isBool) {
        text.append(value == QLatin1String("true") ? '1' : '0');
        return value == QLatin1String("true") || value == QLatin1String("false");
    }
    constexpr int wholeDigits = 18;
    const bool isWhole =
        !value.isEmpty() && value.size() <= wholeDigits &&
        std::all_of(value.begin() + (value[0] == QLatin1Char('-') && value.size() > 1 ? 1 : 0),
                    value.end(), [](QChar character) {
                        return character >= QLatin1Char('0') && character <= QLatin1Char('9');
                    });
    if (isWhole) {
        text.append(value.toLatin1());
        return true;
    }
    bool isNumber = false;
    const double number = value.toDouble(&isNumber);
    text.append(!isNumber        ? QByteArray()
                : qIsNaN(number) ? QByteArray("NaN")
                : qIsInf(number) ? QByteArray(number > 0 ? "+Inf" : "-Inf")
                                 : QByteArray::number(number, 'g', 17));
    return isNumber;
}

} // namespace

/// Made anew when the node's description has become another.
const Metrics::Labels& Metrics::getLabels(int index)
{
    const auto at = static_cast<std::size_t>(index);
    if (at >= labels.size()) {
        labels.resize(static_cast<std::size_t>(tree.getNodeCount()));
    }
    Labels& kept = labels[at];
    const GatewayNode& node = tree.node(index);
    if (kept.description == node.description) {
        return kept;
    }
    kept = Labels();
    kept.description = node.description;
    if (node.description < 0) {
        return kept;
    }
    const DatacoreDescription& is = tree.getDescriptions()[std::size_t(node.description)].is;
    if (is.kind == DatacoreDescription::GROUP()) {
        return kept;
    }
    kept.isBool = is.kind == QLatin1String("Bool");
    kept.isNumber = is.isNumber();
    kept.path = "path=\"" + escaped(tree.getServerPath(node)) + '"';
    const QString& server = tree.getServerName(node);
    if (!server.isEmpty()) {
        kept.path += ",server=\"" + escaped(server) + '"';
    }
    kept.pathAndUnit = kept.path;
    if (!is.unit.isEmpty()) {
        kept.pathAndUnit += ",unit=\"" + escaped(is.unit) + '"';
    }
    if (!is.sentence.isEmpty() && (kept.isNumber || kept.isBool)) {
        kept.info =
            "datacore_info{" + kept.pathAndUnit + ",text=\"" + escaped(is.sentence) + "\"} 1\n";
    }
    return kept;
}

QByteArray Metrics::write(const GatewayCounts& counts)
{
    QByteArray text, valid, info;
    text.reserve(sizeBefore + sizeBefore / 8);
    valid.reserve(sizeBefore / 2);
    appendFamily(text, "datacore_value", "gauge",
                 "Number of a leaf, or 1 for true and 0 for false.");
    appendFamily(valid, "datacore_valid", "gauge",
                 "Whether the instrument takes the values of a leaf as valid.");
    appendFamily(info, "datacore_info", "gauge", "What a leaf stands for; always 1.");
    for (int i = 0; i < tree.getNodeCount(); ++i) {
        const GatewayNode& node = tree.node(i);
        if (!node.isPresent || node.state != GatewayNode::Current) {
            continue; // a series without a sample tells of a lost link better than an old number
        }
        const Labels& own = getLabels(i);
        if (own.path.isEmpty()) {
            continue;
        }
        const bool isShown = own.isNumber || own.isBool;
        for (int k = 0; isShown && k < node.values.size(); ++k) {
            const int start = text.size();
            text.append("datacore_value{").append(own.pathAndUnit);
            if (node.values.size() > 1) {
                text.append(",index=\"").append(QByteArray::number(k)).append('"');
            }
            text.append("} ");
            if (appendNumber(text, node.values[k], own.isBool)) {
                text.append('\n');
            } else {
                text.truncate(start);
            }
        }
        valid.append("datacore_valid{").append(own.path);
        valid.append(node.invalidTexts.isEmpty() ? "} 1\n" : "} 0\n");
        info.append(own.info);
    }
    text.append(valid).append(info);

    appendFamily(text, "datacore_server_up", "gauge", "Whether the gateway has a server's values.");
    for (const GatewayServer& server : tree.getServers()) {
        text.append("datacore_server_up{address=\"").append(escaped(server.address)).append('"');
        if (!server.name.isEmpty()) {
            text.append(",server=\"").append(escaped(server.name)).append('"');
        }
        text.append(server.state == QLatin1String("current") ? "} 1\n" : "} 0\n");
    }
    appendOne(text, "datacore_gateway_values_total", "counter", "Values that servers have sent.",
              tree.getReceivedCount());
    appendOne(text, "datacore_gateway_requests_total", "counter", "HTTP requests.",
              counts.requests);
    appendOne(text, "datacore_gateway_refused_requests_total", "counter",
              "HTTP requests that were not allowed.", counts.refusedRequests);
    appendOne(text, "datacore_gateway_connections_total", "counter", "TCP connections.",
              counts.http.connections);
    appendOne(text, "datacore_gateway_refused_connections_total", "counter",
              "TCP connections beyond the limit.", counts.http.refused);
    appendOne(text, "datacore_gateway_sent_bytes_total", "counter", "Bytes sent, without TLS.",
              counts.http.sentBytes);
    appendOne(text, "datacore_gateway_sent_messages_total", "counter", "Messages sent to pages.",
              counts.sentMessages);
    appendOne(text, "datacore_gateway_connections", "gauge", "TCP connections open now.",
              counts.http.open);
    appendOne(text, "datacore_gateway_pages", "gauge", "Pages open now.", counts.pages);
    appendOne(text, "datacore_gateway_listeners", "gauge", "Listeners to events.",
              counts.listeners);
    sizeBefore = text.size();
    return text;
}
