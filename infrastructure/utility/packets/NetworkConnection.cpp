#include "infrastructure/utility/packets/NetworkConnection.h"

#include "infrastructure/utility/Log.h"
#include "infrastructure/utility/packets/LocalSocket_p.h"
#include "infrastructure/utility/packets/RawDataPacketFactory.h"
#include "infrastructure/utility/packets/SerialisableDataPacket.h"

#include <QElapsedTimer>
#include <QNetworkProxy>
#include <QPointer>
#include <QScopeGuard>
#include <QSslCertificate>
#include <QSslSocket>
#include <QTcpSocket>
#include <QThread>
#include <QTimer>

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <sys/uio.h>

#include <algorithm>
#include <cstring>
#include <iterator>
#include <utility>

namespace {

constexpr int CONNECT_TIMEOUT_MS = 500;
constexpr int LOCAL_RETRY_MS = 5;          ///< while the queue of a local server is full
constexpr int KEPT_BUFFER_BYTES = 1 << 20; ///< a buffer that grew beyond this is freed
/// How much is read from the system at a time; the rest of a flood waits there and holds the peer
/// up.
constexpr qint64 READ_BUFFER_BYTES = 512 << 10;
/// How much many packets are sent in, so that the peer starts while the rest is being written.
constexpr int JOINED_BYTES = 32 << 10;
static_assert(READ_BUFFER_BYTES > NetworkConnection::DISCARD_THRESHOLD_BYTES);

struct SocketErrorName
{
    QAbstractSocket::SocketError error;
    char name[40];
};

constexpr SocketErrorName SOCKET_ERROR_NAMES[] = {
    {QAbstractSocket::UnknownSocketError, "UnknownSocketError"},
    {QAbstractSocket::ConnectionRefusedError, "ConnectionRefusedError"},
    {QAbstractSocket::RemoteHostClosedError, "RemoteHostClosedError"},
    {QAbstractSocket::HostNotFoundError, "HostNotFoundError"},
    {QAbstractSocket::SocketAccessError, "SocketAccessError"},
    {QAbstractSocket::SocketResourceError, "SocketResourceError"},
    {QAbstractSocket::SocketTimeoutError, "SocketTimeoutError"},
    {QAbstractSocket::DatagramTooLargeError, "DatagramTooLargeError"},
    {QAbstractSocket::NetworkError, "NetworkError"},
    {QAbstractSocket::AddressInUseError, "AddressInUseError"},
    {QAbstractSocket::SocketAddressNotAvailableError, "SocketAddressNotAvailableError"},
    {QAbstractSocket::UnsupportedSocketOperationError, "UnsupportedSocketOperationError"},
    {QAbstractSocket::UnfinishedSocketOperationError, "UnfinishedSocketOperationError"},
    {QAbstractSocket::ProxyAuthenticationRequiredError, "ProxyAuthenticationRequiredError"},
    {QAbstractSocket::ProxyConnectionRefusedError, "ProxyConnectionRefusedError"},
    {QAbstractSocket::ProxyConnectionClosedError, "ProxyConnectionClosedError"},
    {QAbstractSocket::ProxyConnectionTimeoutError, "ProxyConnectionTimeoutError"},
    {QAbstractSocket::ProxyNotFoundError, "ProxyNotFoundError"},
    {QAbstractSocket::ProxyProtocolError, "ProxyProtocolError"},
};

/// Builds a packet, if anybody receives its type, and gives it to the receivers that were
/// registered for it when it arrived and still are when their turn comes.
void deliver(const QByteArray& view, const RawDataPacketHeader& header,
             const RawDataPacketReceivers& registry)
{
    const unsigned int type = header.packetType;
    const auto isOfType = [&](auto it) { return it != registry.constEnd() && it.key() == type; };
    auto it = registry.constFind(type);
    if (!isOfType(it)) {
        return;
    }
    std::shared_ptr<RawDataPacket> packet = createRawDataPacket(view, header);
    quint64 previous = RawDataPacketReceiverInterfaceBase::getLatestRegistrationNumber() + 1;
    while (isOfType(it)) {
        RawDataPacketReceiverInterfaceBase* receiver = it.value();
        const quint64 number = receiver->getRegistrationNumber();
        ++it;
        if (number >= previous) {
            continue;
        }
        if (!isOfType(it)) {
            receiver->receiveRawPacket(std::move(packet)); // the last one
            return;
        }
        previous = number;
        receiver->receiveRawPacket(packet);
        it = registry.constFind(type); // the receiver may have created others and destroyed any
    }
}

/// Keeps the buffer's memory for the next call, unless a large packet has inflated it.
void removeFromFront(QByteArray& buffer, int count)
{
    buffer.remove(0, count);
    if (buffer.capacity() > KEPT_BUFFER_BYTES && buffer.size() < KEPT_BUFFER_BYTES / 2) {
        buffer.squeeze();
    }
    buffer.reserve(buffer.capacity()); // marks the memory as kept
}

/// The distance in bytes to the next one that can begin a packet; at least 1.
int distanceToNextCandidate(const char* bytes, int size)
{
    static_assert(RawPacketType_First >> 8 == RawPacketType_Last >> 8,
                  "every packet begins with the same byte");
    constexpr int firstByte = RawPacketType_First >> 8;
    const void* found = std::memchr(bytes + 1, firstByte, static_cast<std::size_t>(size - 1));
    return found ? static_cast<int>(static_cast<const char*>(found) - bytes) : size;
}

/// The number of bytes that the system takes without waiting; 0 after an error, which the socket
/// will also meet when it writes.
qint64 sendAtOnce(qintptr descriptor, const QByteArray& first, const QByteArray& second)
{
    const auto part = [](const QByteArray& bytes) {
        return iovec{const_cast<char*>(bytes.constData()), static_cast<std::size_t>(bytes.size())};
    };
    iovec parts[] = {part(first), part(second)};
    msghdr message = {};
    message.msg_iov = parts;
    message.msg_iovlen = std::size(parts);
    const auto sent =
        ::sendmsg(static_cast<int>(descriptor), &message, MSG_NOSIGNAL | MSG_DONTWAIT);
    return std::max<qint64>(sent, 0);
}

bool isTlsError(QAbstractSocket::SocketError error)
{
    return error == QAbstractSocket::SslHandshakeFailedError ||
           error == QAbstractSocket::SslInternalError ||
           error == QAbstractSocket::SslInvalidUserDataError;
}

void setOption(qintptr descriptor, int level, int option, int value)
{
    ::setsockopt(static_cast<int>(descriptor), level, option, &value, sizeof value);
}

/// The probes end exactly when the time is over.
///
///     last bytes       first probe                        dead
///         |------ idle -----|-- interval --|-- interval --|
void applyDeadPeerTimeout(qintptr descriptor, int seconds)
{
    const int interval = std::max(1, seconds / 10);
    const int probes = std::max(1, seconds / 2 / interval);
    setOption(descriptor, SOL_SOCKET, SO_KEEPALIVE, seconds > 0 ? 1 : 0);
    setOption(descriptor, IPPROTO_TCP, TCP_USER_TIMEOUT, seconds * 1000);
    if (seconds > 0) {
        setOption(descriptor, IPPROTO_TCP, TCP_KEEPIDLE, seconds - probes * interval);
        setOption(descriptor, IPPROTO_TCP, TCP_KEEPINTVL, interval);
        setOption(descriptor, IPPROTO_TCP, TCP_KEEPCNT, probes);
    }
}

/// Fills in who the peer is by its certificate, if that has been verified.
void readCertificate(const QSslSocket& socket, PeerOrigin& origin)
{
    const QSslCertificate certificate = socket.peerCertificate();
    if (certificate.isNull() || socket.peerVerifyMode() != QSslSocket::VerifyPeer ||
        !socket.sslHandshakeErrors().isEmpty()) {
        return;
    }
    const QStringList names = certificate.subjectInfo(QSslCertificate::CommonName);
    origin.certificateName = names.size() == 1 ? names.first() : QString();
    origin.certificateSha256 = certificate.digest(QCryptographicHash::Sha256);
}

} // namespace

