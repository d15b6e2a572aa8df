// What the tool prints of datacores, and how it reads values from text.
#pragma once

#include "infrastructure/datacore/DatacoreBase.h"

#include <QJsonValue>
#include <QStringList>

#include <optional>
#include <vector>

/// The text with control characters as \u001b, so that a terminal shows what a peer sent.
QString printable(const QString& text);

/// A value as a line shows it: 5, or [1, 2] for a list, '' for an empty text, - for no value. One
/// that could be taken for another is put in quotes: '-', "two\nlines".
QString valueText(const QStringList& values);
/// As in JSON: null, a string, or an array of strings.
QJsonValue valueJson(const QStringList& values);
/// The values that such JSON holds; nothing if it is something else.
std::optional<QStringList> valuesOf(const QJsonValue& json);

QStringList valuesOf(const DatacoreBase& datacore);
QStringList invalidReasonsOf(const DatacoreBase& datacore);
QStringList inactiveReasonsOf(const DatacoreBase& datacore);
/// "valid inactive (Input is off)"
QString statusText(const DatacoreBase& datacore);

/// A word of a line. A quoted one stands for itself.
struct Word
{
    QString text;
    bool isQuoted = false;
};

/// The words between blanks. 'single' quotes hold anything but themselves, "double" ones a JSON
/// string; both may be part of a word. A quote without an end gives nothing, and the reason.
std::optional<std::vector<Word>> splitWords(const QString& line, QString& whatIsWrong);
