// Bytes from a peer, split where the first byte of the input says, into a connection whose receiver
// looks at every JSON packet.
#include "infrastructure/utility/packets/NetworkConnection.h"
#include "infrastructure/utility/packets/RawDataPacketReceiverInterface.h"
#include "infrastructure/utility/packets/SerialisableDataPacket.h"
#include "sw/infrastructure_test/MemorySocket.h"

#include <cstdint>

namespace {

struct Receiver : RawDataPacketReceiverInterface<SerialisableDataPacket>
{
    void receivePacket(std::shared_ptr<SerialisableDataPacket> packet) override
    {
        packet->getPacketClassName();
        packet->serialisePayload();
    }
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size == 0) {
        return 0;
    }
    const int pieceBytes = data[0] + 1;
    const QByteArray bytes(reinterpret_cast<const char*>(data) + 1, static_cast<int>(size) - 1);
    auto* socket = new MemorySocket;
    std::unique_ptr<QTcpSocket> adopted(socket);
    NetworkConnection connection;
    connection.adoptSocket(adopted);
    const Receiver receiver;
    for (int sent = 0; sent < bytes.size(); sent += pieceBytes) {
        socket->feed(bytes.mid(sent, pieceBytes));
    }
    return 0;
}
