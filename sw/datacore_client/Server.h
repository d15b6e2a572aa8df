// One server of the command: the link to it and the mirrors of its nodes.
#pragma once

#include "infrastructure/client/DatacoreLink.h"
#include "Settings.h"

#include <QObject>
#include <QSet>

/// Stays connected through restarts of the server, for those that go on after `failed`.
class Server : public QObject, public SerialisableDataPacketAcceptorInterface
{
    Q_OBJECT

public:
    Server(const LinkAddress& where, const Settings& settings, QObject* parent);
    ~Server() override;

    /// Connects and asks for the names; named or failed follows.
    void start();
    /// Asks for the values of these nodes, all of which must exist; valuesRead follows. They are
    /// asked for again whenever the link was lost.
    void readValues(const QStringList& paths);
    /// Has the values of these nodes as well; nothing follows.
    void readMore(const QStringList& paths);
    /// Asks what these nodes take; described follows.
    void readDescriptions(const QStringList& paths);

    /// Its address as a text.
    QString getName() const { return link.getAddress().toString(); }
    ClientDatacoreRegistry& registry() { return link.getRegistry(); }
    /// All paths, in order.
    QStringList getPaths() { return registry().getPaths(); }
    /// The mirror of a path, or null.
    ClientDatacore* find(const QString& path) { return registry().lookup(path); }
    ClientDatacoreDescriptions& descriptions() { return link.getManager().getDescriptions(); }

    /// The answer to a token.
    bool canAcceptPacket(QString className) override;
    void acceptPacket(const SerialisableDataPacket& packet) override;

Q_SIGNALS:
    /// The names are there for the first time.
    void named();
    void valuesRead();
    void described();
    /// There is no link, or no more, and why.
    void failed(QString why);
    /// There is a link again, and all values have come.
    void isBack();

private:
    void request(const QStringList& paths);
    void onState(DatacoreLink::State state);
    void onValue(const QString& path);

    const LinkAddress address;
    const QString token;
    DatacoreLink link;
    std::unique_ptr<QObject> reading; ///< the end of the connections to mirrors that are awaited
    QSet<QString> awaited;
    QStringList wanted; ///< none for all
    bool wasUp = false; ///< there has been a link
    bool isGone = false;
};
