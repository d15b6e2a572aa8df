// The server's dump of all its datacore paths, as four trees.
#pragma once

#include "infrastructure/utility/packets/DatacorePathRadixTreeNode.h"
#include "infrastructure/utility/packets/SerialisableDataPacket.h"

class DatacoreBase;

/// Keys: "ClientId" (with a small d), "StatusTreeObject", "ConfigTreeObject", "CommandTreeObject",
/// "PersistentConfigTreeObject". It carries names but no values.
class DatacorePathRadixTreePacket : public SerialisableDataPacket
{
public:
    static QString CLASSNAME() { return QStringLiteral("DatacorePathRadixTreePacket"); }

    /// An empty dump.
    DatacorePathRadixTreePacket();
    /// The whole dump, from the roots of the four trees. Writes the text directly, which is much
    /// faster than building a JSON object.
    DatacorePathRadixTreePacket(const QString& clientId, const DatacoreBase& config,
                                const DatacoreBase& status, const DatacoreBase& command,
                                const DatacoreBase& persistentConfig);
    /// The packet that `source` carries; `ok` is false, and the packet empty, for another class.
    DatacorePathRadixTreePacket(const SerialisableDataPacket& source, bool& ok);

    /// True if it is a text.
    bool containsClientId() const;
    QString getClientId() const; ///< empty if absent
    void setClientId(const QString& clientId);

    /// Each is true if it is an object.
    bool containsStatusTree() const;
    bool containsConfigTree() const;
    bool containsCommandTree() const;
    bool containsPersistentConfigTree() const;

    /// Each is a node with an empty name and no kids if the tree is absent.
    DatacorePathRadixTreeNode getStatusTree() const;
    DatacorePathRadixTreeNode getConfigTree() const;
    DatacorePathRadixTreeNode getCommandTree() const;
    DatacorePathRadixTreeNode getPersistentConfigTree() const;

    /// The full paths of all nodes: of the config tree, then status, command and persistent config;
    /// ancestors before descendants. The same as from the decoded trees, but faster.
    QStringList getPaths() const;

    /// Each takes the root of a tree.
    void setStatusTree(const DatacoreBase& root);
    void setConfigTree(const DatacoreBase& root);
    void setCommandTree(const DatacoreBase& root);
    void setPersistentConfigTree(const DatacoreBase& root);
};
