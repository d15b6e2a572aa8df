// A client's question what datacores take.
#pragma once

#include "infrastructure/utility/packets/SerialisableDataPacket.h"

#include <QStringList>

/// Keys: "ClientID" and "Paths", full paths. Without a path it asks for all datacores.
class DatacoreDescriptionRequestPacket : public SerialisableDataPacket
{
public:
    static QString CLASSNAME() { return QStringLiteral("DatacoreDescriptionRequestPacket"); }

    DatacoreDescriptionRequestPacket(const QString& clientID, const QStringList& paths)
        : SerialisableDataPacket(CLASSNAME())
    {
        set(CLIENT_ID, clientID);
        set(PATHS, paths);
    }
    /// The packet that `source` carries; `ok` is false, and the packet empty, for another class.
    DatacoreDescriptionRequestPacket(const SerialisableDataPacket& source, bool& ok)
        : SerialisableDataPacket(CLASSNAME(), source, ok)
    {
    }

    QString getClientID() const { return get(CLIENT_ID); } ///< empty if absent
    QStringList getPaths() const { return get(PATHS); }    ///< in order; empty if absent

private:
    static constexpr PacketKey<QString> CLIENT_ID{"ClientID", ""};
    static constexpr PacketKey<QStringList> PATHS{"Paths"};
};
