// Holds the clients of a server to its access rules. Lives on the server's thread.
#pragma once

#include "infrastructure/server/AccessRules.h"
#include "infrastructure/server/LogLimit_p.h"
#include "infrastructure/server/TokenGuesses_p.h"
#include "infrastructure/utility/packets/DatacoreAccessPacket.h"

class DatacoreBase;
class DatacorePacket;

/// What access control knows of one client.
struct AccessPeer
{
    PeerOrigin origin;
    AccessRole role;
    LogLimit refusals; ///< of writes
};

/// Gives roles, takes tokens, refuses writes, and logs all that once a second at most: refused
/// writes of each client, everything else of all clients together.
class AccessControl
{
public:
    using Time = std::chrono::steady_clock::time_point;

    /// For clients that come from now on; what may be written holds at once.
    void setRules(const AccessRules& accessRules) { rules = accessRules; }
    const AccessRules& getRules() const { return rules; }

    /// A new client, with the role of its origin.
    AccessPeer admit(const PeerOrigin& origin) const;
    /// Adds the role of a right token to what the client has. The answer to the client; an empty
    /// token only asks for it.
    DatacoreAccessPacket takeToken(AccessPeer& peer, const QString& token, Time now);
    /// Whether the node is closed to all clients, by its owner or by the rules.
    bool isReadOnly(const DatacoreBase& datacore) const;
    /// Whether the client may write to this node and to all nodes below it that the write has
    /// content for.
    bool mayWrite(AccessPeer& peer, const DatacoreBase& datacore, const DatacorePacket& write,
                  Time now) const;
    /// Logs that a client without a role is dropped.
    void logDropped(const AccessPeer& peer, const char* reason, Time now);
    /// Logs how many refusals of a client that has gone are not in the log.
    static void logRest(AccessPeer& peer);

private:
    bool isReadOnly(const DatacoreBase& datacore, QStringView tree) const;
    const DatacoreBase* findReadOnly(const DatacoreBase& datacore, QStringView tree,
                                     const QJsonObject& content) const;

    AccessRules rules;
    TokenGuesses guesses;
    LogLimit tokenLines, dropLines;
};
