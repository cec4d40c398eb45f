#include "platform/rest/Connection.h"

#include <algorithm>
#include <boost/asio/buffer.hpp>
#include <boost/asio/post.hpp>
#include <cstring>
#include <exception>
#include <utility>

#include "base/failpoint/Failpoint.h"
#include "base/log/PlatformLog.h"
#include "platform/rest/IoLoop.h"

namespace PlatformAbstraction::Rest {

namespace {

namespace asio = boost::asio;
using boost::system::error_code;
using Messaging::MessageAnswer;

constexpr std::string_view kContinue = "HTTP/1.1 100 Continue\r\n\r\n";

// A body claims memory as it arrives, whatever length its head promises.
constexpr std::size_t kBodyStep = 65536;
// A larger body's memory is not kept for the next one.
constexpr std::size_t kMostKeptBytes = 65536;

constexpr std::chrono::milliseconds kLongestLinger{1000};

constexpr unsigned kBadRequest = 400;

// Of an answer; a client has to take each piece within the idle timeout.
constexpr std::size_t kSentAtOnce = 262144;

HttpReply ReplyOfAnswer(MessageAnswer answer, std::string_view pathMethods) {
    try {
        return ReplyOf(std::move(answer), pathMethods);
    } catch (const std::exception& error) {
        Log::Error(std::string("An answer could not be written: ") + error.what());
        return ReplyOf(GatewayFailure::InternalError);
    }
}

}  // namespace

Connection::Connection(asio::ip::tcp::socket socket, ConnectionCount::Slot slot, IoLoop& loop)
    : m_loop(loop), m_slot(std::move(slot)), m_stream(std::move(socket), loop.GetCore().GetTls()) {}

Connection::~Connection() = default;

void Connection::EnterPhase(Phase phase) {
    const RestGatewaySettings& settings = m_loop.GetCore().settings;
    const auto now = std::chrono::steady_clock::now();
    m_phase = phase;
    switch (phase) {
        case Phase::Idle:
        case Phase::Writing:
            m_deadline = now + settings.idleTimeout;
            break;
        case Phase::Handshaking:
        case Phase::Reading:
            m_deadline = now + settings.requestTimeout;
            break;
        case Phase::Lingering:
            m_deadline = now + std::min(settings.requestTimeout, kLongestLinger);
            break;
        case Phase::Handling:  // the service sees to it that an answer comes
        case Phase::Closed:
            m_deadline = std::chrono::steady_clock::time_point::max();
            break;
    }
}

void Connection::OnLate() {
    Guarded([this] {
        if (m_phase == Phase::Reading) {
            StopReading(GatewayFailure::RequestTimeout);
        } else if (m_phase == Phase::Idle) {
            Leave();
        } else {
            Close();
        }
    });
}

void Connection::BeginStop() {
    Guarded([this] {
        m_closeAfterAnswer = true;
        if (m_phase == Phase::Idle) {
            Leave();
        } else if (m_phase == Phase::Handshaking) {
            Close();
        } else if (m_phase == Phase::Reading) {
            StopReading(GatewayFailure::Stopping);
        }
    });
}

void Connection::StopReading(GatewayFailure failure) {
    m_stream.Cancel();
    Refuse(ReplyOf(failure));
}

// Nothing may leave a connection but its own end: the loop serves others.
template <typename Action>
void Connection::Guarded(Action&& action) {
    try {
        action();
    } catch (const std::exception& error) {
        Log::Error(std::string("A request of the gateway failed: ") + error.what());
        OnFailure();
    }
}

// What an I/O operation calls at its end, and which keeps the connection until then. In another phase than at
// its start the operation is out of date: something else has been decided meanwhile.
template <typename Action>
auto Connection::InSamePhase(Action action) {
    return [self = shared_from_this(), phase = m_phase, action](const error_code& error, std::size_t bytes) {
        if (self->m_phase != phase) {
            return;
        }
        self->Guarded([&] {
            if (error) {
                self->OnError(error);
            } else {
                action(bytes);
            }
        });
    };
}

void Connection::OnError(const error_code& error) {
    const bool owesNothing = m_phase == Phase::Idle || m_phase == Phase::Reading;
    if (error == asio::error::eof && owesNothing) {
        Leave();
    } else {
        Close();
    }
}

void Connection::OnFailure() {
    if (m_phase == Phase::Reading || m_phase == Phase::Handling) {
        try {
            Refuse(ReplyOf(GatewayFailure::InternalError));
            return;
        } catch (const std::exception& error) {
            Log::Error(std::string("Nor could this be told to the client: ") + error.what());
        }
    }
    Close();
}

void Connection::Start() {
    if (!m_stream.IsSecure()) {
        NextRequest();
        return;
    }
    EnterPhase(Phase::Handshaking);
    m_stream.AsyncHandshake(InSamePhase([this](std::size_t) { NextRequest(); }));
}

void Connection::NextRequest() {
    m_request.reset();
    m_scanner.Reset();
    m_body.clear();
    if (m_body.capacity() > kMostKeptBytes) {
        m_body.shrink_to_fit();
    }
    m_corsFields.clear();
    m_isHttp10 = false;
    m_isHead = false;
    m_closeAfterAnswer = m_loop.GetCore().isStopping;
    if (m_begin == m_end) {
        EnterPhase(Phase::Idle);
        ReadMore();
    } else {
        EnterPhase(Phase::Reading);
        ReadHead();
    }
}

void Connection::ReadMore() {
    if (m_begin > 0) {
        std::memmove(m_buffer.data(), m_buffer.data() + m_begin, m_end - m_begin);
        m_end -= m_begin;
        m_begin = 0;
    }
    m_stream.AsyncReadSome(asio::buffer(m_buffer.data() + m_end, m_buffer.size() - m_end),
                           InSamePhase([this](std::size_t bytes) { OnMore(bytes); }));
}

void Connection::OnMore(std::size_t bytes) {
    m_end += bytes;
    if (m_phase == Phase::Idle) {
        EnterPhase(Phase::Reading);
    }
    if (m_request) {
        ReadBody();
    } else {
        ReadHead();
    }
}

void Connection::ReadHead() {
    switch (m_scanner.Scan(Buffered())) {
        case HeadScanner::Progress::Incomplete:
            if (Buffered().size() == m_buffer.size()) {
                Refuse(ReplyOf(GatewayFailure::HeadTooLarge));
            } else {
                ReadMore();
            }
            break;
        case HeadScanner::Progress::Malformed:
            Refuse(ReplyOf(GatewayFailure::MalformedRequest));
            break;
        case HeadScanner::Progress::Complete:
            TakeHead(Buffered().substr(0, m_scanner.GetHeadSize()));
            break;
    }
}

void Connection::TakeHead(std::string_view text) {
    const auto head = CheckRequestHead(text);
    if (!head) {
        Refuse(ReplyOf(GatewayFailure::MalformedRequest));
        return;
    }
    m_begin += text.size();  // the views into the buffer stay good until more is read
    m_isHttp10 = head->isHttp10;
    m_isHead = head->method == "HEAD";
    m_closeAfterAnswer = m_closeAfterAnswer || !head->keepAlive;
    GatewayCore& core = m_loop.GetCore();
    m_corsFields = core.gate->CorsFields(*head);
    if (core.isStopping) {
        Refuse(ReplyOf(GatewayFailure::Stopping));
        return;
    }
    auto verdict = core.gate->Judge(*head, m_loop.GetCallers());
    if (auto* const admitted = std::get_if<AdmittedRequest>(&verdict)) {
        Admit(*head, std::move(*admitted));
        return;
    }
    auto& reply = std::get<HttpReply>(verdict);
    // A body that nobody wants is not read, so what follows cannot be told from it.
    m_closeAfterAnswer = m_closeAfterAnswer || head->HasBody() || reply.status == kBadRequest;
    Send(std::move(reply));
}

void Connection::Admit(const RequestHead& head, AdmittedRequest admitted) {
    m_request.emplace(Request{std::move(admitted), head.contentLength, std::nullopt});
    if (head.chunked) {
        m_request->chunks.emplace(m_loop.GetCore().settings.maxBodyBytes);
    }
    if (head.expectsContinue && head.HasBody() && m_begin == m_end) {
        SendContinue();
    } else {
        ReadBody();
    }
}

void Connection::SendContinue() {
    m_stream.AsyncWrite(asio::buffer(kContinue), InSamePhase([this](std::size_t) { ReadBody(); }));
}

void Connection::ReadBody() {
    if (m_request->chunks) {
        ReadChunks();
    } else {
        ReadPlainBody();
    }
}

void Connection::ReadChunks() {
    std::string_view input = Buffered();
    const ChunkedBody::Progress progress = m_request->chunks->Read(input, m_body);
    m_begin = m_end - input.size();
    switch (progress) {
        case ChunkedBody::Progress::Incomplete:
            ReadMore();
            break;
        case ChunkedBody::Progress::Complete:
            Deliver();
            break;
        case ChunkedBody::Progress::Malformed:
            Refuse(ReplyOf(GatewayFailure::MalformedRequest));
            break;
        case ChunkedBody::Progress::TooLarge:
            Refuse(ReplyOf(GatewayFailure::BodyTooLarge));
            break;
    }
}

void Connection::ReadPlainBody() {
    const std::size_t missing = m_request->contentLength - m_body.size();
    const std::string_view there = Buffered().substr(0, missing);
    m_body.append(there);
    m_begin += there.size();
    if (there.size() == missing) {
        Deliver();
        return;
    }
    const std::size_t size = m_body.size();
    m_body.resize(size + std::min(missing - there.size(), kBodyStep));
    m_stream.AsyncReadSome(asio::buffer(m_body.data() + size, m_body.size() - size),
                           InSamePhase([this, size](std::size_t bytes) {
                               m_body.resize(size + bytes);
                               ReadPlainBody();
                           }));
}

void Connection::Deliver() {
    auto made = RequestGate::MakeRequest(m_request->admitted, m_body);
    if (auto* const refusal = std::get_if<HttpReply>(&made)) {
        Send(std::move(*refusal));
        return;
    }
    EnterPhase(Phase::Handling);
    Route& route = m_request->admitted.route;
    // The answer may come when the connection or the whole gateway is gone. While it holds the loop, the loop
    // holds the routes.
    auto onAnswer = [loop = m_loop.weak_from_this(), connection = weak_from_this(), number = m_requestNumber,
                     methods = route.pathMethods](MessageAnswer answer) {
        if (const auto held = loop.lock()) {
            asio::post(held->GetContext(),
                       [connection, number, reply = ReplyOfAnswer(std::move(answer), methods)]() mutable {
                           if (const auto target = connection.lock()) {
                               target->Guarded([&] { target->OnAnswer(number, std::move(reply)); });
                           }
                       });
        }
    };
    m_loop.GetCore().sink.Deliver(route.operation, std::get<CoreServices::Parameters>(std::move(made)),
                                  std::move(m_request->admitted.context), std::move(onAnswer));
}

void Connection::OnAnswer(std::uint64_t request, HttpReply reply) {
    if (m_phase == Phase::Handling && request == m_requestNumber) {
        QUILLON_FAILPOINT("before-answer");
        Send(std::move(reply));
    }
}

void Connection::Refuse(HttpReply reply) {
    m_closeAfterAnswer = true;
    Send(std::move(reply));
}

void Connection::Send(HttpReply reply) {
    ++m_requestNumber;
    m_reply = std::move(reply);
    m_reply.fields.append(m_corsFields);
    m_closeAfterAnswer = m_closeAfterAnswer || m_loop.GetCore().isStopping;
    WriteReplyHead(m_reply,
                   m_closeAfterAnswer ? Persistence::Close
                   : m_isHttp10       ? Persistence::KeepAliveOfHttp10
                                      : Persistence::KeepAlive,
                   m_replyHead);
    m_unsent = m_isHead ? std::string_view() : m_reply.body;
    SendPiece(m_replyHead);
}

// The time for writing is one for each piece, so that it ends those who stop reading and not those who read a
// long answer slowly.
void Connection::SendPiece(std::string_view head) {
    EnterPhase(Phase::Writing);
    const std::string_view piece = m_unsent.substr(0, kSentAtOnce);
    m_unsent.remove_prefix(piece.size());
    const std::array buffers{asio::buffer(head), asio::buffer(piece)};
    m_stream.AsyncWrite(buffers, InSamePhase([this](std::size_t) {
                            if (m_unsent.empty()) {
                                OnSent();
                            } else {
                                SendPiece({});
                            }
                        }));
}

void Connection::OnSent() {
    m_reply = HttpReply();
    if (m_closeAfterAnswer) {
        EndOutput();
    } else {
        NextRequest();
    }
}

// The end of a connection that has nothing to answer. Only TLS has a word for it.
void Connection::Leave() {
    if (m_stream.IsSecure()) {
        m_stream.Cancel();
        EndOutput();
    } else {
        Close();
    }
}

void Connection::EndOutput() {
    EnterPhase(Phase::Lingering);
    m_stream.AsyncEndOutput(InSamePhase([this](std::size_t) { Linger(); }));
}

void Connection::Linger() {
    m_stream.AsyncReadAway(asio::buffer(m_buffer), InSamePhase([this](std::size_t) { Linger(); }));
}

void Connection::Close() {
    if (m_phase == Phase::Closed) {
        return;
    }
    EnterPhase(Phase::Closed);
    m_stream.Close();
    m_slot.reset();
    m_loop.Remove(shared_from_this());
}

}  // namespace PlatformAbstraction::Rest
