// The state tree. A tree belongs to one thread, or its owner serialises access to it; hooks run on
// the thread of the write.
#pragma once

#include "infrastructure/datacore/DatacoreActiveStatusElement.h"
#include "infrastructure/datacore/DatacoreChangeList.h"
#include "infrastructure/datacore/DatacoreChildren.h"
#include "infrastructure/datacore/DatacoreClassnameElement.h"
#include "infrastructure/datacore/DatacoreDataElement.h"
#include "infrastructure/datacore/DatacoreValidStatusElement.h"

#include <QStringView>

#include <deque>
#include <vector>

class JsonTextIndex;
struct DatacoreDescription;
struct DatacoreNotes;
struct JsonTextObject;
struct JsonTextValue;
struct QJsonParseError;

/// One named node of the instrument's state: a list of strings as its value, the reasons why it is
/// invalid or inactive, its class name, and its children. Every write validates the node that it
/// touches and all nodes above it; the root then knows which nodes changed.
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
    /// Without a `className` the node is a "DatacoreBase". The parent adds the node to its children
    /// under `name`; "class", "data", "reasonsForBeingInactive" and "reasonsForBeingInvalid" are
    /// reserved. A second child of the same name can't be reached from the parent. A null parent
    /// makes a root.
    DatacoreBase(const QString& className, const QString& name, DatacoreBase* parentNode,
                 const QString& value);
    DatacoreBase(const QString& className, const QString& name, DatacoreBase* parentNode,
                 const std::deque<QString>& values);
    DatacoreBase(const QString& className, const QString& name, DatacoreBase* parentNode);
    DatacoreBase(const QString& name, DatacoreBase* parentNode, const QString& value);
    DatacoreBase(const QString& name, DatacoreBase* parentNode, const std::deque<QString>& values);
    DatacoreBase(const QString& name, DatacoreBase* parentNode);
    ~DatacoreBase() override;

    /// Writes the node at `path` under its name, in the form above. If there is no such node,
    /// returns false without a message and leaves `json` as it was. Children are not written
    /// through this function nor read through the next, so neither can be overridden.
    bool appendToJson(const QString& path, QJsonObject& json, bool justData, bool withChildren,
                      DatacoreJsonMessages& messages) const final;
    /// Appends what appendToJson gives for this node, as compact JSON text: the bytes that
    /// QJsonDocument writes, without building an object.
    void appendToJsonText(QByteArray& text, bool justData, bool withChildren = false) const;
    void appendToJsonText(JsonTextWriter& text, bool justData, bool withChildren = false) const;
    /// Reads the node at `path` from `json`, whose only key must be the node's name. Absent keys
    /// leave their part of the node as it is; unknown keys are ignored. Returns false, without a
    /// message, if there is no such node or the object has another shape. Each node that changed
    /// validates once.
    bool populateFromJson(const QString& path, const QJsonObject& json, bool justData,
                          DatacoreJsonMessages& messages) final;
    /// The same for this node and what is below it, from JSON text in any layout, mostly without
    /// building an object. Text that is not JSON, or has a key twice in an object, is as parseJson
    /// leaves it: nothing is read, the result is false, and `error` tells why.
    bool populateFromJsonText(const QByteArray& text, bool justData,
                              QJsonParseError* error = nullptr);
    /// The same from a value in plain text.
    bool populateFromPlainJson(const PlainJsonValue& json, bool justData);

    bool isValid() const { return validStatusElement().isEmpty(); }
    /// As above, with the reasons.
    bool isValid(DatacoreValidStatusMessages& reasons) const;
    bool isActive() const { return activeStatusElement().isEmpty(); }
    /// As above, with the reasons.
    bool isActive(DatacoreActiveStatusMessages& reasons) const;
    /// True when all nodes below this one are valid.
    bool areChildrenValid() const;

    int getDataCount() const { return dataElement().getCount(); }
    /// The first value; empty if there is none.
    QString getData() const { return dataElement().getValue(0); }
    /// The value at an index from 0; empty if there is none.
    QString getDataAt(int index) const { return dataElement().getValue(index); }
    std::deque<QString> getDataList() const { return dataElement().getValues(); }

    const QString& getInstanceName() const { return instanceName; }
    QString getClassName() const { return elementState.className; }
    /// The names from the root down to this node, joined. Paths given to the root leave out the
    /// root's own name, with which this one begins.
    QString getPath() const;
    /// The children, in the order of their names.
    std::vector<DatacoreBase*> getChildren() const;
    /// The node at a path relative to this one, or null. The empty path is this node. A delimiter
    /// may end the path, but not begin it, and two in a row lead nowhere.
    DatacoreBase* findDatacore(QStringView path);
    const DatacoreBase* findDatacore(QStringView path) const;

    /// What the node takes: what its class tells, and the notes of its owner.
    DatacoreDescription getDescription() const;
    /// Replaces the owner's notes. Mirrors learn of them when they ask again.
    void setNotes(const DatacoreNotes& ownersNotes);
    /// True if the notes of this node or of one above it say so. Writes made here are not affected.
    bool isReadOnlyForClients() const;

    /// 0 unchanged; 1 changed by incoming JSON only; 2 changed here, by a setter or by its own
    /// validation. A new node starts at 2.
    quint32 getChangeState() const { return changeState; }

    /// Replaces all values, with one value or with a list. Equal values are no change.
    void setData(const QString& value) { dataElement().setValue(value); }
    void setData(const std::deque<QString>& values) { dataElement().setValues(values); }

    /// Sets the change state of this node and all below it to 0, children first.
    void clearChangeState();
    /// The same for this node alone.
    void clearOwnChangeState() { changeState = 0; }
    /// Returns and clears the list of changed nodes. Each is listed once, in the order in which
    /// they arrived here. After a write they are all at the root.
    std::vector<DatacoreBase*> takeChangedList();
    /// Calls onValid on every valid node from here down, children first.
    void notifyValidRecursive();

