#include "sw/replay/Player.h"

#include "infrastructure/utility/packets/NetworkConnection.h"

#include <linux/sockios.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <algorithm>
#include <utility>

namespace {

constexpr qint64 MAX_UNSENT_BYTES = 1 << 20;
constexpr int LINGER_MS = 5000; ///< how long a server may take to end the link when we have

int countPackets(const std::vector<StreamPiece>& pieces)
{
    return static_cast<int>(std::count_if(pieces.begin(), pieces.end(),
                                          [](const auto& piece) { return piece.isPacket(); }));
}

QByteArray idOf(const QHostAddress& address, quint16 port)
{
    return makeConnectionIdentifier(address, port).toLatin1();
}

} // namespace

Player::Player(Side playedSide, bool asFastAsPossible, Finished onFinished)
    : side(playedSide)
    , isFast(asFastAsPossible)
    , finished(std::move(onFinished))
{
    timer.setSingleShot(true);
    timer.setTimerType(Qt::PreciseTimer);
    connect(&timer, &QTimer::timeout, this, &Player::advance);
}

Player::~Player() = default;

bool Player::open(const QString& fileName)
{
    if (!recording.open(fileName)) {
        return false;
    }
    PacketStream streams[2];
    while (recording.read(record)) {
        packetCounts[record.side] += countPackets(streams[record.side].take(record.bytes));
        if (streams[record.side].isOverfull()) {
            openError = PacketStream::overfullText();
            return false;
        }
    }
    if (!recording.getError().isEmpty()) {
        return false;
    }
    const LinkRecordingHeader& header = recording.getHeader();
    recordedId = idOf(header.clientAddress, header.clientPort);
    return recording.rewind();
}

void Player::start(QTcpSocket& peer)
{
    socket = &peer;
    socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
    currentId = side == Side_Client ? idOf(socket->localAddress(), socket->localPort())
                                    : idOf(socket->peerAddress(), socket->peerPort());
    connect(socket, &QTcpSocket::readyRead, this, &Player::onReadyRead);
    connect(socket, &QTcpSocket::bytesWritten, this, &Player::advance);
    connect(socket, &QTcpSocket::disconnected, this, &Player::onClosed);
    clock.start();
    onReadyRead();
}

void Player::onReadyRead()
{
    receivedCount += countPackets(farStream.take(socket->readAll()));
    if (farStream.isOverfull()) {
        finish(PacketStream::overfullText());
        return;
    }
    if (hasToldEnd) {
        timer.start(LINGER_MS); // it still answers
    }
    advance();
}

/// Sends everything that is due.
void Player::advance()
{
    while (finished && !hasEnded) {
        if (!isHolding && !recording.read(record)) {
            if (!recording.getError().isEmpty()) {
                finish(recording.getError());
                return;
            }
            hasEnded = true;
            socket->write(ownStream.takeRest());
        } else if (record.side != side) {
            isHolding = false;
            expectedCount += countPackets(recordedFarStream.take(record.bytes));
        } else if (isDue()) {
            isHolding = false;
            send();
        } else {
            isHolding = true;
            return;
        }
    }
    if (finished && side == Side_Client && socket->bytesToWrite() == 0) {
        endSending();
    }
}

bool Player::isDue()
{
    const qint64 leftUs = isFast ? 0 : record.timeUs - clock.nsecsElapsed() / 1000;
    if (leftUs > 0) {
        constexpr qint64 longestMs = 60 * 60 * 1000;
        timer.start(static_cast<int>(std::min(leftUs / 1000 + 1, longestMs)));
        return false;
    }
    return (side == Side_Client || receivedCount >= expectedCount) &&
           socket->bytesToWrite() < MAX_UNSENT_BYTES;
}

void Player::send()
{
    const std::vector<StreamPiece> pieces = ownStream.take(record.bytes);
    for (const StreamPiece& piece : pieces) {
        socket->write(withClientId(piece, recordedId, currentId));
    }
    sentCount += countPackets(pieces);
    if (record.isClose) {
        hasEnded = true;
        socket->write(ownStream.takeRest());
        if (side == Side_Server) {
            socket->disconnectFromHost(); // when all is written
        }
    }
}

/// Tells the server that nothing more will come. It sends its remaining answers and ends the link.
void Player::endSending()
{
    if (!std::exchange(hasToldEnd, true)) {
        ::shutdown(static_cast<int>(socket->socketDescriptor()), SHUT_WR);
        timer.disconnect(this);
        connect(&timer, &QTimer::timeout, this, &Player::onLingered);
        timer.start(LINGER_MS);
    }
}

/// A server need not end the link, but it must have taken everything.
void Player::onLingered()
{
    int unacknowledged = 0;
    ::ioctl(static_cast<int>(socket->socketDescriptor()), SIOCOUTQ, &unacknowledged);
    finish(unacknowledged == 0
               ? QString()
               : QStringLiteral("the server has not taken the last %1 bytes").arg(unacknowledged));
}

void Player::onClosed()
{
    const bool isComplete =
        side == Side_Client ? hasToldEnd : receivedCount >= packetCounts[Side_Client];
    finish(isComplete ? QString()
                      : QStringLiteral("the link was closed after %1 of %2 packets of the client")
                            .arg(side == Side_Client ? sentCount : receivedCount)
                            .arg(packetCounts[Side_Client]));
}

void Player::finish(const QString& error)
{
    timer.stop();
    if (const Finished callback = std::exchange(finished, nullptr)) {
        callback(error);
    }
}
