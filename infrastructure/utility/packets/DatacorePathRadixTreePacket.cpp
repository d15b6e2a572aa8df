#include "infrastructure/utility/packets/DatacorePathRadixTreePacket.h"

#include "infrastructure/datacore/DatacoreBase.h"
#include "infrastructure/datacore/JsonText_p.h"
#include "infrastructure/datacore/PlainJson_p.h"

#include <QJsonArray>

namespace {

constexpr int ORDINARY_BYTES = 16 << 10; ///< of a dump of a few hundred names

const QLatin1String CLIENT_ID_KEY("ClientId");
const QLatin1String STATUS_TREE_KEY("StatusTreeObject");
const QLatin1String CONFIG_TREE_KEY("ConfigTreeObject");
const QLatin1String COMMAND_TREE_KEY("CommandTreeObject");
const QLatin1String PERSISTENT_CONFIG_TREE_KEY("PersistentConfigTreeObject");

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

/// Appends the text of what encode gives.
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

/// `path` is the full path of the parent with the delimiter, and is unchanged on return.
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
    paths.append(QString(path.constData(), path.size())); // a copy of its size, not of its capacity
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
        // The keys must be in the order in which a JSON object has them.
        QByteArray payload = beginPayload(CLASSNAME(), ORDINARY_BYTES);
        appendNextJsonKey(payload, CLIENT_ID_KEY);
        appendJsonString(payload, clientId);
        appendNextJsonKey(payload, COMMAND_TREE_KEY);
        appendTree(payload, command);
        appendNextJsonKey(payload, CONFIG_TREE_KEY);
        appendTree(payload, config);
        appendNextJsonKey(payload, PERSISTENT_CONFIG_TREE_KEY);
        appendTree(payload, persistentConfig);
        appendNextJsonKey(payload, STATUS_TREE_KEY);
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
    return stringValue(CLIENT_ID_KEY);
}

void DatacorePathRadixTreePacket::setClientId(const QString& clientId)
{
    insert(CLIENT_ID_KEY, clientId);
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
    return decode(value(STATUS_TREE_KEY));
}

DatacorePathRadixTreeNode DatacorePathRadixTreePacket::getConfigTree() const
{
    return decode(value(CONFIG_TREE_KEY));
}

DatacorePathRadixTreeNode DatacorePathRadixTreePacket::getCommandTree() const
{
    return decode(value(COMMAND_TREE_KEY));
}

DatacorePathRadixTreeNode DatacorePathRadixTreePacket::getPersistentConfigTree() const
{
    return decode(value(PERSISTENT_CONFIG_TREE_KEY));
}

void DatacorePathRadixTreePacket::setStatusTree(const DatacoreBase& root)
{
    insert(STATUS_TREE_KEY, encode(root));
}

void DatacorePathRadixTreePacket::setConfigTree(const DatacoreBase& root)
{
    insert(CONFIG_TREE_KEY, encode(root));
}

void DatacorePathRadixTreePacket::setCommandTree(const DatacoreBase& root)
{
    insert(COMMAND_TREE_KEY, encode(root));
}

void DatacorePathRadixTreePacket::setPersistentConfigTree(const DatacoreBase& root)
{
    insert(PERSISTENT_CONFIG_TREE_KEY, encode(root));
}

QStringList DatacorePathRadixTreePacket::getPaths() const
{
    QStringList paths;
    for (const QLatin1String key :
         {CONFIG_TREE_KEY, STATUS_TREE_KEY, COMMAND_TREE_KEY, PERSISTENT_CONFIG_TREE_KEY}) {
        if (isPlainText()) {
            QString path;
            appendPaths(plainValue(key), path, paths);
        } else {
            decode(value(key)).appendPathsTo(paths);
        }
    }
    return paths;
}
