#include "WantedValues.h"

#include "infrastructure/datacore/DatacoreJsonInterface.h"
#include "infrastructure/utility/JsonFile.h"
#include "infrastructure/utility/ParseJson.h"
#include "ValueText.h"

#include <QFile>
#include <QJsonObject>

#include <cstdio>

namespace {

constexpr qint64 MAX_FILE_BYTES = MAX_JSON_FILE_BYTES;
constexpr int MAX_DEPTH = 256; ///< of a dump

/// All of a file, or of standard input for "-".
std::optional<QByteArray> readFile(const QString& name, QString& whatIsWrong)
{
    QFile file(name);
    const bool isOpen = name == QLatin1String("-") ? file.open(stdin, QIODevice::ReadOnly)
                                                   : file.open(QIODevice::ReadOnly);
    // A pipe has no size, and a read takes as much memory as it asks for.
    constexpr int BLOCK_BYTES = 1 << 20;
    QByteArray content;
    while (isOpen && content.size() <= MAX_FILE_BYTES) {
        const QByteArray block = file.read(BLOCK_BYTES);
        if (block.isEmpty()) {
            break;
        }
        content += block;
    }
    if (!isOpen || file.error() != QFileDevice::NoError) {
        whatIsWrong = QStringLiteral("%1: %2").arg(name, file.errorString());
        return std::nullopt;
    }
    if (content.size() > MAX_FILE_BYTES) {
        whatIsWrong = QStringLiteral("%1: larger than %2 MiB").arg(name).arg(MAX_FILE_BYTES >> 20);
        return std::nullopt;
    }
    return content;
}

/// Collects what the nodes of a dump hold; false, with the path of a part that is no node's.
bool collect(const QJsonObject& nodes, const QString& parent, int depth,
             std::vector<Wanted>& wanted, QString& whatIsWrong)
{
    static const QStringList elements = {QStringLiteral("class"), QStringLiteral("data"),
                                         QStringLiteral("reasonsForBeingInactive"),
                                         QStringLiteral("reasonsForBeingInvalid")};
    for (auto it = nodes.begin(); it != nodes.end(); ++it) {
        if (depth > 0 && elements.contains(it.key())) {
            continue;
        }
        const QString path = parent + it.key();
        if (!it->isObject() || depth > MAX_DEPTH) {
            whatIsWrong =
                depth > MAX_DEPTH
                    ? QStringLiteral("nodes more than %1 deep").arg(MAX_DEPTH)
                    : QStringLiteral("%1 is no object, as a node is").arg(printable(path));
            return false;
        }
        const QJsonObject node = it->toObject();
        if (node.contains(QLatin1String("data"))) {
            const std::optional<QStringList> values = valuesOf(node.value(QLatin1String("data")));
            if (!values) {
                whatIsWrong = QStringLiteral("\"data\" of %1 is not null, a string or an array of "
                                             "strings")
                                  .arg(printable(path));
                return false;
            }
            wanted.push_back({path, *values});
        }
        if (!collect(node, path + DatacoreJsonInterface::TREE_LEVEL_DELIMITER(), depth + 1, wanted,
                     whatIsWrong)) {
            return false;
        }
    }
    return true;
}

} // namespace

std::optional<std::vector<Wanted>> readDump(const QString& name, QString& whatIsWrong)
{
    const std::optional<QByteArray> content = readFile(name, whatIsWrong);
    if (!content) {
        return std::nullopt;
    }
    QJsonParseError error;
    const QJsonDocument document = parseJson(*content, &error);
    std::vector<Wanted> wanted;
    if (document.isNull()) {
        const QByteArray before = content->left(error.offset);
        whatIsWrong = QStringLiteral("line %1, column %2: %3")
                          .arg(before.count('\n') + 1)
                          .arg(before.size() - before.lastIndexOf('\n'))
                          .arg(error.errorString());
    } else if (!document.isObject()) {
        whatIsWrong = QStringLiteral("an array, where dump writes an object");
    } else if (collect(document.object(), QString(), 0, wanted, whatIsWrong)) {
        return wanted;
    }
    whatIsWrong.prepend(name + QLatin1String(": "));
    return std::nullopt;
}

std::optional<std::vector<Wanted>> readLines(QString& whatIsWrong)
{
    const std::optional<QByteArray> content = readFile(QStringLiteral("-"), whatIsWrong);
    if (!content) {
        return std::nullopt;
    }
    std::vector<Wanted> wanted;
    int number = 0;
    const QList<QByteArray> lines = content->split('\n');
    for (const QByteArray& line : lines) {
        ++number;
        if (line.trimmed().isEmpty() || line.trimmed().startsWith('#')) {
            continue;
        }
        const std::optional<std::vector<Word>> words =
            splitWords(QString::fromUtf8(line), whatIsWrong);
        if (words && words->size() < 2) {
            whatIsWrong = QStringLiteral("a path and a value are needed; - alone is no value");
        }
        if (!words || words->size() < 2) {
            whatIsWrong =
                QStringLiteral("standard input, line %1: %2").arg(number).arg(whatIsWrong);
            return std::nullopt;
        }
        QStringList values;
        for (std::size_t i = 1; i < words->size(); ++i) {
            values.append((*words)[i].text);
        }
        const bool isNone =
            words->size() == 2 && !(*words)[1].isQuoted && values[0] == QLatin1String("-");
        wanted.push_back({words->front().text, isNone ? QStringList() : values});
    }
    return wanted;
}
