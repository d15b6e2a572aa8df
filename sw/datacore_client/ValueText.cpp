#include "ValueText.h"

#include "infrastructure/utility/ParseJson.h"

#include <QJsonArray>

#include <algorithm>

namespace {

constexpr QLatin1Char SINGLE_QUOTE('\'');
constexpr QLatin1Char DOUBLE_QUOTE('"');

bool isPlain(QChar character)
{
    return character.category() != QChar::Other_Control &&
           character.category() != QChar::Other_Format; // such as a change of direction
}

bool isPlain(const QString& text)
{
    return std::all_of(text.begin(), text.end(), [](QChar c) { return isPlain(c); });
}

QString jsonString(const QString& text)
{
    const QByteArray array = QJsonDocument(QJsonArray{text}).toJson(QJsonDocument::Compact);
    return printable(QString::fromUtf8(array.mid(1, array.size() - 2)));
}

/// The text, in quotes if it could be misread.
QString quotedIfNeeded(const QString& text, bool isInList)
{
    const bool isClear = !text.isEmpty() && text != QLatin1String("-") && !text.front().isSpace() &&
                         !text.back().isSpace() && !QStringLiteral("'\"[").contains(text.front()) &&
                         !(isInList && text.contains(QLatin1Char(',')));
    if (isPlain(text) && (isClear || !text.contains(SINGLE_QUOTE))) {
        return isClear ? text : SINGLE_QUOTE + text + SINGLE_QUOTE;
    }
    return jsonString(text);
}

QString withReasons(const QString& word, const QStringList& reasons)
{
    return reasons.isEmpty() ? word
                             : word + QStringLiteral(" (") +
                                   printable(reasons.join(QLatin1String("; "))) + QLatin1Char(')');
}

template <typename Messages>
QStringList textsOf(const Messages& messages)
{
    QStringList texts;
    for (const auto& message : messages) {
        texts.append(message.getText());
    }
    return texts;
}

/// Where the JSON string that begins at an index ends, or -1.
int endOfJsonString(const QString& line, int begin)
{
    for (int i = begin + 1; i < line.size(); ++i) {
        if (line[i] == DOUBLE_QUOTE) {
            return i;
        }
        i += line[i] == QLatin1Char('\\') ? 1 : 0;
    }
    return -1;
}

} // namespace

QString printable(const QString& text)
{
    if (isPlain(text)) {
        return text;
    }
    QString shown;
    for (const QChar character : text) {
        shown += isPlain(character)
                     ? QString(character)
                     : QStringLiteral("\\u%1").arg(character.unicode(), 4, 16, QLatin1Char('0'));
    }
    return shown;
}

QString valueText(const QStringList& values)
{
    if (values.isEmpty()) {
        return QStringLiteral("-");
    }
    if (values.size() == 1) {
        return quotedIfNeeded(values.front(), false);
    }
    QStringList texts;
    for (const QString& value : values) {
        texts.append(quotedIfNeeded(value, true));
    }
    return QLatin1Char('[') + texts.join(QLatin1String(", ")) + QLatin1Char(']');
}

QJsonValue valueJson(const QStringList& values)
{
    return values.isEmpty()     ? QJsonValue()
           : values.size() == 1 ? QJsonValue(values.front())
                                : QJsonValue(QJsonArray::fromStringList(values));
}

std::optional<QStringList> valuesOf(const QJsonValue& json)
{
    if (json.isNull()) {
        return QStringList();
    }
    QStringList values;
    for (const QJsonValue& value : json.isArray() ? json.toArray() : QJsonArray{json}) {
        if (!value.isString()) {
            return std::nullopt;
        }
        values.append(value.toString());
    }
    return values;
}

QStringList valuesOf(const DatacoreBase& datacore)
{
    const std::deque<QString> values = datacore.getDataList();
    return QStringList(values.begin(), values.end());
}

QStringList invalidReasonsOf(const DatacoreBase& datacore)
{
    DatacoreValidStatusMessages messages;
    datacore.isValid(messages);
    return textsOf(messages);
}

QStringList inactiveReasonsOf(const DatacoreBase& datacore)
{
    DatacoreActiveStatusMessages messages;
    datacore.isActive(messages);
    return textsOf(messages);
}

QString statusText(const DatacoreBase& datacore)
{
    const QString valid = QLatin1String(datacore.isValid() ? "valid" : "invalid");
    const QString active = QLatin1String(datacore.isActive() ? "active" : "inactive");
    return withReasons(valid, invalidReasonsOf(datacore)) + QLatin1Char(' ') +
           withReasons(active, inactiveReasonsOf(datacore));
}

std::optional<std::vector<Word>> splitWords(const QString& line, QString& whatIsWrong)
{
    std::vector<Word> words;
    bool isWithin = false; // a word
    for (int i = 0; i < line.size(); ++i) {
        if (line[i].isSpace()) {
            isWithin = false;
            continue;
        }
        if (!isWithin) {
            words.emplace_back();
            isWithin = true;
        }
        if (line[i] != SINGLE_QUOTE && line[i] != DOUBLE_QUOTE) {
            words.back().text += line[i];
            continue;
        }
        const bool isJson = line[i] == DOUBLE_QUOTE;
        const int end = isJson ? endOfJsonString(line, i) : line.indexOf(SINGLE_QUOTE, i + 1);
        if (end < 0) {
            whatIsWrong = QStringLiteral("column %1: the quote has no end").arg(i + 1);
            return std::nullopt;
        }
        QString text = line.mid(i + 1, end - i - 1);
        if (isJson) {
            const QString json = QLatin1Char('[') + line.mid(i, end - i + 1) + QLatin1Char(']');
            const QJsonArray array = parseJson(json.toUtf8()).array();
            if (array.isEmpty()) {
                whatIsWrong =
                    QStringLiteral("column %1: between double quotes stands a JSON string")
                        .arg(i + 1);
                return std::nullopt;
            }
            text = array[0].toString();
        }
        words.back().text += text;
        words.back().isQuoted = true;
        i = end;
    }
    return words;
}