/// Lives while one signal of the socket is handled.
class NetworkConnection::SocketSignal
{
public:
    explicit SocketSignal(NetworkConnection& owner)
        : connection(&owner)
    {
        ++owner.socketSignalDepth;
    }
    SocketSignal(const SocketSignal&) = delete;
    SocketSignal& operator=(const SocketSignal&) = delete;
    ~SocketSignal()
    {
        if (connection) {
            --connection->socketSignalDepth;
        }
    }

    /// False once a receiver has deleted the connection.
    bool isConnectionAlive() const { return connection; }

private:
    QPointer<NetworkConnection> connection;
};

NetworkConnection::NetworkConnection(QObject* parent, quint32 context)
    : NetworkConnection(RawDataPacketReceiverInterfaceBase::registry, parent, context)
{
}

NetworkConnection::NetworkConnection(RawDataPacketReceivers& owner, QObject* parent,
                                     quint32 context)
    : QObject(parent)
    , receivers(&owner)
    , connectionContext(context)
{
}

NetworkConnection::~NetworkConnection()
{
    if (socketSignalDepth > 0) {
        // Deleted from within the socket's own signal: the socket must live until that returns.
        QTcpSocket* last = replaceSocket(nullptr);
        last->setParent(nullptr);
        last->deleteLater();
    }
}

