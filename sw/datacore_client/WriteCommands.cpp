// set, unset, load and diff.
#include "Commands.h"
#include "ValueText.h"
#include "WantedValues.h"

#include <QHash>

#include <algorithm>
#include <utility>

namespace {

constexpr int MOST_SUGGESTIONS = 20;

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
