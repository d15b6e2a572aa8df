// The state tree. A tree belongs to one thread, or its owner serialises access to it; hooks run on
// the thread of the write.
#pragma once

#include "infrastructure/datacore/DatacoreActiveStatusElement.h"
#include "infrastructure/datacore/DatacoreChangeList.h"
#include "infrastructure/datacore/DatacoreClassnameElement.h"
#include "infrastructure/datacore/DatacoreDataElement.h"
#include "infrastructure/datacore/DatacoreValidStatusElement.h"

#include <QStringView>

#include <array>
#include <deque>
#include <memory>
#include <vector>

class DatacoreChildren;

/// One named node of the instrument's state: a list of strings as its value, the reasons why it is
/// invalid or inactive, its class name, and its children. Every write validates the node that it
/// touches and all above it, and the root then knows which nodes changed.
///
/// JSON form, with all keys sorted; the just-data form holds "data" and the children alone:
///
///   {"TestCore": {"L1datacoreInstance": {"class": "DatacoreInt32",
///                                        "data": "5",
///                                        "reasonsForBeingInactive": [],
///                                        "reasonsForBeingInvalid": []},
///                 "class": "BasicTestDatacoreL0",
///                 "data": null,
///                 "reasonsForBeingInactive": [],
///                 "reasonsForBeingInvalid": []}}
///
/// "data" is null for no value, a string for one, an array of strings for more.
///
/// Nodes own neither parent nor children: a subclass holds its children as members, with `this` as
/// their parent. A node's destructor touches no other node and does not leave its parent, so a
/// parent must outlive its children or go together with them.
class DatacoreBase : public DatacoreJsonInterface, private DatacoreElementPrivateInterface
{
public:
    /// `className` is "DatacoreBase" where not given. A parent enters the node among its children
    /// under `name`, for which "class", "data", "reasonsForBeingInactive" and
    /// "reasonsForBeingInvalid" are taken. A second child of the same name is not reachable from
    /// its parent. A null parent makes a root.
    DatacoreBase(const QString& className, const QString& name, DatacoreBase* parentNode,
                 const QString& value);
    DatacoreBase(const QString& className, const QString& name, DatacoreBase* parentNode,
                 const std::deque<QString>& values);
    DatacoreBase(const QString& className, const QString& name, DatacoreBase* parentNode);
    DatacoreBase(const QString& name, DatacoreBase* parentNode, const QString& value);
    DatacoreBase(const QString& name, DatacoreBase* parentNode, const std::deque<QString>& values);
    DatacoreBase(const QString& name, DatacoreBase* parentNode);
    ~DatacoreBase() override;

    /// Writes the node at `path` under its name, in the form above. A path that leads nowhere gives
    /// false, without a message, and leaves `json` as it was. Children are written without this
    /// operation, and read without the next, so neither can be overridden.
    bool appendToJson(const QString& path, QJsonObject& json, bool justData, bool withChildren,
                      DatacoreJsonMessages& messages) const final;
    /// Appends what appendToJson gives for this node without its children, as compact JSON text.
    void appendToJsonText(QByteArray& text, bool justData) const;
    /// Reads the node at `path` from `json`, whose only key must be the node's name. Keys that are
    /// absent leave what they stand for as it is, keys that are unknown are ignored. False, without
    /// a message, for a path that leads nowhere and for an object of another shape. Each node that
    /// changed validates once.
    bool populateFromJson(const QString& path, const QJsonObject& json, bool justData,
                          DatacoreJsonMessages& messages) final;
    /// The same for this node from plain text, in which the value stands under the node's name.
    bool populateFromPlainJson(const PlainJsonValue& json, bool justData);

    bool isValid() const { return validStatusElement.getMessages().isEmpty(); }
    /// As above, with the reasons.
    bool isValid(DatacoreValidStatusMessages& reasons) const;
    bool isActive() const { return activeStatusElement.getMessages().isEmpty(); }
    /// As above, with the reasons.
    bool isActive(DatacoreActiveStatusMessages& reasons) const;
    /// True when all nodes below this one are valid.
    bool areChildrenValid() const;

