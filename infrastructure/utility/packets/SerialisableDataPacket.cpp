#include "infrastructure/utility/packets/SerialisableDataPacket.h"

#include "infrastructure/utility/Log.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QtEndian>

#include <ostream>

namespace {

constexpr int ORDINARY_PAYLOAD_BYTES = 1500; // the payload of one Ethernet frame

QString classKey()
{
    return QStringLiteral("Class");
}

/// True for an object that says of which packet class it is.
bool isPacketObject(const QJsonValue& value)
{
    return value.isObject() && !value.toObject().value(classKey()).toString().isEmpty();
}

} // namespace

SerialisableDataPacket::SerialisableDataPacket(const QString& className)
{
    if (className.isEmpty()) {
        VELLOG_INFO() << "SerialisableDataPacket MUST HAVE CLASS NAME";
        return;
    }
    json.insert(classKey(), className);
}

SerialisableDataPacket::SerialisableDataPacket(const QByteArray& jsonText, QJsonParseError* error)
{
    QJsonParseError parseError;
    json = QJsonDocument::fromJson(jsonText, &parseError).object();
    if (parseError.error != QJsonParseError::NoError) {
        VELLOG_INFO() << "SerialisablePacket failed to parse packet: " << parseError.errorString();
    }
    if (error != nullptr) {
        *error = parseError;
    }
}

SerialisableDataPacket::SerialisableDataPacket(const QJsonObject& object)
    : json(object)
{
}

SerialisableDataPacket::SerialisableDataPacket(const QByteArray& view,
                                               const RawDataPacketHeader& header)
    : RawDataPacket(view, header)
    , hasUnparsedText(true)
{
}

SerialisableDataPacket::SerialisableDataPacket(const Payload& payload)
    : hasUnparsedText(true)
    , serialisedPayload(payload.bytes)
{
}

SerialisableDataPacket::SerialisableDataPacket(const SerialisableDataPacket& parent,
                                               const QString& key, bool& ok)
{
    const QJsonValue child = parent.value(key);
    ok = isPacketObject(child);
    if (ok) {
        json = child.toObject();
    }
}

SerialisableDataPacket::SerialisableDataPacket(const QString& className,
                                               const SerialisableDataPacket& source, bool& ok)
{
    ok = source.getPacketClassName() == className;
    json = ok ? source.getJsonObject() : SerialisableDataPacket(className).json;
}

void SerialisableDataPacket::parseReceivedText() const
{
    hasUnparsedText = false;
    // The length word is not consulted: the header has settled the size.
    const QByteArray& payload = serialisedPayload.isEmpty() ? getPayload() : serialisedPayload;
    const int textSize = std::max(payload.size() - LENGTH_WORD_BYTES, 0);
    const QByteArray text =
        textSize == 0 ? QByteArray()
                      : QByteArray::fromRawData(payload.constData() + LENGTH_WORD_BYTES, textSize);
    QJsonParseError error;
    json = QJsonDocument::fromJson(text, &error).object();
    if (error.error != QJsonParseError::NoError) {
        VELLOG_INFO() << "SerialisablePacket failed to parse packet " << error.errorString();
        json.insert(classKey(), QString());
    }
}

const QJsonObject& SerialisableDataPacket::getJsonObject() const
{
    if (hasUnparsedText) {
        parseReceivedText();
    }
    return json;
}

void SerialisableDataPacket::insert(const QString& key, const QJsonValue& content)
{
    getJsonObject(); // what was received is there before it is changed
    json.insert(key, content);
    serialisedPayload.clear();
}

QString SerialisableDataPacket::getPacketClassName() const
{
    return value(classKey()).toString(QLatin1String(""));
}

QByteArray SerialisableDataPacket::toJson() const
{
    return QJsonDocument(getJsonObject()).toJson(QJsonDocument::Compact);
}

QByteArray SerialisableDataPacket::serialisePayload() const
{
    if (serialisedPayload.isEmpty()) {
        QByteArray payload;
        payload.reserve(ORDINARY_PAYLOAD_BYTES);
        payload.append(LENGTH_WORD_BYTES, '\0');
        payload.append(toJson());
        qToBigEndian<quint32>(quint32(payload.size() - LENGTH_WORD_BYTES), payload.data());
        serialisedPayload = payload;
    }
    return serialisedPayload;
}

quint16 SerialisableDataPacket::getPacketType() const
{
    return PACKET_TYPE;
}

void SerialisableDataPacket::insertChildPacket(const QString& key,
                                               const SerialisableDataPacket& packet)
{
    insert(key, packet.getJsonObject());
}

void SerialisableDataPacket::insertChildPacketArray(
    const QString& key, const std::vector<SerialisableDataPacket>& packets)
{
    QJsonArray array;
    for (const SerialisableDataPacket& packet : packets) {
        array.append(packet.getJsonObject());
    }
    insert(key, array);
}

std::vector<SerialisableDataPacket>
SerialisableDataPacket::extractChildPacketArray(const QString& key, bool& ok) const
{
    std::vector<SerialisableDataPacket> packets;
    const QJsonValue content = value(key);
    ok = content.isArray();
    if (!ok) {
        return packets;
    }
    const QJsonArray array = content.toArray();
    packets.reserve(static_cast<std::size_t>(array.size()));
    for (const QJsonValue& element : array) {
        if (isPacketObject(element)) {
            packets.emplace_back(element.toObject());
        } else {
            ok = false;
        }
    }
    return packets;
}

bool operator==(const SerialisableDataPacket& a, const SerialisableDataPacket& b)
{
    return a.getJsonObject() == b.getJsonObject();
}

bool operator!=(const SerialisableDataPacket& a, const SerialisableDataPacket& b)
{
    return !(a == b);
}

std::ostream& operator<<(std::ostream& stream, const SerialisableDataPacket& packet)
{
    return stream
           << QJsonDocument(packet.getJsonObject()).toJson(QJsonDocument::Indented).constData();
}
