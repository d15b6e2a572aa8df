#include "infrastructure/utility/packets/DatacorePacket.h"

#include "infrastructure/datacore/DatacoreBase.h"
#include "infrastructure/datacore/JsonText_p.h"
#include "infrastructure/datacore/PlainJson_p.h"

#include <QJsonArray>

#include <algorithm>

namespace {

constexpr PacketKey<QString> CLIENT_ID_KEY{"ClientID", ""};
constexpr PacketKey<int> PACKET_ID_KEY{"PacketID", DatacorePacket::NO_PACKET_ID};
constexpr PacketKey<QString> PATH_KEY{"Path", ""};
constexpr PacketKey<QJsonObject> DATACORE_KEY{"Datacore"};
const QLatin1String DATA_KEY("data"); ///< in the node's content

void appendMember(JsonTextWriter& payload, const PacketKeyText& key, const QString& text)
{
    payload.appendNextKey(key.getText());
    payload.appendString(text);
}

void appendMember(JsonTextWriter& payload, const PacketKeyText& key, int number)
{
    payload.appendNextKey(key.getText());
    payload.append(QLatin1String(QByteArray::number(number)));
}

/// Nothing for an undefined value.
void appendMember(JsonTextWriter& payload, const PacketKeyText& key, const QJsonValue& value)
{
    if (value.isUndefined()) {
        return;
    }
    if (value.isString()) {
        appendMember(payload, key, value.toString());
    } else if (value == QJsonValue(value.toInt())) {
        appendMember(payload, key, value.toInt());
    } else {
        payload.appendNextKey(key.getText());
        payload.appendValue(value);
    }
}

/// What content must be once a node has taken it: an object whose only key is the node's name.
bool isWellShaped(const QJsonObject& datacore)
{
    const QJsonValue content = datacore.begin().value();
    const QJsonValue data = content[DATA_KEY];
    const QJsonArray texts = data.toArray();
    return content.isObject() &&
           (data.isString() || data.isNull() || data.isUndefined() || data.isArray()) &&
           std::all_of(texts.begin(), texts.end(),
                       [](const QJsonValue& text) { return text.isString(); });
}

/// True for everything that is not well shaped, but cheaper: anything but text has become an empty
/// text.
bool isSuspect(const PlainJsonValue& content, const DatacoreBase& datacore)
{
    const int nodeStart = datacore.getInstanceName().size() + int(sizeof(R"({"":)")) - 1;
    if (content.getText().data()[nodeStart] != '{') {
        return true;
    }
    for (int i = 0; i < datacore.getDataCount(); ++i) {
        if (datacore.getDataAt(i).isEmpty()) {
            return true;
        }
    }
    return false;
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

/// The keys must be in the order in which a JSON object has them.
template <typename ClientId, typename PacketId>
SerialisableDataPacket::Payload
DatacorePacket::writePayload(const ClientId& clientID, const PacketId& packetID,
                             const DatacoreBase& datacore, bool justData, const QString& path)
{
    constexpr int ordinaryBytes = 320;
    static const QByteArray start = beginPayload(CLASSNAME(), 0);
    QByteArray payload;
    payload.reserve(ordinaryBytes);
    payload.append(start);
    {
        JsonTextWriter members(payload);
        appendMember(members, CLIENT_ID_KEY, clientID);
        members.appendNextKey(DATACORE_KEY.getText());
        datacore.appendToJsonText(members, justData);
        appendMember(members, PACKET_ID_KEY, packetID);
        appendMember(members, PATH_KEY, path);
    }
    return endPayload(payload);
}

DatacorePacket::DatacorePacket(const DatacoreBase& datacore, bool justData, const QString& path)
    : SerialisableDataPacket([&] {
        const QJsonValue nobody(QJsonValue::Undefined);
        return writePayload(nobody, nobody, datacore, justData, path);
    }())
{
}

DatacorePacket::DatacorePacket(const QString& clientID, int packetID, const DatacoreBase& datacore,
                               bool justData, const QString& path)
    : SerialisableDataPacket(writePayload(clientID, packetID, datacore, justData, path))
{
}

DatacorePacket::DatacorePacket(const DatacorePacket& write, const DatacoreBase& datacore,
                               bool justData)
    : SerialisableDataPacket(writePayload(write.value(CLIENT_ID_KEY), write.value(PACKET_ID_KEY),
                                          datacore, justData, write.getDatacorePath()))
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
    return get(CLIENT_ID_KEY);
}

void DatacorePacket::setClientID(const QString& clientID)
{
    set(CLIENT_ID_KEY, clientID);
}

bool DatacorePacket::containsPacketID() const
{
    return contains(PACKET_ID_KEY);
}

int DatacorePacket::getPacketID() const
{
    return get(PACKET_ID_KEY);
}

void DatacorePacket::setPacketID(int packetID)
{
    set(PACKET_ID_KEY, packetID);
}

bool DatacorePacket::containsDatacorePath() const
{
    return contains(PATH_KEY);
}

QString DatacorePacket::getDatacorePath() const
{
    return get(PATH_KEY);
}

void DatacorePacket::setDatacorePath(const QString& path)
{
    set(PATH_KEY, path);
}

bool DatacorePacket::isForPath(const QString& path) const
{
    return isPlainText() ? plainValue(PATH_KEY).toLatin1() == path : getDatacorePath() == path;
}

bool DatacorePacket::containsDatacoreObject() const
{
    return contains(DATACORE_KEY);
}

QJsonObject DatacorePacket::getDatacoreJsonObject() const
{
    return get(DATACORE_KEY);
}

void DatacorePacket::setDatacoreJsonObject(const QJsonObject& datacore)
{
    set(DATACORE_KEY, datacore);
}

QString DatacorePacket::getDatacoreText() const
{
    QByteArray text;
    if (containsDatacoreObject()) {
        appendJsonValue(text, value(DATACORE_KEY));
    }
    return QString::fromUtf8(text);
}

bool DatacorePacket::populate(DatacoreBase& datacore, bool justData) const
{
    if (isPlainText()) {
        const PlainJsonValue content = plainValue(DATACORE_KEY);
        return datacore.populateFromPlainJson(content, justData) &&
               (!isSuspect(content, datacore) || isWellShaped(getDatacoreJsonObject()));
    }
    const QJsonObject content = getDatacoreJsonObject();
    DatacoreJsonMessages messages;
    return datacore.populateFromJson(QString(), content, justData, messages) &&
           isWellShaped(content);
}
