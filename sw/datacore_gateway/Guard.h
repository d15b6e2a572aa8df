// Who may do what with the gateway.
#pragma once

#include "HttpServer.h"
#include "infrastructure/server/AccessRules.h"

#include <QElapsedTimer>
#include <QHash>

#include <optional>

/// Judges requests: whether they are meant for this gateway, by whom, and how many there are.
class Guard
{
public:
    static constexpr int REQUESTS_A_SECOND = 100;
    static constexpr int BURST = 400; ///< a page is many files at once
    static constexpr int MAX_PLACES = 1024;

    struct Settings
    {
        AccessRules rules = AccessRules::forThisMachine();
        bool mayWrite = false;    ///< anybody at all
        QStringList allowedHosts; ///< beside "localhost" and addresses
    };

    explicit Guard(Settings guardSettings);

    /// What is wrong with a request whoever makes it: too many from its address, a Host that is
    /// not this machine's (names of others may lead here, DNS rebinding), an Origin that is not the
    /// Host's. Nothing if it is good.
    /// Other sites may only lead to what holds nothing of the tree (`isPublic`).
    std::optional<HttpResponse> refuse(const HttpRequest& request, bool isPublic);

    /// What the sender of a request may do, or the answer to it if that is nothing.
    AccessRole getRole(const HttpRequest& request, std::optional<HttpResponse>& refusal);
    /// What the peer itself may do, and what a token adds to that; nothing for a wrong token, and
    /// for any too soon after one.
    AccessRole getRole(const PeerOrigin& peer) const { return settings.rules.getRole(peer); }
    std::optional<AccessRole> getTokenRole(const PeerOrigin& peer, const QString& token);
    bool knowsTokens() const { return settings.rules.knowsTokens(); }

    /// `path` is the gateway's, `serverPath` the same without the server's name.
    bool mayWrite(const AccessRole& role, const QString& path, const QString& serverPath) const;
    bool mayWriteAnything(const AccessRole& role) const
    {
        return settings.mayWrite && role.right >= AccessRole::Right::Write;
    }

    quint64 getRefusedCount() const { return refusedCount; }

private:
    struct Place
    {
        double tokens = BURST; ///< requests that it may still make
        qint64 atMs = 0;
        int wrongTokens = 0;
        qint64 deafUntilMs = 0; ///< to tokens
    };

    bool isOwnHost(const QByteArray& host) const;
    Place& getPlace(const QHostAddress& address);

    const Settings settings;
    QHash<QHostAddress, Place> places;
    QElapsedTimer clock;
    quint64 refusedCount = 0;
};
