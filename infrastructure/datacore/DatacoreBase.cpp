#include "infrastructure/datacore/DatacoreBase.h"

#include "infrastructure/datacore/DatacoreDescription.h"
#include "infrastructure/utility/Log.h"

#include <algorithm>

namespace {

constexpr int MAX_NESTED_HOOKS = 1000; ///< hooks whose writes trigger each other settle long before

QString defaultClassName()
{
    return QStringLiteral("DatacoreBase");
}

/// The hooks that are running on this thread, each inside the one before.
struct HookNesting
{
    int depth = 0;
    bool isStopped = false; ///< from reaching the limit until the outermost hook returns
};

/// Not inlined: the compiler would look the thread's own up again at each use.
[[gnu::noinline]] HookNesting& hookNesting()
{
    static thread_local HookNesting nesting;
    return nesting;
}

/// Calls a hook, unless hooks have been stopped because they never settle.
template <typename Hook>
void callHook(HookNesting& nesting, const DatacoreBase& node, Hook&& hook)
{
    if (nesting.isStopped) {
        return;
    }
    if (nesting.depth == MAX_NESTED_HOOKS) {
        nesting.isStopped = true;
        VELLOG_ERR() << "Datacore hooks keep causing each other, stopped at " << node.getPath();
        return;
    }
    struct Level
    {
        HookNesting& nesting;
        ~Level() { nesting.isStopped = --nesting.depth > 0 && nesting.isStopped; }
    };
    ++nesting.depth;
    const Level level{nesting};
    hook();
}

/// Sets a flag for its own lifetime, so that an exception from a hook leaves no node busy.
class Busy
{
public:
    explicit Busy(bool& nodeFlag)
        : flag(nodeFlag)
    {
        flag = true;
    }
    Busy(const Busy&) = delete;
    Busy& operator=(const Busy&) = delete;
    ~Busy() { flag = false; }

private:
    bool& flag;
};

} // namespace

DatacoreBase::DatacoreBase(const QString& className, const QString& name, DatacoreBase* parentNode)
    : parent(parentNode)
    , instanceName(name)
{
    elementState.className = className;
    if (parent != nullptr) {
        parent->children.add(instanceName, this);
    }
}

DatacoreBase::DatacoreBase(const QString& className, const QString& name, DatacoreBase* parentNode,
                           const QString& value)
    : DatacoreBase(className, name, parentNode)
{
    dataElement().initialiseValue(value);
}

DatacoreBase::DatacoreBase(const QString& className, const QString& name, DatacoreBase* parentNode,
                           const std::deque<QString>& values)
    : DatacoreBase(className, name, parentNode)
{
    dataElement().initialiseValues(values);
}

DatacoreBase::DatacoreBase(const QString& name, DatacoreBase* parentNode, const QString& value)
    : DatacoreBase(defaultClassName(), name, parentNode, value)
{
}

DatacoreBase::DatacoreBase(const QString& name, DatacoreBase* parentNode,
                           const std::deque<QString>& values)
    : DatacoreBase(defaultClassName(), name, parentNode, values)
{
}

DatacoreBase::DatacoreBase(const QString& name, DatacoreBase* parentNode)
    : DatacoreBase(defaultClassName(), name, parentNode)
{
}

// Parent, children and pending changes may be gone by now.
DatacoreBase::~DatacoreBase() = default;

template <typename Node>
Node* DatacoreBase::findNode(Node* node, QStringView path)
{
    while (node != nullptr && !path.isEmpty()) {
        node = node->children.findFirst(path);
    }
    return node;
}

DatacoreBase* DatacoreBase::findDatacore(QStringView path)
{
    return findNode(this, path);
}

const DatacoreBase* DatacoreBase::findDatacore(QStringView path) const
{
    return findNode(this, path);
}

QString DatacoreBase::getPath() const
{
    int length = instanceName.size();
    for (const DatacoreBase* node = parent; node != nullptr; node = node->parent) {
        length += node->instanceName.size() + 1;
    }
    QString path(length, Qt::Uninitialized);
    QChar* end = path.data() + length; // filled from the last name to the first
    for (const DatacoreBase* node = this;; node = node->parent) {
        end = std::copy_backward(node->instanceName.begin(), node->instanceName.end(), end);
        if (node->parent == nullptr) {
            return path;
        }
        *--end = TREE_LEVEL_DELIMITER();
    }
}

std::vector<DatacoreBase*> DatacoreBase::getChildren() const
{
    std::vector<DatacoreBase*> nodes;
    nodes.reserve(children.inOrder().size());
    for (const auto& [name, child] : children.inOrder()) {
        nodes.push_back(child);
    }
    return nodes;
}

