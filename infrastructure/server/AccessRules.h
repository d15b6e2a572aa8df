// Which nodes clients may write at all, and who may do what. A value.
#pragma once

#include "infrastructure/server/AccessRole.h"
#include "infrastructure/server/AddressRange.h"
#include "infrastructure/utility/packets/PeerOrigin.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <map>
#include <optional>
#include <variant>
#include <vector>

/// The rules of one server. They are read from a file by readAccessRules, or put together here.
///
/// A client may write a node if the node is writable and a role of the client covers it. Whether a
/// node is writable is said by the rule for this very node or, failing that, by the rule for the
/// closest tree that it lies in. At first the trees configCoreRouter, commandCoreRouter and
/// persistentConfigCoreRouter are writable and statusCoreRouter is not.
class AccessRules
{
public:
    /// The four trees, by the names that all servers give them.
    static QStringList getTreeNames();

    struct User
    {
        quint32 id; ///< of the process at the other end of a local socket
    };
    struct CertificateName
    {
        QString commonName; ///< of a verified client certificate
    };
    struct CertificateSha256
    {
        QByteArray digest; ///< 32 bytes
    };
    struct TokenSha256
    {
        QByteArray digest; ///< 32 bytes
    };
    using Grantee =
        std::variant<AddressRange, User, CertificateName, CertificateSha256, TokenSha256>;

    /// How far a rule on writing reaches.
    enum class Extent {
        Tree, ///< a node and all below it
        Node, ///< a node alone
    };

    /// Every node is writable, and everybody may do everything.
    AccessRules() = default;
    /// Nobody may do anything yet.
    static AccessRules forNobody();
    /// Whoever is on this machine may do everything: loopback addresses, and local sockets of root
    /// and of the user that runs this process.
    static AccessRules forThisMachine();

    void setWritable(const QString& path, Extent extent, bool isWritable);
    /// Gives a role to a kind of peer. Whoever is granted several roles has all of them.
    void grant(const Grantee& grantee, const AccessRole& role);
    /// True if this very grantee has a role of this name.
    bool isGranted(const Grantee& grantee, const QString& roleName) const;

    /// True if nothing is forbidden to anybody.
    bool isUnrestricted() const { return unrestricted; }
    /// True if the node at a full path may be written by clients.
    bool isWritable(QStringView path) const;
    /// True if writing is ruled by whole trees, as it is by default.
    bool isRuledByTrees() const { return !hasRulesWithinTrees; }
    /// What a peer may do by the way it came.
    AccessRole getRole(const PeerOrigin& origin) const;
    /// What a token gives; nothing if it is wrong. How long that takes does not depend on the
    /// token.
    std::optional<AccessRole> getTokenRole(const QString& token) const;
    /// True if some token gives a role.
    bool knowsTokens() const;
    /// All paths that the rules name, in alphabetical order, but for the four trees.
    QStringList getPaths() const;

private:
    struct PathRule
    {
        std::optional<bool> tree, node;
    };
    struct PathOrder
    {
        using is_transparent = void;
        bool operator()(QStringView a, QStringView b) const { return a.compare(b) < 0; }
    };
    struct Grant
    {
        Grantee grantee;
        AccessRole role;
    };

    bool unrestricted = true;
    bool hasRulesWithinTrees = false;
    std::map<QString, PathRule, PathOrder> paths;
    std::vector<Grant> grants;
};
