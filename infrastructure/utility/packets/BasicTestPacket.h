// The model for a class of JSON packets: a name, two constructors, and for each key a test, a
// getter and a setter.
#pragma once

#include "infrastructure/utility/packets/SerialisableDataPacket.h"

#include <QStringList>

/// A packet with one value of each kind, for tests and as a pattern to copy.
class BasicTestPacket : public SerialisableDataPacket
{
public:
    static QString CLASSNAME() { return QStringLiteral("BasicTestPacket"); }

    /// A packet without values.
    BasicTestPacket();
    /// The packet that `source` carries; `ok` is false, and the packet empty, for another class.
    BasicTestPacket(const SerialisableDataPacket& source, bool& ok);

    bool hasTestInt() const;
    int getTestInt() const; ///< 0 if absent
    void setTestInt(int number);

    bool hasTestBool() const;
    bool getTestBool() const; ///< false if absent
    void setTestBool(bool flag);

    bool hasTestString() const;
    QString getTestString() const; ///< empty if absent
    void setTestString(const QString& text);

    bool hasTestArray() const;
    QStringList getTestArray() const; ///< empty if absent
    void setTestArray(const QStringList& texts);

    bool hasTestPacket() const;
    /// The child packet; `ok` is false if there is none.
    SerialisableDataPacket getTestPacket(bool& ok) const;
    void setTestPacket(const SerialisableDataPacket& packet);

    bool hasTestArrayOfPackets() const;
    /// The child packets; `ok` is false if there is no array, or an element is not a packet.
    std::vector<SerialisableDataPacket> getTestArrayOfPackets(bool& ok) const;
    void setTestArrayOfPackets(const std::vector<SerialisableDataPacket>& packets);
};
