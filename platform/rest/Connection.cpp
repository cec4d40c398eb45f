#include "platform/rest/Connection.h"

#include <algorithm>
#include <boost/asio/buffer.hpp>
#include <boost/asio/post.hpp>
#include <cstring>
#include <exception>
#include <utility>

#include "base/failpoint/Failpoint.h"
#include "base/log/PlatformLog.h"
#include "platform/rest/ChunkedBody.h"
#include "platform/rest/IoLoop.h"

namespace PlatformAbstraction::Rest {

namespace {

namespace asio = boost::asio;
using Messaging::MessageAnswer;

constexpr std::string_view kContinue = "HTTP/1.1 100 Continue\r\n\r\n";

// A body claims memory as it arrives, whatever length its head promises.
constexpr std::size_t kBodyStep = 65536;
// A larger body's memory is not kept for the next one.
constexpr std::size_t kMostKeptBytes = 65536;

constexpr std::chrono::milliseconds kLongestLinger{1000};

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

void LogFailure(const std::exception& error) {
    Log::Error(std::string("A request of the gateway failed: ") + error.what());
}

}  // namespace

auto Connection::Read(asio::mutable_buffer into) {
    return IoOperation(*this, [this, into](auto onEnd) { m_stream.AsyncReadSome(into, std::move(onEnd)); });
}

auto Connection::ReadIntoBuffer() {
    if (m_begin > 0) {
        std::memmove(m_buffer.data(), m_buffer.data() + m_begin, m_end - m_begin);
        m_end -= m_begin;
        m_begin = 0;
    }
    return Read(asio::buffer(m_buffer.data() + m_end, m_buffer.size() - m_end));
}

template <typename Buffers>
auto Connection::Write(const Buffers& buffers) {
    return IoOperation(*this,
                       [this, buffers](auto onEnd) { m_stream.AsyncWrite(buffers, std::move(onEnd)); });
}

/// Awaits the answer of the service, which `OnAnswer` brings.
struct Connection::Answer {
    Connection& connection;

