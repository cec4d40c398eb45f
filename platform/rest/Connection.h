#pragma once

// Private to the gateway.

#include <algorithm>
#include <array>
#include <boost/asio/buffer.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <chrono>
#include <coroutine>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "platform/rest/ClientStream.h"
#include "platform/rest/GatewayCore.h"
#include "platform/rest/HttpReply.h"
#include "platform/rest/RequestGate.h"
#include "platform/rest/RequestHead.h"
#include "platform/rest/RequestMemory.h"
#include "platform/rest/Task.h"

namespace PlatformAbstraction::Rest {

class IoLoop;

/// One client's connection, as a coroutine: reads a request, hands it in, writes the answer, and then the
/// next. What a client sends ahead waits in the buffer meanwhile. Owned by its loop and by the I/O operations
/// under way; used on the loop's thread alone.
class Connection : public std::enable_shared_from_this<Connection> {
public:
    Connection(boost::asio::ip::tcp::socket socket, ConnectionCount::Slot slot, IoLoop& loop);
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;
    ~Connection() = default;

    void Start();
    /// Closes at once where there is no request, otherwise after the answer, which is a refusal unless the
    /// service has the request already.
    void BeginStop();
    bool IsLate(std::chrono::steady_clock::time_point now) const { return m_deadline < now; }
    void OnLate();
    /// The answer of the service to a request, unless the connection has given that up. `share` is the
    /// reply's.
    void OnAnswer(std::uint64_t request, HttpReply reply, RequestMemory::Share share);

private:
    /// What the coroutine waits for, and with it the deadline.
    enum class Phase {
        Handshaking,  ///< TLS begins
        Idle,         ///< waits for the first byte of a request
        Reading,      ///< a request arrives
        Waiting,      ///< there is no room in memory for what comes next; the time for reading stands still
        Handling,     ///< the service has it
        Writing,      ///< the answer goes out
        Lingering,    ///< the last answer is out; what still comes is read away, lest it be lost by a reset
        Closed,
    };

    /// How it goes on behind a part of the road.
    enum class Step {
        Next,     ///< with the part that follows
        Reply,    ///< with writing the reply, which is there
        Goodbye,  ///< the connection ends in good order
        Close,    ///< it ends at once
    };

    /// What is kept of a head when the buffer moves on.
    struct Request {
        AdmittedRequest admitted;
        std::uint64_t contentLength = 0;
        bool hasBody = false;
        bool chunked = false;
        bool expectsContinue = false;
    };

    struct Answer;
    struct Grant;

    Task<Step> Serve();
    Task<Step> ServeRequest();
    Task<Step> ReadHead();
    Task<Step> ReadBody();
    Task<Step> ReadChunks();
    Task<Step> Continue();
    Task<Step> ClaimBody(std::size_t bytes);
    /// False where there is no room for the tree at the moment. A large body's tree is not for here.
    bool TryClaimTree();
    std::size_t TreeAndAnswer() const;
    Task<Step> WaitForTree();
    Task<Step> WaitFor(RequestMemory::Use use, std::size_t bytes, RequestMemory::Share& share);
    Task<Step> WriteReply();
    Task<Step> SayGoodbye();

    void BeginRequest();
    Step TakeHead(std::string_view text);
    Step HandIn();
    Step Refuse(GatewayFailure failure);
    /// The end of a connection that has nothing to answer. Only TLS has a word for it.
    Step Leave() const { return m_stream.IsSecure() ? Step::Goodbye : Step::Close; }
    Step After(const IoResult& result);

    auto Read(boost::asio::mutable_buffer into);
    auto ReadIntoBuffer(std::size_t atMost);
    template <typename Buffers>
    auto Write(const Buffers& buffers);

    /// Of a wait that may be over by now. Empty: there is nothing more to wait for.
    void OnShare(std::uint64_t wait, RequestMemory::Share share);
    CallerKey GetCaller() const;
    /// Complete; it lies in the buffer where it fits there.
    std::string_view Body() const;
    /// Nothing that is not counted stays with a connection.
    void GiveUpBody();
    std::string_view Buffered() const { return {m_buffer.data() + m_begin, m_end - m_begin}; }
    void EnterPhase(Phase phase);
    /// Ends the reading under way. TLS reads a record in several steps, and between two of them there is
    /// nothing to cancel: a client that sends on and on is given no more time than a refusal takes.
    void Interrupt(GatewayFailure reason);
    /// What is under way ends with an error, and with it the connection.
    void Abort();
    void Close();

    // Constant after construction.
    IoLoop& m_loop;

    std::optional<ConnectionCount::Slot> m_slot;  // until it is closed
    ClientStream m_stream;
    Phase m_phase = Phase::Idle;
    std::chrono::steady_clock::time_point m_deadline;
    /// Why the reading under way has been ended from outside.
    std::optional<GatewayFailure> m_interruption;

    // The longest head that is read is one that fills the buffer.
    std::array<char, 8192> m_buffer;
    std::size_t m_begin = 0;
    std::size_t m_end = 0;

    // The request under way.
    std::optional<Request> m_request;
    std::uint64_t m_requestNumber = 0;
    std::string m_body;  // of one that does not lie in the buffer, as far as it is here
    RequestMemory::Share m_bodyShare;
    RequestMemory::Share m_treeShare;
    std::string m_corsFields;
    bool m_isHttp10 = false;
    bool m_isHead = false;
    bool m_closeAfterAnswer = false;

    // Where there is no room.
    RequestMemory::Place m_place;
    std::coroutine_handle<> m_awaitsShare;
    RequestMemory::Share m_granted;
    std::uint64_t m_waitNumber = 0;

    // The answer under way.
    std::coroutine_handle<> m_awaitsAnswer;
    RequestMemory::Share m_replyShare;
    HttpReply m_reply;
    std::string m_replyHead;

    std::optional<Task<Step>> m_serving;  // uses all of the above, so it goes first
};

inline auto Connection::Read(boost::asio::mutable_buffer into) {
    return IoOperation(*this, [this, into](auto onEnd) { m_stream.AsyncReadSome(into, std::move(onEnd)); });
}

inline auto Connection::ReadIntoBuffer(std::size_t atMost) {
    if (m_begin > 0) {
        std::memmove(m_buffer.data(), m_buffer.data() + m_begin, m_end - m_begin);
        m_end -= m_begin;
        m_begin = 0;
    }
    return Read(boost::asio::buffer(m_buffer.data() + m_end, std::min(m_buffer.size() - m_end, atMost)));
}

template <typename Buffers>
auto Connection::Write(const Buffers& buffers) {
    return IoOperation(*this,
                       [this, buffers](auto onEnd) { m_stream.AsyncWrite(buffers, std::move(onEnd)); });
}

}  // namespace PlatformAbstraction::Rest