protected:
    /// Replaces the list with the current reasons. The default clears it, so a class that does not
    /// override this is valid whatever JSON it receives. A write to this node during the call is
    /// not validated.
    virtual void updateValidStatus(DatacoreValidStatusMessages& reasons);
    /// The same for the active status.
    virtual void updateActiveStatus(DatacoreActiveStatusMessages& reasons);
    void elementChangedLocally() override;
    /// Called in each update of a valid node.
    virtual void onValid();
    /// Called in each update of a changed node. This hook and onValid may write to any node. If
    /// their writes go on triggering each other, a log line says so and no hook is called until the
    /// outermost one returns.
    virtual void onChanged();
    void elementPopulated() override;
    /// Tells what values of this class are like. `description` comes as that of a text, or of a
    /// group for a node that has children but no value; an override sets what differs.
    virtual void describe(DatacoreDescription& description) const;

    void setClassName(const QString& name) { classnameElement().setClassName(name); }
    /// Works out the initial status without telling anyone. For a constructor whose value may be
    /// bad from the start.
    void initialiseStatus();

    bool updatesSuppressed = false; ///< holds this node's updates back while a subclass sets it

private:
    template <typename Node>
    static Node* findNode(Node* node, QStringView path);

    // The elements are views, made for each use.
    DatacoreDataElement dataElement() { return {*this, elementState}; }
    DatacoreValidStatusElement validStatusElement() { return {*this, elementState}; }
    DatacoreActiveStatusElement activeStatusElement() { return {*this, elementState}; }
    DatacoreClassnameElement classnameElement() { return {*this, elementState}; }
    const DatacoreDataElement dataElement() const { return self().dataElement(); }
    const DatacoreValidStatusElement validStatusElement() const
    {
        return self().validStatusElement();
    }
    const DatacoreActiveStatusElement activeStatusElement() const
    {
        return self().activeStatusElement();
    }
    const DatacoreClassnameElement classnameElement() const { return self().classnameElement(); }
    /// For a view that is constant itself.
    DatacoreBase& self() const { return const_cast<DatacoreBase&>(*this); }
    template <typename Use>
    void forEachElement(Use use);
    template <typename Use>
    void forEachElement(Use use) const;
    const DatacoreNotes* getNotes() const
    {
        return elementState.rare ? elementState.rare->notes.get() : nullptr;
    }
    struct JsonWriter;

    void appendContent(JsonTextWriter& text, bool justData, bool withChildren) const;
    bool readText(const JsonTextIndex& text, bool justData);
    bool readUsualText(QLatin1String text, bool justData);
    void writeNode(QJsonObject& json, JsonWriter& writer) const;
    QJsonObject writeElements(JsonWriter& writer) const;
    template <typename Object>
    void readNode(const Object& object, bool justData);
    int readElements(const QJsonObject& object, bool justData);
    int readElements(const JsonTextObject& object, bool justData);
    int readElements(const JsonTextValue& value, bool justData);
    void readChildren(const QJsonObject& object, bool justData, int keysLeft);
    void readChildren(const JsonTextObject& object, bool justData, int keysLeft);
    void readChildren(const JsonTextValue&, bool, int) {}
    void updateStatus(DatacoreChangeList& list);
    bool populating = false;     ///< populateFromJson is running on this node
    bool updatingStatus = false; ///< the node's status is being worked out
    quint8 changeState = 2;
    DatacoreBase* parent;
    QString instanceName;
    DatacoreChildren children;
    DatacoreElementState elementState;
    DatacoreChangeList pendingChanges;
};
