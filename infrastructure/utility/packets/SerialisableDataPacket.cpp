#include "infrastructure/utility/packets/SerialisableDataPacket.h"

#include "infrastructure/datacore/JsonText_p.h"
#include "infrastructure/datacore/PlainJson_p.h"
#include "infrastructure/utility/Log.h"
#include "infrastructure/utility/ParseJson.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QtEndian>

#include <ostream>

namespace {

constexpr int ORDINARY_PAYLOAD_BYTES = 1500; // the payload of one Ethernet frame

const QLatin1String CLASS_KEY("Class");

/// True for an object that names its packet class.
bool isPacketObject(const QJsonValue& value)
{
    return value.isObject() && !value.toObject().value(CLASS_KEY).toString().isEmpty();
}

} // namespace

SerialisableDataPacket::SerialisableDataPacket(const QString& className)
{
    if (className.isEmpty()) {
        VELLOG_INFO() << "SerialisableDataPacket MUST HAVE CLASS NAME";
        return;
    }
    json.insert(CLASS_KEY, className);
}

SerialisableDataPacket::SerialisableDataPacket(const QByteArray& jsonText, QJsonParseError* error)
{
    QJsonParseError parseError;
    json = parseJson(jsonText, &parseError).object();
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
    , form(Form::Text)
{
    isPlainText(); // otherwise it is parsed, and bad text logged, once for all copies
}

SerialisableDataPacket::SerialisableDataPacket(const Payload& payload)
    : form(Form::Text)
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
    : SerialisableDataPacket(source)
{
    ok = getPacketClassName() == className;
    if (!ok) {
        *this = SerialisableDataPacket(className);
    }
}

/// The payload after the length word, which is ignored: the header has settled the size.
QLatin1String SerialisableDataPacket::getText() const
{
    const QByteArray& payload = serialisedPayload.isEmpty() ? getPayload() : serialisedPayload;
    return payload.size() <= LENGTH_WORD_BYTES
               ? QLatin1String()
               : QLatin1String(payload.constData() + LENGTH_WORD_BYTES,
                               payload.size() - LENGTH_WORD_BYTES);
}

void SerialisableDataPacket::parseText() const
{
    const QLatin1String text = getText();
    QJsonParseError error;
    const QByteArray bytes =
        text.isEmpty() ? QByteArray() : QByteArray::fromRawData(text.data(), text.size());
    json = (form == Form::PlainText ? QJsonDocument::fromJson(bytes, &error) // no key comes twice
                                    : parseJson(bytes, &error))
               .object();
    if (error.error != QJsonParseError::NoError) {
        VELLOG_INFO() << "SerialisablePacket failed to parse packet " << error.errorString();
        json.insert(CLASS_KEY, QString());
    }
    form = Form::Object;
}

const QJsonObject& SerialisableDataPacket::getJsonObject() const
{
    if (form != Form::Object) {
        parseText();
    }
    return json;
}

bool SerialisableDataPacket::isPlainText() const
{
    if (form == Form::Text) {
        const QLatin1String text = getText();
        if (index.read(text.data(), text.size())) {
            form = Form::PlainText;
        } else {
            parseText();
        }
    }
    return form == Form::PlainText;
}

PlainJsonValue SerialisableDataPacket::plainValue(QLatin1String key) const
{
    return index.find(getText().data(), key);
}

bool SerialisableDataPacket::contains(QLatin1String key) const
{
    return isPlainText() ? !plainValue(key).isMissing() : json.contains(key);
}

QJsonValue SerialisableDataPacket::value(QLatin1String key) const
{
    return isPlainText() ? plainValue(key).toJsonValue() : json.value(key);
}

QString SerialisableDataPacket::stringValue(QLatin1String key) const
{
    return isPlainText() ? plainValue(key).toString() : json.value(key).toString(QLatin1String(""));
}

int SerialisableDataPacket::intValue(QLatin1String key, int defaultValue) const
{
    return isPlainText() ? plainValue(key).toInt(defaultValue)
                         : json.value(key).toInt(defaultValue);
}

void SerialisableDataPacket::insert(const QString& key, const QJsonValue& content)
{
    getJsonObject(); // what was received is there before it is changed
    json.insert(key, content);
    serialisedPayload.clear();
}

QString SerialisableDataPacket::getPacketClassName() const
{
    if (!isPlainText()) {
        return stringValue(CLASS_KEY);
    }
    if (plainClassName.isNull()) {
        plainClassName = stringValue(CLASS_KEY);
    }
    return plainClassName;
}

QByteArray SerialisableDataPacket::toJson() const
{
    return QJsonDocument(getJsonObject()).toJson(QJsonDocument::Compact);
}

void SerialisableDataPacket::patchLength(QByteArray& payload)
{
    qToBigEndian<quint32>(quint32(payload.size() - LENGTH_WORD_BYTES), payload.data());
}

QByteArray SerialisableDataPacket::beginPayload(const QString& className, int ordinaryBytes)
{
    QByteArray payload;
    payload.reserve(ordinaryBytes);
    payload.append(LENGTH_WORD_BYTES, '\0').append("{\"Class\":");
    appendJsonString(payload, className);
    return payload;
}

SerialisableDataPacket::Payload SerialisableDataPacket::endPayload(QByteArray& payload)
{
    payload.append('}');
    patchLength(payload);
    return {payload};
}

QByteArray SerialisableDataPacket::serialisePayload() const
{
    if (serialisedPayload.isEmpty()) {
        QByteArray payload;
        payload.reserve(ORDINARY_PAYLOAD_BYTES);
        payload.append(LENGTH_WORD_BYTES, '\0');
        payload.append(toJson());
        patchLength(payload);
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
