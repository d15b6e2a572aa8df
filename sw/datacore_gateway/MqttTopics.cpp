#include "MqttTopics.h"

#include <QStringList>

namespace MqttTopics {

namespace {

constexpr char SLASH = '/';
constexpr int MAX_BYTES = 60'000;
constexpr int MAX_LEVELS = 190;

void appendEscaped(QByteArray& topic, const QString& text)
{
    const QByteArray bytes = text.toUtf8();
    for (const char byte : bytes) {
        topic.append('%').append(QByteArray(1, byte).toHex().toUpper());
    }
}

} // namespace

QByteArray fromPath(const QString& path)
{
    QByteArray topic;
    bool isFirstLevel = true;
    const QStringList levels = path.split(QLatin1Char(SLASH));
    for (const QString& level : levels) {
        if (!isFirstLevel) {
            topic.append(SLASH);
        }
        isFirstLevel = false;
        int plainFrom = 0;
        for (int i = 0; i < level.size(); ++i) {
            const QChar c = level[i];
            const bool isWildcard = c == QLatin1Char('+') || c == QLatin1Char('#');
            const bool isReserved =
                i == 0 && (c == QLatin1Char('$') || level == QLatin1String("set"));
            if (isWildcard || isReserved || c == QLatin1Char('%') ||
                c.category() == QChar::Other_Control || c.isNonCharacter()) {
                topic.append(level.midRef(plainFrom, i - plainFrom).toUtf8());
                appendEscaped(topic, c);
                plainFrom = i + 1;
            }
        }
        topic.append(level.midRef(plainFrom).toUtf8());
    }
    return topic;
}

QString toPath(const QByteArray& levels)
{
    const QByteArray bytes = QByteArray::fromPercentEncoding(levels);
    return QString::fromUtf8(bytes.constData(), bytes.size()); // also beyond a NUL
}

bool isPublishable(const QByteArray& topic)
{
    return !topic.isEmpty() && !topic.startsWith('$') && !topic.contains('+') &&
           !topic.contains('#') && !topic.contains('\0') && topic.size() <= MAX_BYTES &&
           countLevels(topic) <= MAX_LEVELS;
}

int countLevels(const QByteArray& topic)
{
    return topic.count(SLASH) + 1;
}

} // namespace MqttTopics
