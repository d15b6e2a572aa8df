// Compact JSON written directly as UTF-8 text: the same bytes that QJsonDocument writes, but
// without building an object first.
#pragma once

#include "infrastructure/datacore/JsonString.h"

#include <QByteArray>
#include <QJsonValue>
#include <QString>

#include <cstring>

/// Appends JSON to a text, which nobody else touches until the writer is gone.
class JsonTextWriter
{
public:
    explicit JsonTextWriter(QByteArray& target)
        : text(target)
        , at(text.size())
    {
    }
    JsonTextWriter(const JsonTextWriter&) = delete;
    JsonTextWriter& operator=(const JsonTextWriter&) = delete;
    ~JsonTextWriter() { text.resize(at); }

    /// Appends characters that are JSON already.
    template <int SIZE>
    void append(const char (&characters)[SIZE])
    {
        std::memcpy(makeRoom(SIZE - 1), characters, SIZE - 1);
        at += SIZE - 1;
    }
    void append(QLatin1String characters)
    {
        std::memcpy(makeRoom(characters.size()), characters.data(),
                    static_cast<std::size_t>(characters.size()));
        at += characters.size();
    }
    /// Appends the start of a further member of an object: a comma, the key, which must need no
    /// escapes, and a colon.
    void appendNextKey(QLatin1String key)
    {
        append(",\"");
        append(key);
        append("\":");
    }
    /// Appends a string, escaped and in quotes.
    void appendString(const QString& string);
    /// Appends any value.
    void appendValue(const QJsonValue& value);
    /// Puts a character in the place of the last one.
    void replaceLast(char character) { start[at - 1] = character; }

private:
    char* makeRoom(int size)
    {
        if (room - at < size) {
            grow(size);
        }
        return start + at;
    }
    void grow(int size);

    QByteArray& text;
    char* start = nullptr; ///< of the text
    int at;                ///< end of what has been written
    int room = 0;          ///< end of what may be written
};

/// These do the same to a text for which there is no writer.
void appendNextJsonKey(QByteArray& text, QLatin1String key);
void appendJsonValue(QByteArray& text, const QJsonValue& value);
