// JSON text from outside, a peer or a file, on its way to Qt's parser.
#pragma once

#include <QJsonDocument>

/// What QJsonDocument::fromJson gives, but for an object that has a key twice, at any depth. "a"
/// and
/// "\u0061" are the same key. Such text is bad: it gives a null document, the error IllegalValue at
/// the second key, and a log line. Qt 5 would take it, and never give back the memory of what
/// stands under the first.
///
/// Takes n log n time. Beside the parser's memory it holds three words for each key of the objects
/// that are open at one place, and a copy of the keys that have escapes.
QJsonDocument parseJson(const QByteArray& text, QJsonParseError* error = nullptr);
