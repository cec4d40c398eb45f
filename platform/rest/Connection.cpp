#include "platform/rest/Connection.h"

#include <algorithm>
#include <boost/asio/post.hpp>
#include <exception>
#include <utility>

#include "base/log/PlatformLog.h"
#include "platform/rest/IoLoop.h"

namespace PlatformAbstraction::Rest {

namespace {

namespace asio = boost::asio;

constexpr std::chrono::milliseconds kLongestLinger{1000};

// Of an answer; a client has to take each piece within the idle timeout.
constexpr std::size_t kSentAtOnce = 262144;

void LogFailure(const std::exception& error) {
    Log::Error(std::string("A request of the gateway failed: ") + error.what());
}

}  // namespace

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
        if (step == Step::Next && !TryClaimTree()) {
            step = co_await WaitForTree();
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
    GiveUpBody();  // of a request that was refused
    if (step == Step::Reply) {
        step = co_await WriteReply();
    }
    co_return step;
}

void Connection::BeginRequest() {
    ++m_requestNumber;
    m_request.reset();
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
        const IoResult more = co_await ReadIntoBuffer(m_buffer.size());
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
        std::string_view part = body.substr(0, kSentAtOnce);
        body.remove_prefix(part.size());
        std::size_t sent = m_stream.TryWrite(std::array{asio::buffer(head), asio::buffer(part)});
        if (sent < head.size() + part.size()) {
            part.remove_prefix(sent - std::min(sent, head.size()));
            head.remove_prefix(std::min(sent, head.size()));
            EnterPhase(Phase::Writing);
            const IoResult rest = co_await Write(std::array{asio::buffer(head), asio::buffer(part)});
            if (const Step step = After(rest); step != Step::Next) {
                co_return step;
            }
        }
        head = {};
    } while (!body.empty());
    m_reply = HttpReply();
    m_replyShare.Release();
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
    const auto now = m_loop.Now();
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
        case Phase::Waiting:  // for longer than anybody who stalls can hold what he waits for
            m_deadline = now + 2 * settings.requestTimeout;
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
    if (m_phase == Phase::Waiting) {
        Interrupt(GatewayFailure::TooBusy);
    } else if (!m_interruption && (m_phase == Phase::Idle || m_phase == Phase::Reading)) {
        Interrupt(GatewayFailure::RequestTimeout);
    } else {
        Abort();
    }
}

void Connection::BeginStop() {
    m_closeAfterAnswer = true;
    if (m_phase == Phase::Idle || m_phase == Phase::Reading || m_phase == Phase::Waiting) {
        Interrupt(GatewayFailure::Stopping);
    } else if (m_phase == Phase::Handshaking) {
        Abort();
    }
}

void Connection::Interrupt(GatewayFailure reason) {
    if (!m_interruption) {
        m_interruption = reason;
        m_deadline = m_loop.Now() + kLongestLinger;
        if (m_phase == Phase::Waiting) {
            asio::post(m_loop.GetContext(), [self = shared_from_this(), wait = m_waitNumber] {
                self->OnShare(wait, RequestMemory::Share());
            });
        } else {
            m_stream.Cancel();
        }
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
