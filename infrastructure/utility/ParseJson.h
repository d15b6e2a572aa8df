// Passes JSON text from outside, from a peer or a file, to Qt's parser.
#pragma once

#include <QJsonDocument>

/// Gives what QJsonDocument::fromJson gives, but refuses text in which an object, at any depth, has
/// the same key twice. ("a" and "\u0061" are the same key.) Such text gives a null document, the
/// error IllegalValue at the second key, and a log line. Qt 5 would accept it, and never free the
/// memory of the first key's value; and so with keys that differ only behind a zero byte, which no
/// JSON text may have (RFC 8259): text with such a byte is refused at the first one.
///
/// Takes n log n time. Besides the parser's memory it needs three words for each key of the objects
/// that are open at the same time, and a copy of the keys that have escapes.
QJsonDocument parseJson(const QByteArray& text, QJsonParseError* error = nullptr);
