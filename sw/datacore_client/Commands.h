// The commands of the tool.
#pragma once

#include "PathPatterns.h"
#include "Server.h"

#include <QObject>
#include <QTimer>

#include <map>

/// The command for bash's completion, which the help does not show.
constexpr const char COMPLETE[] = "complete";

/// One run of a command: connects to the servers, and goes on when all have told their names. Ends
/// the event loop.
class Command : public QObject
{
    Q_OBJECT

public:
    explicit Command(const Settings& commandSettings);
    ~Command() override;

    void start();

protected:
    /// All servers have told their names.
    virtual void onNames() = 0;
    /// All servers have sent the values asked for by readValues.
    virtual void onValues() {}
    /// All servers have told what nodes take, after readDescriptions.
    virtual void onDescriptions() {}
    /// The exit value of a command that fails.
    virtual int getFailureValue() const { return 1; }
    /// What to say when an answer does not come in time.
    virtual QString getOverdueText() const;
    /// An answer does not come in time. The command fails.
    virtual void onOverdue() { fail(getOverdueText()); }
    /// A link could not be made, or is gone. The command fails.
    virtual void onFailure(Server& server, const QString& why);

    /// Selects by the words from an index on, for each server; false if the command has failed.
    bool select(int firstWord, Reach reach);
    /// Asks for the values of all that is selected.
    void readValues();
    /// Asks what all that is selected takes.
    void readDescriptions();
    /// Waits anew for an answer.
    void awaitAnswer() { timer.start(); }
    void awaitNothing() { timer.stop(); }
    void fail(const QString& message);
    void finish(int exitValue);
    bool isFinished() const { return hasFinished; }

    /// Before a line about one of several servers.
    QString prefixFor(const Server& server) const;

    const Settings& settings;
    std::vector<std::unique_ptr<Server>> servers;
    std::map<const Server*, QStringList> selected;

private:
    QTimer timer;
    std::size_t answers = 0; ///< servers that have told what is awaited
    bool hasFinished = false;
};

/// A line on standard output, at once. If it can't be written, says so and ends the event loop.
void print(const QString& line);
/// True once a line could not be written: the program has failed then, whatever else it did.
bool hasOutputFailed();
/// A line on standard error.
void complain(const QString& line);
/// A node as an object of one line, with or without the time.
QString jsonLine(const Server& server, const ClientDatacore& datacore, bool isTimed);

std::unique_ptr<Command> makeList(const Settings& settings);
std::unique_ptr<Command> makeGet(const Settings& settings);
std::unique_ptr<Command> makeDescribe(const Settings& settings);
std::unique_ptr<Command> makeDump(const Settings& settings);
std::unique_ptr<Command> makeWatch(const Settings& settings);
std::unique_ptr<Command> makeSet(const Settings& settings);
std::unique_ptr<Command> makeUnset(const Settings& settings);
std::unique_ptr<Command> makeLoad(const Settings& settings);
std::unique_ptr<Command> makeDiff(const Settings& settings);

/// Prints what the last word of an unfinished command line may become, one a line. Returns 0, or 3
/// if it is the name of a file.
int complete(const QString& line);
