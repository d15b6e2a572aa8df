#include "sw/infrastructure_test/NetworkConnectionTests.h"

#include "infrastructure/utility/Log.h"
#include "sw/infrastructure_test/TestSupport.h"

#include <QCoreApplication>
#include <QTcpServer>
#include <QTcpSocket>

#include <array>
#include <string>

namespace {

constexpr uint32_t RX_QUEUE_SIZE = 1024;
constexpr uint32_t RX_QUEUE_WAIT_MS = 100;
constexpr int WAIT_MS = 5000;
constexpr int SMALL_READ_BUFFER_BYTES = 10;

BasicTestPacket makeAwkwardPacket(int number)
{
    BasicTestPacket packet;
    packet.setTestInt(number);
    packet.setTestArray({"Line One\n"_s, "Line Two\r\n"_s, "Line Three\n\n"_s});
    packet.setTestString("!\"£$%^&*()_+-=[]{};:'@#~\\|,<.>/?`¬\t{\"Class\":\"\"}"_s);
    return packet;
}

/// Logs a text if it is not so, and says whether it is.
template <typename... Parts>
bool expect(bool isSo, const Parts&... parts)
{
    if (!isSo) {
        VELLOG_ERR() << (std::string() + ... + parts);
    }
    return isSo;
}

bool logResult(bool passed, const char* passedText, const char* failedText)
{
    if (expect(passed, failedText)) {
        VELLOG_INFO() << passedText;
    }
    return passed;
}

} // namespace

bool NetworkConnectionTests::testsPassed = false;

NetworkConnectionTests::NetworkConnectionTests(QCoreApplication* app, quint16 listenPort)
    : RawDataPacketReceiverInterfaceBase(RawPacketType_SerialisableData)
    , application(app)
    , port(listenPort)
    , rxQueue("NetworkConnectionTestsRxQueue", RX_QUEUE_SIZE, RX_QUEUE_WAIT_MS)
{
}

void NetworkConnectionTests::receiveRawPacket(std::shared_ptr<RawDataPacket> packet)
{
    const auto json = std::dynamic_pointer_cast<SerialisableDataPacket>(packet);
    if (running && json != nullptr) {
        rxQueue.push(*json);
    }
}

bool NetworkConnectionTests::run()
{
    VELLOG_INFO() << "_____ NetworkConnectionTests _____";
    running = true;
    bool passed = runSequence("connectNetworkConnectionsTest:",
                              &NetworkConnectionTests::connectNetworkConnectionsTest);
    if (expect(passed, "ABORTING TESTS")) {
        const std::pair<const char*, Sequence> sequences[] = {
            {"packetsSentBothWaysArriveUnchangedTest",
             &NetworkConnectionTests::packetsSentBothWaysArriveUnchangedTest},
            {"recipientWaitsForEntirePacketBeforeDecodingTest",
             &NetworkConnectionTests::recipientWaitsForEntirePacketBeforeDecodingTest},
            {"multiplePacketsArrivingSimultaneouslyAreAllDealtWithTest",
             &NetworkConnectionTests::multiplePacketsArrivingSimultaneouslyAreAllDealtWithTest},
        };
        for (const auto& [name, sequence] : sequences) {
            drainQueue();
            passed = runSequence(name, sequence) && passed;
        }
        drainQueue();
    }
    running = false;
    return testsPassed = logResult(passed, "----- PASSED -----", "----- FAILED -----");
}

bool NetworkConnectionTests::runSequence(const char* name, Sequence sequence)
{
    VELLOG_INFO() << "Running " << name;
    return logResult((this->*sequence)(), "Passed", "Failed");
}

bool NetworkConnectionTests::connectNetworkConnectionsTest()
{
    return connectBothEnds();
}

bool NetworkConnectionTests::connectBothEnds(qint64 acceptedReadBufferBytes)
{
    QTcpServer listener;
    std::unique_ptr<QTcpSocket> accepted;
    if (!listener.listen(QHostAddress::Any, port)) {
        failure = "TCP port %1: %2"_s.arg(port).arg(listener.errorString());
    } else if (client.connectToHost(QHostAddress(QHostAddress::LocalHost), listener.serverPort()) &&
               listener.waitForNewConnection(WAIT_MS)) {
        accepted.reset(listener.nextPendingConnection());
    }
    if (accepted != nullptr && accepted->waitForConnected(WAIT_MS)) {
        accepted->setReadBufferSize(acceptedReadBufferBytes);
        server.adoptSocket(accepted);
        if (client.isConnected() && server.isConnected()) {
            return true;
        }
    }
    return expect(false, "Failed to connect the server and Client.");
}

bool NetworkConnectionTests::packetsSentBothWaysArriveUnchangedTest()
{
    const bool toServer = exchange(client, "Client", "Server", makeAwkwardPacket(1));
    const bool toClient = exchange(server, "Server", "Client", makeAwkwardPacket(2));
    return toServer && toClient;
}

bool NetworkConnectionTests::recipientWaitsForEntirePacketBeforeDecodingTest()
{
    const bool passed = connectBothEnds(SMALL_READ_BUFFER_BYTES) &&
                        exchange(client, "Client", "Server", makeAwkwardPacket(3));
    return connectBothEnds() && passed;
}

bool NetworkConnectionTests::multiplePacketsArrivingSimultaneouslyAreAllDealtWithTest()
{
    const std::array<BasicTestPacket, 3> sent{makeAwkwardPacket(4), makeAwkwardPacket(5),
                                              makeAwkwardPacket(6)};
    for (const BasicTestPacket& packet : sent) {
        client.acceptPacket(packet);
    }
    for (const BasicTestPacket& packet : sent) {
        if (!expect(waitForPacket(), "Packet sent from Client to Server did not arrive") ||
            !expect(rxQueue.pop() == packet,
                    "Packet sent from Client to Server arrived changed.")) {
            return false;
        }
    }
    application->processEvents();
    return expect(rxQueue.isEmpty(), "More packets received than expected.");
}

/// Sends one packet, and passes if it arrives unchanged and nothing else does.
bool NetworkConnectionTests::exchange(NetworkConnection& sender, const char* senderName,
                                      const char* receiverName, const BasicTestPacket& sent)
{
    sender.acceptPacket(sent);
    // The two texts differ in their last character.
    if (!expect(waitForPacket(), "Packet sent from ", senderName, " to ", receiverName,
                " did not arrive", &sender == &client ? "" : ".")) {
        return false;
    }
    bool ok = false;
    const BasicTestPacket received(rxQueue.pop(), ok);
    if (!expect(ok, "Creation of BasicTestPacket from SerialisableDataPacket failed") ||
        !expect(received == sent, "Packet sent from ", senderName, " to ", receiverName,
                " arrived changed.")) {
        return false;
    }
    application->processEvents();
    return expect(rxQueue.isEmpty(), "More packets received from ", senderName, " than expected.");
}

bool NetworkConnectionTests::waitForPacket()
{
    return waitFor([this] { return !rxQueue.isEmpty(); }, WAIT_MS);
}

void NetworkConnectionTests::drainQueue()
{
    while (rxQueue.tryPop()) {
    }
}
