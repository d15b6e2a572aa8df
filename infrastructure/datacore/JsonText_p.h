// Compact JSON written straight as UTF-8 text, the same bytes that QJsonDocument writes, without an
// object being built for it.
#pragma once

#include <QByteArray>
#include <QJsonValue>
#include <QString>

/// Appends a string with its quotes, escaped.
void appendJsonString(QByteArray& text, const QString& string);
/// Appends what leads to a further member of an object: a comma, the key, which needs no escapes,
/// and a colon.
void appendNextJsonKey(QByteArray& text, QLatin1String key);
/// Appends any value.
void appendJsonValue(QByteArray& text, const QJsonValue& value);