/// Calls `use` with each element, in the order of their keys.
template <typename Use>
void DatacoreBase::forEachElement(Use use)
{
    use(classnameElement());
    use(dataElement());
    use(activeStatusElement());
    use(validStatusElement());
}

template <typename Use>
void DatacoreBase::forEachElement(Use use) const
{
    self().forEachElement([&use](const DatacoreElement& element) { use(element); });
}

/// What one call carries through the tree. Copying an object and changing a key or two costs half
/// of building it key by key, so nodes without reasons start from a copy of the first such node's.
struct DatacoreBase::JsonWriter
{
    bool justData;
    bool withChildren;
    QString className;    ///< of the node that `elements` is from
    QJsonObject elements; ///< empty until there is such a node
};

bool DatacoreBase::appendToJson(const QString& path, QJsonObject& json, bool justData,
                                bool withChildren, DatacoreJsonMessages& /*messages*/) const
{
    const DatacoreBase* node = findDatacore(path);
    if (node == nullptr) {
        return false;
    }
    JsonWriter writer{justData, withChildren, QString(), QJsonObject()};
    node->writeNode(json, writer);
    return true;
}

/// Inserts the node under its name. The path ends here, so no element fails.
void DatacoreBase::writeNode(QJsonObject& json, JsonWriter& writer) const
{
    QJsonObject content = writeElements(writer);
    if (writer.withChildren) {
        for (const auto& [name, child] : children.inOrder()) {
            child->writeNode(content, writer);
        }
    }
    json.insert(instanceName, std::move(content));
}

QJsonObject DatacoreBase::writeElements(JsonWriter& writer) const
{
    const bool isPlain = !writer.justData && isValid() && isActive();
    if (isPlain && !writer.elements.isEmpty()) {
        QJsonObject content = writer.elements;
        content.insert(dataElement().getKey(), dataElement().toJsonValue());
        if (elementState.className != writer.className) {
            content.insert(classnameElement().getKey(), classnameElement().toJsonValue());
        }
        return content;
    }
    QJsonObject content;
    forEachElement([&](const DatacoreElement& element) {
        if (!writer.justData || element.isData()) {
            content.insert(element.getKey(), element.toJsonValue());
        }
    });
    if (isPlain) {
        writer.className = elementState.className;
        writer.elements = content;
    }
    return content;
}

bool DatacoreBase::populateFromJson(const QString& path, const QJsonObject& json, bool justData,
                                    DatacoreJsonMessages& /*messages*/)
{
    DatacoreBase* node = findDatacore(path);
    if (node == nullptr || json.size() > 1) {
        return false;
    }
    const auto found = json.constFind(node->instanceName);
    if (found == json.constEnd()) {
        return false;
    }
    node->readNode(found.value().toObject(), justData);
    return true;
}

/// Takes the value under the node's name, then updates once. The key is there, so no element fails.
/// Anything but an object counts as an empty one.
template <typename Object>
void DatacoreBase::readNode(const Object& object, bool justData)
{
    {
        const Busy busy(populating);
        const int keysLeft = readElements(object, justData);
        readChildren(object, justData, keysLeft);
    }
    DatacoreChangeList nothing;
    updateStatus(nothing);
}

template void DatacoreBase::readNode(const JsonTextObject&, bool);
template void DatacoreBase::readNode(const JsonTextValue&, bool);

/// Returns the number of keys that belong to no element, or to one that is not read.
int DatacoreBase::readElements(const QJsonObject& object, bool justData)
{
    int keysLeft = object.size();
    forEachElement([&](auto&& element) {
        if (justData && !element.isData()) {
            return;
        }
        const auto found = object.constFind(element.getKey());
        if (found != object.constEnd()) {
            element.readJsonValue(found.value());
            --keysLeft;
        }
    });
    return keysLeft;
}

/// Once no key is left, the remaining children need not be looked up.
void DatacoreBase::readChildren(const QJsonObject& object, bool justData, int keysLeft)
{
    if (keysLeft == 0) {
        return;
    }
    children.walk([&](const QString& name, DatacoreBase& child) {
        const auto found = object.constFind(name);
        if (found != object.constEnd()) {
            child.readNode(found.value().toObject(), justData);
            --keysLeft;
        }
        return keysLeft > 0;
    });
}

bool DatacoreBase::isValid(DatacoreValidStatusMessages& reasons) const
{
    reasons = validStatusElement().getMessages();
    return reasons.isEmpty();
}

bool DatacoreBase::isActive(DatacoreActiveStatusMessages& reasons) const
{
    reasons = activeStatusElement().getMessages();
    return reasons.isEmpty();
}

