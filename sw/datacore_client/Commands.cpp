#include "Commands.h"

#include "ValueText.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cerrno>
#include <cstdio>
#include <cstring>

Command::Command(const Settings& commandSettings)
    : settings(commandSettings)
{
    timer.setSingleShot(true);
    timer.setInterval(settings.timeoutMs);
    connect(&timer, &QTimer::timeout, this, [this] { onOverdue(); });
    for (const LinkAddress& address : settings.servers) {
        servers.push_back(std::make_unique<Server>(address, settings, this));
        Server& server = *servers.back();
        const auto onAnswer = [this](void (Command::*next)()) {
            if (++answers == servers.size() && !hasFinished) {
                answers = 0;
                (this->*next)();
            }
        };
        connect(&server, &Server::named, this, [onAnswer] { onAnswer(&Command::onNames); });
        connect(&server, &Server::valuesRead, this, [onAnswer] { onAnswer(&Command::onValues); });
        connect(&server, &Server::described, this,
                [onAnswer] { onAnswer(&Command::onDescriptions); });
        connect(&server, &Server::failed, this,
                [this, &server](const QString& why) { onFailure(server, why); });
    }
}

Command::~Command() = default;

void Command::start()
{
    timer.start();
    for (const std::unique_ptr<Server>& server : servers) {
        server->start();
    }
}

QString Command::getOverdueText() const
{
    return QStringLiteral("The server did not answer within %1 ms.").arg(settings.timeoutMs);
}

void Command::onFailure(Server&, const QString& why)
{
    fail(why);
}

bool Command::select(int firstWord, Reach reach)
{
    for (const std::unique_ptr<Server>& server : servers) {
        QString whatIsWrong;
        const std::optional<QStringList> paths =
            selectPaths(settings.words.mid(firstWord), server->getPaths(), reach, whatIsWrong);
        if (!paths) {
            fail(prefixFor(*server) + whatIsWrong);
            return false;
        }
        selected[server.get()] = *paths;
    }
    return true;
}

void Command::readValues()
{
    awaitAnswer();
    for (const std::unique_ptr<Server>& server : servers) {
        server->readValues(selected[server.get()]);
    }
}

void Command::readDescriptions()
{
    awaitAnswer();
    for (const std::unique_ptr<Server>& server : servers) {
        server->readDescriptions(selected[server.get()]);
    }
}

void Command::fail(const QString& message)
{
    if (!hasFinished) {
        complain(message);
        finish(getFailureValue());
    }
}

void Command::finish(int exitValue)
{
    if (!hasFinished) {
        hasFinished = true;
        timer.stop();
        QCoreApplication::exit(exitValue);
    }
}

QString Command::prefixFor(const Server& server) const
{
    return servers.size() > 1 ? server.getName() + QLatin1Char(' ') : QString();
}

void print(const QString& line)
{
    if (hasOutputFailed()) {
        return;
    }
    std::puts(qUtf8Printable(line));
    std::fflush(stdout);
    if (hasOutputFailed()) {
        complain(QStringLiteral("Standard output: %1")
                     .arg(QString::fromLocal8Bit(std::strerror(errno))));
        QCoreApplication::exit(1);
    }
}

bool hasOutputFailed()
{
    return std::ferror(stdout) != 0;
}

void complain(const QString& line)
{
    std::fprintf(stderr, "%s\n", qUtf8Printable(line));
}

QString jsonLine(const Server& server, const ClientDatacore& datacore, bool isTimed)
{
    const QJsonObject reasons{
        {QStringLiteral("inactive"), QJsonArray::fromStringList(inactiveReasonsOf(datacore))},
        {QStringLiteral("invalid"), QJsonArray::fromStringList(invalidReasonsOf(datacore))}};
    QJsonObject line{{QStringLiteral("server"), server.getName()},
                     {QStringLiteral("path"), datacore.getPath()},
                     {QStringLiteral("value"), valueJson(valuesOf(datacore))},
                     {QStringLiteral("valid"), datacore.isValid()},
                     {QStringLiteral("active"), datacore.isActive()},
                     {QStringLiteral("reasons"), reasons}};
    if (isTimed) {
        const QDateTime now = QDateTime::currentDateTime();
        line.insert(QStringLiteral("time"),
                    now.toOffsetFromUtc(now.offsetFromUtc()).toString(Qt::ISODateWithMs));
    }
    return QString::fromUtf8(QJsonDocument(line).toJson(QJsonDocument::Compact));
}
