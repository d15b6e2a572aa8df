// HTTP and WebSocket on one port. The bytes are moved by a thread of its own; everything that
// decides runs on the thread that has made the server, which must run a Qt event loop.
#pragma once

#include "infrastructure/utility/packets/PeerOrigin.h"

#include <QByteArray>
#include <QHostAddress>
#include <QString>

#include <functional>
#include <memory>
#include <utility>
#include <vector>

/// A request as it came. Headers that are not there are empty.
struct HttpRequest
{
    QByteArray method;
    QByteArray target; ///< "/api/tree/a%20b?depth=0"
    QByteArray host;
    QByteArray origin;
    QByteArray fetchSite; ///< Sec-Fetch-Site
    QByteArray authorization;
    QByteArray ifNoneMatch;
    QByteArray subprotocols; ///< Sec-WebSocket-Protocol
    bool isUpgrade = false;  ///< it wants a WebSocket (RFC 6455)
    QByteArray body;
    PeerOrigin peer;
};

struct HttpResponse
{
    int status = 200;
    QByteArray contentType;
    QByteArray body;
    std::vector<std::pair<QByteArray, QByteArray>> headers;
};

/// One connection. A request is answered by one of the first three functions, at any time; the next
/// is read after that. Kept by whoever has a use for it; calls after its end do nothing.
class HttpConnection
{
public:
    virtual ~HttpConnection() = default;

    virtual void respond(const HttpResponse& response) = 0;
    /// Answers with a body that `send` writes, and that ends with the connection.
    virtual void beginStream(const HttpResponse& head) = 0;
    /// Answers with a WebSocket; `send` and `onMessage` are about its text messages.
    virtual void acceptWebSocket(const QByteArray& subprotocol) = 0;

    /// Queues a text; `onSent` follows when the system has taken it. The bytes are shared, not
    /// copied.
    virtual void send(const QByteArray& text) = 0;
    /// Closes a WebSocket with a code (RFC 6455, section 7.4), anything else at once.
    virtual void close(int code, const QByteArray& reason) = 0;

    /// The next message is read when this has returned.
    std::function<void(const QByteArray&)> onMessage;
    std::function<void()> onSent;
    std::function<void()> onClosed; ///< called last, once
};

/// What the server takes.
struct HttpLimits
{
    int connections = 160;
    quint32 headerBytes = 16 << 10;
    quint32 bodyBytes = 256 << 10;
    quint32 messageBytes = 256 << 10; ///< of a WebSocket
    int requestSeconds = 10; ///< for a handshake, a request; a response has more if it is large
    int idleSeconds = 30;    ///< between requests; a WebSocket without life is pinged, then closed
};

/// The PEM files of a server that speaks TLS.
struct HttpTlsFiles
{
    QString certificate; ///< empty: no TLS
    QString key;
    QString authorities; ///< of clients' certificates; empty: none is asked for
};

/// Requests that are broken or too large are answered here, with a JSON error.
class HttpServer
{
public:
    using Connection = std::shared_ptr<HttpConnection>;
    using Handler = std::function<void(const HttpRequest&, const Connection&)>;

    HttpServer(Handler requestHandler, const HttpLimits& httpLimits = HttpLimits());
    /// All `Connection`s must be gone by then.
    ~HttpServer();

    /// Port 0 lets the system choose. False, with the reason, if it can't listen or a file is bad.
    bool listen(const QHostAddress& address, quint16 port, const HttpTlsFiles& tls,
                QString& whatIsWrong);
    quint16 getPort() const;

    struct Counts
    {
        quint64 connections = 0; ///< ever
        quint64 open = 0;
        quint64 refused = 0; ///< beyond the limit
        quint64 sentBytes = 0;
        quint64 unsentBytes = 0; ///< of responses that are being written
    };
    Counts getCounts() const;

    /// {"error":{"code":…,"text":…}}
    static HttpResponse makeError(int status, const QString& code, const QString& text);

private:
    class Private;
    std::unique_ptr<Private> d;
};
