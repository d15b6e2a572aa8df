#include "sw/replay/Recorder.h"

#include "infrastructure/utility/packets/NetworkConnection.h"

#include <QDateTime>

#include <utility>

namespace {

constexpr int CONNECT_TIMEOUT_MS = 5000;
constexpr qint64 READ_BUFFER_BYTES = 64 << 10;
constexpr qint64 MAX_UNSENT_BYTES = 1 << 20; ///< above this the other side is not read

QByteArray idOf(const QHostAddress& address, quint16 port)
{
    return makeConnectionIdentifier(address, port).toLatin1();
}

} // namespace

Recorder::Recorder(QString recordingName, QHostAddress serverAddress, quint16 serverPort,
                   Finished onFinished)
    : fileName(std::move(recordingName))
    , targetAddress(std::move(serverAddress))
    , targetPort(serverPort)
    , finished(std::move(onFinished))
{
    connect(&listener, &QTcpServer::newConnection, this, &Recorder::acceptClient);
}

Recorder::~Recorder()
{
    isRecording = false; // sockets that close now have nothing to report
}

void Recorder::acceptClient()
{
    client = listener.nextPendingConnection();
    listener.close(); // one link per recording
    server.connectToHost(targetAddress, targetPort);
    if (!server.waitForConnected(CONNECT_TIMEOUT_MS)) {
        finish(QStringLiteral("no server at %1 port %2")
                   .arg(targetAddress.toString())
                   .arg(targetPort));
        return;
    }
    LinkRecordingHeader header;
    header.clientAddress = QHostAddress(client->peerAddress().toIPv4Address());
    header.clientPort = client->peerPort();
    header.startMs = static_cast<quint64>(QDateTime::currentMSecsSinceEpoch());
    clientIds[Side_Client] = idOf(client->peerAddress(), client->peerPort());
    clientIds[Side_Server] = idOf(server.localAddress(), server.localPort());
    if (!file.open(fileName, header)) {
        finish(QStringLiteral("%1: %2").arg(fileName, file.getError()));
        return;
    }
    clock.start();
    isRecording = true;
    for (const Side side : {Side_Client, Side_Server}) {
        QTcpSocket& own = socketOf(side);
        const Side other = side == Side_Client ? Side_Server : Side_Client;
        own.setReadBufferSize(READ_BUFFER_BYTES);
        own.setSocketOption(QAbstractSocket::LowDelayOption, 1);
        connect(&own, &QTcpSocket::readyRead, this, [this, side] { pump(side); });
        connect(&own, &QTcpSocket::bytesWritten, this, [this, other] { pump(other); });
        connect(&own, &QTcpSocket::disconnected, this, [this, side] { onClosed(side); });
    }
    pump(Side_Client);
    if (isRecording && client->state() == QAbstractSocket::UnconnectedState) {
        onClosed(Side_Client); // it left while the server was being reached
    }
}

/// Passes on what has arrived from a side, unless the other is too far behind.
void Recorder::pump(Side side)
{
    QTcpSocket& to = socketOf(side == Side_Client ? Side_Server : Side_Client);
    QTcpSocket& from = socketOf(side);
    while (isRecording && from.bytesAvailable() > 0 && to.bytesToWrite() < MAX_UNSENT_BYTES) {
        passOn(side, streams[side].take(from.read(READ_BUFFER_BYTES)));
        if (streams[side].isOverfull()) {
            finish(PacketStream::overfullText());
        }
    }
}

void Recorder::passOn(Side side, const std::vector<StreamPiece>& pieces)
{
    const Side other = side == Side_Client ? Side_Server : Side_Client;
    QByteArray sent;
    QByteArray recorded;
    for (const StreamPiece& piece : pieces) {
        const QByteArray bytes = withClientId(piece, clientIds[side], clientIds[other]);
        sent += bytes;
        recorded += side == Side_Client ? piece.bytes : bytes;
        packetCounts[side] += piece.isPacket() ? 1 : 0;
    }
    if (!sent.isEmpty()) {
        write({clock.nsecsElapsed() / 1000, side, false, recorded});
        socketOf(other).write(sent);
    }
}

void Recorder::write(const LinkRecord& record)
{
    if (isRecording && !file.write(record)) {
        finish(QStringLiteral("%1: %2").arg(fileName, file.getError()));
    }
}

void Recorder::onClosed(Side side)
{
    if (!isRecording) {
        return;
    }
    QTcpSocket& other = socketOf(side == Side_Client ? Side_Server : Side_Client);
    while (socketOf(side).bytesAvailable() > 0) {
        passOn(side, streams[side].take(socketOf(side).read(READ_BUFFER_BYTES)));
    }
    const QByteArray rest = streams[side].takeRest();
    if (!rest.isEmpty()) {
        passOn(side, {StreamPiece{RawDataPacketHeader::NO_PACKET, rest}});
    }
    write({clock.nsecsElapsed() / 1000, side, true, QByteArray()});
    isRecording = false;
    if (other.state() == QAbstractSocket::UnconnectedState) {
        finish(QString());
        return;
    }
    connect(&other, &QTcpSocket::disconnected, this, [this] { finish(QString()); });
    other.disconnectFromHost(); // after it has taken what was sent
}

void Recorder::finish(const QString& error)
{
    isRecording = false;
    if (const Finished callback = std::exchange(finished, nullptr)) {
        callback(error);
    }
}
