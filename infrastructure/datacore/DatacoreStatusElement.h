// A list of status messages as an element of a node: the base of the valid and the active status.
#pragma once

#include "infrastructure/datacore/DatacoreElement.h"
#include "infrastructure/datacore/MessageFactory.h"

#include <QJsonArray>
#include <QVector>

#include <algorithm>
#include <type_traits>

/// The reasons for a status, as messages of one class.
template <typename Message>
class DatacoreStatusElement : public DatacoreElement
{
public:
    QVector<Message> getMessages() const { return getState().getRare(getPart()); }
    bool isEmpty() const { return !getState().rare || ((*getState().rare).*getPart()).isEmpty(); }

    /// Replaces the list. If it differs in length or in a message, the owner is told before the new
    /// list takes effect.
    void setMessages(const QVector<Message>& newMessages)
    {
        if (newMessages.isEmpty() && isEmpty()) {
            return; // as nearly always
        }
        if (!isSame(newMessages)) {
            getOwner().elementChangedLocally();
        }
        initialiseMessages(newMessages);
    }

    /// Sets the first list, during construction; nobody is told.
    void initialiseMessages(const QVector<Message>& newMessages)
    {
        getState().setRare(getPart(), newMessages);
    }

    QJsonValue toJsonValue() const override
    {
        QJsonArray array;
        const QVector<Message> messages = getMessages();
        for (const Message& message : messages) {
            array.append(message.toJson());
        }
        return array;
    }

    void appendJsonText(JsonTextWriter& text) const override;

    /// Takes the messages of this class out of an array. Anything but an array is ignored.
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
        initialiseMessages(kept);
    }

    /// The same. In the usual case, no reasons before or after, it builds no array.
    void readPlainJson(const PlainJsonValue& value) override;

protected:
    using DatacoreElement::DatacoreElement;

private:
    /// Where a node keeps the messages of this class.
    static constexpr auto getPart()
    {
        if constexpr (std::is_same_v<Message, DatacoreValidStatusMessage>) {
            return &DatacoreElementState::Rare::invalidReasons;
        } else {
            return &DatacoreElementState::Rare::inactiveReasons;
        }
    }

    bool isSame(const QVector<Message>& other) const
    {
        const QVector<Message> messages = getMessages();
        return std::equal(messages.begin(), messages.end(), other.begin(), other.end(),
                          [](const Message& a, const Message& b) { return a.equals(b); });
    }
};
