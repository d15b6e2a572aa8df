// What a server has to say about a tree that a store keeps. Lives on the server's thread.
#pragma once

#include "infrastructure/server/DatacoreStoreInterface.h"
#include "infrastructure/utility/packets/NetworkConnection.h"
#include "infrastructure/utility/packets/SerialisableDataPacket.h"

#include <QElapsedTimer>
#include <QObject>
#include <QPointer>

#include <deque>
#include <functional>
#include <unordered_map>
#include <vector>

class DatacoreBase;

/// Fills the tree from the store, saves what changes, and holds back the packets that tell of a
/// change until it is durable. If it can't be saved, the nodes are set back to what the store
/// holds, and the same packets tell that.
class DurableTree : public QObject
{
public:
    /// A write with more content than this is not taken.
    static constexpr int MAX_WRITE_BYTES = 1 << 20;

    /// What a packet tells of a node, and whom.
    struct News
    {
        const DatacoreBase* node;
        SerialisableDataPacket packet;
        bool isWrite = false;                   ///< the echo of a write to the node
        bool isForAll = true;                   ///< otherwise only for `receiver`
        QPointer<NetworkConnection> receiver{}; ///< null once it has gone
    };
    /// Who sends them, from the event loop.
    class Sender
    {
    public:
        virtual ~Sender() = default;
        virtual void sendNews(const std::vector<News>& news) = 0;
        /// Publishes whatever is in the lists of changed nodes.
        virtual void publishChanges() = 0;
    };

    /// Tree, store and sender must outlive the object, and the tree have all its nodes: a node that
    /// is added later is not saved. A leaf of the store for which there is no node stays there.
    DurableTree(DatacoreBase& root, DatacoreStoreInterface& keeper, Sender& newsSender);
    ~DurableTree() override;

    /// True for the nodes of the tree.
    bool covers(const DatacoreBase& node) const { return entries.count(&node) != 0; }
    /// True while news of the node are held back.
    bool isHeldBack(const DatacoreBase& node) const;
    /// True if so much is held back that nothing more may be added.
    bool isFull() const { return heldBytes > MAX_HELD_BYTES; }

    /// Saves what the nodes hold, if the store does not have it, and returns the news that may be
    /// sent at once: all of them or none.
    std::vector<News> publish(std::vector<News> news);
    /// Holds an answer about a node behind what is held back already.
    void holdAnswer(const DatacoreBase& node, const SerialisableDataPacket& packet,
                    NetworkConnection& receiver);

private:
    using Values = DatacoreStoreInterface::Values;
    using Ticket = DatacoreStoreInterface::Ticket;
    static constexpr qint64 MAX_HELD_BYTES = 64 << 20;

    struct Entry
    {
        DatacoreBase* node;
        Values stored;         ///< what a restart would bring
        Values latest;         ///< the same, once all saves are durable
        bool isStored = false; ///< the store has a leaf for it
        bool isSaved = false;  ///< the same, once all saves are durable
        Ticket heldUntil = 0;  ///< of its latest news
    };
    struct Save
    {
        Ticket ticket;
        Entry* entry;
        Values values;
    };
    struct Held
    {
        Ticket ticket;
        int bytes;
        News news;
    };

    void enter(DatacoreBase& node);
    void restore();
    void hold(Ticket ticket, News news);
    void finish(const DatacoreStoreInterface::Outcome& outcome);
    void setBack(const QString& reason);

    DatacoreBase& tree;
    DatacoreStoreInterface& store;
    Sender& sender;
    std::unordered_map<const DatacoreBase*, Entry> entries;
    std::deque<Save> saves; ///< those without an outcome
    std::deque<Held> held;  ///< in the order of their tickets
    qint64 heldBytes = 0;
    Ticket finished = 0;
    QElapsedTimer lastComplaint;
    int unreportedFailures = 0;
};