    int getDataCount() const { return dataElement.getCount(); }
    /// The first value; empty where there is none.
    QString getData() const { return dataElement.getValue(0); }
    /// The value at an index from 0; empty where there is none.
    QString getDataAt(int index) const { return dataElement.getValue(index); }
    std::deque<QString> getDataList() const { return dataElement.getValues(); }

    const QString& getInstanceName() const { return instanceName; }
    QString getClassName() const { return classnameElement.getClassName(); }
    /// The names from the root to this node, the root's included. So this is longer by one name
    /// than the paths that the root takes.
    QString getPath() const;
    /// The children by name.
    std::vector<DatacoreBase*> getChildren() const;
    /// The node at a path relative to this one, null where there is none. An empty path is this
    /// node; a delimiter at the end is allowed, one at the front or two in a row are not.
    DatacoreBase* findDatacore(QStringView path);
    const DatacoreBase* findDatacore(QStringView path) const;

    /// 0 unchanged; 1 changed by incoming JSON only; 2 changed here, by a setter or by its own
    /// validation. A new node has 2.
    quint32 getChangeState() const { return changeState; }

    /// Takes one value, or a list, in place of all. Equal values are no change.
    void setData(const QString& value) { dataElement.setValue(value); }
    void setData(const std::deque<QString>& values) { dataElement.setValues(values); }

    /// Sets the change state of this node and all below it to 0, children first.
    void clearChangeState();
    /// The same for this node alone.
    void clearOwnChangeState() { changeState = 0; }
    /// The nodes that changed and have not been taken, each once, in the order in which they got
    /// here. After a write they are all at the root.
    std::vector<DatacoreBase*> takeChangedList();
    /// Calls onValid on every valid node from here down, children first.
    void notifyValidRecursive();

protected:
    /// Rewrites the list with the reasons that hold now. The default clears it, so a class that
    /// does not override it is valid whatever JSON it receives. A write to this node that happens
    /// meanwhile is not validated.
    virtual void updateValidStatus(DatacoreValidStatusMessages& reasons);
    /// The same for being active.
    virtual void updateActiveStatus(DatacoreActiveStatusMessages& reasons);
    void elementChangedLocally() override;
    /// Called in each update of a valid node.
    virtual void onValid();
    /// Called in each update of a node that has changed. This hook and onValid may write to any
    /// node. Where their writes cause one another without end, they are stopped with a log line: no
    /// hook is called any more until the outermost one returns.
    virtual void onChanged();
    void elementPopulated() override;

    void setClassName(const QString& name) { classnameElement.setClassName(name); }
    /// Finds the reasons for the first status without telling anybody: for a constructor whose
    /// value may be bad from the start.
    void initialiseStatus();

    bool updatesSuppressed = false; ///< holds this node's updates back while a subclass sets it

private:
    template <typename Node>
    static Node* findNode(Node* node, QStringView path);

    std::array<const DatacoreElement*, 4> getElements() const;
    std::array<DatacoreElement*, 4> getElements();
    struct JsonWriter;

    void writeNode(QJsonObject& json, JsonWriter& writer) const;
    QJsonObject writeElements(JsonWriter& writer) const;
    template <typename Object>
    void readNode(const Object& object, bool justData);
    int readElements(const QJsonObject& object, bool justData);
    int readElements(const PlainJsonValue& object, bool justData);
    void readChildren(const QJsonObject& object, bool justData, int keysLeft);
    void readChildren(const PlainJsonValue& object, bool justData, int keysLeft);
    void updateStatus(DatacoreChangeList& list);
    void enterParent();

    DatacoreDataElement dataElement;
    DatacoreValidStatusElement validStatusElement;
    DatacoreActiveStatusElement activeStatusElement;
    DatacoreClassnameElement classnameElement;
    quint32 changeState = 2;
    bool populating = false;     ///< populateFromJson is at work on this node
    bool updatingStatus = false; ///< this node finds its reasons
    DatacoreChangeList pendingChanges;
    std::unique_ptr<DatacoreChildren>
        children; ///< null where there are none, as with nearly all nodes
    QString instanceName;
    DatacoreBase* parent;
};
