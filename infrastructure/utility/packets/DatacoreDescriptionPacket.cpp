#include "infrastructure/utility/packets/DatacoreDescriptionPacket.h"

#include "infrastructure/datacore/JsonText_p.h"

#include <QJsonArray>

namespace {

constexpr PacketKey<QString> CLIENT_ID_KEY{"ClientID", ""};
constexpr PacketKeyText DESCRIPTIONS_KEY{"Descriptions"};
constexpr PacketKey<bool> LAST_KEY{"Last"};
constexpr PacketKeyText DESCRIPTION_KEY{"Is"};
constexpr PacketKeyText PATHS_KEY{"Paths"};

constexpr int MAX_SHOWN_LENGTH = 200; ///< of a path in a complaint

QStringList toPaths(const QJsonValue& value, bool& ok)
{
    QStringList paths;
    ok = value.isArray();
    const QJsonArray array = value.toArray();
    paths.reserve(array.size());
    for (const QJsonValue& path : array) {
        ok = ok && path.isString();
        paths.append(path.toString());
    }
    return paths;
}

} // namespace

void DatacoreDescriptionPacket::Content::add(const DatacoreDescription& description,
                                             const QString& path)
{
    QByteArray key;
    description.appendToJsonText(key);
    const int place = places.value(key, static_cast<int>(texts.size()));
    if (place == static_cast<int>(texts.size())) {
        places.insert(key, place);
        bytes += key.size();
        texts.push_back({key, QByteArray()});
    }
    QByteArray& paths = texts[static_cast<std::size_t>(place)].paths;
    const int before = paths.size();
    appendJsonString(paths, path);
    paths.append(',');
    bytes += paths.size() - before;
}

DatacoreDescriptionPacket::DatacoreDescriptionPacket(const QString& clientID,
                                                     const Content& content, bool isLast)
    : SerialisableDataPacket([&] {
        // The keys must be in the order in which a JSON object has them.
        QByteArray payload = beginPayload(CLASSNAME(), content.bytes + content.bytes / 4);
        appendNextJsonKey(payload, CLIENT_ID_KEY.getText());
        appendJsonString(payload, clientID);
        appendNextJsonKey(payload, DESCRIPTIONS_KEY.getText());
        payload.append('[');
        for (const Content::Text& text : content.texts) {
            payload.append("{\"Is\":").append(text.description);
            appendNextJsonKey(payload, PATHS_KEY.getText());
            payload.append('[').append(text.paths);
            payload.back() = ']'; // in place of the last comma
            payload.append("},");
        }
        if (content.texts.empty()) {
            payload.append(']');
        } else {
            payload.back() = ']';
        }
        if (isLast) {
            appendNextJsonKey(payload, LAST_KEY.getText());
            payload.append("true");
        }
        return endPayload(payload);
    }())
{
}

DatacoreDescriptionPacket::DatacoreDescriptionPacket(const SerialisableDataPacket& source, bool& ok)
    : SerialisableDataPacket(CLASSNAME(), source, ok)
{
}

QString DatacoreDescriptionPacket::getClientID() const
{
    return get(CLIENT_ID_KEY);
}

bool DatacoreDescriptionPacket::isLast() const
{
    return get(LAST_KEY);
}

std::vector<DatacoreDescriptionPacket::Entry>
DatacoreDescriptionPacket::getDescriptions(QStringList& complaints) const
{
    std::vector<Entry> entries;
    const QJsonArray array = value(DESCRIPTIONS_KEY).toArray();
    for (const QJsonValue& element : array) {
        const QJsonObject object = element.toObject();
        const QJsonValue description = object.value(DESCRIPTION_KEY.getText());
        bool hasPaths = false;
        Entry entry;
        entry.paths = toPaths(object.value(PATHS_KEY.getText()), hasPaths);
        QString reason = QStringLiteral("wrong shape");
        if (hasPaths && description.isObject()) {
            entry.description = DatacoreDescription::fromJson(description.toObject(), reason);
        }
        if (reason.isEmpty()) {
            entries.push_back(entry);
        } else {
            complaints.append(QStringLiteral("%1 for %2")
                                  .arg(reason, entry.paths.value(0).left(MAX_SHOWN_LENGTH)));
        }
    }
    return entries;
}
