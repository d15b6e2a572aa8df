#include "infrastructure/utility/packets/LinkListener.h"

#include "infrastructure/utility/Log.h"
#include "infrastructure/utility/packets/LocalSocket_p.h"
#include "infrastructure/utility/packets/PeerOrigin.h"

#include <QFile>
#include <QSocketNotifier>
#include <QSslSocket>
#include <QTcpServer>
#include <QTimer>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <optional>
#include <sys/socket.h>
#include <utility>

namespace {

constexpr int PAUSE_MS = 1000;   ///< after the system could not give a descriptor
constexpr int PEERS_A_TURN = 50; ///< accepted before others get their turn
constexpr qint64 CROWDED_LINE_MS = 1000;
/// A handshake's messages come in records of at most 16 KiB, and a socket's buffer need not hold
/// more.
constexpr qint64 HANDSHAKE_BUFFER_BYTES = 32 << 10;
/// Record type "handshake" and the major version, with which a TLS client begins (RFC 8446, 5.1).
constexpr char TLS_BEGINNING[] = {0x16, 0x03};

bool fail(QString* whatIsWrong, const QString& reason)
{
    if (whatIsWrong != nullptr) {
        *whatIsWrong = reason;
    }
    return false;
}

QByteArray tlsBeginning()
{
    return QByteArray::fromRawData(TLS_BEGINNING, sizeof TLS_BEGINNING);
}

QString describePeer(const QTcpSocket& socket, LinkAddress::Way way)
{
    PeerOrigin origin;
    origin.way = way;
    origin.address = socket.peerAddress();
    origin.port = socket.peerPort();
    return origin.toString();
}

} // namespace

/// One way in. QTcpServer opens it, but peers are accepted here: where the system has no descriptor
/// left, QTcpServer would try again without end and without a pause.
class LinkListener::Door : public QObject
{
public:
    Door(LinkListener& listener, LinkAddress::Way wayIn,
         std::optional<TlsSettings> tlsSettings = std::nullopt)
        : way(wayIn)
        , settings(std::move(tlsSettings))
        , owner(listener)
    {
    }
    ~Door() override
    {
        if (!path.isEmpty() && LocalSocket::getFileNumber(path) == fileNumber) {
            QFile::remove(path);
        }
    }

    bool listen(const QHostAddress& address, quint16 port, QString* whatIsWrong)
    {
        if (!server.listen(address, port)) {
            return fail(whatIsWrong, server.errorString());
        }
        // A crowd fills the queue that Qt asks for, and whoever comes then waits for a second.
        ::listen(static_cast<int>(server.socketDescriptor()), SOMAXCONN);
        watch();
        return true;
    }

    bool listenLocal(const QString& socketPath, quint32 mode, QString* whatIsWrong)
    {
        const LocalSocket::Opened opened = LocalSocket::listenAt(socketPath, mode);
        if (opened.descriptor < 0 || !server.setSocketDescriptor(opened.descriptor)) {
            return fail(whatIsWrong, opened.whatIsWrong);
        }
        path = socketPath;
        fileNumber = LocalSocket::getFileNumber(path);
        watch();
        return true;
    }

    quint16 getPort() const { return server.serverPort(); }

    const LinkAddress::Way way;
    const std::optional<TlsSettings> settings; ///< of a door for TLS

private:
    void watch()
    {
        server.pauseAccepting();
        notifier =
            std::make_unique<QSocketNotifier>(server.socketDescriptor(), QSocketNotifier::Read);
        connect(notifier.get(), &QSocketNotifier::activated, this, [this] { acceptPeers(); });
    }

