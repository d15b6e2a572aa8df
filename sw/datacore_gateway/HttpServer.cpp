#include "HttpServer.h"

#include "AnyStream.h"
#include "infrastructure/datacore/JsonString.h"
#include "infrastructure/utility/Log.h"

#include <QCryptographicHash>
#include <QFile>
#include <QObject>
#include <QTimer>

#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/beast/http.hpp>
#include <boost/beast/websocket.hpp>

#include <atomic>
#include <chrono>
#include <deque>
#include <thread>

namespace beast = boost::beast;
namespace asio = boost::asio;
namespace http = boost::beast::http;
namespace websocket = boost::beast::websocket;
using boost::asio::ip::tcp;
using Error = beast::error_code;

namespace {

constexpr int LINGER_SECONDS = 2;
constexpr int SEND_BUFFER_BYTES = 128 << 10;    ///< the system takes twice that
constexpr int LEAST_BYTES_A_SECOND = 128 << 10; ///< of a response
constexpr std::size_t SPARE_BUFFER_BYTES = 64 << 10;
constexpr unsigned char SESSION_CONTEXT[] = "datacore_gateway";

QByteArray toBytes(beast::string_view text)
{
    return QByteArray(text.data(), static_cast<int>(text.size()));
}

beast::string_view toView(const QByteArray& text)
{
    return {text.constData(), static_cast<std::size_t>(text.size())};
}

/// A response's body that shares its bytes.
struct SharedBody
{
    using value_type = QByteArray;
    static std::uint64_t size(const QByteArray& body)
    {
        return static_cast<std::uint64_t>(body.size());
    }
    class writer
    {
    public:
        using const_buffers_type = asio::const_buffer;
        template <bool isRequest, typename Fields>
        writer(const http::header<isRequest, Fields>&, const QByteArray& text)
            : body(text)
        {
        }
        void init(Error& error) { error = {}; }
        boost::optional<std::pair<const_buffers_type, bool>> get(Error& error)
        {
            error = {};
            return {{asio::buffer(body.constData(), std::size_t(body.size())), false}};
        }

    private:
        const QByteArray& body;
    };
};

PeerOrigin originOf(AnyStream& stream)
{
    PeerOrigin peer;
    Error error;
    const tcp::endpoint far = stream.getTcp().socket().remote_endpoint(error);
    if (!error) {
        peer.address = QHostAddress(QString::fromStdString(far.address().to_string()));
        peer.port = far.port();
    }
    if (stream.getTls() == nullptr) {
        return peer;
    }
    peer.way = LinkAddress::Way::Tls;
    SSL* ssl = stream.getTls()->native_handle();
    X509* certificate = SSL_get_peer_certificate(ssl);
    if (certificate != nullptr && SSL_get_verify_result(ssl) == X509_V_OK) {
        unsigned char digest[EVP_MAX_MD_SIZE];
        unsigned size = 0;
        if (X509_digest(certificate, EVP_sha256(), digest, &size) == 1) {
            peer.certificateSha256 =
                QByteArray(reinterpret_cast<const char*>(digest), static_cast<int>(size));
        }
        X509_NAME* subject = X509_get_subject_name(certificate);
        const int at = X509_NAME_get_index_by_NID(subject, NID_commonName, -1);
        unsigned char* name = nullptr;
        if (at >= 0) {
            const int length = ASN1_STRING_to_UTF8(
                &name, X509_NAME_ENTRY_get_data(X509_NAME_get_entry(subject, at)));
            peer.certificateName =
                QString::fromUtf8(reinterpret_cast<const char*>(name), std::max(length, 0));
            OPENSSL_free(name);
        }
    }
    X509_free(certificate);
    return peer;
}

} // namespace

class HttpServer::Private
{
public:
    class Session;

