#include "infrastructure/server/DurableTree_p.h"

#include "infrastructure/datacore/DatacoreBase.h"
#include "infrastructure/utility/Log.h"
#include "infrastructure/utility/packets/DatacorePacket.h"

#include <iterator>
#include <set>
#include <utility>

namespace {

constexpr int COMPLAINT_PERIOD_MS = 10'000;
constexpr int OVERHEAD_BYTES = 256; ///< of a packet that is held, beside its text

DatacoreStoreInterface::Values getValues(const DatacoreBase& node)
{
    DatacoreStoreInterface::Values values;
    const int count = node.getDataCount();
    values.reserve(count);
    for (int i = 0; i < count; ++i) {
        values.append(node.getDataAt(i));
    }
    return values;
}

/// The same packet, with what the node holds now.
SerialisableDataPacket renew(const SerialisableDataPacket& packet, const DatacoreBase& node)
{
    bool ok = false;
    constexpr bool justData = false;
    return DatacorePacket(DatacorePacket(packet, ok), node, justData);
}

} // namespace

DurableTree::DurableTree(DatacoreBase& root, DatacoreStoreInterface& keeper, Sender& newsSender)
    : tree(root)
    , store(keeper)
    , sender(newsSender)
{
    restore();
    store.setListener([this](const DatacoreStoreInterface::Outcome& outcome) {
        QMetaObject::invokeMethod(
            this, [this, outcome] { finish(outcome); }, Qt::QueuedConnection);
    });
}

DurableTree::~DurableTree()
{
    store.setListener(nullptr);
}

void DurableTree::enter(DatacoreBase& node)
{
    entries[&node].node = &node;
    for (DatacoreBase* child : node.getChildren()) {
        enter(*child);
    }
}

void DurableTree::restore()
{
    enter(tree);
    int unknown = 0;
    QString firstUnknown;
    store.readLeaves([&](const DatacoreStoreInterface::Leaf& leaf) {
        const QString& rootName = tree.getInstanceName();
        DatacoreBase* node = nullptr;
        if (leaf.path == rootName) {
            node = &tree;
        } else if (leaf.path.startsWith(rootName + DatacoreJsonInterface::TREE_LEVEL_DELIMITER())) {
            node = tree.findDatacore(QStringView(leaf.path).mid(rootName.size() + 1));
        }
        if (node == nullptr) {
            if (unknown++ == 0) {
                firstUnknown = leaf.path;
            }
            return;
        }
        Entry& entry = entries[node];
        entry.stored = leaf.values;
        entry.isStored = true;
        node->setData(std::deque<QString>(leaf.values.begin(), leaf.values.end()));
    });
    for (auto& item : entries) {
        Entry& entry = item.second;
        if (!entry.isStored) {
            entry.stored = getValues(*entry.node);
        }
        entry.latest = entry.stored;
        entry.isSaved = entry.isStored;
    }
    if (unknown > 0) {
        VELLOG_WARN() << "The store keeps " << unknown << " values of unknown paths, such as "
                      << firstUnknown;
    }
}

bool DurableTree::isHeldBack(const DatacoreBase& node) const
{
    const auto found = entries.find(&node);
    return found != entries.end() && found->second.heldUntil > finished;
}

std::vector<DurableTree::News> DurableTree::publish(std::vector<News> news)
{
    std::vector<DatacoreStoreInterface::Leaf> leaves;
    std::vector<Save> ofThese;
    bool mustWait = false;
    for (const News& piece : news) {
        Entry& entry = entries.at(piece.node);
        mustWait = mustWait || entry.heldUntil > finished;
        Values values = getValues(*piece.node);
        // A write of what the node held anyway is kept too: another release may start with another
        // value.
        if (values != entry.latest || (piece.isWrite && !entry.isSaved)) {
            leaves.push_back({piece.node->getPath(), values});
            entry.latest = values;
            entry.isSaved = true;
            ofThese.push_back({0, &entry, std::move(values)});
        }
    }
    if (leaves.empty() && !mustWait) {
        return news;
    }
    const Ticket ticket = leaves.empty() ? held.back().ticket : store.save(leaves);
    for (Save& save : ofThese) {
        save.ticket = ticket;
        saves.push_back(std::move(save));
    }
    for (News& piece : news) {
        hold(ticket, std::move(piece));
    }
    return {};
}

void DurableTree::holdAnswer(const DatacoreBase& node, const SerialisableDataPacket& packet,
                             NetworkConnection& receiver)
{
    constexpr bool isWrite = false;
    constexpr bool isForAll = false;
    hold(held.back().ticket, {&node, packet, isWrite, isForAll, &receiver});
}

void DurableTree::hold(Ticket ticket, News news)
{
    entries.at(news.node).heldUntil = ticket;
    const int bytes = news.packet.serialisePayload().size() + OVERHEAD_BYTES;
    heldBytes += bytes;
    held.push_back({ticket, bytes, std::move(news)});
}

void DurableTree::finish(const DatacoreStoreInterface::Outcome& outcome)
{
    if (!outcome.isDurable) {
        setBack(outcome.reason);
        return;
    }
    finished = outcome.upTo;
    for (; !saves.empty() && saves.front().ticket <= finished; saves.pop_front()) {
        Save& save = saves.front();
        save.entry->stored = std::move(save.values);
        save.entry->isStored = true;
    }
    std::vector<News> released;
    for (; !held.empty() && held.front().ticket <= finished; held.pop_front()) {
        heldBytes -= held.front().bytes;
        released.push_back(std::move(held.front().news));
    }
    sender.sendNews(released);
}

/// Everything that has been saved and has no outcome is void, whichever batch it is in.
void DurableTree::setBack(const QString& reason)
{
    store.forgetUnsaved();
    if (held.empty()) {
        return;
    }
    std::set<Entry*> affected;
    for (const Save& save : std::exchange(saves, {})) {
        affected.insert(save.entry);
        save.entry->latest = save.entry->stored;
        save.entry->isSaved = save.entry->isStored;
    }
    ++unreportedFailures;
    if (!affected.empty() &&
        (!lastComplaint.isValid() || lastComplaint.elapsed() >= COMPLAINT_PERIOD_MS)) {
        VELLOG_ERR() << "Not stored (" << reason << "), set back: " << affected.size()
                     << " values, such as " << (*affected.begin())->node->getPath() << "; failures "
                     << unreportedFailures;
        unreportedFailures = 0;
        lastComplaint.start();
    }
    std::deque<Held> answers = std::exchange(held, {});
    heldBytes = 0;
    finished = answers.back().ticket; // the highest there is
    for (const Entry* entry : affected) {
        entry->node->setData(std::deque<QString>(entry->stored.begin(), entry->stored.end()));
    }
    // Hooks may have answered with changes of their own, which are new saves.
    sender.publishChanges();
    std::vector<News> news;
    for (Held& answer : answers) {
        News& piece = answer.news;
        piece.packet = renew(piece.packet, *piece.node);
        if (isHeldBack(*piece.node)) {
            hold(held.back().ticket, std::move(piece));
        } else {
            news.push_back(std::move(piece));
        }
    }
    sender.sendNews(news);
}