    bool await_ready() const noexcept { return false; }
    void await_suspend(std::coroutine_handle<> awaiting) noexcept { connection.m_awaitsAnswer = awaiting; }
    void await_resume() const noexcept {}
};

Connection::Connection(asio::ip::tcp::socket socket, ConnectionCount::Slot slot, IoLoop& loop)
    : m_loop(loop), m_slot(std::move(slot)), m_stream(std::move(socket), loop.GetCore().GetTls()) {}

void Connection::Start() {
    m_serving.emplace(Serve());
    m_serving->Start();
}

// Nothing may leave a connection but its own end: the loop serves others.
Task<Connection::Step> Connection::Serve() {
    Step step = Step::Next;
    try {
        if (m_stream.IsSecure()) {
            EnterPhase(Phase::Handshaking);
            IoOperation handshake(*this, [this](auto onEnd) { m_stream.AsyncHandshake(std::move(onEnd)); });
            step = After(co_await handshake);
        }
        while (step == Step::Next) {
            step = co_await ServeRequest();
        }
        if (step == Step::Goodbye) {
            step = co_await SayGoodbye();
        }
    } catch (const std::exception& error) {
        LogFailure(error);
    }
    Close();
    co_return step;
}

Task<Connection::Step> Connection::ServeRequest() {
    BeginRequest();
    Step step = Step::Next;
    try {
        step = co_await ReadHead();
        if (step == Step::Next && m_request->hasBody) {
            step = co_await ReadBody();
        }
        if (step == Step::Next) {
            step = HandIn();
        }
        if (step == Step::Next) {
            co_await Answer{*this};
            step = Step::Reply;
        }
    } catch (const std::exception& error) {
        LogFailure(error);
        step = Refuse(GatewayFailure::InternalError);
    }
    if (step == Step::Reply) {
        step = co_await WriteReply();
    }
    co_return step;
}

void Connection::BeginRequest() {
    ++m_requestNumber;
    m_request.reset();
    m_body.clear();
    if (m_body.capacity() > kMostKeptBytes) {
        m_body.shrink_to_fit();
    }
    m_corsFields.clear();
    m_isHttp10 = false;
    m_isHead = false;
    m_closeAfterAnswer = m_loop.GetCore().isStopping;
    EnterPhase(IsBeforeRequest(Buffered()) ? Phase::Idle : Phase::Reading);
}

Task<Connection::Step> Connection::ReadHead() {
    HeadScanner scanner;
    auto progress = scanner.Scan(Buffered());
    while (progress == HeadScanner::Progress::Incomplete) {
        if (Buffered().size() == m_buffer.size()) {
            co_return Refuse(GatewayFailure::HeadTooLarge);
        }
        const IoResult more = co_await ReadIntoBuffer();
        if (const Step step = After(more); step != Step::Next) {
            co_return step;
        }
        m_end += more.bytes;
        if (m_phase == Phase::Idle && !IsBeforeRequest(Buffered())) {
            EnterPhase(Phase::Reading);
        }
        progress = scanner.Scan(Buffered());
    }
    if (progress == HeadScanner::Progress::Malformed) {
        co_return Refuse(GatewayFailure::MalformedRequest);
    }
    const std::string_view text = scanner.GetHead(Buffered());
    m_begin += scanner.GetEnd();  // the views into the buffer stay good until more is read
    co_return TakeHead(text);
}

Connection::Step Connection::TakeHead(std::string_view text) {
    const auto read = ReadRequestHead(text);
    if (const auto* const failure = std::get_if<GatewayFailure>(&read)) {
        return Refuse(*failure);
    }
    const auto& head = std::get<RequestHead>(read);
    m_isHttp10 = head.isHttp10;
    m_isHead = head.method == "HEAD";
    m_closeAfterAnswer = m_closeAfterAnswer || !head.keepAlive;
    GatewayCore& core = m_loop.GetCore();
    Verdict verdict = core.gate->Judge(head, m_loop.GetCallers());
    m_corsFields = std::move(verdict.corsFields);
    if (core.isStopping) {
        return Refuse(GatewayFailure::Stopping);
    }
    if (auto* const reply = std::get_if<HttpReply>(&verdict.outcome)) {
        // A body that nobody wants is not read, so what follows cannot be told from it.
        m_closeAfterAnswer = m_closeAfterAnswer || head.HasBody() || reply->status == HttpStatus::BadRequest;
        m_reply = std::move(*reply);
        return Step::Reply;
    }
    m_request.emplace(Request{std::get<AdmittedRequest>(std::move(verdict.outcome)), head.contentLength,
                              head.HasBody(), head.chunked, head.expectsContinue});
    return Step::Next;
}

Task<Connection::Step> Connection::ReadBody() {
    if (m_request->expectsContinue && m_begin == m_end) {
        const IoResult told = co_await Write(asio::buffer(kContinue));
        if (const Step step = After(told); step != Step::Next) {
            co_return step;
        }
    }
    if (m_request->chunked) {
        co_return co_await ReadChunks();
    }
    const std::string_view there = Buffered().substr(0, m_request->contentLength);
    m_body.append(there);
    m_begin += there.size();
    while (m_body.size() < m_request->contentLength) {
        const std::size_t size = m_body.size();
        m_body.resize(size + std::min<std::size_t>(m_request->contentLength - size, kBodyStep));
        const IoResult more = co_await Read(asio::buffer(m_body.data() + size, m_body.size() - size));
        if (const Step step = After(more); step != Step::Next) {
            co_return step;
        }
        m_body.resize(size + more.bytes);
    }
    co_return Step::Next;
}

Task<Connection::Step> Connection::ReadChunks() {
    ChunkedBody chunks(m_loop.GetCore().settings.maxBodyBytes);
    while (true) {
        std::string_view input = Buffered();
        const ChunkedBody::Progress progress = chunks.Read(input, m_body);
        m_begin = m_end - input.size();
        switch (progress) {
            case ChunkedBody::Progress::Incomplete:
                break;
            case ChunkedBody::Progress::Complete:
                co_return Step::Next;
            case ChunkedBody::Progress::Malformed:
                co_return Refuse(GatewayFailure::MalformedRequest);
            case ChunkedBody::Progress::TooLarge:
                co_return Refuse(GatewayFailure::BodyTooLarge);
        }
        const IoResult more = co_await ReadIntoBuffer();
        if (const Step step = After(more); step != Step::Next) {
            co_return step;
        }
        m_end += more.bytes;
    }
}

// The answer may come when the connection or the whole gateway is gone. While it holds the loop, the loop
// holds the routes.
Connection::Step Connection::HandIn() {
    auto made = RequestGate::MakeRequest(m_request->admitted, m_body);
    if (auto* const refusal = std::get_if<HttpReply>(&made)) {
        m_reply = std::move(*refusal);
        return Step::Reply;
    }
    EnterPhase(Phase::Handling);
    const Route& route = m_request->admitted.route;
    auto onAnswer = [loop = m_loop.weak_from_this(), connection = weak_from_this(), number = m_requestNumber,
                     methods = route.pathMethods](MessageAnswer answer) {
        if (const auto held = loop.lock()) {
            asio::post(held->GetContext(),
                       [connection, number, reply = ReplyOfAnswer(std::move(answer), methods)]() mutable {
                           if (const auto target = connection.lock()) {
                               target->OnAnswer(number, std::move(reply));
                           }
                       });
        }
    };
    m_loop.GetCore().sink.Deliver(route.operation, std::get<CoreServices::Parameters>(std::move(made)),
                                  std::move(m_request->admitted.context), std::move(onAnswer));
    return Step::Next;
}

void Connection::OnAnswer(std::uint64_t request, HttpReply reply) {
    if (m_phase == Phase::Handling && request == m_requestNumber) {
        QUILLON_FAILPOINT("before-answer");
        m_reply = std::move(reply);
        m_awaitsAnswer.resume();
    }
}

// The time for writing is one for each piece, so that it ends those who stop reading and not those who read a
// long answer slowly.
Task<Connection::Step> Connection::WriteReply() {
    m_reply.fields.append(m_corsFields);
    m_closeAfterAnswer = m_closeAfterAnswer || m_loop.GetCore().isStopping;
    WriteReplyHead(m_reply,
                   m_closeAfterAnswer ? Persistence::Close
                   : m_isHttp10       ? Persistence::KeepAliveOfHttp10
                                      : Persistence::KeepAlive,
                   m_replyHead);
    std::string_view head = m_replyHead;
    std::string_view body = m_isHead ? std::string_view() : m_reply.body;
    do {
        EnterPhase(Phase::Writing);
        const std::array piece{asio::buffer(head), asio::buffer(body.substr(0, kSentAtOnce))};
        const IoResult sent = co_await Write(piece);
        if (const Step step = After(sent); step != Step::Next) {
            co_return step;
        }
        head = {};
        body.remove_prefix(std::min(body.size(), kSentAtOnce));
    } while (!body.empty());
    m_reply = HttpReply();
    co_return m_closeAfterAnswer ? Step::Goodbye : Step::Next;
}

Task<Connection::Step> Connection::SayGoodbye() {
    EnterPhase(Phase::Lingering);
    if (m_stream.IsSecure()) {  // what the client says to that is no error
        IoOperation goodbye(*this, [this](auto onEnd) { m_stream.AsyncSayGoodbye(std::move(onEnd)); });
        co_await goodbye;
    }
    m_stream.EndOutput();
    IoResult away;
    while (!away.error) {
        IoOperation read(
            *this, [this](auto onEnd) { m_stream.AsyncReadAway(asio::buffer(m_buffer), std::move(onEnd)); });
        away = co_await read;
    }
    co_return Step::Close;
}

Connection::Step Connection::Refuse(GatewayFailure failure) {
    m_closeAfterAnswer = true;
    m_reply = ReplyOf(failure);
    return Step::Reply;
}

Connection::Step Connection::After(const IoResult& result) {
    if (const auto reason = std::exchange(m_interruption, std::nullopt)) {
        return m_phase == Phase::Idle ? Leave() : Refuse(*reason);
    }
    if (!result.error) {
        return Step::Next;
    }
    const bool owesNothing = m_phase == Phase::Idle || m_phase == Phase::Reading;
    return result.error == asio::error::eof && owesNothing ? Leave() : Step::Close;
}

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
    if (!m_interruption && (m_phase == Phase::Idle || m_phase == Phase::Reading)) {
        Interrupt(GatewayFailure::RequestTimeout);
    } else {
        Abort();
    }
}

void Connection::BeginStop() {
    m_closeAfterAnswer = true;
    if (m_phase == Phase::Idle || m_phase == Phase::Reading) {
        Interrupt(GatewayFailure::Stopping);
    } else if (m_phase == Phase::Handshaking) {
        Abort();
    }
}

void Connection::Interrupt(GatewayFailure reason) {
    if (!m_interruption) {
        m_interruption = reason;
        m_deadline = std::chrono::steady_clock::now() + kLongestLinger;
        m_stream.Cancel();
    }
}

void Connection::Abort() {
    EnterPhase(Phase::Closed);
    m_stream.Close();
}

void Connection::Close() {
    Abort();
    m_slot.reset();
    m_loop.Remove(shared_from_this());
}

}  // namespace PlatformAbstraction::Rest
