// Where a server's peers come in, by several ways at once. Lives on one thread, which must run a Qt
// event loop.
#pragma once

#include "infrastructure/utility/packets/LinkAddress.h"
#include "infrastructure/utility/packets/TlsSettings.h"

#include <QElapsedTimer>
#include <QHostAddress>
#include <QObject>
#include <QString>

#include <chrono>
#include <functional>
#include <memory>
#include <vector>

class QSslSocket;
class QTcpSocket;

/// Accepts peers over TCP, TLS and sockets of this machine, and hands each socket over when its
/// peer may speak: over TLS that is when the handshake is done and the peer's certificate, if the
/// settings trust any authority, has been verified. Until then a TLS peer costs one of
/// MAX_HANDSHAKES places, and for no longer than the time limit; if all are taken, the oldest
/// handshake makes room for a new one, so that a crowd of silent peers delays nobody.
///
/// A peer of TCP that begins with a TLS handshake, and one of TLS that begins with anything else,
/// is logged and its link closed. If the process has no descriptor left, peers wait a second.
class LinkListener : public QObject
{
public:
    /// How many TLS handshakes may be under way; each takes less than 256 KiB.
    static constexpr int MAX_HANDSHAKES = 64;
    /// What to do with a peer's socket, which is connected. It may be in the middle of a signal:
    /// who has no use for it calls deleteLater.
    using Handler = std::function<void(std::unique_ptr<QTcpSocket>)>;

    explicit LinkListener(Handler socketHandler, QObject* parent = nullptr);
    ~LinkListener() override;

    /// Port 0 lets the system choose. Each call adds a way in. False, with the reason, if it can't
    /// be opened; settings without a certificate can't serve TLS.
    bool listen(const QHostAddress& address, quint16 port, QString* whatIsWrong = nullptr);
    bool listenTls(const QHostAddress& address, quint16 port, const TlsSettings& settings,
                   QString* whatIsWrong = nullptr);
    /// A socket file with these permissions: who may write to it may connect. It is removed with
    /// this object. The file of a server that has died is replaced.
    bool listenLocal(const QString& path, quint32 mode, QString* whatIsWrong = nullptr);

    /// The port of the first TCP or TLS way in, 0 if there is none.
    quint16 getPort(LinkAddress::Way way) const;

    /// How long a TLS handshake may take; 5 s unless set.
    void setHandshakeTimeLimit(std::chrono::milliseconds limit) { handshakeTimeLimit = limit; }
    /// The TLS handshakes under way.
    int getHandshakeCount() const { return static_cast<int>(handshakes.size()); }

private:
    class Door;

    bool open(std::unique_ptr<Door> door, const QHostAddress& address, quint16 port,
              QString* whatIsWrong);
    void acceptPlain(qintptr descriptor, bool isLocal);
    void acceptTls(qintptr descriptor, const Door& door);
    void startHandshake(QSslSocket& socket, const Door& door);
    void handOver(QSslSocket& socket);
    void refuse(QSslSocket& socket, const QString& reason);
    void remove(QSslSocket& socket);

    Handler handler;
    std::vector<std::unique_ptr<Door>> doors;
    std::vector<QSslSocket*> handshakes; ///< children of this object, oldest first
    std::chrono::milliseconds handshakeTimeLimit{5000};
    QElapsedTimer sinceCrowded; ///< the last line about handshakes that made room
};
