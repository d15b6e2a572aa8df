#include "infrastructure/utility/packets/SerialisableDataPacket.h"

#include "infrastructure/datacore/JsonText_p.h"
#include "infrastructure/datacore/PlainJson_p.h"
#include "infrastructure/utility/Log.h"
#include "infrastructure/utility/ParseJson.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QtEndian>

#include <cmath>
#include <ostream>

namespace {

constexpr int ORDINARY_PAYLOAD_BYTES = 1500; // the payload of one Ethernet frame

constexpr PacketKey<QString> CLASS_KEY{"Class", ""};

/// True for an object that names its packet class.
bool isPacketObject(const QJsonValue& value)
{
    return value.isObject() && !value.toObject().value(CLASS_KEY.getText()).toString().isEmpty();
}

std::vector<SerialisableDataPacket> toPackets(const QJsonValue& value, bool& ok)
{
    std::vector<SerialisableDataPacket> packets;
    ok = value.isArray();
    const QJsonArray array = value.toArray();
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

template <typename List>
List toTexts(const QJsonValue& value)
{
    List texts;
    const QJsonArray array = value.toArray();
    for (const QJsonValue& element : array) {
        texts.push_back(element.toString());
    }
    return texts;
}

} // namespace

SerialisableDataPacket::SerialisableDataPacket(const QString& className)
{
    if (className.isEmpty()) {
        VELLOG_INFO() << "SerialisableDataPacket MUST HAVE CLASS NAME";
        return;
    }
    json.insert(CLASS_KEY.getText(), className);
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
    isPlainText(); // any other text is parsed now, and bad text logged, once for all copies
}

SerialisableDataPacket::SerialisableDataPacket(const Payload& payload)
    : form(Form::Text)
    , serialisedPayload(payload.bytes)
{
}

SerialisableDataPacket::SerialisableDataPacket(const SerialisableDataPacket& parent,
                                               const QString& key, bool& ok)
{
    const QJsonValue child = parent.getJsonObject().value(key);
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
        json.insert(CLASS_KEY.getText(), QString());
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

PlainJsonValue SerialisableDataPacket::plainValue(const PacketKeyText& key) const
{
    return index.find(getText().data(), key.getText());
}

bool SerialisableDataPacket::contains(const PacketKeyText& key) const
{
    return isPlainText() ? !plainValue(key).isMissing() : json.contains(key.getText());
}

QJsonValue SerialisableDataPacket::value(const PacketKeyText& key) const
{
    return isPlainText() ? plainValue(key).toJsonValue() : json.value(key.getText());
}

int SerialisableDataPacket::get(const PacketKey<int>& key) const
{
    return isPlainText() ? plainValue(key).toInt(key.getAbsent())
                         : json.value(key.getText()).toInt(key.getAbsent());
}

qint64 SerialisableDataPacket::get(const PacketKey<qint64>& key) const
{
    constexpr double limit = 9007199254740992.0; // 2^53
    const double number = value(key).toDouble(std::nan(""));
    return std::fabs(number) <= limit && std::trunc(number) == number ? static_cast<qint64>(number)
                                                                      : key.getAbsent();
}

bool SerialisableDataPacket::get(const PacketKey<bool>& key) const
{
    return value(key).toBool(key.getAbsent());
}

double SerialisableDataPacket::get(const PacketKey<double>& key) const
{
    return value(key).toDouble(key.getAbsent());
}

QString SerialisableDataPacket::get(const PacketKey<QString>& key) const
{
    const QLatin1String absent(key.getAbsent());
    if (!isPlainText()) {
        return json.value(key.getText()).toString(absent);
    }
    const PlainJsonValue text = plainValue(key);
    return text.isString() ? text.toString() : absent;
}

QStringList SerialisableDataPacket::get(const PacketKey<QStringList>& key) const
{
    return toTexts<QStringList>(value(key));
}

std::deque<QString> SerialisableDataPacket::get(const PacketKey<std::deque<QString>>& key) const
{
    return toTexts<std::deque<QString>>(value(key));
}

QJsonObject SerialisableDataPacket::get(const PacketKey<QJsonObject>& key) const
{
    return value(key).toObject();
}

SerialisableDataPacket SerialisableDataPacket::get(const PacketKey<SerialisableDataPacket>& key,
                                                   bool& ok) const
{
    const QJsonValue child = value(key);
    ok = isPacketObject(child);
    return SerialisableDataPacket(ok ? child.toObject() : QJsonObject());
}

std::vector<SerialisableDataPacket>
SerialisableDataPacket::get(const PacketKey<std::vector<SerialisableDataPacket>>& key,
                            bool& ok) const
{
    return toPackets(value(key), ok);
}

QJsonObject& SerialisableDataPacket::getObjectToChange()
{
    getJsonObject(); // received text is parsed before it is changed
    serialisedPayload.clear();
    return json;
}

QJsonValue SerialisableDataPacket::toJsonValue(const QStringList& texts)
{
    return QJsonArray::fromStringList(texts);
}

QJsonValue SerialisableDataPacket::toJsonValue(const std::deque<QString>& texts)
{
    QJsonArray array;
    for (const QString& text : texts) {
        array.append(text);
    }
    return array;
}

QJsonValue SerialisableDataPacket::toJsonValue(const SerialisableDataPacket& packet)
{
    return packet.getJsonObject();
}

QJsonValue SerialisableDataPacket::toJsonValue(const std::vector<SerialisableDataPacket>& packets)
{
    QJsonArray array;
    for (const SerialisableDataPacket& packet : packets) {
        array.append(packet.getJsonObject());
    }
    return array;
}

QString SerialisableDataPacket::getPacketClassName() const
{
    if (!isPlainText()) {
        return get(CLASS_KEY);
    }
    if (plainClassName.isNull()) {
        plainClassName = get(CLASS_KEY);
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
    getObjectToChange().insert(key, toJsonValue(packet));
}

void SerialisableDataPacket::insertChildPacketArray(
    const QString& key, const std::vector<SerialisableDataPacket>& packets)
{
    getObjectToChange().insert(key, toJsonValue(packets));
}

std::vector<SerialisableDataPacket>
SerialisableDataPacket::extractChildPacketArray(const QString& key, bool& ok) const
{
    return toPackets(getJsonObject().value(key), ok);
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
