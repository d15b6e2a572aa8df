// One end of a link that carries packets, over TCP, TLS or a socket of this machine. Lives on one
// thread, which must run a Qt event loop; receivers are called on that thread.
#pragma once

#include "infrastructure/utility/packets/LinkAddress.h"
#include "infrastructure/utility/packets/PeerOrigin.h"
#include "infrastructure/utility/packets/RawDataPacketReceiverInterfaceBase.h"
#include "infrastructure/utility/packets/SerialisableDataPacketAcceptorInterface.h"
#include "infrastructure/utility/packets/TlsSettings.h"

#include <QAbstractSocket>
#include <QByteArray>
#include <QHostAddress>
#include <QObject>
#include <QString>

#include <chrono>
#include <memory>
#include <optional>
#include <vector>

class QSslSocket;
class QTcpSocket;

/// Sends packets, frames incoming ones, and hands each, in the order of arrival, to every receiver
/// registered for its raw type, newest receiver first. The link has no handshake of
/// its own, and no keep-alive unless setDeadPeerTimeout asks for it. Over TLS nothing is sent or
/// delivered before the peer is verified.
/// While more than DISCARD_THRESHOLD_BYTES are waiting, packets other than JSON are thrown away;
/// JSON is never dropped. Bytes that do not begin a packet are skipped one by one.
///
/// The object outlives a link and can be connected again. A receiver may run the event loop (what
/// arrives meanwhile is delivered when it returns), connect the object again, or delete it. If it
/// throws, the exception passes through and the buffer stays as it was.
class NetworkConnection : public QObject, public SerialisableDataPacketAcceptorInterface
{
    Q_OBJECT

public:
    /// Above this number of buffered bytes, raw data packets are discarded.
    static constexpr int DISCARD_THRESHOLD_BYTES = 131072;
    /// The most bytes that can wait for a packet to be complete: what a QByteArray can hold, or a
    /// sixteenth of the address space if that has 32 bits. If a peer sends a larger packet, the
    /// link is closed, with a log line.
    static constexpr int MAX_BUFFERED_BYTES = sizeof(void*) > 4 ? 0x7FFF0000 : 0x10000000;

    /// Not connected. Received packets go to the process-wide register, which other connections use
    /// too, or only to `receivers`, which must outlive the connection. `context` is kept for the
    /// connection's maker.
    explicit NetworkConnection(QObject* parent = nullptr, quint32 context = 0);
    explicit NetworkConnection(RawDataPacketReceivers& receivers, QObject* parent = nullptr,
                               quint32 context = 0);
    ~NetworkConnection() override;

    /// Connects to a listening peer, replacing any existing link; waits up to 500 ms. If nobody
    /// answers, returns false with the object not connected. Never uses a proxy: the peer knows
    /// this end by its address.
    bool connectToHost(const QString& host, quint16 port);
    bool connectToHost(const QHostAddress& address, quint16 port);

    /// Connects as connectToHost does, by whichever way the address names. TLS may take as long as
    /// the time limit. Why it failed is logged.
    bool connectTo(const LinkAddress& address);
    /// The same without waiting: connectedToHost or connectingFailed follows, from the event loop,
    /// within the time limit.
    void startConnecting(const LinkAddress& address);
    /// How long startConnecting may take, with the search for the host's name and the TLS
    /// handshake; 5 s unless set.
    void setConnectTimeLimit(std::chrono::milliseconds limit) { connectTimeLimit = limit; }

    /// What the next link over TLS shows and asks for. TLS 1.3 lets a client be up before the
    /// server has looked at its certificate; a refusal is then a link that is closed at once, with
    /// a log line that says so.
    void setTlsSettings(const TlsSettings& settings) { tlsSettings = settings; }

    /// Ends a link over TCP or TLS whose peer has not been heard of for so long, or has left what
    /// waits for it for so long, by keep-alive probes and TCP's user timeout (RFC 5482). This link
    /// and the next ones; whole seconds, at least 2, at most 32767; 0, as at first, for never. A
    /// peer that has merely nothing to say answers the probes.
    void setDeadPeerTimeout(std::chrono::seconds timeout);

    /// Takes over a socket that a server has accepted, a QSslSocket with its handshake done, and
    /// hands back the socket held before. True if the new one is open. A null pointer gives false
    /// and leaves the object not connected.
    bool adoptSocket(std::unique_ptr<QTcpSocket>& accepted);

    /// True while the link is up.
    bool isConnected() const;

