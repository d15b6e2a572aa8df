#include "infrastructure/client/ClientDatacoreDescriptions.h"

#include "infrastructure/utility/Log.h"
#include "infrastructure/utility/packets/DatacoreDescriptionPacket.h"
#include "infrastructure/utility/packets/DatacoreDescriptionRequestPacket.h"
#include "infrastructure/utility/packets/NetworkConnection.h"
#include "infrastructure/utility/packets/SerialisableDataPacketDistributor.h"

namespace {

int getCost(const QString& text)
{
    return ClientDatacoreDescriptions::ENTRY_COST + text.size();
}

int getCost(const DatacoreDescription& description)
{
    int cost = ClientDatacoreDescriptions::ENTRY_COST;
    for (const QString& text : {description.kind, description.minimum, description.maximum,
                                description.unit, description.sentence}) {
        cost += getCost(text);
    }
    for (const QString& choice : description.choices) {
        cost += getCost(choice);
    }
    return cost;
}

} // namespace

ClientDatacoreDescriptions::ClientDatacoreDescriptions(
    NetworkConnection& serverConnection, SerialisableDataPacketDistributor& distributor,
    QObject* parent)
    : QObject(parent)
    , connection(&serverConnection)
{
    distributor.registerPacketAcceptor(*this, DatacoreDescriptionPacket::CLASSNAME());
    connect(connection, &NetworkConnection::disconnectedFromHost, this,
            &ClientDatacoreDescriptions::clear);
}

ClientDatacoreDescriptions::~ClientDatacoreDescriptions() = default;

void ClientDatacoreDescriptions::clear()
{
    descriptions.clear();
    pathCost = 0;
    pendingCount = 0;
}

void ClientDatacoreDescriptions::requestDescriptions(const QStringList& paths)
{
    if (connection->isConnected()) {
        ++pendingCount;
        connection->acceptPacket(
            DatacoreDescriptionRequestPacket(connection->getLocalIdentifier(), paths));
    }
}

bool ClientDatacoreDescriptions::canAcceptPacket(QString className)
{
    return className == DatacoreDescriptionPacket::CLASSNAME();
}

void ClientDatacoreDescriptions::acceptPacket(const SerialisableDataPacket& packet)
{
    bool ok = false;
    const DatacoreDescriptionPacket answer(packet, ok);
    if (!ok || pendingCount == 0) {
        return;
    }
    QStringList complaints;
    for (const DatacoreDescriptionPacket::Entry& entry : answer.getDescriptions(complaints)) {
        const Description description = share(entry.description);
        for (const QString& path : entry.paths) {
            if (!keep(path, description)) {
                complaints.append(QStringLiteral("too many, from %1 on").arg(path.left(200)));
                break;
            }
        }
    }
    for (const QString& complaint : complaints) {
        VELLOG_ERR() << "Description left out: " << complaint;
    }
    if (answer.isLast()) {
        --pendingCount;
        Q_EMIT descriptionsReceived();
    }
}

/// The costs of its texts count for as long as anybody has it.
ClientDatacoreDescriptions::Description
ClientDatacoreDescriptions::share(const DatacoreDescription& description) const
{
    const int cost = getCost(description);
    *textCost += cost;
    return Description(new DatacoreDescription(description),
                       [cost, total = textCost](const DatacoreDescription* shared) {
                           *total -= cost;
                           delete shared;
                       });
}

bool ClientDatacoreDescriptions::keep(const QString& path, const Description& description)
{
    const auto known = descriptions.find(path);
    const int cost = known == descriptions.end() ? getCost(path) : 0;
    if (pathCost + *textCost + cost > MAX_COST) {
        return false;
    }
    if (cost == 0) {
        *known = description;
    } else {
        pathCost += cost;
        descriptions.insert(path, description);
    }
    return true;
}