bool NetworkConnection::connectToHost(const QString& host, quint16 port)
{
    return connectTo({LinkAddress::Way::Tcp, host, port, QString()});
}

bool NetworkConnection::connectToHost(const QHostAddress& address, quint16 port)
{
    return connectToHost(address.toString(), port);
}

bool NetworkConnection::connectTo(const LinkAddress& address)
{
    openSocket(address);
    if (address.way == LinkAddress::Way::Local) {
        QElapsedTimer timer;
        timer.start();
        QString whatIsWrong;
        for (bool isBusy = false; !takeLocalSocket(isBusy, whatIsWrong);) {
            if (!isBusy || timer.elapsed() >= CONNECT_TIMEOUT_MS) {
                VELLOG_INFO() << address.toString() << ": " << whatIsWrong;
                return false;
            }
            QThread::msleep(LOCAL_RETRY_MS);
        }
        onLinkUp();
        return true;
    }
    if (tlsSocket == nullptr) {
        return address.way == LinkAddress::Way::Tcp && socket->waitForConnected(CONNECT_TIMEOUT_MS);
    }
    if (!tlsSocket->waitForEncrypted(static_cast<int>(connectTimeLimit.count()))) {
        dropLink();
        return false;
    }
    return true;
}

void NetworkConnection::startConnecting(const LinkAddress& address)
{
    openSocket(address);
    isStarting = true;
    const auto ifStillStarting = [this, attempt = socketCount](auto action) {
        return [this, attempt, action] {
            if (socketCount == attempt && isStarting) {
                action();
            }
        };
    };
    if (address.way == LinkAddress::Way::Local) {
        startLocal();
    } else if (address.way == LinkAddress::Way::Tls && tlsSocket == nullptr) {
        QTimer::singleShot(0, this, ifStillStarting([this] {
                               QString whatIsWrong;
                               TlsSettings::isSupported(&whatIsWrong);
                               giveUp(whatIsWrong);
                           }));
    }
    QTimer::singleShot(
        connectTimeLimit, this, ifStillStarting([this] {
            giveUp(
                QStringLiteral("no %1 within %2 ms")
                    .arg(tlsSocket != nullptr && socket->state() == QAbstractSocket::ConnectedState
                             ? QStringLiteral("TLS handshake")
                             : QStringLiteral("connection"))
                    .arg(connectTimeLimit.count()));
        }));
}

