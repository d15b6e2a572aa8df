// The live exercise of the link: two connections of this process, joined over loopback TCP.
#pragma once

#include "infrastructure/utility/packets/BasicTestPacket.h"
#include "infrastructure/utility/packets/NetworkConnection.h"
#include "infrastructure/utility/packets/RawDataPacketReceiverInterfaceBase.h"
#include "infrastructure/utility/QueueMaxSizeThreadSafe.h"

#include <QStringList>

#include <memory>

class QCoreApplication;

/// Sends JSON packets both ways and compares what arrives. Receives the link's packets only while
/// it runs, since it may live much longer than the exercise.
class NetworkConnectionTests : public RawDataPacketReceiverInterfaceBase
{
public:
    static constexpr quint16 PORT = 4004;

    /// Port 0 lets the system choose one.
    explicit NetworkConnectionTests(QCoreApplication* app, quint16 listenPort = PORT);

    /// Runs the whole exercise; true if all of it passed. Ends within seconds.
    bool run();
    /// Why it did not pass, as far as is known here; the log has the rest.
    const QString& getFailure() const { return failure; }

    void receiveRawPacket(std::shared_ptr<RawDataPacket> packet) override;

    /// The result of the exercise that was run last.
    static bool testsPassed;

private:
    using Sequence = bool (NetworkConnectionTests::*)();

    bool connectNetworkConnectionsTest();
    bool packetsSentBothWaysArriveUnchangedTest();
    bool recipientWaitsForEntirePacketBeforeDecodingTest();
    bool multiplePacketsArrivingSimultaneouslyAreAllDealtWithTest();

    bool connectBothEnds(qint64 acceptedReadBufferBytes = 0);
    bool exchange(NetworkConnection& sender, const char* senderName, const char* receiverName,
                  const BasicTestPacket& sent);
    bool runSequence(const char* name, Sequence sequence);
    bool waitForPacket();
    void drainQueue();

    QCoreApplication* application;
    quint16 port;
    NetworkConnection client;
    NetworkConnection server;
    QueueMaxSizeThreadSafe<SerialisableDataPacket> rxQueue;
    bool running = false;
    QString failure = QStringLiteral("the connection exercise failed, see the log");
};
