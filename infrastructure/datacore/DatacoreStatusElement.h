// A list of status messages as an element of a node; what the valid and the active status share.
#pragma once

#include "infrastructure/datacore/DatacoreElement.h"
#include "infrastructure/datacore/MessageFactory.h"

#include <QJsonArray>
#include <QVector>

#include <algorithm>

/// The reasons for a status, as messages of one class.
template <typename Message>
class DatacoreStatusElement : public DatacoreElement
{
public:
    const QVector<Message>& getMessages() const { return messages; }

    /// Takes another list; the owner is told, before it takes effect, if it differs from the one
    /// held in length or in a message.
    void setMessages(const QVector<Message>& newMessages)
    {
        if (!isSame(newMessages)) {
            getOwner().elementChangedLocally();
        }
        messages = newMessages;
    }

    /// Takes the first list, at construction; nobody is told.
    void initialiseMessages(const QVector<Message>& newMessages) { messages = newMessages; }

    QJsonValue toJsonValue() const override
    {
        QJsonArray array;
        for (const Message& message : messages) {
            array.append(message.toJson());
        }
        return array;
    }

    void appendJsonText(QByteArray& text) const override
    {
        if (messages.isEmpty()) {
            text.append("[]");
        } else {
            DatacoreElement::appendJsonText(text);
        }
    }

    /// Keeps the messages of this class. Anything but an array is ignored.
    void readJsonValue(const QJsonValue& value) override
    {
        if (!value.isArray()) {
            return;
        }
        QVector<Message> kept;
        bool isComplete = true;
        const QJsonArray array = value.toArray();
        for (const QJsonValue& entry : array) {
            const QLatin1String className = identifyMessage(entry);
            isComplete = isComplete && !className.isEmpty();
            if (className == Message::CLASSNAME()) {
                kept.append(Message(entry.toObject()));
            }
        }
        if (!isComplete || !isSame(kept)) {
            getOwner().elementPopulated();
        }
        messages = kept;
    }

    /// No reasons, as in most nodes, and none held is told apart without an array being built.
    void readPlainJson(const PlainJsonValue& value) override;

protected:
    using DatacoreElement::DatacoreElement;

private:
    bool isSame(const QVector<Message>& other) const
    {
        return std::equal(messages.begin(), messages.end(), other.begin(), other.end(),
                          [](const Message& a, const Message& b) { return a.equals(b); });
    }

    QVector<Message> messages;
};