/// Replaces the socket by one that is on its way to the address.
void NetworkConnection::openSocket(const LinkAddress& address)
{
    dropLink();
    QString whatIsWrong;
    const bool isTls =
        address.way == LinkAddress::Way::Tls && TlsSettings::isSupported(&whatIsWrong);
    discard(replaceSocket(isTls ? new QSslSocket(this) : new QTcpSocket(this)));
    target = address;
    isUnanswered = true;
    socket->setProxy(QNetworkProxy::NoProxy);
    wireSocket();
    if (isTls) {
        const TlsSettings settings = tlsSettings.value_or(TlsSettings());
        tlsSocket->setSslConfiguration(settings.getClientConfiguration());
        const QString& name = settings.getPeerName();
        tlsSocket->connectToHostEncrypted(address.host, address.port,
                                          name.isEmpty() ? address.host : name);
    } else if (address.way == LinkAddress::Way::Tls) {
        VELLOG_ERR() << address.toString() << ": " << whatIsWrong;
    } else if (address.way == LinkAddress::Way::Tcp) {
        socket->connectToHost(address.host, address.port, QIODevice::ReadWrite,
                              QAbstractSocket::AnyIPProtocol);
    }
}

/// Makes one attempt, which does not wait.
bool NetworkConnection::takeLocalSocket(bool& isBusy, QString& whatIsWrong)
{
    const LocalSocket::Opened opened = LocalSocket::connectTo(target.path);
    isBusy = opened.isBusy;
    whatIsWrong = opened.whatIsWrong;
    return opened.descriptor >= 0 && socket->setSocketDescriptor(opened.descriptor);
}

/// Makes attempts from the event loop until one succeeds or has no prospect.
void NetworkConnection::startLocal()
{
    QTimer::singleShot(0, socket, [this] {
        bool isBusy = false;
        QString whatIsWrong;
        if (takeLocalSocket(isBusy, whatIsWrong)) {
            onLinkUp();
        } else if (isBusy) {
            QTimer::singleShot(LOCAL_RETRY_MS, socket, [this] { startLocal(); });
        } else {
            giveUp(whatIsWrong);
        }
    });
}

/// Answers startConnecting.
void NetworkConnection::giveUp(const QString& reason)
{
    isStarting = false;
    socket->abort();
    Q_EMIT connectingFailed(reason);
}

/// The bytes may flow.
void NetworkConnection::onLinkUp()
{
    const SocketSignal signal(*this);
    isUp = true;
    readIdentifiers();
    if (tlsSocket != nullptr) {
        // OpenSSL's records are written one by one, and the last would wait for a delayed
        // acknowledgement of those before it, 40 ms.
        tlsSocket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
    }
    if (deadPeerTimeout.count() > 0) {
        setDeadPeerTimeout(deadPeerTimeout);
    }
    if (std::exchange(isStarting, false)) {
        Q_EMIT connectedToHost();
    }
}

void NetworkConnection::setDeadPeerTimeout(std::chrono::seconds timeout)
{
    constexpr std::chrono::seconds shortest(2), longest(32767);
    deadPeerTimeout = timeout.count() <= 0 ? std::chrono::seconds(0)
                                           : std::min(std::max(timeout, shortest), longest);
    if (isUp && peerOrigin.way != LinkAddress::Way::Local) {
        applyDeadPeerTimeout(socket->socketDescriptor(), static_cast<int>(deadPeerTimeout.count()));
    }
}

bool NetworkConnection::adoptSocket(std::unique_ptr<QTcpSocket>& accepted)
{
    dropLink();
    if (accepted == nullptr) {
        discard(replaceSocket(new QTcpSocket(this)));
        return false;
    }
    target = LinkAddress();
    accepted->setParent(this);
    QTcpSocket* previous = replaceSocket(accepted.release());
    if (previous != nullptr && socketSignalDepth == 0) {
        previous->setParent(nullptr);
        accepted.reset(previous);
    } else {
        discard(previous);
    }
    wireSocket();
    if (tlsSocket == nullptr || tlsSocket->isEncrypted()) {
        onLinkUp();
    }
    if (socket->bytesAvailable() > 0) {
        // The signal for these bytes came before anybody could hear it.
        QMetaObject::invokeMethod(this, &NetworkConnection::onReadyRead, Qt::QueuedConnection);
    }
    return socket->isOpen();
}