    void accept();
    void startSession(tcp::socket&& socket);
    /// Has something done by the thread that decides, which lets go of what the function holds.
    template <typename Function>
    void decide(Function function)
    {
        QMetaObject::invokeMethod(
            context.get(),
            [function = std::move(function)]() mutable {
                const Function own = std::move(function);
                own();
            },
            Qt::QueuedConnection);
    }

    Handler handler;
    HttpLimits limits;
    quint16 port = 0;
    std::atomic<quint64> connections{0}, open{0}, refused{0}, sentBytes{0}, unsentBytes{0};
    std::optional<asio::ssl::context> tls;
    asio::io_context io{1}; ///< with sessions that use the above
    tcp::acceptor acceptor{io};
    asio::steady_timer acceptPause{io};
    std::unique_ptr<QObject> context = std::make_unique<QObject>();
    std::thread thread;
};

/// What belongs to the moving thread has no comment; public functions belong to the deciding one.
class HttpServer::Private::Session : public HttpConnection,
                                     public std::enable_shared_from_this<Session>
{
public:
    Session(Private& owner, tcp::socket&& socket)
        : server(owner)
        , ws(std::move(socket))
        , buffer(std::max(owner.limits.headerBytes, owner.limits.messageBytes) + SPARE_BUFFER_BYTES)
    {
        ++server.open;
    }
    ~Session() override { --server.open; }

    void respond(const HttpResponse& response) override
    {
        asio::post(server.io,
                   [self = shared_from_this(), response] { self->writeResponse(response); });
    }

    void beginStream(const HttpResponse& head) override
    {
        asio::post(server.io, [self = shared_from_this(), head] { self->writeHead(head); });
    }

    void acceptWebSocket(const QByteArray& subprotocol) override
    {
        asio::post(server.io,
                   [self = shared_from_this(), subprotocol] { self->upgrade(subprotocol); });
    }

    void send(const QByteArray& text) override
    {
        asio::post(server.io, [self = shared_from_this(), text] {
            self->unsent.push_back(text);
            self->writeNext();
        });
    }

    void close(int code, const QByteArray& reason) override
    {
        asio::post(server.io, [self = shared_from_this(), code, reason] {
            if (self->isWebSocket && !self->isClosing) {
                self->isClosing = true;
                self->ws.async_close(websocket::close_reason(
                                         static_cast<websocket::close_code>(code), toView(reason)),
                                     [self](Error) { self->end(); });
            } else {
                self->end();
            }
        });
    }

    void start()
    {
        if (!server.tls) {
            readRequest();
            return;
        }
        stream().startTls(*server.tls);
        expireAfter(server.limits.requestSeconds);
        stream().getTls()->async_handshake(asio::ssl::stream_base::server,
                                           [self = shared_from_this()](Error error) {
                                               if (error) {
                                                   self->end();
                                               } else {
                                                   self->readRequest();
                                               }
                                           });
    }

private:
    AnyStream& stream() { return ws.next_layer(); }
    void expireAfter(int seconds)
    {
        stream().getTcp().expires_after(std::chrono::seconds(seconds));
    }

    void readRequest()
    {
        parser.emplace();
        parser->header_limit(server.limits.headerBytes);
        parser->body_limit(server.limits.bodyBytes);
        expireAfter(buffer.size() == 0 ? server.limits.idleSeconds : server.limits.requestSeconds);
        // The first byte may take long, the rest may not.
        http::async_read_some(
            stream(), buffer, *parser, [self = shared_from_this()](Error error, std::size_t) {
                self->expireAfter(self->server.limits.requestSeconds);
                if (error || self->parser->is_done()) {
                    self->onRequest(error);
                    return;
                }
                http::async_read(self->stream(), self->buffer, *self->parser,
                                 [self](Error error2, std::size_t) { self->onRequest(error2); });
            });
    }

    void onRequest(Error error)
    {
        if (error) {
            refuse(error);
            return;
        }
        http::request<http::string_body>& message = parser->get();
        HttpRequest request;
        const auto get = [&message](const auto& name) {
            return message.count(name) > 1 ? QByteArray("?") : toBytes(message[name]);
        };
        request.method = toBytes(message.method_string());
        request.target = toBytes(message.target());
        request.host = get(http::field::host);
        request.origin = get(http::field::origin);
        request.fetchSite = get("Sec-Fetch-Site");
        request.authorization = get(http::field::authorization);
        request.ifNoneMatch = get(http::field::if_none_match);
        request.subprotocols = toBytes(message[http::field::sec_websocket_protocol]);
        request.isUpgrade = websocket::is_upgrade(message);
        request.body = QByteArray(message.body().data(), static_cast<int>(message.body().size()));
        request.peer = originOf(stream());
        keepAlive = message.keep_alive();
        isHead = message.method() == http::verb::head;
        expireAfter(2 * server.limits.requestSeconds); // for the decision and the response
        server.decide(
            [self = shared_from_this(), request] { self->server.handler(request, self); });
    }

    /// What is no request gets an answer if one would be understood.
    void refuse(Error error)
    {
        keepAlive = false;
        isHead = false;
        const bool isAnswered =
            error.category() == http::make_error_code(http::error::bad_method).category();
        if (!isAnswered || error == http::error::end_of_stream ||
            error == http::error::partial_message) {
            end();
        } else if (error == http::error::body_limit) {
            writeResponse(makeError(
                413, QStringLiteral("too-large"),
                QStringLiteral("The body is larger than %1 bytes.").arg(server.limits.bodyBytes)));
        } else if (error == http::error::header_limit) {
            writeResponse(makeError(431, QStringLiteral("too-large"),
                                    QStringLiteral("The headers are larger than %1 bytes.")
                                        .arg(server.limits.headerBytes)));
        } else {
            writeResponse(makeError(400, QStringLiteral("bad-request"),
                                    QString::fromStdString(error.message())));
        }
    }

    template <typename Message>
    void fillHead(Message& message, const HttpResponse& response)
    {
        message.version(11);
        message.result(static_cast<unsigned>(response.status));
        message.set(http::field::content_type, toView(response.contentType));
        for (const auto& [name, value] : response.headers) {
            message.set(toView(name), toView(value));
        }
    }

    void writeResponse(const HttpResponse& response)
    {
        auto message = std::make_shared<http::response<SharedBody>>();
        fillHead(*message, response);
        message->body() = response.body;
        message->keep_alive(keepAlive);
        message->content_length(static_cast<std::uint64_t>(response.body.size()));
        if (isHead) {
            message->body().clear();
        }
        const int bytes = message->body().size();
        server.unsentBytes += static_cast<quint64>(bytes);
        const auto done = [self = shared_from_this(), message, bytes](Error error,
                                                                      std::size_t size) {
            self->server.unsentBytes -= static_cast<quint64>(bytes);
            self->server.sentBytes += size;
            if (error || !self->keepAlive) {
                self->finish();
            } else {
                self->readRequest();
            }
        };
        expireAfter(server.limits.requestSeconds + bytes / LEAST_BYTES_A_SECOND);
        http::async_write(stream(), *message, done);
    }

    void writeHead(const HttpResponse& head)
    {
        auto message = std::make_shared<http::response<http::empty_body>>();
        fillHead(*message, head);
        message->keep_alive(false);
        auto serializer = std::make_shared<http::response_serializer<http::empty_body>>(*message);
        isWriting = true;
        expireAfter(server.limits.requestSeconds);
        http::async_write_header(stream(), *serializer,
                                 [self = shared_from_this(), message, serializer](
                                     Error error, std::size_t) { self->onWritten(error, 0); });
        watchForEnd();
    }

    /// A listener of events has nothing more to say; what comes ends it, as does its end.
    void watchForEnd()
    {
        stream().getTcp().expires_never(); // for reading: the writing is under way
        buffer.clear();
        stream().async_read_some(buffer.prepare(1),
                                 [self = shared_from_this()](Error, std::size_t) { self->end(); });
    }

    void upgrade(const QByteArray& subprotocol)
    {
        isWebSocket = true;
        stream().getTcp().expires_never();
        websocket::stream_base::timeout timeouts{};
        timeouts.handshake_timeout = std::chrono::seconds(server.limits.requestSeconds);
        timeouts.idle_timeout = std::chrono::seconds(server.limits.idleSeconds);
        timeouts.keep_alive_pings = true;
        ws.set_option(timeouts);
        ws.read_message_max(server.limits.messageBytes);
        ws.auto_fragment(false); // a message is one write
        ws.set_option(websocket::stream_base::decorator([subprotocol](auto& response) {
            if (!subprotocol.isEmpty()) {
                response.set(http::field::sec_websocket_protocol, toView(subprotocol));
            }
        }));
        isWriting = true;
        ws.async_accept(parser->get(), [self = shared_from_this()](Error error) {
            self->onWritten(error, 0);
            if (!error) {
                self->readMessage();
            }
        });
    }

    void readMessage()
    {
        buffer.clear();
        ws.async_read(buffer, [self = shared_from_this()](Error error, std::size_t size) {
            if (error) {
                self->end();
                return;
            }
            const QByteArray text(static_cast<const char*>(self->buffer.data().data()),
                                  static_cast<int>(size));
            self->server.decide([self, text] {
                if (self->onMessage) {
                    self->onMessage(text);
                }
                asio::post(self->server.io, [self] { self->readMessage(); });
            });
        });
    }

    void writeNext()
    {
        if (isWriting || unsent.empty() || isClosing || isEnded) {
            return;
        }
        isWriting = true;
        const auto done = [self = shared_from_this()](Error error, std::size_t size) {
            self->unsent.pop_front();
            self->onWritten(error, size);
            self->server.decide([self] {
                if (self->onSent) {
                    self->onSent();
                }
            });
        };
        const QByteArray& text = unsent.front();
        const auto bytes = asio::buffer(text.constData(), static_cast<std::size_t>(text.size()));
        if (isWebSocket) {
            ws.text(true);
            ws.async_write(bytes, done);
        } else {
            expireAfter(server.limits.idleSeconds);
            asio::async_write(stream(), bytes, done);
        }
    }

    void onWritten(Error error, std::size_t size)
    {
        isWriting = false;
        server.sentBytes += size;
        if (error) {
            end();
            return;
        }
        writeNext();
    }

    /// Lets what was sent arrive: a socket that is closed with bytes to be read takes it back.
    void finish()
    {
        Error error;
        stream().getTcp().socket().shutdown(tcp::socket::shutdown_send, error);
        expireAfter(LINGER_SECONDS);
        drain();
    }

    void drain()
    {
        constexpr std::size_t few = 4096;
        buffer.clear();
        stream().getTcp().async_read_some(buffer.prepare(few),
                                          [self = shared_from_this()](Error error, std::size_t) {
                                              if (error) {
                                                  self->end();
                                              } else {
                                                  self->drain();
                                              }
                                          });
    }

    void end()
    {
        if (isEnded) {
            return;
        }
        isEnded = true;
        stream().getTcp().close();
        server.decide([self = shared_from_this()] {
            const std::function<void()> closed = std::move(self->onClosed);
            self->onMessage = nullptr;
            self->onSent = nullptr;
            self->onClosed = nullptr;
            if (closed) {
                closed();
            }
        });
    }

    Private& server;
    websocket::stream<AnyStream> ws; ///< its lower layer alone before the upgrade
    beast::flat_buffer buffer; ///< bounded: not all that a peer may send counts as header or body
    std::optional<http::request_parser<http::string_body>> parser;
    std::deque<QByteArray> unsent;
    bool keepAlive = false;
    bool isHead = false;
    bool isWebSocket = false;
    bool isWriting = false;
    bool isClosing = false;
    bool isEnded = false;
};

