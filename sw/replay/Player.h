// Plays one side of a recorded link to somebody who takes the part of the other. Lives on one
// thread.
#pragma once

#include "sw/replay/LinkRecording.h"
#include "sw/replay/PacketStream.h"

#include <QElapsedTimer>
#include <QTcpSocket>
#include <QTimer>

#include <functional>

/// Sends a side's records over a link that is up, with the client id that holds on this link in
/// place of the recorded one. To a client each record waits for as many packets of the client as
/// were ahead of it, so that no answer comes ahead of its question.
class Player : public QObject
{
public:
    using Finished = std::function<void(const QString& error)>;

    /// `onFinished` is called once: when the link has ended, or with an error that ends it.
    Player(Side playedSide, bool asFastAsPossible, Finished onFinished);
    ~Player() override;

    /// Reads the recording through. False, with getError, where it is none.
    bool open(const QString& fileName);
    QString getError() const { return openError.isEmpty() ? recording.getError() : openError; }
    /// Begins. The socket belongs to the caller and outlives this.
    void start(QTcpSocket& peer);

    /// Packets sent and packets that came.
    int getSentCount() const { return sentCount; }
    int getReceivedCount() const { return receivedCount; }

private:
    void advance();
    bool isDue();
    void send();
    void endSending();
    void onReadyRead();
    void onClosed();
    void onLingered();
    void finish(const QString& error);

    Side side;
    bool isFast;
    Finished finished;
    LinkRecordingReader recording;
    QString openError;
    LinkRecord record;
    bool isHolding = false;  ///< the record is the side's next and not due yet
    bool hasEnded = false;   ///< all is sent
    bool hasToldEnd = false; ///< and the server knows
    QTcpSocket* socket = nullptr;
    QElapsedTimer clock;
    QTimer timer;
    PacketStream ownStream;
    PacketStream recordedFarStream;
    PacketStream farStream;
    QByteArray recordedId;
    QByteArray currentId;
    int packetCounts[2] = {}; ///< in the recording, by side
    int expectedCount = 0;    ///< packets of the far side ahead of where we are
    int sentCount = 0;
    int receivedCount = 0;
};
