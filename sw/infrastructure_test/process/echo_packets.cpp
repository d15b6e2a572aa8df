// Reads lines from standard input, each a packet in hexadecimal digits, and prints the packet that
// the factory makes of it, as it would be sent.
#include "infrastructure/utility/packets/RawDataPacketFactory.h"

#include <QBuffer>

#include <cstdio>
#include <iostream>
#include <string>

int main()
{
    std::string line;
    while (std::getline(std::cin, line)) {
        const QByteArray bytes = QByteArray::fromHex(QByteArray::fromStdString(line));
        const auto packet = createRawDataPacket(bytes, RawDataPacket::parseHeader(bytes));
        QBuffer sent;
        sent.open(QIODevice::WriteOnly);
        if (packet != nullptr) {
            packet->serialiseTo(sent);
        }
        std::puts(sent.data().toHex().constData());
    }
}
