// The topics of MQTT under which nodes are found.
#pragma once

#include <QByteArray>
#include <QString>

namespace MqttTopics {

/// The path as levels of a topic. Escaped as in URLs ("%2B", the bytes of UTF-8) are "+", "#", "%"
/// and control characters, a level's "$" if it comes first, and the "s" of a level "set", so that
/// wildcards, what the broker keeps for itself, and writes are never mistaken for a node.
///     "input+1/set/$x" => "input%2B1/%73et/%24x"
QByteArray fromPath(const QString& path);
/// The path of such levels.
QString toPath(const QByteArray& levels);

/// Whether a topic may be published to: not empty, no wildcard, no NUL, no "$" at its start, and
/// within what brokers take in bytes (60,000) and levels (190).
bool isPublishable(const QByteArray& topic);
/// The number of levels.
int countLevels(const QByteArray& topic);

} // namespace MqttTopics
