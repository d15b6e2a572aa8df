#include "infrastructure/utility/packets/BasicTestPacket.h"

#include <QJsonArray>

namespace {

// clang-format off
QString intKey() { return QStringLiteral("TestInt"); }
QString boolKey() { return QStringLiteral("TestBool"); }
QString stringKey() { return QStringLiteral("TestString"); }
QString arrayKey() { return QStringLiteral("TestArray"); }
QString packetKey() { return QStringLiteral("TestPacket"); }
QString arrayOfPacketsKey() { return QStringLiteral("TestArrayOfPackets"); }
// clang-format on

} // namespace

BasicTestPacket::BasicTestPacket()
    : SerialisableDataPacket(CLASSNAME())
{
}

BasicTestPacket::BasicTestPacket(const SerialisableDataPacket& source, bool& ok)
    : SerialisableDataPacket(CLASSNAME(), source, ok)
{
}

bool BasicTestPacket::hasTestInt() const
{
    return contains(intKey());
}

int BasicTestPacket::getTestInt() const
{
    return value(intKey()).toInt();
}

void BasicTestPacket::setTestInt(int number)
{
    insert(intKey(), number);
}

bool BasicTestPacket::hasTestBool() const
{
    return contains(boolKey());
}

bool BasicTestPacket::getTestBool() const
{
    return value(boolKey()).toBool();
}

void BasicTestPacket::setTestBool(bool flag)
{
    insert(boolKey(), flag);
}

bool BasicTestPacket::hasTestString() const
{
    return contains(stringKey());
}

QString BasicTestPacket::getTestString() const
{
    return value(stringKey()).toString();
}

void BasicTestPacket::setTestString(const QString& text)
{
    insert(stringKey(), text);
}

bool BasicTestPacket::hasTestArray() const
{
    return contains(arrayKey());
}

QStringList BasicTestPacket::getTestArray() const
{
    QStringList texts;
    const QJsonArray array = value(arrayKey()).toArray();
    texts.reserve(array.size());
    for (const QJsonValue& element : array) {
        texts.append(element.toString());
    }
    return texts;
}

void BasicTestPacket::setTestArray(const QStringList& texts)
{
    insert(arrayKey(), QJsonArray::fromStringList(texts));
}

bool BasicTestPacket::hasTestPacket() const
{
    return contains(packetKey());
}

SerialisableDataPacket BasicTestPacket::getTestPacket(bool& ok) const
{
    return SerialisableDataPacket(*this, packetKey(), ok);
}

void BasicTestPacket::setTestPacket(const SerialisableDataPacket& packet)
{
    insertChildPacket(packetKey(), packet);
}

bool BasicTestPacket::hasTestArrayOfPackets() const
{
    return contains(arrayOfPacketsKey());
}

std::vector<SerialisableDataPacket> BasicTestPacket::getTestArrayOfPackets(bool& ok) const
{
    return extractChildPacketArray(arrayOfPacketsKey(), ok);
}

void BasicTestPacket::setTestArrayOfPackets(const std::vector<SerialisableDataPacket>& packets)
{
    insertChildPacketArray(arrayOfPacketsKey(), packets);
}
