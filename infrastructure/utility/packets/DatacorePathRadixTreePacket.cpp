#include "infrastructure/utility/packets/DatacorePathRadixTreePacket.h"

#include "infrastructure/datacore/DatacoreBase.h"
#include "infrastructure/datacore/JsonText_p.h"
#include "infrastructure/datacore/PlainJson_p.h"

#include <QJsonArray>

namespace {

constexpr int ORDINARY_BYTES = 16 << 10; ///< of a dump of a few hundred names

constexpr PacketKey<QString> CLIENT_ID_KEY{"ClientId", ""};
constexpr PacketKey<QJsonObject> STATUS_TREE_KEY{"StatusTreeObject"};
constexpr PacketKey<QJsonObject> CONFIG_TREE_KEY{"ConfigTreeObject"};
constexpr PacketKey<QJsonObject> COMMAND_TREE_KEY{"CommandTreeObject"};
constexpr PacketKey<QJsonObject> PERSISTENT_CONFIG_TREE_KEY{"PersistentConfigTreeObject"};

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

/// Appends what encode gives, as text.
void appendTree(QByteArray& text, const DatacoreBase& datacore)
{
    text.append("{\"Core\":");
    appendJsonString(text, datacore.getInstanceName());
    const std::vector<DatacoreBase*> children = datacore.getChildren();
    for (const DatacoreBase* child : children) {
        text.append(child == children.front() ? ",\"Kids\":[" : ",");
        appendTree(text, *child);
    }
    text.append(children.empty() ? "}" : "]}");
}

/// `path` is the parent's full path and a delimiter; it is unchanged on return.
void appendPaths(const PlainJsonValue& node, QString& path, QStringList& paths)
{
    const int parentSize = path.size();
    PlainJsonValue kids;
    for (PlainJsonItems items(node); !items.isAtEnd(); items.next()) {
        if (items.getKey() == DatacorePathRadixTreeNode::NAME_KEY()) {
            path += items.getValue().toLatin1();
        } else if (items.getKey() == DatacorePathRadixTreeNode::KIDS_KEY()) {
            kids = items.getValue();
        }
    }
    paths.append(QString(path.constData(), path.size())); // a copy without spare capacity
    path += DatacoreJsonInterface::TREE_LEVEL_DELIMITER();
    if (kids.isArray()) {
        for (PlainJsonItems items(kids); !items.isAtEnd(); items.next()) {
            appendPaths(items.getValue(), path, paths);
        }
    }
    path.truncate(parentSize);
}

} // namespace

DatacorePathRadixTreePacket::DatacorePathRadixTreePacket()
    : SerialisableDataPacket(CLASSNAME())
{
}

DatacorePathRadixTreePacket::DatacorePathRadixTreePacket(const QString& clientId,
                                                         const DatacoreBase& config,
                                                         const DatacoreBase& status,
                                                         const DatacoreBase& command,
                                                         const DatacoreBase& persistentConfig)
    : SerialisableDataPacket([&] {
        // In the order in which a JSON object has its keys.
        QByteArray payload = beginPayload(CLASSNAME(), ORDINARY_BYTES);
        appendNextJsonKey(payload, CLIENT_ID_KEY.getText());
        appendJsonString(payload, clientId);
        appendNextJsonKey(payload, COMMAND_TREE_KEY.getText());
        appendTree(payload, command);
        appendNextJsonKey(payload, CONFIG_TREE_KEY.getText());
        appendTree(payload, config);
        appendNextJsonKey(payload, PERSISTENT_CONFIG_TREE_KEY.getText());
        appendTree(payload, persistentConfig);
        appendNextJsonKey(payload, STATUS_TREE_KEY.getText());
        appendTree(payload, status);
        return endPayload(payload);
    }())
{
}

DatacorePathRadixTreePacket::DatacorePathRadixTreePacket(const SerialisableDataPacket& source,
                                                         bool& ok)
    : SerialisableDataPacket(CLASSNAME(), source, ok)
{
}

bool DatacorePathRadixTreePacket::containsClientId() const
{
    return value(CLIENT_ID_KEY).isString();
}

QString DatacorePathRadixTreePacket::getClientId() const
{
    return get(CLIENT_ID_KEY);
}

void DatacorePathRadixTreePacket::setClientId(const QString& clientId)
{
    set(CLIENT_ID_KEY, clientId);
}

bool DatacorePathRadixTreePacket::containsStatusTree() const
{
    return value(STATUS_TREE_KEY).isObject();
}

bool DatacorePathRadixTreePacket::containsConfigTree() const
{
    return value(CONFIG_TREE_KEY).isObject();
}

bool DatacorePathRadixTreePacket::containsCommandTree() const
{
    return value(COMMAND_TREE_KEY).isObject();
}

bool DatacorePathRadixTreePacket::containsPersistentConfigTree() const
{
    return value(PERSISTENT_CONFIG_TREE_KEY).isObject();
}

DatacorePathRadixTreeNode DatacorePathRadixTreePacket::getStatusTree() const
{
    return DatacorePathRadixTreeNode::fromJson(get(STATUS_TREE_KEY));
}

DatacorePathRadixTreeNode DatacorePathRadixTreePacket::getConfigTree() const
{
    return DatacorePathRadixTreeNode::fromJson(get(CONFIG_TREE_KEY));
}

DatacorePathRadixTreeNode DatacorePathRadixTreePacket::getCommandTree() const
{
    return DatacorePathRadixTreeNode::fromJson(get(COMMAND_TREE_KEY));
}

DatacorePathRadixTreeNode DatacorePathRadixTreePacket::getPersistentConfigTree() const
{
    return DatacorePathRadixTreeNode::fromJson(get(PERSISTENT_CONFIG_TREE_KEY));
}

void DatacorePathRadixTreePacket::setStatusTree(const DatacoreBase& root)
{
    set(STATUS_TREE_KEY, encode(root));
}

void DatacorePathRadixTreePacket::setConfigTree(const DatacoreBase& root)
{
    set(CONFIG_TREE_KEY, encode(root));
}

void DatacorePathRadixTreePacket::setCommandTree(const DatacoreBase& root)
{
    set(COMMAND_TREE_KEY, encode(root));
}

void DatacorePathRadixTreePacket::setPersistentConfigTree(const DatacoreBase& root)
{
    set(PERSISTENT_CONFIG_TREE_KEY, encode(root));
}

QStringList DatacorePathRadixTreePacket::getPaths() const
{
    QStringList paths;
    for (const PacketKey<QJsonObject>& key :
         {CONFIG_TREE_KEY, STATUS_TREE_KEY, COMMAND_TREE_KEY, PERSISTENT_CONFIG_TREE_KEY}) {
        if (isPlainText()) {
            QString path;
            appendPaths(plainValue(key), path, paths);
        } else {
            DatacorePathRadixTreeNode::fromJson(get(key)).appendPathsTo(paths);
        }
    }
    return paths;
}
