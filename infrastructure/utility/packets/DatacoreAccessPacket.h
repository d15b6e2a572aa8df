// What a client may do, as its server tells it.
#pragma once

#include "infrastructure/utility/packets/SerialisableDataPacket.h"

/// The answer to a DatacoreTokenPacket. Keys: "Right" is "none", "read", "write" or "all"; "Roles"
/// are the names of the roles that it comes from; "Prefixes" are the paths at and below which
/// "write" holds; "TokenTaken" tells whether a token was right; "RetryAfterMs" is the time for
/// which no further token is looked at.
class DatacoreAccessPacket : public SerialisableDataPacket
{
public:
    static QString CLASSNAME() { return QStringLiteral("DatacoreAccessPacket"); }

    DatacoreAccessPacket(const QString& right, const QStringList& roles,
                         const QStringList& prefixes)
        : SerialisableDataPacket(CLASSNAME())
    {
        set(RIGHT, right);
        set(ROLES, roles);
        set(PREFIXES, prefixes);
    }
    /// The packet that `source` carries; `ok` is false, and the packet empty, for another class.
    DatacoreAccessPacket(const SerialisableDataPacket& source, bool& ok)
        : SerialisableDataPacket(CLASSNAME(), source, ok)
    {
    }

    QString getRight() const { return get(RIGHT); }           ///< "none" if absent
    QStringList getRoles() const { return get(ROLES); }       ///< empty if absent
    QStringList getPrefixes() const { return get(PREFIXES); } ///< empty if absent

    bool containsTokenTaken() const { return contains(TOKEN_TAKEN); } ///< false if only asked
    bool isTokenTaken() const { return get(TOKEN_TAKEN); }            ///< false if absent
    void setTokenTaken(bool isTaken) { set(TOKEN_TAKEN, isTaken); }

    int getRetryAfterMs() const { return get(RETRY_AFTER_MS); } ///< 0 if absent
    void setRetryAfterMs(int milliseconds) { set(RETRY_AFTER_MS, milliseconds); }

private:
    static constexpr PacketKey<QString> RIGHT{"Right", "none"};
    static constexpr PacketKey<QStringList> ROLES{"Roles"};
    static constexpr PacketKey<QStringList> PREFIXES{"Prefixes"};
    static constexpr PacketKey<bool> TOKEN_TAKEN{"TokenTaken"};
    static constexpr PacketKey<int> RETRY_AFTER_MS{"RetryAfterMs"};
};
