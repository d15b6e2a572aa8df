#include "infrastructure/utility/packets/DatacorePacket.h"

#include "infrastructure/datacore/DatacoreBase.h"
#include "infrastructure/datacore/JsonText.h"

#include <QtEndian>

namespace {

// clang-format off
QString clientIdKey() { return QStringLiteral("ClientID"); }
QString packetIdKey() { return QStringLiteral("PacketID"); }
QString pathKey() { return QStringLiteral("Path"); }
QString datacoreKey() { return QStringLiteral("Datacore"); }
// clang-format on

/// Who wrote a value, and which of his writes it was.
struct Writer
{
    const QString& clientID;
    int packetID;
};

/// Length word and text, with the keys in the order in which a JSON object has them.
QByteArray writePayload(const Writer* writer, const DatacoreBase& datacore, bool justData,
                        const QString& path)
{
    constexpr int lengthWordBytes = 4;
    constexpr int ordinaryTextBytes = 320;
    QByteArray payload;
    payload.reserve(ordinaryTextBytes);
    payload.append("\0\0\0\0{\"Class\":\"DatacorePacket\"", lengthWordBytes + 25);
    if (writer != nullptr) {
        payload.append(",\"ClientID\":");
        appendJsonString(payload, writer->clientID);
    }
    payload.append(",\"Datacore\":");
    datacore.appendToJsonText(payload, justData);
    if (writer != nullptr) {
        payload.append(",\"PacketID\":").append(QByteArray::number(writer->packetID));
    }
    payload.append(",\"Path\":");
    appendJsonString(payload, path);
    payload.append('}');
    qToBigEndian<quint32>(quint32(payload.size() - lengthWordBytes), payload.data());
    return payload;
}

} // namespace

DatacorePacket::DatacorePacket(const QJsonObject& datacore, const QString& path)
    : SerialisableDataPacket(CLASSNAME())
{
    setDatacorePath(path);
    setDatacoreJsonObject(datacore);
}

DatacorePacket::DatacorePacket(const QString& clientID, int packetID, const QJsonObject& datacore,
                               const QString& path)
    : DatacorePacket(datacore, path)
{
    setClientID(clientID);
    setPacketID(packetID);
}

DatacorePacket::DatacorePacket(const DatacoreBase& datacore, bool justData, const QString& path)
    : SerialisableDataPacket(Payload{writePayload(nullptr, datacore, justData, path)})
{
}

DatacorePacket::DatacorePacket(const QString& clientID, int packetID, const DatacoreBase& datacore,
                               bool justData, const QString& path)
    : SerialisableDataPacket(Payload{[&] {
        const Writer writer{clientID, packetID};
        return writePayload(&writer, datacore, justData, path);
    }()})
{
}

DatacorePacket::DatacorePacket(const SerialisableDataPacket& source, bool& ok)
    : SerialisableDataPacket(CLASSNAME(), source, ok)
{
}

bool DatacorePacket::containsClientID() const
{
    return contains(clientIdKey());
}

QString DatacorePacket::getClientID() const
{
    return value(clientIdKey()).toString();
}

void DatacorePacket::setClientID(const QString& clientID)
{
    insert(clientIdKey(), clientID);
}

bool DatacorePacket::containsPacketID() const
{
    return contains(packetIdKey());
}

int DatacorePacket::getPacketID() const
{
    return value(packetIdKey()).toInt(NO_PACKET_ID);
}

void DatacorePacket::setPacketID(int packetID)
{
    insert(packetIdKey(), packetID);
}

bool DatacorePacket::containsDatacorePath() const
{
    return contains(pathKey());
}

QString DatacorePacket::getDatacorePath() const
{
    return value(pathKey()).toString();
}

void DatacorePacket::setDatacorePath(const QString& path)
{
    insert(pathKey(), path);
}

bool DatacorePacket::containsDatacoreObject() const
{
    return contains(datacoreKey());
}

QJsonObject DatacorePacket::getDatacoreJsonObject() const
{
    return value(datacoreKey()).toObject();
}

void DatacorePacket::setDatacoreJsonObject(const QJsonObject& datacore)
{
    insert(datacoreKey(), datacore);
}
