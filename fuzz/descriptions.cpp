// A packet of descriptions from a peer. Whatever it is, what is taken from it keeps the stated
// limits, has a JSON form that is read as it was, and says the same when it is joined and sent on.
#include "infrastructure/utility/packets/DatacoreDescriptionPacket.h"

#include <QJsonDocument>

#include <algorithm>
#include <cstdint>
#include <cstdlib>

namespace {

using Entries = std::vector<DatacoreDescriptionPacket::Entry>;

void require(bool condition)
{
    if (!condition) {
        std::abort();
    }
}

void checkDescription(const DatacoreDescription& description)
{
    const auto isShort = [](const QString& text) {
        return text.size() <= DatacoreDescription::MAX_WORD_LENGTH;
    };
    require(isShort(description.kind) && !description.kind.isEmpty());
    require(isShort(description.minimum) && isShort(description.maximum));
    require(isShort(description.unit));
    require(description.sentence.size() <= DatacoreDescription::MAX_TEXT_LENGTH);
    require(description.choices.size() <= DatacoreDescription::MAX_CHOICES);
    require(std::all_of(description.choices.begin(), description.choices.end(), isShort));
    require(description.leastCount >= 0 && description.leastCount <= description.mostCount);

    QByteArray text;
    description.appendToJsonText(text);
    QString reason;
    const QJsonObject json = QJsonDocument::fromJson(text).object();
    require(DatacoreDescription::fromJson(json, reason) == description && reason.isEmpty());
}

/// What each path is said to be, in the end.
QHash<QString, DatacoreDescription> byPath(const Entries& entries)
{
    QHash<QString, DatacoreDescription> descriptions;
    for (const auto& entry : entries) {
        for (const QString& path : entry.paths) {
            descriptions.insert(path, entry.description);
        }
    }
    return descriptions;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray text(reinterpret_cast<const char*>(data), static_cast<int>(size));
    bool ok = false;
    const DatacoreDescriptionPacket packet(SerialisableDataPacket(text, nullptr), ok);
    QStringList complaints;
    const Entries entries = packet.getDescriptions(complaints);
    require(ok || entries.empty());
    if (text.contains("\\u")) { // half a surrogate pair has no UTF-8 form
        return 0;
    }

    DatacoreDescriptionPacket::Content content;
    const auto described = byPath(entries);
    for (auto it = described.begin(); it != described.end(); ++it) {
        checkDescription(it.value());
        content.add(it.value(), it.key());
    }
    const DatacoreDescriptionPacket joined(packet.getClientID(), content, packet.isLast());
    require(joined.isLast() == packet.isLast() && joined.getClientID() == packet.getClientID());
    complaints.clear();
    const auto again = byPath(joined.getDescriptions(complaints));
    require(again == described && complaints.isEmpty());
    return 0;
}