bool DatacoreBase::areChildrenValid() const
{
    const DatacoreChildren::Entries entries = children.inOrder();
    return std::all_of(entries.begin(), entries.end(), [](const DatacoreChildren::Entry& entry) {
        return entry.node->isValid() && entry.node->areChildrenValid();
    });
}

DatacoreDescription DatacoreBase::getDescription() const
{
    DatacoreDescription description;
    if (!children.isEmpty() && getDataCount() == 0) {
        description.kind = DatacoreDescription::GROUP();
    }
    describe(description);
    if (const DatacoreNotes* notes = getNotes()) {
        description.unit = notes->unit;
        description.sentence = notes->sentence;
        description.leastCount = std::max(description.leastCount, notes->leastCount);
        description.mostCount = std::min(description.mostCount, notes->mostCount);
    }
    description.isReadOnly = isReadOnlyForClients();
    return description;
}

void DatacoreBase::setNotes(const DatacoreNotes& ownersNotes)
{
    elementState.makeRare().notes = std::make_unique<DatacoreNotes>(ownersNotes);
}

bool DatacoreBase::isReadOnlyForClients() const
{
    for (const DatacoreBase* node = this; node != nullptr; node = node->parent) {
        if (node->getNotes() != nullptr && node->getNotes()->isReadOnly) {
            return true;
        }
    }
    return false;
}

void DatacoreBase::clearChangeState()
{
    for (const auto& [name, child] : children.inOrder()) {
        child->clearChangeState();
    }
    changeState = 0;
}

std::vector<DatacoreBase*> DatacoreBase::takeChangedList()
{
    return pendingChanges.take();
}

void DatacoreBase::notifyValidRecursive()
{
    children.walk([](const QString&, DatacoreBase& child) {
        child.notifyValidRecursive();
        return true;
    });
    if (isValid()) {
        callHook(hookNesting(), *this, [this] { onValid(); });
    }
}

void DatacoreBase::elementPopulated()
{
    if (changeState == 0) {
        changeState = 1;
    }
    DatacoreChangeList list(this);
    updateStatus(list);
}

void DatacoreBase::elementChangedLocally()
{
    changeState = 2;
    DatacoreChangeList list(this);
    updateStatus(list);
}

/// The update procedure: what happens at this node, and then at all nodes above it, after the nodes
/// of `list` have changed. It takes the entries out of the list.
void DatacoreBase::updateStatus(DatacoreChangeList& list)
{
    // 1. A busy node collects the changes below it, and updates when it is done.
    if (populating || updatingStatus || updatesSuppressed) {
        pendingChanges.mergeFrom(list);
        return;
    }
    // 2. If nothing has changed, there is nothing to do.
    if (list.isEmpty() && pendingChanges.isEmpty()) {
        return;
    }
    {
        // 3. Until step 6 the node is busy: if its own status changes, step 1 enters it.
        const Busy busy(updatingStatus);
        // 4. Why is it invalid?
        DatacoreValidStatusMessages invalidReasons = validStatusElement().getMessages();
        updateValidStatus(invalidReasons);
        validStatusElement().setMessages(invalidReasons);
        // 5. Why is it inactive?
        DatacoreActiveStatusMessages inactiveReasons = activeStatusElement().getMessages();
        updateActiveStatus(inactiveReasons);
        activeStatusElement().setMessages(inactiveReasons);
        // 6. From here on, a write to this node updates it again.
    }
    HookNesting& nesting = hookNesting();
    // 7. A valid node may act.
    if (isValid()) {
        callHook(nesting, *this, [this] { onValid(); });
    }
    // 8. The incoming changes go after the node's own entry from steps 4 and 5.
    pendingChanges.mergeFrom(list);
    // 9. A changed node may tell.
    if (changeState != 0) {
        callHook(nesting, *this, [this] { onChanged(); });
    }
    // 10. The parent takes over all of it.
    if (parent != nullptr) {
        parent->updateStatus(pendingChanges);
    }
}

void DatacoreBase::updateValidStatus(DatacoreValidStatusMessages& reasons)
{
    reasons.clear();
}

void DatacoreBase::updateActiveStatus(DatacoreActiveStatusMessages& reasons)
{
    reasons.clear();
}

void DatacoreBase::onValid() {}

void DatacoreBase::onChanged() {}

void DatacoreBase::describe(DatacoreDescription&) const {}

void DatacoreBase::initialiseStatus()
{
    DatacoreValidStatusMessages invalidReasons;
    updateValidStatus(invalidReasons);
    validStatusElement().initialiseMessages(invalidReasons);
    DatacoreActiveStatusMessages inactiveReasons;
    updateActiveStatus(inactiveReasons);
    activeStatusElement().initialiseMessages(inactiveReasons);
}
