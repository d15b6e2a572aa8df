// The server's dump of all its datacore paths, as four trees.
#pragma once

#include "infrastructure/utility/packets/DatacorePathRadixTreeNode.h"
#include "infrastructure/utility/packets/SerialisableDataPacket.h"

class DatacoreBase;

/// Keys: "ClientId" (with a small d), "StatusTreeObject", "ConfigTreeObject", "CommandTreeObject",
/// "PersistentConfigTreeObject". It carries names and no values.
class DatacorePathRadixTreePacket : public SerialisableDataPacket
{
public:
    static QString CLASSNAME() { return QStringLiteral("DatacorePathRadixTreePacket"); }

    /// A dump of nothing.
    DatacorePathRadixTreePacket();
    /// The packet that `source` carries; `ok` is false, and the packet empty, for another class.
    DatacorePathRadixTreePacket(const SerialisableDataPacket& source, bool& ok);

    /// True for a text.
    bool containsClientId() const;
    QString getClientId() const; ///< empty where absent
    void setClientId(const QString& clientId);

    /// Each is true for an object.
    bool containsStatusTree() const;
    bool containsConfigTree() const;
    bool containsCommandTree() const;
    bool containsPersistentConfigTree() const;

    /// Each is a node with an empty name and no kids where the tree is absent.
    DatacorePathRadixTreeNode getStatusTree() const;
    DatacorePathRadixTreeNode getConfigTree() const;
    DatacorePathRadixTreeNode getCommandTree() const;
    DatacorePathRadixTreeNode getPersistentConfigTree() const;

    /// Each takes the root of a tree.
    void setStatusTree(const DatacoreBase& root);
    void setConfigTree(const DatacoreBase& root);
    void setCommandTree(const DatacoreBase& root);
    void setPersistentConfigTree(const DatacoreBase& root);
};
