// JSON strings for text that is written without building an object first.
#pragma once

#include <QByteArray>
#include <QString>

/// Appends a string, escaped and in quotes, as UTF-8 (RFC 8259): the bytes that QJsonDocument
/// writes. Half of a surrogate pair is escaped, so the text is always valid UTF-8.
void appendJsonString(QByteArray& text, const QString& string);
