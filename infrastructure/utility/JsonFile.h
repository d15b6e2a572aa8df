// Reads JSON files.
#pragma once

#include <QJsonObject>
#include <QString>

/// The largest file that loadJsonFile reads, in bytes.
constexpr qint64 MAX_JSON_FILE_BYTES = 64 * 1024 * 1024;

/// Reads the JSON object in a file. A file that is missing, can't be read, is not a regular file,
/// is larger than MAX_JSON_FILE_BYTES, holds no JSON, or has an object with a repeated key is
/// logged, gives false and leaves `out` as it was. A document whose top level is an array gives
/// true and an empty object.
bool loadJsonFile(const QString& path, QJsonObject& out);
