// What the shell asks for when somebody presses Tab.
#include "Commands.h"
#include "ValueText.h"

#include <QCoreApplication>

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace {

constexpr int FILE_IS_WANTED = 3;
constexpr int PATIENCE_MS = 500;   ///< of somebody who has pressed a key
constexpr qint64 MOST_LISTED = 64; ///< of the values between two limits

void offer(const QStringList& candidates, const QString& beginning)
{
    for (const QString& candidate : candidates) {
        if (candidate.startsWith(beginning) && printable(candidate) == candidate) {
            print(candidate);
        }
    }
}

/// A connection that says nothing when it fails.
class Completion : public Command
{
public:
    Completion(const Settings& commandSettings, QString unfinishedWord)
        : Command(commandSettings)
        , word(std::move(unfinishedWord))
    {
    }

protected:
    const QString word;

private:
    void onFailure(Server&, const QString&) override { finish(1); }
    void onOverdue() override { finish(1); }
};

/// The paths that begin so, one level further; those with nodes below end in a delimiter.
class PathCompletion : public Completion
{
public:
    using Completion::Completion;

private:
    void onNames() override
    {
        const QChar delimiter = DatacoreJsonInterface::TREE_LEVEL_DELIMITER();
        QStringList candidates;
        const QStringList paths = servers.front()->getPaths();
        for (const QString& path : paths) {
            if (path.startsWith(word)) {
                const int end = path.indexOf(delimiter, word.size());
                const QString candidate = end < 0 ? path : path.left(end + 1);
                if (end >= 0) {
                    candidates.removeOne(path.left(end)); // its own path came before
                }
                if (candidates.isEmpty() || candidates.constLast() != candidate) {
                    candidates.append(candidate);
                }
            }
        }
        offer(candidates, word);
        finish(0);
    }
};

/// The values that a node's description lists.
class ValueCompletion : public Completion
{
public:
    using Completion::Completion;

private:
    void onNames() override
    {
        path = settings.words[0];
        if (servers.front()->find(path) == nullptr) {
            finish(0);
            return;
        }
        selected[servers.front().get()] = QStringList{path};
        readDescriptions();
    }

    void onDescriptions() override
    {
        if (const auto description = servers.front()->descriptions().findDescription(path)) {
            offer(valuesFor(*description), word);
        }
        finish(0);
    }

    static QStringList valuesFor(const DatacoreDescription& description)
    {
        if (!description.choices.isEmpty() || description.isReadOnly) {
            return description.isReadOnly ? QStringList() : description.choices;
        }
        QStringList values;
        bool hasLeast = false;
        bool hasMost = false;
        const qint64 least = description.minimum.toLongLong(&hasLeast);
        const qint64 most = description.maximum.toLongLong(&hasMost);
        if (hasLeast && hasMost && most / 2 - least / 2 < MOST_LISTED / 2) {
            for (qint64 value = least; value <= most; ++value) {
                values.append(QString::number(value));
            }
        }
        return values;
    }

    QString path;
};

QStringList commandNames()
{
    QStringList names;
    for (const CommandForm& form : commandForms()) {
        names.append(QLatin1String(form.name));
    }
    return names;
}

} // namespace

int complete(const QString& line)
{
    QString whatIsWrong;
    std::optional<std::vector<Word>> split = splitWords(line, whatIsWrong);
    if (!split || split->empty()) {
        return 1;
    }
    if (line.back().isSpace()) {
        split->push_back({});
    }
    QStringList words;
    for (std::size_t i = 1; i < split->size(); ++i) { // behind the program's name
        words.append((*split)[i].text);
    }
    if (words.isEmpty()) {
        return 1;
    }
    const QString word = words.takeLast();
    PartOfCommandLine part = readPart(words);
    if (!part.awaitedValueOf.isEmpty()) {
        const bool isFile = part.awaitedValueOf.contains(QLatin1String("file")) ||
                            part.awaitedValueOf.startsWith(QLatin1String("--tls-"));
        return isFile ? FILE_IS_WANTED : 0;
    }
    const CommandForm* form = part.settings.command;
    if (word.startsWith(QLatin1Char('-'))) {
        offer(part.options, word);
        return 0;
    }
    if (form == nullptr) {
        offer(part.settings.words.isEmpty() ? commandNames() : QStringList(), word);
        return 0;
    }
    if (part.settings.words.isEmpty() && std::strncmp(form->words, "FILE", 4) == 0) {
        return FILE_IS_WANTED;
    }
    if (part.settings.servers.empty()) {
        return 1;
    }
    part.settings.timeoutMs = std::min(part.settings.timeoutMs, PATIENCE_MS);
    part.settings.servers.resize(1);
    const bool isValue = std::strcmp(form->name, "set") == 0 && !part.settings.words.isEmpty();
    std::unique_ptr<Command> completion;
    if (isValue) {
        completion = std::make_unique<ValueCompletion>(part.settings, word);
    } else {
        completion = std::make_unique<PathCompletion>(part.settings, word);
    }
    completion->start();
    return QCoreApplication::exec();
}
