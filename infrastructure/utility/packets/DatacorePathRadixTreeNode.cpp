#include "infrastructure/utility/packets/DatacorePathRadixTreeNode.h"

#include <QJsonArray>

namespace {

/// `path` is the node's own full path, and is unchanged on return.
void appendPaths(const DatacorePathRadixTreeNode& node, QString& path, QStringList& paths)
{
    paths.append(QString(path.constData(), path.size())); // a copy of its size, not of its capacity
    const int ownSize = path.size();
    for (const DatacorePathRadixTreeNode& kid : node.kids) {
        path += QLatin1Char('/');
        path += kid.name;
        appendPaths(kid, path, paths);
        path.truncate(ownSize);
    }
}

} // namespace

DatacorePathRadixTreeNode DatacorePathRadixTreeNode::fromJson(const QJsonObject& json)
{
    DatacorePathRadixTreeNode node;
    node.name = json.value(NAME_KEY()).toString();
    const QJsonArray array = json.value(KIDS_KEY()).toArray();
    for (const QJsonValue& kid : array) {
        node.kids.push_back(fromJson(kid.toObject()));
    }
    return node;
}

void DatacorePathRadixTreeNode::appendPathsTo(QStringList& paths) const
{
    QString path = name;
    appendPaths(*this, path, paths);
}

bool operator==(const DatacorePathRadixTreeNode& a, const DatacorePathRadixTreeNode& b)
{
    return a.name == b.name && a.kids == b.kids;
}

bool operator!=(const DatacorePathRadixTreeNode& a, const DatacorePathRadixTreeNode& b)
{
    return !(a == b);
}
