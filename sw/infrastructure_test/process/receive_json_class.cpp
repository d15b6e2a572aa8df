// Does not compile, and says what to write instead.
#include "infrastructure/utility/packets/BasicTestPacket.h"
#include "infrastructure/utility/packets/RawDataPacketReceiverInterface.h"

class Receiver : public RawDataPacketReceiverInterface<BasicTestPacket>
{
    void receivePacket(std::shared_ptr<BasicTestPacket>) override {}
};

Receiver receiver;
