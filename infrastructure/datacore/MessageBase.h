// The base of the state tree's messages: a type and a number. They travel in the tree's JSON; the
// reader looks up the English text.
#pragma once

#include <QJsonObject>
#include <QString>

#include <cstddef>

/// A message: why a node is invalid or inactive, or why an operation failed. A value.
///
/// JSON form: {"DatacoreValidStatusMessage": {}, "MessageBase": {"identifier": 4, "type": 2}},
/// where the first key is the class.
class MessageBase
{
public:
    /// The severity of a message. A peer may send any other number.
    enum MessageType : qint32 {
        MessageType_Warning = 1, ///< not used by this layer
        MessageType_Error = 2,   ///< what makes a node invalid; failures of JSON operations
        MessageType_Info = 3,    ///< the default; reasons for being inactive
    };

    virtual ~MessageBase();

    virtual QJsonObject toJson() const;
    /// The class's name, which is its key in the JSON form.
    virtual QString getClass() const = 0;
    /// English text; empty for a number without one.
    virtual QString getText() const = 0;
    virtual bool hasText() const;
    virtual qint32 getIdentifier() const;
    virtual void setIdentifier(qint32 number);
    virtual MessageType getType() const;
    virtual void setType(MessageType newType);
    /// True if type and identifier agree, whatever the class.
    virtual bool equals(const MessageBase& other) const;

    /// The key of type and identifier in the JSON form.
    static QLatin1String BASE_KEY() { return QLatin1String("MessageBase"); }

protected:
    /// A row of a class's table of texts.
    struct TextRow
    {
        qint32 identifier;
        char text[132]; ///< ASCII
    };

    MessageBase(MessageType messageType, qint32 number);
    /// A number that the object lacks keeps its default: type Info, identifier -1.
    explicit MessageBase(const QJsonObject& json);
    MessageBase(const MessageBase&) = default;
    MessageBase& operator=(const MessageBase&) = default;

    /// The text of the first row with the identifier; null if there is none.
    template <std::size_t rowCount>
    static QString findText(const TextRow (&rows)[rowCount], qint32 identifier)
    {
        for (const TextRow& row : rows) {
            if (row.identifier == identifier) {
                return QLatin1String(row.text);
            }
        }
        return QString();
    }

private:
    qint32 identifier = -1;
    MessageType type = MessageType_Info;
};