/// Ends the link, if it is up, with disconnectedFromHost.
void NetworkConnection::dropLink()
{
    if (socket != nullptr) {
        socket->abort();
    }
}

/// Replaces the socket and returns the previous one. Half a packet from that one is forgotten.
QTcpSocket* NetworkConnection::replaceSocket(QTcpSocket* newSocket)
{
    QTcpSocket* previous = std::exchange(socket, newSocket);
    tlsSocket = qobject_cast<QSslSocket*>(newSocket);
    ++socketCount;
    incomingBuffer.clear();
    isStarting = isUp = isUnanswered = false;
    if (previous != nullptr) {
        previous->disconnect(this);
    }
    return previous;
}

/// Deletes a socket that may be in the middle of a signal.
void NetworkConnection::discard(QTcpSocket* previous)
{
    if (previous != nullptr) {
        previous->deleteLater();
    }
}

void NetworkConnection::wireSocket()
{
    if (socket->readBufferSize() == 0) {
        socket->setReadBufferSize(READ_BUFFER_BYTES);
    }
    connect(socket, &QTcpSocket::readyRead, this, &NetworkConnection::onReadyRead,
            Qt::DirectConnection);
    connect(socket, &QTcpSocket::disconnected, this, &NetworkConnection::onSocketDisconnected,
            Qt::DirectConnection);
    connect(socket, &QTcpSocket::errorOccurred, this, &NetworkConnection::onSocketError);
    if (tlsSocket != nullptr) {
        connect(tlsSocket, &QSslSocket::encrypted, this, &NetworkConnection::onLinkUp);
    } else {
        connect(socket, &QTcpSocket::connected, this, &NetworkConnection::onLinkUp);
    }
}

void NetworkConnection::readIdentifiers()
{
    peerOrigin = PeerOrigin();
    const qintptr descriptor = socket->socketDescriptor();
    if (LocalSocket::isLocal(descriptor)) {
        localIdentifier = LocalSocket::getNearName(descriptor);
        peerIdentifier = LocalSocket::getFarName(descriptor);
        peerOrigin.way = LinkAddress::Way::Local;
        peerOrigin.userId = LocalSocket::getFarUser(descriptor);
        return;
    }
    localIdentifier = makeConnectionIdentifier(socket->localAddress(), socket->localPort());
    peerIdentifier = makeConnectionIdentifier(socket->peerAddress(), socket->peerPort());
    peerOrigin.address = socket->peerAddress();
    peerOrigin.port = socket->peerPort();
    if (tlsSocket != nullptr) {
        peerOrigin.way = LinkAddress::Way::Tls;
        readCertificate(*tlsSocket, peerOrigin);
    }
}

bool NetworkConnection::isConnected() const
{
    return socket != nullptr && socket->state() == QAbstractSocket::ConnectedState &&
           (tlsSocket == nullptr || tlsSocket->isEncrypted());
}

qint64 NetworkConnection::getUnsentBytes() const
{
    const qint64 encrypted = tlsSocket != nullptr ? tlsSocket->encryptedBytesToWrite() : 0;
    return socket != nullptr ? socket->bytesToWrite() + encrypted : 0;
}

bool NetworkConnection::canAcceptPacket(QString)
{
    return true;
}

void NetworkConnection::acceptPacket(const SerialisableDataPacket& packet)
{
    send(packet);
}

void NetworkConnection::sendRawPacket(std::shared_ptr<RawDataPacket> packet)
{
    if (packet != nullptr) {
        send(*packet);
    }
}

