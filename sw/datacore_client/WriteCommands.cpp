// set, unset, load and diff.
#include "Commands.h"
#include "infrastructure/utility/JsonFile.h"
#include "infrastructure/utility/ParseJson.h"
#include "ValueText.h"

#include <QFile>
#include <QHash>
#include <QJsonObject>

#include <algorithm>
#include <cstdio>
#include <utility>

namespace {

constexpr qint64 MAX_FILE_BYTES = MAX_JSON_FILE_BYTES;
constexpr int MOST_SUGGESTIONS = 20;
constexpr int MAX_DEPTH = 256; ///< of a dump

/// What a node is to hold.
struct Wanted
{
    QString path;
    QStringList values;
};

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

/// A line PATH VALUE... for each write; empty lines and those that begin with # are left out.
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

/// A command about nodes and the values that they are to hold, at one server.
class WantedCommand : public Command
{
public:
    using Command::Command;

protected:
    Server& server() { return *servers.front(); }

    /// Reads what stands in the nodes that are there.
    void readStanding()
    {
        QStringList paths;
        for (const Wanted& each : wanted) {
            if (server().find(each.path) != nullptr) {
                paths.append(each.path);
            }
        }
        paths.removeDuplicates();
        if (paths.isEmpty()) {
            onValues();
            return;
        }
        selected[&server()] = paths;
        readValues();
    }

    std::vector<Wanted> wanted;
};

/// Writes what differs, all at once, and waits until all of it is acknowledged.
class WriteCommand : public WantedCommand
{
public:
    using WantedCommand::WantedCommand;

protected:
    /// Everything is acknowledged; the writes that the server refused have been complained of.
    virtual void onWritten() = 0;

    void printCounts(int unknownCount = 0) const
    {
        print(QStringLiteral("%1 written, %2 refused, %3 unknown, %4 the same")
                  .arg(writtenCount - refusedCount)
                  .arg(refusedCount)
                  .arg(unknownCount)
                  .arg(sameCount));
    }

    void onValues() override
    {
        awaitAnswer();
        for (const Wanted& each : wanted) {
            ClientDatacore* datacore = server().find(each.path);
            if (datacore == nullptr) {
                continue;
            }
            if (valuesOf(*datacore) == each.values) {
                ++sameCount;
                continue;
            }
            if (!writes.contains(each.path)) {
                follow(*datacore);
            }
            Write& write = writes[each.path];
            write.values = each.values;
            ++writtenCount;
            datacore->setDataStringList(each.values);
        }
        if (writes.isEmpty()) {
            onWritten();
        }
    }

    void onFailure(Server& failed, const QString& why) override
    {
        if (!isFinished()) {
            complainOfPending();
        }
        WantedCommand::onFailure(failed, why);
    }

    QString getOverdueText() const override
    {
        complainOfPending();
        return WantedCommand::getOverdueText();
    }

    int writtenCount = 0;
    int sameCount = 0; ///< nothing to be written
    int refusedCount = 0;

private:
    struct Write
    {
        QStringList values;
        bool isAcknowledged = false;
        bool isSettled = false; ///< what the acknowledgement brought is known
    };

    void complainOfPending() const
    {
        for (auto it = writes.begin(); it != writes.end(); ++it) {
            if (!it->isAcknowledged) {
                complain(printable(it.key()) + QStringLiteral(": not acknowledged"));
            }
        }
    }

    void follow(ClientDatacore& datacore)
    {
        const QString path = datacore.getPath();
        connect(&datacore, &ClientDatacore::datacoreInSyncWithServer, this, [this, path] {
            Write& write = writes[path];
            if (!write.isAcknowledged) {
                write.isAcknowledged = true;
                awaitAnswer();
                if (++acknowledgedCount == writes.size()) {
                    // The content of the last acknowledgement is taken after this signal.
                    QTimer::singleShot(0, this, [this] {
                        settleRest();
                        onWritten();
                    });
                }
            }
        });
        // Its content comes next, unless the mirror holds that already.
        connect(&datacore, &ClientDatacore::datacoreUpdated, this, [this, path] {
            if (writes[path].isAcknowledged) {
                settle(path);
            }
        });
    }

    void settleRest()
    {
        const QStringList paths = writes.keys();
        for (const QString& path : paths) {
            settle(path);
        }
    }

    void settle(const QString& path)
    {
        Write& write = writes[path];
        const ClientDatacore& datacore = *server().find(path);
        if (!std::exchange(write.isSettled, true) && valuesOf(datacore) != write.values) {
            ++refusedCount;
            complain(
                QStringLiteral("%1: refused, the value is %2  %3")
                    .arg(printable(path), valueText(valuesOf(datacore)), statusText(datacore)));
        }
    }

    QHash<QString, Write> writes;
    int acknowledgedCount = 0;
};

/// set and unset.
class SetCommand : public WriteCommand
{
public:
    using WriteCommand::WriteCommand;

private:
    bool isBatch() const { return settings.words[0] == QLatin1String("-"); }

