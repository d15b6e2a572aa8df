// Compact JSON as text, for what is written often.
#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

/// Appends a string in quotes. Half a surrogate pair becomes a question mark.
void appendJson(QByteArray& json, const QString& text);
/// Appends an array of strings.
void appendJson(QByteArray& json, const QStringList& texts);
/// Appends a value as on the link: null, a string, or an array of strings.
void appendJsonValues(QByteArray& json, const QStringList& values);
