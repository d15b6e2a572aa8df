// One end of a TCP link that carries packets. Lives on one thread, which runs a Qt event loop;
// receivers are called on that thread.
#pragma once

#include "infrastructure/utility/packets/RawDataPacketReceiverInterfaceBase.h"
#include "infrastructure/utility/packets/SerialisableDataPacketAcceptorInterface.h"

#include <QAbstractSocket>
#include <QByteArray>
#include <QHostAddress>
#include <QObject>
#include <QString>

#include <memory>
#include <vector>

class QTcpSocket;

/// Sends packets, frames those that come in, and hands each to every receiver that its register has
/// for its raw type, newest first, in the order of arrival. The link has no handshake and no
/// keep-alive. While more than DISCARD_THRESHOLD_BYTES wait to be taken, packets other than JSON
/// are thrown away; JSON is never dropped. Bytes that begin no packet are skipped one by one.
///
/// The object outlives a link and can be connected again. A receiver may pump the event loop (what
/// arrives meanwhile is delivered when it returns), connect the object anew, or delete it. If it
/// throws, the exception passes through and the buffer stays as it was.
class NetworkConnection : public QObject, public SerialisableDataPacketAcceptorInterface
{
    Q_OBJECT

public:
    /// Above this many buffered bytes raw data packets are discarded.
    static constexpr int DISCARD_THRESHOLD_BYTES = 131072;
    /// The most bytes that can wait for a packet to be complete: what a QByteArray can hold, or a
    /// sixteenth of the addresses where these have 32 bits. A peer that sends a packet beyond it
    /// can't be served: the link is closed, with a log line.
    static constexpr int MAX_BUFFERED_BYTES = sizeof(void*) > 4 ? 0x7FFF0000 : 0x10000000;

    /// Not connected. What is received goes to the process-wide register, which other connections
    /// use too, or to `receivers` alone, which outlives the connection. `context` is kept for
    /// whoever made the connection.
    explicit NetworkConnection(QObject* parent = nullptr, quint32 context = 0);
    explicit NetworkConnection(RawDataPacketReceivers& receivers, QObject* parent = nullptr,
                               quint32 context = 0);
    ~NetworkConnection() override;

    /// Connects to a listening peer, in place of any link there was; waits up to 500 ms. False,
    /// with the object not connected, when nobody answers. Never through a proxy: the peer knows
    /// this end by its address.
    bool connectToHost(const QString& host, quint16 port);
    bool connectToHost(const QHostAddress& address, quint16 port);

    /// Takes over a socket that a server has accepted and hands back the socket held before. True
    /// when the new one is open. A null pointer gives false and leaves the object not connected.
    bool adoptSocket(std::unique_ptr<QTcpSocket>& accepted);

    /// True while the link is up.
    bool isConnected() const;

    /// Bytes that were sent and that the system has not taken yet.
    qint64 getUnsentBytes() const;

    /// This end, as makeConnectionIdentifier tells it.
    const QString& getLocalIdentifier() const { return localIdentifier; }
    /// The far end, in the same form.
    const QString& getPeerIdentifier() const { return peerIdentifier; }
    /// The register that gets what is received.
    RawDataPacketReceivers& getReceivers() const { return *receivers; }
    /// What the constructor was given.
    quint32 getConnectionContext() const { return connectionContext; }

    /// Always true: a connection sends any class.
    bool canAcceptPacket(QString className) override;
    /// Sends the packet and flushes; does nothing without a link.
    void acceptPacket(const SerialisableDataPacket& packet) override;
    /// Sends the packets in order, many at a time, which costs far less than one by one; the bytes
    /// on the wire are the same.
    void acceptPackets(const std::vector<SerialisableDataPacket>& packets);
    /// Sends the packet and flushes; does nothing without a link or without a packet.
    virtual void sendRawPacket(std::shared_ptr<RawDataPacket> packet);

Q_SIGNALS:
    /// The link is gone.
    void disconnectedFromHost();

public Q_SLOTS:
    /// Takes what has arrived and delivers the packets that are complete.
    void onReadyRead();
    /// Logs the error's name.
    void onSocketError(QAbstractSocket::SocketError socketError);

private:
    class SocketSignal;

    void send(const RawDataPacket& packet);
    void transmit(const QByteArray& first, const QByteArray& second);
    bool readAvailableBytes();
    void deliverPackets(const SocketSignal& signal, bool discardRawData);
    void onSocketDisconnected();
    void dropLink();
    QTcpSocket* replaceSocket(QTcpSocket* newSocket);
    static void discard(QTcpSocket* previous);
    void wireSocket();
    void readIdentifiers();

    RawDataPacketReceivers* receivers;
    QString peerIdentifier;
    QString localIdentifier;
    QTcpSocket* socket = nullptr; ///< a child of this object
    QByteArray incomingBuffer;    ///< received and not yet consumed
    quint32 connectionContext;
    quint32 socketCount = 0;   ///< how many sockets there have been
    int socketSignalDepth = 0; ///< above 0 while a signal of a socket is being handled
    bool delivering = false;
};

/// What names one end of a link: the IPv4 address as a decimal number, followed by the port in
/// decimal.
///     127.0.0.1, port 4004 => "21307064334004"
QString makeConnectionIdentifier(const QHostAddress& address, quint16 port);

/// The name of a socket error, such as "QAbstractSocket::RemoteHostClosedError".
QString getSocketErrorName(QAbstractSocket::SocketError socketError);
