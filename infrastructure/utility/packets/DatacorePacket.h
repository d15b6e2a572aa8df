// The value of one datacore at one path: from the server to a client, or from a client to the
// server.
#pragma once

#include "infrastructure/utility/packets/SerialisableDataPacket.h"

class DatacoreBase;

/// Keys: "Path" and "Datacore" (the JSON form of the node's value). For a client's write also
/// "ClientID" (the writer's connection) and "PacketID" (the writer's number for it), which the
/// server sends back unchanged as the acknowledgement.
class DatacorePacket : public SerialisableDataPacket
{
public:
    /// What getPacketID returns if there is none.
    static constexpr int NO_PACKET_ID = -1;

    static QString CLASSNAME() { return QStringLiteral("DatacorePacket"); }

    DatacorePacket(const QJsonObject& datacore, const QString& path);
    DatacorePacket(const QString& clientID, int packetID, const QJsonObject& datacore,
                   const QString& path);
    /// What a node holds now: with `justData` only its values, otherwise its status too. These two
    /// write the text directly, which is much faster than building a JSON object.
    DatacorePacket(const DatacoreBase& datacore, bool justData, const QString& path);
    DatacorePacket(const QString& clientID, int packetID, const DatacoreBase& datacore,
                   bool justData, const QString& path);
    /// The echo of a write: what the node holds, under the write's path and ids. The ids are
    /// returned as they came, whatever kind of JSON they are; numbers are doubles, whole ones exact
    /// to 2^53.
    DatacorePacket(const DatacorePacket& write, const DatacoreBase& datacore, bool justData);
    /// The packet that `source` carries; `ok` is false, and the packet empty, for another class.
    DatacorePacket(const SerialisableDataPacket& source, bool& ok);

    bool containsClientID() const;
    QString getClientID() const; ///< empty if absent
    void setClientID(const QString& clientID);

    bool containsPacketID() const;
    int getPacketID() const; ///< NO_PACKET_ID if absent
    void setPacketID(int packetID);

    bool containsDatacorePath() const;
    QString getDatacorePath() const; ///< empty if absent
    void setDatacorePath(const QString& path);
    /// True if getDatacorePath gives this path.
    bool isForPath(const QString& path) const;

    bool containsDatacoreObject() const;
    QJsonObject getDatacoreJsonObject() const; ///< empty if absent
    void setDatacoreJsonObject(const QJsonObject& datacore);

    /// The value of "Datacore", of whatever kind, as compact JSON; empty if absent.
    QString getDatacoreText() const;

    /// Makes a node take the value, as DatacoreBase::populateFromJson does with an empty path; much
    /// faster than through the object. Also false, after taking whatever it can, if the node's
    /// content is not an object, or its "data" is neither null nor text nor an array of texts.
    bool populate(DatacoreBase& datacore, bool justData) const;

private:
    template <typename ClientId, typename PacketId>
    static Payload writePayload(const ClientId& clientID, const PacketId& packetID,
                                const DatacoreBase& datacore, bool justData, const QString& path);
};
