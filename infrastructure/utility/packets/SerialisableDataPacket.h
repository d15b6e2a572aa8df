// A packet whose payload is a JSON object that names its own class:
//
//   offset in payload  0              4
//                      | length (BE)  | compact JSON, UTF-8, no terminator
#pragma once

#include "infrastructure/datacore/PlainJsonIndex.h"
#include "infrastructure/utility/packets/PacketKey.h"
#include "infrastructure/utility/packets/RawDataPacket.h"

#include <fmt/ostream.h>

#include <QJsonObject>
#include <QString>
#include <QStringList>

#include <deque>
#include <iosfwd>
#include <type_traits>
#include <vector>

class PlainJsonValue;
struct QJsonParseError;

/// A JSON packet: one object, whose "Class" names the packet class. A value: copies are independent
/// and may go to other threads; one object is for one thread at a time. Classes of JSON packets add
/// no data. They are typed views of the object, made from a received packet by the constructor that
/// takes (SerialisableDataPacket, bool& ok).
class SerialisableDataPacket : public RawDataPacket
{
public:
    /// The raw type of every JSON packet.
    static constexpr quint16 PACKET_TYPE = RawPacketType_SerialisableData;

    /// An object with only "Class". An empty name is logged and gives an empty object.
    explicit SerialisableDataPacket(const QString& className);

    /// The object in the text. Text that can't be parsed sets `error`, is logged, and gives an
    /// empty object. A null `error` is allowed.
    SerialisableDataPacket(const QByteArray& jsonText, QJsonParseError* error);

    /// The object as given, with or without a "Class".
    explicit SerialisableDataPacket(const QJsonObject& object);

    /// A received packet. Text that can't be parsed is logged and gives an object whose "Class" is
    /// empty, which no class matches.
    SerialisableDataPacket(const QByteArray& view, const RawDataPacketHeader& header);

    /// The child packet under `key`. `ok` is false, and the packet empty, unless there is an object
    /// whose "Class" is a non-empty string.
    SerialisableDataPacket(const SerialisableDataPacket& parent, const QString& key, bool& ok);

    // A copy shares what its original holds. A move copies: it would otherwise leave behind an
    // index into text that is gone.
    SerialisableDataPacket(const SerialisableDataPacket&) = default;
    SerialisableDataPacket& operator=(const SerialisableDataPacket&) = default;

    /// The text under "Class"; empty if there is none.
    QString getPacketClassName() const;
    /// The whole content.
    const QJsonObject& getJsonObject() const;
    /// The content as compact JSON text.
    QByteArray toJson() const;

    /// Made on the first call and kept: a packet for many connections is serialised once.
    QByteArray serialisePayload() const override;
    quint16 getPacketType() const override;

    /// Stores a packet's object under `key`, replacing what was there.
    void insertChildPacket(const QString& key, const SerialisableDataPacket& packet);
    /// Stores the packets' objects under `key` as an array, replacing what was there.
    void insertChildPacketArray(const QString& key,
                                const std::vector<SerialisableDataPacket>& packets);
    /// The packets of the array under `key`, in order. `ok` is false if there is no array, or if an
    /// element is not a packet; such an element is left out.
    std::vector<SerialisableDataPacket> extractChildPacketArray(const QString& key, bool& ok) const;

protected:
    /// What follows the header on the wire: the length word and the text.
    struct Payload
    {
        QByteArray bytes;
    };
    static constexpr int LENGTH_WORD_BYTES = 4;

    /// Starts a payload written as text: room for its length, and an object that is open after its
    /// "Class". Append further members, each behind a comma, and then call endPayload.
    static QByteArray beginPayload(const QString& className, int ordinaryBytes);
    /// Closes the object and fills in the length. The result shares the bytes of `payload`.
    static Payload endPayload(QByteArray& payload);

    /// A packet whose text is already written. It is parsed only if the object is asked for.
    explicit SerialisableDataPacket(const Payload& payload);
    /// For a class's constructor from a received packet: takes the source's content if the source
    /// is of the named class, and otherwise makes an empty packet of that class.
    SerialisableDataPacket(const QString& className, const SerialisableDataPacket& source,
                           bool& ok);

    /// A class's tests, getters and setters are made of these. As long as the received text is
    /// plain, only `set` builds the object of the whole packet.
    bool contains(const PacketKeyText& key) const;
    /// The value as it is; undefined if absent.
    QJsonValue value(const PacketKeyText& key) const;

    /// The value, or the key's default if it is absent or no T. An element of a list of texts that
    /// is no text is read as an empty one.
    int get(const PacketKey<int>& key) const;
    qint64 get(const PacketKey<qint64>& key) const; ///< JSON numbers are doubles, exact to 2^53
    bool get(const PacketKey<bool>& key) const;
    double get(const PacketKey<double>& key) const;
    QString get(const PacketKey<QString>& key) const;
    QStringList get(const PacketKey<QStringList>& key) const;
    std::deque<QString> get(const PacketKey<std::deque<QString>>& key) const;
    QJsonObject get(const PacketKey<QJsonObject>& key) const;
    /// `ok` is that of the constructor for a child packet.
    SerialisableDataPacket get(const PacketKey<SerialisableDataPacket>& key, bool& ok) const;
    /// `ok` is that of extractChildPacketArray.
    std::vector<SerialisableDataPacket>
    get(const PacketKey<std::vector<SerialisableDataPacket>>& key, bool& ok) const;

    /// Replaces what was there, and drops the kept wire form.
    template <typename T>
    void set(const PacketKey<T>& key, const std::common_type_t<T>& content)
    {
        getObjectToChange().insert(key.getText(), toJsonValue(content));
    }

    /// True while the content is plain text of which no object has been built. Only then may
    /// `plainValue` be used; its result is valid as long as the packet.
    bool isPlainText() const;
    /// Missing if the object has no such key.
    PlainJsonValue plainValue(const PacketKeyText& key) const;

private:
    enum class Form {
        Object,    ///< `json` is the content
        Text,      ///< the text is, as yet unread
        PlainText, ///< the text is, and `index` says where its members are
    };

    static QJsonValue toJsonValue(const QJsonValue& value) { return value; }
    static QJsonValue toJsonValue(const QStringList& texts);
    static QJsonValue toJsonValue(const std::deque<QString>& texts);
    static QJsonValue toJsonValue(const SerialisableDataPacket& packet);
    static QJsonValue toJsonValue(const std::vector<SerialisableDataPacket>& packets);

    static void patchLength(QByteArray& payload);
    QLatin1String getText() const;
    void parseText() const;
    QJsonObject& getObjectToChange();

    // Changed by const calls: text is parsed when the object is asked for, and the first
    // serialisation is kept until the content changes. One object belongs to one thread.
    mutable Form form = Form::Object;
    mutable PlainJsonIndex index;
    mutable QString plainClassName; ///< of plain text, once asked for
    mutable QJsonObject json;
    mutable QByteArray serialisedPayload;
};

/// Only the JSON objects are compared.
bool operator==(const SerialisableDataPacket& a, const SerialisableDataPacket& b);
bool operator!=(const SerialisableDataPacket& a, const SerialisableDataPacket& b);

/// Writes the object as indented JSON; this is also how "{}" formats a packet.
std::ostream& operator<<(std::ostream& stream, const SerialisableDataPacket& packet);

template <typename Packet>
struct fmt::formatter<Packet,
                      std::enable_if_t<std::is_base_of_v<SerialisableDataPacket, Packet>, char>>
    : fmt::ostream_formatter
{
};
