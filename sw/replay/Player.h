// Plays one side of a recorded link to a real program on the other. Lives on one thread.
#pragma once

#include "sw/replay/LinkRecording.h"
#include "sw/replay/PacketStream.h"

#include <QElapsedTimer>
#include <QTcpSocket>
#include <QTimer>

#include <functional>

/// Sends one side's records over an existing link, with this link's client id in place of the
/// recorded one. When playing to a client, each record waits for as many packets from the client as
/// came before it, so that no answer precedes its question.
class Player : public QObject
{
public:
    using Finished = std::function<void(const QString& error)>;

    /// `onFinished` is called once: when the link has ended, or with an error that ends it.
    Player(Side playedSide, bool asFastAsPossible, Finished onFinished);
    ~Player() override;

    /// Reads through the recording. False, with getError, if the file is not one.
    bool open(const QString& fileName);
    QString getError() const { return openError.isEmpty() ? recording.getError() : openError; }
    /// Starts. The socket belongs to the caller and must outlive this object.
    void start(QTcpSocket& peer);

    /// The numbers of packets sent and of packets received.
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
    bool hasEnded = false;   ///< everything is sent
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
    int expectedCount = 0;    ///< packets of the far side before this point
    int sentCount = 0;
    int receivedCount = 0;
};
