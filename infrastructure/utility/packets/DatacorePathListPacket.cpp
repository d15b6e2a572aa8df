#include "infrastructure/utility/packets/DatacorePathListPacket.h"

#include <QJsonArray>

namespace {

// clang-format off
QString clientIdKey() { return QStringLiteral("ClientID"); }
QString pathsKey() { return QStringLiteral("DatacoreRequestList"); }
// clang-format on

} // namespace

DatacorePathListPacket::DatacorePathListPacket(const QString& clientID,
                                               const std::deque<QString>& paths)
    : SerialisableDataPacket(CLASSNAME())
{
    QJsonArray array;
    for (const QString& path : paths) {
        array.append(path);
    }
    insert(clientIdKey(), clientID);
    insert(pathsKey(), array);
}

DatacorePathListPacket::DatacorePathListPacket(const QString& clientID, const QStringList& paths)
    : DatacorePathListPacket(clientID, std::deque<QString>(paths.begin(), paths.end()))
{
}

DatacorePathListPacket::DatacorePathListPacket(const SerialisableDataPacket& source, bool& ok)
    : SerialisableDataPacket(CLASSNAME(), source, ok)
{
}

bool DatacorePathListPacket::containsClientID() const
{
    return contains(clientIdKey());
}

QString DatacorePathListPacket::getClientID() const
{
    return value(clientIdKey()).toString();
}

bool DatacorePathListPacket::containsDatacorePaths() const
{
    return contains(pathsKey());
}

std::deque<QString> DatacorePathListPacket::getDatacorePaths() const
{
    std::deque<QString> paths;
    const QJsonArray array = value(pathsKey()).toArray();
    for (const QJsonValue& path : array) {
        paths.push_back(path.toString());
    }
    return paths;
}