    void acceptPeers()
    {
        const int listening = static_cast<int>(server.socketDescriptor());
        for (int i = 0; i < PEERS_A_TURN; ++i) {
            const int accepted =
                ::accept4(listening, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
            if (accepted >= 0) {
                if (way == LinkAddress::Way::Tls) {
                    owner.acceptTls(accepted, *this);
                } else {
                    owner.acceptPlain(accepted, way == LinkAddress::Way::Local);
                }
            } else if (errno == EMFILE || errno == ENFILE || errno == ENOBUFS || errno == ENOMEM) {
                VELLOG_ERR() << "Can't accept peers, trying again in a second: "
                             << std::strerror(errno);
                notifier->setEnabled(false);
                QTimer::singleShot(PAUSE_MS, this, [this] { notifier->setEnabled(true); });
                return;
            } else {
                return; // nobody is left, or one has gone again
            }
        }
    }

    LinkListener& owner;
    QTcpServer server;
    std::unique_ptr<QSocketNotifier> notifier; ///< goes before the socket
    QString path;
    quint64 fileNumber = 0;
};

LinkListener::LinkListener(Handler socketHandler, QObject* parent)
    : QObject(parent)
    , handler(std::move(socketHandler))
{
}

LinkListener::~LinkListener() = default;

bool LinkListener::open(std::unique_ptr<Door> door, const QHostAddress& address, quint16 port,
                        QString* whatIsWrong)
{
    if (!door->listen(address, port, whatIsWrong)) {
        return false;
    }
    doors.push_back(std::move(door));
    return true;
}

bool LinkListener::listen(const QHostAddress& address, quint16 port, QString* whatIsWrong)
{
    return open(std::make_unique<Door>(*this, LinkAddress::Way::Tcp), address, port, whatIsWrong);
}

bool LinkListener::listenTls(const QHostAddress& address, quint16 port, const TlsSettings& settings,
                             QString* whatIsWrong)
{
    if (!settings.hasCertificate()) {
        return fail(whatIsWrong, QStringLiteral("TLS needs a certificate"));
    }
    return open(std::make_unique<Door>(*this, LinkAddress::Way::Tls, settings), address, port,
                whatIsWrong);
}

bool LinkListener::listenLocal(const QString& path, quint32 mode, QString* whatIsWrong)
{
    auto door = std::make_unique<Door>(*this, LinkAddress::Way::Local);
    if (!door->listenLocal(path, mode, whatIsWrong)) {
        return false;
    }
    doors.push_back(std::move(door));
    return true;
}

quint16 LinkListener::getPort(LinkAddress::Way way) const
{
    const auto found = std::find_if(doors.begin(), doors.end(),
                                    [way](const auto& door) { return door->way == way; });
    return found != doors.end() ? (*found)->getPort() : quint16(0);
}

void LinkListener::acceptPlain(qintptr descriptor, bool isLocal)
{
    auto accepted = std::make_unique<QTcpSocket>();
    accepted->setSocketDescriptor(descriptor);
    if (!isLocal) {
        // Ahead of whoever takes the socket over, which would look for packets in what follows.
        QTcpSocket* const socket = accepted.get();
        const auto first = std::make_shared<QMetaObject::Connection>();
        *first = connect(socket, &QTcpSocket::readyRead, this, [socket, first] {
            disconnect(*first);
            if (socket->peek(sizeof TLS_BEGINNING) == tlsBeginning()) {
                VELLOG_ERR() << describePeer(*socket, LinkAddress::Way::Tcp)
                             << " speaks TLS to a port that is not for it, link closed";
                socket->abort();
            }
        });
    }
    handler(std::move(accepted));
}

void LinkListener::acceptTls(qintptr descriptor, const Door& door)
{
    if (getHandshakeCount() >= MAX_HANDSHAKES) {
        if (!sinceCrowded.isValid() || sinceCrowded.elapsed() >= CROWDED_LINE_MS) {
            sinceCrowded.start();
            VELLOG_ERR() << MAX_HANDSHAKES << " TLS handshakes under way, the oldest make room";
        }
        remove(*handshakes.front());
    }
    auto* socket = new QSslSocket(this);
    handshakes.push_back(socket);
    socket->setSocketDescriptor(descriptor);
    socket->setReadBufferSize(HANDSHAKE_BUFFER_BYTES);
    connect(socket, &QSslSocket::encrypted, this, [this, socket] { handOver(*socket); });
    connect(socket, &QTcpSocket::errorOccurred, this,
            [this, socket](QAbstractSocket::SocketError error) {
                refuse(*socket, error == QAbstractSocket::RemoteHostClosedError
                                    ? QStringLiteral("broken off by the peer, which may not trust "
                                                     "this end's certificate")
                                    : socket->errorString());
            });
    connect(socket, &QTcpSocket::readyRead, this,
            [this, socket, &door] { startHandshake(*socket, door); });
    QTimer::singleShot(handshakeTimeLimit, socket, [this, socket] {
        if (std::find(handshakes.begin(), handshakes.end(), socket) != handshakes.end()) {
            refuse(*socket, QStringLiteral("not done in time"));
        }
    });
}

/// Begins with the peer's first bytes, so that one that says nothing costs no more than a socket.
void LinkListener::startHandshake(QSslSocket& socket, const Door& door)
{
    const QByteArray beginning = socket.peek(sizeof TLS_BEGINNING);
    if (!tlsBeginning().startsWith(beginning)) {
        refuse(socket, QStringLiteral("the peer does not speak TLS"));
        return;
    }
    if (beginning.size() < tlsBeginning().size()) {
        return;
    }
    socket.disconnect(SIGNAL(readyRead()), this);
    socket.setSslConfiguration(door.settings->getServerConfiguration());
    const bool isOptional = !door.settings->getRequiresCertificate();
    connect(&socket, QOverload<const QList<QSslError>&>::of(&QSslSocket::sslErrors), this,
            [&socket, isOptional](const QList<QSslError>& errors) {
                if (isOptional && errors.size() == 1 &&
                    errors.first().error() == QSslError::NoPeerCertificate) {
                    socket.ignoreSslErrors();
                }
            });
    socket.startServerEncryption();
}

void LinkListener::handOver(QSslSocket& socket)
{
    handshakes.erase(std::find(handshakes.begin(), handshakes.end(), &socket));
    socket.disconnect(this);
    socket.setReadBufferSize(0);
    socket.setParent(nullptr);
    handler(std::unique_ptr<QTcpSocket>(&socket));
}

void LinkListener::refuse(QSslSocket& socket, const QString& reason)
{
    VELLOG_ERR() << describePeer(socket, LinkAddress::Way::Tls)
                 << " refused, TLS handshake: " << reason;
    remove(socket);
}

/// Ends a handshake. The socket may be in the middle of a signal.
void LinkListener::remove(QSslSocket& socket)
{
    handshakes.erase(std::find(handshakes.begin(), handshakes.end(), &socket));
    socket.disconnect(this);
    socket.abort();
    socket.deleteLater();
}
