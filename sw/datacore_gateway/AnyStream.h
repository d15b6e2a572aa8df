// A TCP connection with or without TLS, as one type for Boost.Beast, so that all above is compiled
// once. Lives on the thread of its executor.
#pragma once

#include <boost/asio/ssl.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/ssl.hpp>
#include <boost/beast/websocket/teardown.hpp>

#include <optional>

/// An AsyncStream of Boost.Asio. Without TLS until `startTls`.
class AnyStream
{
public:
    using Tcp = boost::beast::tcp_stream;
    using executor_type = Tcp::executor_type;

    explicit AnyStream(boost::asio::ip::tcp::socket&& socket)
        : tcp(std::move(socket))
    {
    }

    executor_type get_executor() { return tcp.get_executor(); }
    Tcp& getTcp() { return tcp; }
    /// Null without TLS.
    boost::asio::ssl::stream<Tcp&>* getTls() { return tls ? &*tls : nullptr; }
    void startTls(boost::asio::ssl::context& context) { tls.emplace(tcp, context); }

    template <typename Buffers, typename Handler>
    void async_read_some(const Buffers& buffers, Handler&& handler)
    {
        if (tls) {
            tls->async_read_some(buffers, std::forward<Handler>(handler));
        } else {
            tcp.async_read_some(buffers, std::forward<Handler>(handler));
        }
    }
    template <typename Buffers, typename Handler>
    void async_write_some(const Buffers& buffers, Handler&& handler)
    {
        if (tls) {
            tls->async_write_some(buffers, std::forward<Handler>(handler));
        } else {
            tcp.async_write_some(buffers, std::forward<Handler>(handler));
        }
    }

private:
    Tcp tcp;
    std::optional<boost::asio::ssl::stream<Tcp&>> tls;
};

/// What a WebSocket does after its closing handshake: nobody waits for the end of TLS.
template <typename Handler>
void async_teardown(boost::beast::role_type role, AnyStream& stream, Handler&& handler)
{
    boost::beast::websocket::async_teardown(role, stream.getTcp().socket(),
                                            std::forward<Handler>(handler));
}
inline void beast_close_socket(AnyStream& stream)
{
    stream.getTcp().close();
}
