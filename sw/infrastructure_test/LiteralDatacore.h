// The state tree in its plainest form: a string for each level of a path, an object for each key, a
// search through the list for each change. The cases compare the tree with it, change by change,
// and the benchmarks measure against it.
#pragma once

#include "infrastructure/datacore/DatacoreActiveStatusMessage.h"
#include "infrastructure/datacore/DatacoreJsonMessage.h"
#include "infrastructure/datacore/DatacoreValidStatusMessage.h"
#include "infrastructure/datacore/MessageFactory.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QMap>
#include <QString>

#include <algorithm>
#include <deque>
#include <memory>
#include <vector>

/// A node with the operations and hooks of DatacoreBase that matter for comparing the two.
class LiteralDatacore
{
public:
    LiteralDatacore(const QString& name, LiteralDatacore* parentNode, const QString& value)
        : instanceName(name)
        , parent(parentNode)
        , data{value}
    {
        if (parent != nullptr && !parent->children.contains(name)) {
            parent->children.insert(name, this);
        }
    }
    LiteralDatacore(const LiteralDatacore&) = delete;
    LiteralDatacore& operator=(const LiteralDatacore&) = delete;
    virtual ~LiteralDatacore() = default;

    static QString TREE_LEVEL_DELIMITER() { return QStringLiteral("/"); }

    /// The JSON form of the node itself, whatever the path.
    bool appendToJson(const QString& path, QJsonObject& json, bool justData, bool withChildren,
                      DatacoreJsonMessages& messages) const
    {
        QJsonObject content;
        for (const QString& key : elementKeys()) {
            if (key == dataKey()) {
                content.insert(key, dataToJson());
            } else if (!justData) {
                content.insert(key, key == classKey()     ? QJsonValue(getClassName())
                                    : key == invalidKey() ? toArray(invalidReasons)
                                                          : toArray(inactiveReasons));
            }
        }
        if (withChildren) {
            for (const LiteralDatacore* child : children) {
                child->appendToJson(path, content, justData, true, messages);
            }
        }
        json.insert(instanceName, content);
        return true;
    }

    bool populateFromJson(const QString& path, const QJsonObject& json, bool justData,
                          DatacoreJsonMessages& messages)
    {
        if (json.keys().size() > 1 || !json.contains(instanceName)) {
            return false;
        }
        const QJsonObject content = json.value(instanceName).toObject();
        populating = true;
        for (const QString& key : elementKeys()) {
            if (content.contains(key)) {
                populateElement(key, QJsonObject{{key, content.value(key)}}, justData);
            }
        }
        for (LiteralDatacore* child : children) {
            const QString name = child->getInstanceName();
            if (content.contains(name)) {
                child->populateFromJson(path, QJsonObject{{name, content.value(name)}}, justData,
                                        messages);
            }
        }
        populating = false;
        std::vector<LiteralDatacore*> nothing;
        updateStatus(nothing);
        return true;
    }

    const LiteralDatacore* findDatacore(const QString& path) const
    {
        if (path.isEmpty()) {
            return this;
        }
        const int end = path.indexOf(TREE_LEVEL_DELIMITER());
        const QString head = path.left(end);
        return children.contains(head) ? children.value(head)->findDatacore(
                                             path.mid(head.size() + TREE_LEVEL_DELIMITER().size()))
                                       : nullptr;
    }

    bool isValid() const { return invalidReasons.isEmpty(); }
    bool areChildrenValid() const
    {
        return std::all_of(children.begin(), children.end(), [](const LiteralDatacore* child) {
            return child->isValid() && child->areChildrenValid();
        });
    }
    QString getData() const { return data.empty() ? QString() : data.front(); }
    std::deque<QString> getDataList() const { return data; }
    QString getInstanceName() const { return instanceName; }
    QString getClassName() const { return QStringLiteral("DatacoreBase"); }
    QString getPath() const
    {
        return parent == nullptr ? instanceName
                                 : parent->getPath() + TREE_LEVEL_DELIMITER() + instanceName;
    }
    quint32 getChangeState() const { return changeState; }

