#pragma once

// Private to the gateway.

#include <array>
#include <boost/asio/ip/tcp.hpp>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/rest/ChunkedBody.h"
#include "platform/rest/ClientStream.h"
#include "platform/rest/ConnectionCount.h"
#include "platform/rest/HttpReply.h"
#include "platform/rest/RequestGate.h"
#include "platform/rest/RequestHead.h"

namespace PlatformAbstraction::Rest {

class IoLoop;

/// One client's connection: reads a request, hands it in, writes the answer, and then the next. What a client
/// sends ahead waits in the buffer meanwhile. Owned by its loop and by the I/O operations under way; used on
/// the loop's thread alone.
class Connection : public std::enable_shared_from_this<Connection> {
public:
    Connection(boost::asio::ip::tcp::socket socket, ConnectionCount::Slot slot, IoLoop& loop);
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;
    ~Connection();

    void Start();
    /// Closes at once where there is no request, otherwise after the answer, which is a refusal unless the
    /// service has the request already.
    void BeginStop();
    bool IsLate(std::chrono::steady_clock::time_point now) const { return m_deadline < now; }
    void OnLate();

private:
    enum class Phase {
        Handshaking,  ///< TLS begins
        Idle,         ///< waits for the first byte of a request
        Reading,      ///< a request arrives
        Handling,     ///< the service has it
        Writing,      ///< the answer goes out
        Lingering,    ///< the last answer is out; what still comes is read away, lest it be lost by a reset
        Closed,
    };

    /// What is kept of a head when the buffer moves on.
    struct Request {
        AdmittedRequest admitted;
        std::uint64_t contentLength = 0;
        std::optional<ChunkedBody> chunks;
    };

    std::string_view Buffered() const { return {m_buffer.data() + m_begin, m_end - m_begin}; }
    void EnterPhase(Phase phase);
    template <typename Action>
    void Guarded(Action&& action);
    template <typename Action>
    auto InSamePhase(Action action);
    void OnError(const boost::system::error_code& error);
    void OnFailure();

    void NextRequest();
    void ReadMore();
    void OnMore(std::size_t bytes);
    void ReadHead();
    void TakeHead(std::string_view text);
    void Admit(const RequestHead& head, AdmittedRequest admitted);
    void SendContinue();
    void ReadBody();
    void ReadChunks();
    void ReadPlainBody();
    void Deliver();
    void OnAnswer(std::uint64_t request, HttpReply reply);

    void StopReading(GatewayFailure failure);
    void Refuse(HttpReply reply);
    void Send(HttpReply reply);
    void SendPiece(std::string_view head);
    void OnSent();
    void Leave();
    void EndOutput();
    void Linger();
    void Close();

    // Constant after construction.
    IoLoop& m_loop;

    std::optional<ConnectionCount::Slot> m_slot;  // until it is closed
    ClientStream m_stream;
    Phase m_phase = Phase::Idle;
    std::chrono::steady_clock::time_point m_deadline;

    // The longest head that is read is one that fills the buffer.
    std::array<char, 8192> m_buffer;
    std::size_t m_begin = 0;
    std::size_t m_end = 0;
    HeadScanner m_scanner;

    // The request under way.
    std::optional<Request> m_request;
    std::uint64_t m_requestNumber = 0;
    std::string m_body;
    std::string m_corsFields;
    bool m_isHttp10 = false;
    bool m_isHead = false;
    bool m_closeAfterAnswer = false;

    // The answer under way.
    std::string m_replyHead;
    HttpReply m_reply;
    std::string_view m_unsent;  // of its body
};

}  // namespace PlatformAbstraction::Rest
