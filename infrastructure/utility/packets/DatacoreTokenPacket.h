// A client's proof of who it is.
#pragma once

#include "infrastructure/utility/packets/SerialisableDataPacket.h"

/// Key: "Token", a secret text that the server knows by its SHA-256. It goes ahead of the first
/// request. An empty or absent token only asks what the client may do. Either way a
/// DatacoreAccessPacket is the answer. The text is as public as the link that carries it.
class DatacoreTokenPacket : public SerialisableDataPacket
{
public:
    static QString CLASSNAME() { return QStringLiteral("DatacoreTokenPacket"); }

    explicit DatacoreTokenPacket(const QString& token = QString())
        : SerialisableDataPacket(CLASSNAME())
    {
        set(TOKEN, token);
    }
    /// The packet that `source` carries; `ok` is false, and the packet empty, for another class.
    DatacoreTokenPacket(const SerialisableDataPacket& source, bool& ok)
        : SerialisableDataPacket(CLASSNAME(), source, ok)
    {
    }

    QString getToken() const { return get(TOKEN); } ///< empty if absent

private:
    static constexpr PacketKey<QString> TOKEN{"Token", ""};
};
