#include "infrastructure/utility/packets/BasicTestPacket.h"
#include "infrastructure/utility/packets/RawDataPacketFactory.h"

#include <QBuffer>

#include <cstdio>

int main()
{
    BasicTestPacket sent;
    sent.setTestInt(7);
    QBuffer link; // any QIODevice; NetworkConnection writes to its socket
    link.open(QIODevice::WriteOnly);
    sent.serialiseTo(link);
    const QByteArray wire = link.data();
    std::printf("%s %s\n", wire.left(12).toHex(' ').constData(), wire.mid(12).constData());

    // What a receiver does: the header, the packet object, the view of the class it wants.
    const RawDataPacketHeader header = RawDataPacket::parseHeader(wire);
    std::printf("type 0x%x, %u bytes of payload\n", header.packetType, header.payloadSize);
    const auto received =
        std::dynamic_pointer_cast<SerialisableDataPacket>(createRawDataPacket(wire, header));
    bool ok = false;
    const BasicTestPacket view(*received, ok);
    std::printf("%s: testInt %d\n", qPrintable(view.getPacketClassName()), view.getTestInt());

    // A packet that is not all there, and bytes that are none.
    std::printf("%u %u\n", RawDataPacket::parseHeader(wire.left(20)).packetType,
                RawDataPacket::parseHeader("no packet").packetType);
}