    /// False, with the reason, if the words or lines name nothing to write.
    bool readWanted(QString& whatIsWrong)
    {
        if (settings.command->make == makeUnset) {
            if (!select(0, Reach::Node)) {
                return false;
            }
            for (const QString& path : selected[&server()]) {
                wanted.push_back({path, {}});
            }
            return true;
        }
        if (!isBatch()) {
            wanted.push_back({settings.words[0], settings.words.mid(1)});
            return true;
        }
        std::optional<std::vector<Wanted>> lines = readLines(whatIsWrong);
        wanted = std::move(lines).value_or(std::vector<Wanted>());
        return lines.has_value();
    }

    void onNames() override
    {
        QString whatIsWrong;
        if (!readWanted(whatIsWrong)) {
            fail(whatIsWrong);
            return;
        }
        const QStringList paths = server().getPaths();
        const bool isKnown = std::all_of(wanted.begin(), wanted.end(), [&](const Wanted& each) {
            if (server().find(each.path) == nullptr) {
                complain(describeUnknownPath(each.path, paths));
                return false;
            }
            return true;
        });
        if (isKnown) {
            readStanding();
        } else {
            finish(1); // nothing is written
        }
    }

    void onWritten() override
    {
        for (const Wanted& each : wanted) {
            const ClientDatacore& datacore = *server().find(each.path);
            if (!isBatch() && refusedCount == 0) {
                print(valueText(valuesOf(datacore)) + QStringLiteral("  ") + statusText(datacore));
            }
        }
        if (isBatch()) {
            printCounts();
        }
        finish(refusedCount > 0 ? 1 : 0);
    }
};

/// Reads a dump and leaves out what is not asked for: without paths what is no setting, since a
/// status can't be written and a command would be carried out.
template <typename Base>
class DumpReader : public Base
{
public:
    using Base::Base;

protected:
    bool readWanted()
    {
        QString whatIsWrong;
        std::optional<std::vector<Wanted>> dump = readDump(this->settings.words[0], whatIsWrong);
        if (!dump) {
            this->fail(whatIsWrong);
            return false;
        }
        QStringList inFile;
        for (const Wanted& each : *dump) {
            inFile.append(each.path);
        }
        std::sort(inFile.begin(), inFile.end());
        const std::optional<QStringList> wished =
            selectPaths(this->settings.words.mid(1), inFile, Reach::Children, whatIsWrong);
        if (!wished) {
            this->fail(this->settings.words[0] + QStringLiteral(": ") + whatIsWrong);
            return false;
        }
        const QSet<QString> paths(wished->begin(), wished->end());
        const bool isAll = this->settings.words.size() == 1;
        for (Wanted& each : *dump) {
            if (paths.contains(each.path) && !(isAll && isNoSetting(each.path))) {
                this->wanted.push_back(std::move(each));
            }
        }
        return true;
    }

private:
    static bool isNoSetting(const QString& path)
    {
        const QString root = path.section(DatacoreJsonInterface::TREE_LEVEL_DELIMITER(), 0, 0);
        return root == QLatin1String("statusCoreRouter") ||
               root == QLatin1String("commandCoreRouter");
    }
};

class LoadCommand : public DumpReader<WriteCommand>
{
public:
    using DumpReader::DumpReader;

private:
    void onNames() override
    {
        if (!readWanted()) {
            return;
        }
        const QStringList paths = server().getPaths();
        for (const Wanted& each : wanted) {
            if (server().find(each.path) == nullptr) {
                // Suggestions take a look at all paths.
                complain(unknownCount++ < MOST_SUGGESTIONS
                             ? describeUnknownPath(each.path, paths)
                             : QStringLiteral("There is no datacore ") + printable(each.path));
            }
        }
        readStanding();
    }

    void onWritten() override
    {
        printCounts(unknownCount);
        finish(refusedCount + unknownCount > 0 ? 1 : 0);
    }

    int unknownCount = 0;
};

class DiffCommand : public DumpReader<WantedCommand>
{
public:
    using DumpReader::DumpReader;

private:
    int getFailureValue() const override { return 2; } // 1 tells of a difference

    void onNames() override
    {
        if (readWanted()) {
            readStanding();
        }
    }

    void onValues() override
    {
        bool isSame = true;
        for (const Wanted& each : wanted) {
            const ClientDatacore* datacore = server().find(each.path);
            if (datacore != nullptr && valuesOf(*datacore) == each.values) {
                continue;
            }
            isSame = false;
            print(QStringLiteral("%1: %2 in the file, %3 at the server")
                      .arg(printable(each.path), valueText(each.values),
                           datacore == nullptr ? QStringLiteral("unknown")
                                               : valueText(valuesOf(*datacore))));
        }
        finish(isSame ? 0 : 1);
    }
};

} // namespace

std::unique_ptr<Command> makeSet(const Settings& settings)
{
    return std::make_unique<SetCommand>(settings);
}

std::unique_ptr<Command> makeUnset(const Settings& settings)
{
    return std::make_unique<SetCommand>(settings);
}

std::unique_ptr<Command> makeLoad(const Settings& settings)
{
    return std::make_unique<LoadCommand>(settings);
}

std::unique_ptr<Command> makeDiff(const Settings& settings)
{
    return std::make_unique<DiffCommand>(settings);
}
