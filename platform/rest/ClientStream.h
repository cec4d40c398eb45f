#pragma once

// Private to the gateway.

#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ssl/context.hpp>
#include <boost/asio/ssl/stream.hpp>
#include <boost/asio/write.hpp>
#include <cstddef>
#include <memory>
#include <utility>

#include "platform/rest/RestGateway.h"

namespace PlatformAbstraction::Rest {

/// What the connections of a gateway speak TLS with: TLS 1.2 and later, forward secrecy and authenticated
/// encryption alone, "http/1.1" where a client asks for a protocol; nothing is compressed, renegotiated or
/// resumed. Throws `CannotListenError` with a text that tells a person what to do where the files are not
/// there, not fit or not of each other.
boost::asio::ssl::context MakeTlsContext(const TlsFiles& files);

/// The bytes of one client's connection, plain or through TLS. Which of the two it is stands from the
/// beginning, so a plain connection pays for the other kind with one branch for each operation.
///
/// Owned by its connection and used on the loop's thread. Each handler takes an error code and a number of
/// bytes, and has to keep the stream until it is called.
class ClientStream {
public:
    using ErrorCode = boost::system::error_code;

    /// `tls` is null for a plain connection.
    ClientStream(boost::asio::ip::tcp::socket socket, boost::asio::ssl::context* tls)
        : m_socket(std::move(socket)),
          m_pTls(tls == nullptr ? nullptr : std::make_unique<TlsStream>(m_socket, *tls)) {
        ErrorCode ignored;
        m_socket.set_option(boost::asio::ip::tcp::no_delay(true), ignored);
        m_socket.non_blocking(true, ignored);  // for `TryWrite`
    }

    bool IsSecure() const { return m_pTls != nullptr; }

    /// Of a secure one, before anything else.
    template <typename Handler>
    void AsyncHandshake(Handler handler) {
        m_pTls->async_handshake(boost::asio::ssl::stream_base::server,
                                [handler](const ErrorCode& error) { handler(error, 0); });
    }

    template <typename Buffers, typename Handler>
    void AsyncReadSome(const Buffers& buffers, Handler handler) {
        if (m_pTls) {
            m_pTls->async_read_some(buffers, std::move(handler));
        } else {
            m_socket.async_read_some(buffers, std::move(handler));
        }
    }

    template <typename Buffers, typename Handler>
    void AsyncWrite(const Buffers& buffers, Handler handler) {
        if (m_pTls) {
            boost::asio::async_write(*m_pTls, buffers, std::move(handler));
        } else {
            boost::asio::async_write(m_socket, buffers, std::move(handler));
        }
    }

    /// Writes what the system takes at once, as a rule all of a short answer. Gives the number of bytes: 0
    /// for a secure one, and where an `AsyncWrite` will tell the error.
    template <typename Buffers>
    std::size_t TryWrite(const Buffers& buffers) {
        if (m_pTls) {
            return 0;
        }
        ErrorCode error;
        const std::size_t bytes = m_socket.write_some(buffers, error);
        return error ? 0 : bytes;
    }

    /// Of a secure one: tells the client within TLS that nothing more will come.
    template <typename Handler>
    void AsyncSayGoodbye(Handler handler) {
        m_pTls->async_shutdown([handler](const ErrorCode& error) { handler(error, 0); });
    }

    /// Reads what still comes after the end of the output, for nobody.
    template <typename Buffers, typename Handler>
    void AsyncReadAway(const Buffers& buffers, Handler handler) {
        m_socket.async_read_some(buffers, std::move(handler));
    }

    void EndOutput() {
        ErrorCode ignored;
        m_socket.shutdown(boost::asio::ip::tcp::socket::shutdown_send, ignored);
    }

    /// Ends the operations under way with an error.
    void Cancel() {
        ErrorCode ignored;
        m_socket.cancel(ignored);
    }

    void Close() {
        ErrorCode ignored;
        m_socket.close(ignored);
    }

private:
    using TlsStream = boost::asio::ssl::stream<boost::asio::ip::tcp::socket&>;

    boost::asio::ip::tcp::socket m_socket;
    const std::unique_ptr<TlsStream> m_pTls;
};

}  // namespace PlatformAbstraction::Rest
