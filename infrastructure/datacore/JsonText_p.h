// Compact JSON written directly as UTF-8 text: the same bytes that QJsonDocument writes, but
// without building an object first.
#pragma once

#include <QByteArray>
#include <QJsonValue>
#include <QString>

/// Appends a string, escaped and in quotes.
void appendJsonString(QByteArray& text, const QString& string);
/// Appends the start of a further member of an object: a comma, the key, which must need no
/// escapes, and a colon.
void appendNextJsonKey(QByteArray& text, QLatin1String key);
/// Appends any value.
void appendJsonValue(QByteArray& text, const QJsonValue& value);