    /// Makes fewer bytes than MAX_BUFFERED_BYTES the most that can wait, as for a peer that has yet
    /// to show who it is.
    void setMaxBufferedBytes(int bytes) { maxBufferedBytes = bytes; }

    /// Bytes sent that the system has not taken yet.
    qint64 getUnsentBytes() const;

    /// This end, as named by makeConnectionIdentifier; over a socket of this machine "unix" and
    /// the name that the system has given it, such as "unix00a1f".
    const QString& getLocalIdentifier() const { return localIdentifier; }
    /// The far end, in the same form.
    const QString& getPeerIdentifier() const { return peerIdentifier; }
    /// What is known of the far end of the last link.
    const PeerOrigin& getPeerOrigin() const { return peerOrigin; }
    /// The register that gets what is received.
    RawDataPacketReceivers& getReceivers() const { return *receivers; }
    /// What the constructor was given.
    quint32 getConnectionContext() const { return connectionContext; }

    /// Always true: a connection sends any class.
    bool canAcceptPacket(QString className) override;
    /// Sends the packet and flushes; does nothing without a link.
    void acceptPacket(const SerialisableDataPacket& packet) override;
    /// Sends the packets in order, many at a time, which costs far less than one by one. The bytes
    /// on the wire are the same.
    void acceptPackets(const std::vector<SerialisableDataPacket>& packets);
    /// The packets as they go over the wire, in pieces: made once, for any number of connections.
    static std::vector<QByteArray> joinPackets(const std::vector<SerialisableDataPacket>& packets);
    /// Sends what joinPackets has made.
    void sendJoined(const std::vector<QByteArray>& pieces);
    /// Sends the packet and flushes; does nothing without a link or without a packet.
    virtual void sendRawPacket(std::shared_ptr<RawDataPacket> packet);

Q_SIGNALS:
    /// The link is gone. One that never was up does not say so.
    void disconnectedFromHost();
    /// The link that startConnecting was to make is up, or could not be made and why.
    void connectedToHost();
    void connectingFailed(QString reason);

public Q_SLOTS:
    /// Reads what has arrived and delivers the complete packets.
    void onReadyRead();
    /// Logs the error's name.
    void onSocketError(QAbstractSocket::SocketError socketError);

private:
    class SocketSignal;

    void send(const RawDataPacket& packet);
    void transmit(const QByteArray& first, const QByteArray& second);
    bool readAvailableBytes();
    void deliverPackets(const SocketSignal& signal, bool discardRawData);
    void onLinkUp();
    void onSocketDisconnected();
    void openSocket(const LinkAddress& address);
    bool takeLocalSocket(bool& isBusy, QString& whatIsWrong);
    void startLocal();
    void giveUp(const QString& reason);
    QString explain(QAbstractSocket::SocketError socketError) const;
    void dropLink();
    QTcpSocket* replaceSocket(QTcpSocket* newSocket);
    static void discard(QTcpSocket* previous);
    void wireSocket();
    void readIdentifiers();

    RawDataPacketReceivers* receivers;
    QString peerIdentifier;
    QString localIdentifier;
    PeerOrigin peerOrigin;
    LinkAddress target;                     ///< what this end has connected to, if it has
    std::optional<TlsSettings> tlsSettings; ///< made when needed: it wakes OpenSSL
    std::chrono::milliseconds connectTimeLimit{5000};
    std::chrono::seconds deadPeerTimeout{0};
    QTcpSocket* socket = nullptr;    ///< a child of this object
    QSslSocket* tlsSocket = nullptr; ///< the same, if it is for TLS
    QByteArray incomingBuffer;       ///< received and not yet consumed
    int maxBufferedBytes = MAX_BUFFERED_BYTES;
    quint32 connectionContext;
    quint32 socketCount = 0;   ///< how many sockets there have been
    int socketSignalDepth = 0; ///< above 0 while a signal of a socket is being handled
    bool delivering = false;
    bool isStarting = false;   ///< startConnecting has not been answered
    bool isUp = false;         ///< since the last socket is connected, over TLS also verified
    bool isUnanswered = false; ///< a link that this end has made, and nothing has come yet
};

/// The name of one end of a link: the IPv4 address as a decimal number, followed by the port in
/// decimal.
///     127.0.0.1, port 4004 => "21307064334004"
QString makeConnectionIdentifier(const QHostAddress& address, quint16 port);

/// The name of a socket error, such as "QAbstractSocket::RemoteHostClosedError".
QString getSocketErrorName(QAbstractSocket::SocketError socketError);
