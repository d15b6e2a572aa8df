#include "infrastructure/server/AccessRules.h"

#include <QCryptographicHash>

#include <unistd.h>

#include <algorithm>

namespace {

const QLatin1String STATUS_TREE("statusCoreRouter");

/// Whether one kind of grantee is the peer.
struct FitsOrigin
{
    const PeerOrigin& origin;

    bool isLocal() const { return origin.way == LinkAddress::Way::Local; }

    bool operator()(const AddressRange& range) const
    {
        return !isLocal() && range.contains(origin.address);
    }
    bool operator()(const AccessRules::User& user) const
    {
        return isLocal() && origin.userId == user.id;
    }
    bool operator()(const AccessRules::CertificateName& name) const
    {
        return origin.way == LinkAddress::Way::Tls && !name.commonName.isEmpty() &&
               origin.certificateName == name.commonName;
    }
    bool operator()(const AccessRules::CertificateSha256& certificate) const
    {
        return origin.way == LinkAddress::Way::Tls && !certificate.digest.isEmpty() &&
               origin.certificateSha256 == certificate.digest;
    }
    bool operator()(const AccessRules::TokenSha256&) const { return false; }
};

/// Whether two grantees of one kind are the same.
struct IsSame
{
    const AccessRules::Grantee& other;

    template <typename T>
    const T& get() const
    {
        return *std::get_if<T>(&other);
    }
    bool operator()(const AddressRange& range) const { return range == get<AddressRange>(); }
    bool operator()(const AccessRules::User& user) const
    {
        return user.id == get<AccessRules::User>().id;
    }
    bool operator()(const AccessRules::CertificateName& name) const
    {
        return name.commonName == get<AccessRules::CertificateName>().commonName;
    }
    bool operator()(const AccessRules::CertificateSha256& certificate) const
    {
        return certificate.digest == get<AccessRules::CertificateSha256>().digest;
    }
    bool operator()(const AccessRules::TokenSha256& token) const
    {
        return token.digest == get<AccessRules::TokenSha256>().digest;
    }
};

/// The time taken does not tell how much of them agrees.
bool isSameDigest(const QByteArray& a, const QByteArray& b)
{
    int difference = a.size() ^ b.size();
    for (int i = 0; i < std::min(a.size(), b.size()); ++i) {
        difference |= a[i] ^ b[i];
    }
    return difference == 0;
}

} // namespace

QStringList AccessRules::getTreeNames()
{
    return {QStringLiteral("configCoreRouter"), STATUS_TREE, QStringLiteral("commandCoreRouter"),
            QStringLiteral("persistentConfigCoreRouter")};
}

AccessRules AccessRules::forNobody()
{
    AccessRules rules;
    rules.unrestricted = false;
    for (const QString& tree : getTreeNames()) {
        rules.setWritable(tree, Extent::Tree, tree != STATUS_TREE);
    }
    return rules;
}

AccessRules AccessRules::forThisMachine()
{
    AccessRules rules = forNobody();
    const AccessRole role{{QStringLiteral("this machine")}, AccessRole::Right::All, {}};
    QString whatIsWrong;
    for (const char* range : {"127.0.0.0/8", "::1"}) {
        rules.grant(*AddressRange::parse(QString::fromLatin1(range), whatIsWrong), role);
    }
    for (const uid_t user : {uid_t(0), geteuid()}) {
        rules.grant(User{quint32(user)}, role);
    }
    return rules;
}

void AccessRules::setWritable(const QString& path, Extent extent, bool isWritable)
{
    PathRule& rule = paths[path];
    hasRulesWithinTrees |= extent == Extent::Node || path.contains(QLatin1Char('/'));
    (extent == Extent::Tree ? rule.tree : rule.node) = isWritable;
}

void AccessRules::grant(const Grantee& grantee, const AccessRole& role)
{
    grants.push_back({grantee, role});
}

bool AccessRules::isGranted(const Grantee& grantee, const QString& roleName) const
{
    return std::any_of(grants.begin(), grants.end(), [&](const Grant& grant) {
        return grant.role.names.contains(roleName) && grant.grantee.index() == grantee.index() &&
               std::visit(IsSame{grantee}, grant.grantee);
    });
}

bool AccessRules::isWritable(QStringView path) const
{
    bool isNodeItself = true;
    for (QStringView at = path; !unrestricted; at = at.left(at.lastIndexOf(QLatin1Char('/')))) {
        const auto rule = paths.find(at);
        if (rule != paths.end() && isNodeItself && rule->second.node) {
            return *rule->second.node;
        }
        if (rule != paths.end() && rule->second.tree) {
            return *rule->second.tree;
        }
        isNodeItself = false;
        if (!at.contains(QLatin1Char('/'))) {
            return false; // a tree that nobody knows
        }
    }
    return true;
}

AccessRole AccessRules::getRole(const PeerOrigin& origin) const
{
    AccessRole role;
    if (unrestricted) {
        role.right = AccessRole::Right::All;
    }
    for (const Grant& grant : grants) {
        if (std::visit(FitsOrigin{origin}, grant.grantee)) {
            role.add(grant.role);
        }
    }
    return role;
}

std::optional<AccessRole> AccessRules::getTokenRole(const QString& token) const
{
    const QByteArray digest = QCryptographicHash::hash(token.toUtf8(), QCryptographicHash::Sha256);
    std::optional<AccessRole> role;
    for (const Grant& grant : grants) {
        const auto* known = std::get_if<TokenSha256>(&grant.grantee);
        if (known != nullptr && isSameDigest(known->digest, digest)) {
            if (!role) {
                role.emplace();
            }
            role->add(grant.role);
        }
    }
    return role;
}

bool AccessRules::knowsTokens() const
{
    return std::any_of(grants.begin(), grants.end(), [](const Grant& grant) {
        return std::holds_alternative<TokenSha256>(grant.grantee);
    });
}

QStringList AccessRules::getPaths() const
{
    QStringList all;
    for (const auto& [path, rule] : paths) {
        all.append(path);
    }
    for (const Grant& grant : grants) {
        all += grant.role.prefixes;
    }
    all.sort();
    all.removeDuplicates();
    for (const QString& tree : getTreeNames()) {
        all.removeAll(tree);
    }
    return all;
}
