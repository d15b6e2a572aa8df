#include "infrastructure/server/AccessControl_p.h"

#include "infrastructure/datacore/DatacoreBase.h"
#include "infrastructure/utility/Log.h"
#include "infrastructure/utility/packets/DatacorePacket.h"

namespace {

constexpr int MAX_TOKEN_LENGTH = 1024;

/// The end of a line that stands for others.
QString toText(quint64 leftOut)
{
    return leftOut == 0 ? QString() : QStringLiteral(" (%1 more before this)").arg(leftOut);
}

/// What a write has under the node's name; only nodes with children need it.
QJsonObject getContent(const DatacoreBase& datacore, const DatacorePacket& write)
{
    return datacore.getChildren().empty()
               ? QJsonObject()
               : write.getDatacoreJsonObject().value(datacore.getInstanceName()).toObject();
}

QStringView getTree(const QString& path)
{
    const int end = path.indexOf(QLatin1Char('/'));
    return end < 0 ? QStringView(path) : QStringView(path).left(end);
}

} // namespace

AccessPeer AccessControl::admit(const PeerOrigin& origin) const
{
    return {origin, rules.getRole(origin), {}};
}

DatacoreAccessPacket AccessControl::takeToken(AccessPeer& peer, const QString& token, Time now)
{
    std::optional<AccessRole> given;
    auto pause = guesses.getPause(peer.origin, now);
    const bool isLookedAt = pause.count() == 0;
    if (isLookedAt && !token.isEmpty() && token.size() <= MAX_TOKEN_LENGTH) {
        given = rules.getTokenRole(token);
    }
    if (given) {
        const QStringList before = peer.role.names;
        peer.role.add(*given);
        if (peer.role.names != before) {
            VELLOG_INFO() << "Client " << peer.origin.toString() << " has " << peer.role.toString();
        }
    } else if (!token.isEmpty()) {
        if (isLookedAt) {
            guesses.addWrong(peer.origin, now);
            pause = guesses.getPause(peer.origin, now);
        }
        if (const auto leftOut = tokenLines.admit(now)) {
            VELLOG_WARN() << "Client " << peer.origin.toString() << " sent a "
                          << (isLookedAt ? "wrong token" : "token too early")
                          << ", the next is looked at in " << pause.count() << " ms"
                          << toText(*leftOut);
        }
    }
    DatacoreAccessPacket answer(peer.role.getRightText(), peer.role.names, peer.role.prefixes);
    if (!token.isEmpty()) {
        answer.setTokenTaken(given.has_value());
    }
    if (pause.count() > 0) {
        answer.setRetryAfterMs(static_cast<int>(pause.count()));
    }
    return answer;
}

bool AccessControl::isReadOnly(const DatacoreBase& datacore) const
{
    const QString path = datacore.getPath();
    return isReadOnly(datacore, getTree(path));
}

/// The same for a node of a known tree, whose path is built only if the rules ask for it.
bool AccessControl::isReadOnly(const DatacoreBase& datacore, QStringView tree) const
{
    return datacore.isReadOnlyForClients() ||
           (!rules.isUnrestricted() &&
            !(rules.isRuledByTrees() ? rules.isWritable(tree)
                                     : rules.isWritable(datacore.getPath())));
}

/// The first read-only node that content is for, from `datacore` down; null if there is none.
/// `content` is what stands under the node's name.
const DatacoreBase* AccessControl::findReadOnly(const DatacoreBase& datacore, QStringView tree,
                                                const QJsonObject& content) const
{
    if (isReadOnly(datacore, tree)) {
        return &datacore;
    }
    for (const DatacoreBase* child : datacore.getChildren()) {
        const auto below = content.constFind(child->getInstanceName());
        if (below == content.constEnd()) {
            continue;
        }
        if (const DatacoreBase* found = findReadOnly(*child, tree, below->toObject())) {
            return found;
        }
    }
    return nullptr;
}

bool AccessControl::mayWrite(AccessPeer& peer, const DatacoreBase& datacore,
                             const DatacorePacket& write, Time now) const
{
    // A role's prefix covers all that is below it.
    const bool hasRight =
        peer.role.right == AccessRole::Right::All || peer.role.mayWrite(datacore.getPath());
    const QString path = write.getDatacorePath();
    const DatacoreBase* refused =
        hasRight ? findReadOnly(datacore, getTree(path), getContent(datacore, write)) : &datacore;
    if (refused == nullptr) {
        return true;
    }
    if (const auto leftOut = peer.refusals.admit(now)) {
        VELLOG_WARN() << "Client " << peer.origin.toString() << " (" << peer.role.toString()
                      << ") may not write " << refused->getPath()
                      << (hasRight ? ", which is read-only" : "") << toText(*leftOut);
    }
    return false;
}

void AccessControl::logDropped(const AccessPeer& peer, const char* reason, Time now)
{
    if (const auto leftOut = dropLines.admit(now)) {
        VELLOG_WARN() << "Client " << peer.origin.toString() << " has no role " << reason
                      << ", dropped" << toText(*leftOut);
    }
}

void AccessControl::logRest(AccessPeer& peer)
{
    if (const quint64 leftOut = peer.refusals.takeLeftOut()) {
        VELLOG_WARN() << "Client " << peer.origin.toString() << ": " << leftOut
                      << " more writes refused";
    }
}
