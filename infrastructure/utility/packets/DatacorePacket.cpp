#include "infrastructure/utility/packets/DatacorePacket.h"

#include "infrastructure/datacore/DatacoreBase.h"
#include "infrastructure/datacore/JsonText.h"

namespace {

const QLatin1String CLIENT_ID_KEY("ClientID");
const QLatin1String PACKET_ID_KEY("PacketID");
const QLatin1String PATH_KEY("Path");
const QLatin1String DATACORE_KEY("Datacore");

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

/// Who wrote a value, and which of his writes it was.
struct DatacorePacket::Writer
{
    const QString& clientID;
    int packetID;
};

/// The keys are in the order in which a JSON object has them.
SerialisableDataPacket::Payload DatacorePacket::writePayload(const Writer* writer,
                                                             const DatacoreBase& datacore,
                                                             bool justData, const QString& path)
{
    constexpr int ordinaryBytes = 320;
    QByteArray payload = beginPayload(CLASSNAME(), ordinaryBytes);
    if (writer != nullptr) {
        appendNextJsonKey(payload, CLIENT_ID_KEY);
        appendJsonString(payload, writer->clientID);
    }
    appendNextJsonKey(payload, DATACORE_KEY);
    datacore.appendToJsonText(payload, justData);
    if (writer != nullptr) {
        appendNextJsonKey(payload, PACKET_ID_KEY);
        payload.append(QByteArray::number(writer->packetID));
    }
    appendNextJsonKey(payload, PATH_KEY);
    appendJsonString(payload, path);
    return endPayload(payload);
}

DatacorePacket::DatacorePacket(const DatacoreBase& datacore, bool justData, const QString& path)
    : SerialisableDataPacket(writePayload(nullptr, datacore, justData, path))
{
}

DatacorePacket::DatacorePacket(const QString& clientID, int packetID, const DatacoreBase& datacore,
                               bool justData, const QString& path)
    : SerialisableDataPacket([&] {
        const Writer writer{clientID, packetID};
        return writePayload(&writer, datacore, justData, path);
    }())
{
}

DatacorePacket::DatacorePacket(const SerialisableDataPacket& source, bool& ok)
    : SerialisableDataPacket(CLASSNAME(), source, ok)
{
}

bool DatacorePacket::containsClientID() const
{
    return contains(CLIENT_ID_KEY);
}

QString DatacorePacket::getClientID() const
{
    return stringValue(CLIENT_ID_KEY);
}

void DatacorePacket::setClientID(const QString& clientID)
{
    insert(CLIENT_ID_KEY, clientID);
}

bool DatacorePacket::containsPacketID() const
{
    return contains(PACKET_ID_KEY);
}

int DatacorePacket::getPacketID() const
{
    return intValue(PACKET_ID_KEY, NO_PACKET_ID);
}

void DatacorePacket::setPacketID(int packetID)
{
    insert(PACKET_ID_KEY, packetID);
}

bool DatacorePacket::containsDatacorePath() const
{
    return contains(PATH_KEY);
}

QString DatacorePacket::getDatacorePath() const
{
    return stringValue(PATH_KEY);
}

void DatacorePacket::setDatacorePath(const QString& path)
{
    insert(PATH_KEY, path);
}

bool DatacorePacket::containsDatacoreObject() const
{
    return contains(DATACORE_KEY);
}

QJsonObject DatacorePacket::getDatacoreJsonObject() const
{
    return value(DATACORE_KEY).toObject();
}

void DatacorePacket::setDatacoreJsonObject(const QJsonObject& datacore)
{
    insert(DATACORE_KEY, datacore);
}

bool DatacorePacket::populate(DatacoreBase& datacore, bool justData) const
{
    if (isPlainText()) {
        return datacore.populateFromPlainJson(plainValue(DATACORE_KEY), justData);
    }
    DatacoreJsonMessages messages;
    return datacore.populateFromJson(QString(), getDatacoreJsonObject(), justData, messages);
}
