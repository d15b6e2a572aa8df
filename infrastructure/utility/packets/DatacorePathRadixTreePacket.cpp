#include "infrastructure/utility/packets/DatacorePathRadixTreePacket.h"

#include "infrastructure/datacore/DatacoreBase.h"

#include <QJsonArray>

namespace {

// clang-format off
QString clientIdKey() { return QStringLiteral("ClientId"); }
QString statusTreeKey() { return QStringLiteral("StatusTreeObject"); }
QString configTreeKey() { return QStringLiteral("ConfigTreeObject"); }
QString commandTreeKey() { return QStringLiteral("CommandTreeObject"); }
QString persistentConfigTreeKey() { return QStringLiteral("PersistentConfigTreeObject"); }
// clang-format on

QJsonObject encode(const DatacoreBase& datacore)
{
    QJsonObject node{{DatacorePathRadixTreeNode::NAME_KEY(), datacore.getInstanceName()}};
    QJsonArray kids;
    for (const DatacoreBase* child : datacore.getChildren()) {
        kids.append(encode(*child));
    }
    if (!kids.isEmpty()) {
        node.insert(DatacorePathRadixTreeNode::KIDS_KEY(), kids);
    }
    return node;
}

DatacorePathRadixTreeNode decode(const QJsonValue& tree)
{
    return DatacorePathRadixTreeNode::fromJson(tree.toObject());
}

} // namespace

DatacorePathRadixTreePacket::DatacorePathRadixTreePacket()
    : SerialisableDataPacket(CLASSNAME())
{
}

DatacorePathRadixTreePacket::DatacorePathRadixTreePacket(const SerialisableDataPacket& source,
                                                         bool& ok)
    : SerialisableDataPacket(CLASSNAME(), source, ok)
{
}

bool DatacorePathRadixTreePacket::containsClientId() const
{
    return value(clientIdKey()).isString();
}

QString DatacorePathRadixTreePacket::getClientId() const
{
    return value(clientIdKey()).toString();
}

void DatacorePathRadixTreePacket::setClientId(const QString& clientId)
{
    insert(clientIdKey(), clientId);
}

bool DatacorePathRadixTreePacket::containsStatusTree() const
{
    return value(statusTreeKey()).isObject();
}

bool DatacorePathRadixTreePacket::containsConfigTree() const
{
    return value(configTreeKey()).isObject();
}

bool DatacorePathRadixTreePacket::containsCommandTree() const
{
    return value(commandTreeKey()).isObject();
}

bool DatacorePathRadixTreePacket::containsPersistentConfigTree() const
{
    return value(persistentConfigTreeKey()).isObject();
}

DatacorePathRadixTreeNode DatacorePathRadixTreePacket::getStatusTree() const
{
    return decode(value(statusTreeKey()));
}

DatacorePathRadixTreeNode DatacorePathRadixTreePacket::getConfigTree() const
{
    return decode(value(configTreeKey()));
}

DatacorePathRadixTreeNode DatacorePathRadixTreePacket::getCommandTree() const
{
    return decode(value(commandTreeKey()));
}

DatacorePathRadixTreeNode DatacorePathRadixTreePacket::getPersistentConfigTree() const
{
    return decode(value(persistentConfigTreeKey()));
}

void DatacorePathRadixTreePacket::setStatusTree(const DatacoreBase& root)
{
    insert(statusTreeKey(), encode(root));
}

void DatacorePathRadixTreePacket::setConfigTree(const DatacoreBase& root)
{
    insert(configTreeKey(), encode(root));
}

void DatacorePathRadixTreePacket::setCommandTree(const DatacoreBase& root)
{
    insert(commandTreeKey(), encode(root));
}

void DatacorePathRadixTreePacket::setPersistentConfigTree(const DatacoreBase& root)
{
    insert(persistentConfigTreeKey(), encode(root));
}