    void setData(const QString& value) { setData(std::deque<QString>{value}); }
    void setData(std::deque<QString> values)
    {
        if (values != data) {
            data.swap(values);
            elementChanged(2);
        }
    }
    void clearChangeState()
    {
        for (LiteralDatacore* child : children) {
            child->clearChangeState();
        }
        changeState = 0;
    }
    std::vector<LiteralDatacore*> takeChangedList() { return std::move(pendingChanges); }

protected:
    virtual void updateValidStatus(DatacoreValidStatusMessages& reasons) { reasons.clear(); }
    virtual void updateActiveStatus(DatacoreActiveStatusMessages& reasons) { reasons.clear(); }
    virtual void onValid() {}
    virtual void onChanged() {}

private:
    static QString dataKey() { return QStringLiteral("data"); }
    static QString classKey() { return QStringLiteral("class"); }
    static QString invalidKey() { return QStringLiteral("reasonsForBeingInvalid"); }
    static QString inactiveKey() { return QStringLiteral("reasonsForBeingInactive"); }
    static std::vector<QString> elementKeys()
    {
        return {classKey(), dataKey(), inactiveKey(), invalidKey()};
    }

    QJsonValue dataToJson() const
    {
        const QJsonArray array = QJsonArray::fromStringList(QStringList(data.begin(), data.end()));
        return data.empty() ? QJsonValue() : data.size() == 1 ? array[0] : QJsonValue(array);
    }

    template <typename Message>
    static QJsonArray toArray(const QVector<Message>& messages)
    {
        QJsonArray array;
        for (const Message& message : messages) {
            array.append(message.toJson());
        }
        return array;
    }

    void populateElement(const QString& key, const QJsonObject& json, bool justData)
    {
        if (key == dataKey()) {
            populateData(json.value(key));
        } else if (key == invalidKey() && !justData) {
            populateReasons(json.value(key), invalidReasons);
        } else if (key == inactiveKey() && !justData) {
            populateReasons(json.value(key), inactiveReasons);
        }
    }

    void populateData(const QJsonValue& value)
    {
        std::deque<QString> values;
        if (value.isArray()) {
            const QJsonArray array = value.toArray();
            for (const QJsonValue& entry : array) {
                values.push_back(entry.toString());
            }
        } else if (!value.isNull()) {
            values.push_back(value.toString());
        }
        if (values != data) {
            data = values;
            elementChanged(1);
        }
    }

    template <typename Message>
    void populateReasons(const QJsonValue& value, QVector<Message>& held)
    {
        if (!value.isArray()) {
            return;
        }
        const QJsonArray array = value.toArray();
        const auto messages = deserialiseMessages(array);
        QVector<Message> kept;
        for (const auto& message : messages) {
            if (const auto* own = dynamic_cast<const Message*>(message.get())) {
                kept.append(*own);
            }
        }
        if (static_cast<int>(messages.size()) != array.size() || !isSame(kept, held)) {
            elementChanged(1);
        }
        held = kept;
    }

    template <typename Message>
    static bool isSame(const QVector<Message>& a, const QVector<Message>& b)
    {
        return std::equal(
            a.begin(), a.end(), b.begin(), b.end(),
            [](const Message& one, const Message& other) { return one.equals(other); });
    }

    void elementChanged(quint32 state)
    {
        changeState = std::max(changeState, state);
        std::vector<LiteralDatacore*> self{this};
        updateStatus(self);
    }

    template <typename Messages>
    void renew(Messages& held, void (LiteralDatacore::*update)(Messages&))
    {
        Messages reasons = held;
        (this->*update)(reasons);
        if (!isSame(reasons, held)) {
            elementChanged(2);
        }
        held = reasons;
    }

    void merge(std::vector<LiteralDatacore*>& list)
    {
        for (LiteralDatacore* node : list) {
            if (node != nullptr && std::find(pendingChanges.begin(), pendingChanges.end(), node) ==
                                       pendingChanges.end()) {
                pendingChanges.push_back(node);
            }
        }
        list.clear();
    }

    void updateStatus(std::vector<LiteralDatacore*>& list)
    {
        if (populating || updatingStatus) {
            merge(list);
            return;
        }
        if (list.empty() && pendingChanges.empty()) {
            return;
        }
        updatingStatus = true;
        renew(invalidReasons, &LiteralDatacore::updateValidStatus);
        renew(inactiveReasons, &LiteralDatacore::updateActiveStatus);
        updatingStatus = false;
        if (isValid()) {
            onValid();
        }
        merge(list);
        if (changeState != 0) {
            onChanged();
        }
        if (parent != nullptr) {
            parent->updateStatus(pendingChanges);
        }
    }

    QString instanceName;
    LiteralDatacore* parent;
    QMap<QString, LiteralDatacore*> children;
    std::deque<QString> data;
    DatacoreValidStatusMessages invalidReasons;
    DatacoreActiveStatusMessages inactiveReasons;
    std::vector<LiteralDatacore*> pendingChanges;
    quint32 changeState = 2;
    bool populating = false;
    bool updatingStatus = false;
};
