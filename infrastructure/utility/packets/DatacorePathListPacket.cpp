#include "infrastructure/utility/packets/DatacorePathListPacket.h"

namespace {

constexpr PacketKey<QString> CLIENT_ID_KEY{"ClientID"};
constexpr PacketKey<std::deque<QString>> PATHS_KEY{"DatacoreRequestList"};

} // namespace

DatacorePathListPacket::DatacorePathListPacket(const QString& clientID,
                                               const std::deque<QString>& paths)
    : SerialisableDataPacket(CLASSNAME())
{
    set(CLIENT_ID_KEY, clientID);
    set(PATHS_KEY, paths);
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
    return contains(CLIENT_ID_KEY);
}

QString DatacorePathListPacket::getClientID() const
{
    return get(CLIENT_ID_KEY);
}

bool DatacorePathListPacket::containsDatacorePaths() const
{
    return contains(PATHS_KEY);
}

std::deque<QString> DatacorePathListPacket::getDatacorePaths() const
{
    return get(PATHS_KEY);
}
