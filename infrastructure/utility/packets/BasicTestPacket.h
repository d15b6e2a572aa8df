// The pattern for a class of JSON packets, to copy: a name, two constructors, a key for each value,
// and a test, a getter and a setter for each key.
#pragma once

#include "infrastructure/utility/packets/SerialisableDataPacket.h"

/// A packet with one value of each kind.
class BasicTestPacket : public SerialisableDataPacket
{
public:
    static QString CLASSNAME() { return QStringLiteral("BasicTestPacket"); }

    /// A packet without values.
    BasicTestPacket()
        : SerialisableDataPacket(CLASSNAME())
    {
    }
    /// The packet that `source` carries; `ok` is false, and the packet empty, for another class.
    BasicTestPacket(const SerialisableDataPacket& source, bool& ok)
        : SerialisableDataPacket(CLASSNAME(), source, ok)
    {
    }

    bool hasTestInt() const { return contains(TEST_INT); }
    int getTestInt() const { return get(TEST_INT); } ///< 0 if absent
    void setTestInt(int number) { set(TEST_INT, number); }

    bool hasTestBool() const { return contains(TEST_BOOL); }
    bool getTestBool() const { return get(TEST_BOOL); } ///< false if absent
    void setTestBool(bool flag) { set(TEST_BOOL, flag); }

    bool hasTestString() const { return contains(TEST_STRING); }
    QString getTestString() const { return get(TEST_STRING); } ///< null if absent
    void setTestString(const QString& text) { set(TEST_STRING, text); }

    bool hasTestArray() const { return contains(TEST_ARRAY); }
    QStringList getTestArray() const { return get(TEST_ARRAY); } ///< empty if absent
    void setTestArray(const QStringList& texts) { set(TEST_ARRAY, texts); }

    bool hasTestPacket() const { return contains(TEST_PACKET); }
    /// The child packet; `ok` is false if there is none.
    SerialisableDataPacket getTestPacket(bool& ok) const { return get(TEST_PACKET, ok); }
    void setTestPacket(const SerialisableDataPacket& packet) { set(TEST_PACKET, packet); }

    /// A list of child packets.
    using Packets = std::vector<SerialisableDataPacket>;

    bool hasTestArrayOfPackets() const { return contains(TEST_ARRAY_OF_PACKETS); }
    /// The child packets; `ok` is false if there is no array, or an element is no packet.
    Packets getTestArrayOfPackets(bool& ok) const { return get(TEST_ARRAY_OF_PACKETS, ok); }
    void setTestArrayOfPackets(const Packets& packets) { set(TEST_ARRAY_OF_PACKETS, packets); }

private:
    static constexpr PacketKey<int> TEST_INT{"TestInt"};
    static constexpr PacketKey<bool> TEST_BOOL{"TestBool"};
    static constexpr PacketKey<QString> TEST_STRING{"TestString"};
    static constexpr PacketKey<QStringList> TEST_ARRAY{"TestArray"};
    static constexpr PacketKey<SerialisableDataPacket> TEST_PACKET{"TestPacket"};
    static constexpr PacketKey<Packets> TEST_ARRAY_OF_PACKETS{"TestArrayOfPackets"};
};