void NetworkConnection::acceptPackets(const std::vector<SerialisableDataPacket>& packets)
{
    if (socket != nullptr && socket->isWritable()) {
        sendJoined(joinPackets(packets));
    }
}

std::vector<QByteArray>
NetworkConnection::joinPackets(const std::vector<SerialisableDataPacket>& packets)
{
    std::vector<QByteArray> pieces;
    for (const SerialisableDataPacket& packet : packets) {
        if (pieces.empty() || pieces.back().size() >= JOINED_BYTES) {
            pieces.emplace_back();
        }
        const QByteArray payload = packet.serialisePayload();
        pieces.back() += packet.makeHeader(payload);
        pieces.back() += payload;
    }
    return pieces;
}

void NetworkConnection::sendJoined(const std::vector<QByteArray>& pieces)
{
    const QPointer<NetworkConnection> self(this);
    const quint32 sentTo = socketCount;
    for (const QByteArray& piece : pieces) {
        if (!self || socketCount != sentTo || socket == nullptr || !socket->isWritable()) {
            return; // the link broke, and somebody was told who may do anything
        }
        transmit(piece, QByteArray());
    }
}

void NetworkConnection::send(const RawDataPacket& packet)
{
    if (socket != nullptr && socket->isWritable()) {
        const QByteArray payload = packet.serialisePayload();
        transmit(packet.makeHeader(payload), payload);
    }
}

/// Gives the system what it takes at once, and the rest to the socket. If the socket writes
/// everything, its event loop wakes up for nothing, which costs as much as the write.
void NetworkConnection::transmit(const QByteArray& first, const QByteArray& second)
{
    qint64 taken = 0;
    const bool isPlain = socket->metaObject() == &QTcpSocket::staticMetaObject; // no encryption
    if (isPlain && socket->bytesToWrite() == 0 && isConnected()) {
        taken = sendAtOnce(socket->socketDescriptor(), first, second);
    }
    if (taken == qint64(first.size()) + second.size()) {
        return;
    }
    for (const QByteArray* part : {&first, &second}) {
        const qint64 skipped = std::min<qint64>(taken, part->size());
        socket->write(part->constData() + skipped, part->size() - skipped);
        taken -= skipped;
    }
    socket->flush();
}

void NetworkConnection::onReadyRead()
{
    if (delivering) {
        return; // a receiver is running the event loop; the delivery under way continues with these
                // bytes
    }
    const SocketSignal signal(*this);
    do {
        if (!readAvailableBytes()) {
            return;
        }
        const int waiting = incomingBuffer.size();
        const bool discardRawData = waiting > DISCARD_THRESHOLD_BYTES;
        if (discardRawData) {
            VELLOG_ERR() << "Incoming buffer size " << waiting << " Discarding raw data packets";
        }
        if (waiting >= RawDataPacketHeader::SIZE_BYTES) {
            deliverPackets(signal, discardRawData);
        }
    } while (signal.isConnectionAlive() && socket->bytesAvailable() > 0);
}

/// Appends what has arrived to the buffer. False if there is no link to read from.
bool NetworkConnection::readAvailableBytes()
{
    if (socket == nullptr) {
        return false;
    }
    const qint64 arrived = socket->bytesAvailable();
    const int held = incomingBuffer.size();
    if (arrived > maxBufferedBytes - held) {
        VELLOG_ERR() << "Incoming packet exceeds " << maxBufferedBytes << " bytes, closing link to "
                     << peerIdentifier;
        socket->abort();
        return false;
    }
    incomingBuffer.resize(held + static_cast<int>(arrived));
    if (arrived == 0) {
        return true; // somebody ahead of this connection may have closed the socket
    }
    isUnanswered = false;
    const qint64 taken = socket->read(incomingBuffer.data() + held, arrived);
    incomingBuffer.resize(held + static_cast<int>(std::max<qint64>(taken, 0)));
    return true;
}

