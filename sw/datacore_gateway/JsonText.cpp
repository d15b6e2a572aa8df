#include "JsonText.h"

#include <algorithm>

namespace {

bool isPlain(QChar character)
{
    const ushort code = character.unicode();
    return code >= 0x20 && code < 0x7F && code != '"' && code != '\\';
}

void appendEscaped(QByteArray& json, char character)
{
    static constexpr char digits[] = "0123456789abcdef";
    if (character == '"' || character == '\\') {
        json.append('\\').append(character);
    } else if (static_cast<unsigned char>(character) < 0x20 || character == 0x7F) {
        json.append("\\u00").append(digits[character >> 4]).append(digits[character & 15]);
    } else {
        json.append(character);
    }
}

} // namespace

void appendJson(QByteArray& json, const QString& text)
{
    json.append('"');
    if (std::all_of(text.begin(), text.end(), isPlain)) {
        const int start = json.size();
        json.resize(start + text.size());
        std::transform(text.begin(), text.end(), json.begin() + start,
                       [](QChar character) { return static_cast<char>(character.unicode()); });
    } else {
        const QByteArray utf8 = text.toUtf8();
        for (const char character : utf8) {
            appendEscaped(json, character);
        }
    }
    json.append('"');
}

void appendJson(QByteArray& json, const QStringList& texts)
{
    json.append('[');
    for (const QString& text : texts) {
        appendJson(json, text);
        json.append(',');
    }
    if (texts.isEmpty()) {
        json.append(']');
    } else {
        json[json.size() - 1] = ']';
    }
}

void appendJsonValues(QByteArray& json, const QStringList& values)
{
    if (values.isEmpty()) {
        json.append("null");
    } else if (values.size() == 1) {
        appendJson(json, values.first());
    } else {
        appendJson(json, values);
    }
}
