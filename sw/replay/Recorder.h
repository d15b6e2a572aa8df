// Stands between a client and a server and writes down what they say. Lives on one thread.
#pragma once

#include "sw/replay/LinkRecording.h"
#include "sw/replay/PacketStream.h"

#include <QElapsedTimer>
#include <QTcpServer>
#include <QTcpSocket>

#include <functional>

/// Accepts one client, connects to the server for it, and passes packets on. The server sees a
/// different end of the link from the client's, so client ids are translated on the way; the file
/// has the client's.
class Recorder : public QObject
{
public:
    using Finished = std::function<void(const QString& error)>;

    /// `onFinished` is called once: when the link has ended, or with an error that ends it.
    Recorder(QString recordingName, QHostAddress serverAddress, quint16 serverPort,
             Finished onFinished);
    ~Recorder() override;

    bool listen(const QHostAddress& address, quint16 port)
    {
        return listener.listen(address, port);
    }
    quint16 getPort() const { return listener.serverPort(); }
    /// The number of a side's packets that have been passed on.
    int getPacketCount(Side side) const { return packetCounts[side]; }

private:
    void acceptClient();
    void pump(Side side);
    void passOn(Side side, const std::vector<StreamPiece>& pieces);
    void write(const LinkRecord& record);
    void onClosed(Side side);
    void finish(const QString& error);
    QTcpSocket& socketOf(Side side) { return side == Side_Client ? *client : server; }

    QString fileName;
    QHostAddress targetAddress;
    quint16 targetPort;
    Finished finished;
    QTcpServer listener;
    QTcpSocket* client = nullptr; ///< the listener's
    QTcpSocket server;
    LinkRecordingWriter file;
    QElapsedTimer clock;
    PacketStream streams[2]; ///< by side
    QByteArray clientIds[2]; ///< the client's own, and the one the server knows it by
    int packetCounts[2] = {};
    bool isRecording = false;
};