void NetworkConnection::deliverPackets(const SocketSignal& signal, bool discardRawData)
{
    delivering = true;
    const auto endDelivery = qScopeGuard([&] {
        if (signal.isConnectionAlive()) {
            delivering = false;
        }
    });
    const quint32 deliveredSocket = socketCount;
    const RawDataPacketReceivers& registry = *receivers; // outlives this connection
    QByteArray view;

    int offset = 0;
    while (incomingBuffer.size() - offset >= RawDataPacketHeader::SIZE_BYTES) {
        const char* bytes = incomingBuffer.constData() + offset;
        const int size = incomingBuffer.size() - offset;
        const RawDataPacketHeader header = RawDataPacket::parseHeader(bytes, size);

        if (header.packetType == RawDataPacketHeader::INCOMPLETE_PACKET) {
            break;
        }
        if (header.packetType == RawDataPacketHeader::NO_PACKET) {
            offset += distanceToNextCandidate(bytes, size);
            continue;
        }
        const bool isKept = !discardRawData || header.packetType == RawPacketType_SerialisableData;
        if (isKept) {
            deliver(view.setRawData(bytes, static_cast<uint>(size)), header, registry);
            if (!signal.isConnectionAlive() || socketCount != deliveredSocket) {
                return; // a receiver has ended this link, and its buffer with it
            }
        }
        offset += RawDataPacketHeader::SIZE_BYTES + static_cast<int>(header.payloadSize);
    }
    removeFromFront(incomingBuffer, offset);
}

void NetworkConnection::onSocketDisconnected()
{
    const SocketSignal signal(*this);
    if (std::exchange(isUp, false) || tlsSocket == nullptr) {
        Q_EMIT disconnectedFromHost();
    }
}

void NetworkConnection::onSocketError(QAbstractSocket::SocketError socketError)
{
    const SocketSignal signal(*this);
    const QString explanation = explain(socketError);
    if (tlsSocket == nullptr || explanation.isEmpty()) {
        VELLOG_INFO() << getSocketErrorName(socketError);
    }
    if (!explanation.isEmpty()) {
        VELLOG_ERR() << (target == LinkAddress() ? peerOrigin.toString() : target.toString())
                     << ": " << explanation;
    }
    if (std::exchange(isStarting, false)) {
        Q_EMIT connectingFailed(explanation.isEmpty() ? socket->errorString() : explanation);
    }
}

/// What the error means for the link; empty if its name says it all.
QString NetworkConnection::explain(QAbstractSocket::SocketError socketError) const
{
    const bool isTls = tlsSocket != nullptr;
    const bool isClosed = socketError == QAbstractSocket::RemoteHostClosedError;
    if (isTls && isTlsError(socketError)) {
        return (isUp ? QStringLiteral("TLS: ") : QStringLiteral("TLS handshake: ")) +
               socket->errorString() +
               (isUp || socketError == QAbstractSocket::SslHandshakeFailedError
                    ? QString()
                    : QStringLiteral("; the port may not be one of TLS"));
    }
    if (isClosed && isTls && !isUp) {
        return QStringLiteral("the peer broke the TLS handshake off; the port may not be one of "
                              "TLS, or the server refuses this end's certificate");
    }
    if (isClosed && isUp && isUnanswered) {
        return QStringLiteral("the peer closed the link before it sent anything; ") +
               (isTls ? QStringLiteral("it may refuse this end's certificate, or want one")
                      : QStringLiteral("the port may be one of TLS, or this client is refused"));
    }
    return QString();
}

QString makeConnectionIdentifier(const QHostAddress& address, quint16 port)
{
    return QString::number(address.toIPv4Address()) + QString::number(port);
}

QString getSocketErrorName(QAbstractSocket::SocketError socketError)
{
    for (const SocketErrorName& row : SOCKET_ERROR_NAMES) {
        if (row.error == socketError) {
            return QLatin1String("QAbstractSocket::") + QLatin1String(row.name);
        }
    }
    return QStringLiteral("illegal value for QAbstractSocket::SocketError: %1").arg(socketError);
}