void HttpServer::Private::accept()
{
    acceptor.async_accept([this](Error error, tcp::socket socket) {
        if (error == asio::error::operation_aborted) {
            return;
        }
        if (error) { // such as no descriptor left: it would be so again at once
            acceptPause.expires_after(std::chrono::milliseconds(100));
            acceptPause.async_wait([this](Error) { accept(); });
            return;
        }
        ++connections;
        if (open >= static_cast<quint64>(limits.connections)) {
            ++refused;
        } else {
            Error ignored;
            socket.set_option(tcp::no_delay(true), ignored);
            // What waits here for a slow reader grows old.
            socket.set_option(tcp::socket::send_buffer_size(SEND_BUFFER_BYTES), ignored);
            std::make_shared<Session>(*this, std::move(socket))->start();
        }
        accept();
    });
}

HttpServer::HttpServer(Handler requestHandler, const HttpLimits& httpLimits)
    : d(std::make_unique<Private>())
{
    d->handler = std::move(requestHandler);
    d->limits = httpLimits;
}

HttpServer::~HttpServer()
{
    d->io.stop();
    if (d->thread.joinable()) {
        d->thread.join();
    }
    d->context.reset(); // with what was still to be decided
}

bool HttpServer::listen(const QHostAddress& address, quint16 port, const HttpTlsFiles& tls,
                        QString& whatIsWrong)
{
    Error error;
    if (!tls.certificate.isEmpty()) {
        asio::ssl::context& context = d->tls.emplace(asio::ssl::context::tls_server);
        SSL_CTX_set_min_proto_version(context.native_handle(), TLS1_2_VERSION);
        QString file = tls.certificate;
        context.use_certificate_chain_file(QFile::encodeName(file).toStdString(), error);
        if (!error) {
            file = tls.key;
            context.use_private_key_file(QFile::encodeName(file).toStdString(),
                                         asio::ssl::context::pem, error);
        }
        if (!error && !tls.authorities.isEmpty()) {
            file = tls.authorities;
            context.load_verify_file(QFile::encodeName(file).toStdString(), error);
            context.set_verify_mode(asio::ssl::verify_peer);
            // Otherwise a client that comes back with its session is turned away.
            SSL_CTX_set_session_id_context(context.native_handle(), SESSION_CONTEXT,
                                           sizeof SESSION_CONTEXT);
        }
        if (error) {
            whatIsWrong = file + QStringLiteral(": ") + QString::fromStdString(error.message());
            return false;
        }
    }
    const tcp::endpoint endpoint(asio::ip::make_address(address.toString().toStdString(), error),
                                 port);
    if (!error) {
        d->acceptor.open(endpoint.protocol(), error);
    }
    if (!error) {
        d->acceptor.set_option(tcp::acceptor::reuse_address(true), error);
        d->acceptor.bind(endpoint, error);
    }
    if (!error) {
        d->acceptor.listen(asio::socket_base::max_listen_connections, error);
    }
    if (error) {
        whatIsWrong = QString::fromStdString(error.message());
        return false;
    }
    d->port = d->acceptor.local_endpoint().port();
    d->accept();
    d->thread = std::thread([this] { d->io.run(); });
    return true;
}

quint16 HttpServer::getPort() const
{
    return d->port;
}

HttpServer::Counts HttpServer::getCounts() const
{
    return {d->connections, d->open, d->refused, d->sentBytes, d->unsentBytes};
}

HttpResponse HttpServer::makeError(int status, const QString& code, const QString& text)
{
    HttpResponse response;
    response.status = status;
    response.contentType = "application/json";
    response.body = "{\"error\":{\"code\":";
    appendJsonString(response.body, code);
    response.body += ",\"text\":";
    appendJsonString(response.body, text);
    response.body += "}}\n";
    return response;
}
