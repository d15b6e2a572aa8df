#include "infrastructure/datacore/JsonText_p.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <algorithm>

namespace {

bool standsAsItIs(QChar character)
{
    const ushort code = character.unicode();
    return code >= 0x20 && code < 0x7F && code != '"' && code != '\\';
}

} // namespace

void appendJsonString(QByteArray& text, const QString& string)
{
    if (!std::all_of(string.cbegin(), string.cend(), standsAsItIs)) {
        appendJsonValue(text, string);
        return;
    }
    const int start = text.size();
    text.resize(start + string.size() + 2);
    char* to = text.data() + start;
    *to++ = '"';
    to = std::transform(string.cbegin(), string.cend(), to,
                        [](QChar character) { return static_cast<char>(character.unicode()); });
    *to = '"';
}

void appendNextJsonKey(QByteArray& text, QLatin1String key)
{
    text.append(",\"").append(key.data(), key.size()).append("\":");
}

void appendJsonValue(QByteArray& text, const QJsonValue& value)
{
    // Only arrays and objects can be documents on their own.
    const QByteArray array = QJsonDocument(QJsonArray{value}).toJson(QJsonDocument::Compact);
    text.append(array.constData() + 1, array.size() - 2);
}
