// What is told of nodes, as JSON.
#pragma once

#include "GatewayTree.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <optional>

class QJsonValue;

/// "never", "current" or "stale".
const char* getStateText(GatewayNode::State state);

/// The values that JSON from outside holds: null, a string, or an array of strings; nothing if it
/// is anything else.
std::optional<QStringList> readValues(const QJsonValue& json);

/// Appends a value as on the link: null, a string, or an array of strings.
void appendJsonValues(QByteArray& json, const QStringList& values);
/// Appends: values,[invalid],[inactive],state as a number
void appendContent(QByteArray& json, const GatewayNode& node);
/// Appends: "values":…,"invalid":[…],"inactive":[…],"state":"current"
void appendNamedContent(QByteArray& json, const GatewayNode& node);
/// Appends: "name":…,"address":…,"state":…,"problem":…,"retryMs":…
void appendServer(QByteArray& json, const GatewayServer& server);
