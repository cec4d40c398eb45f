// From the head of a request to its message: room for the body, the body, room for its tree, the tree.

#include <algorithm>
#include <boost/asio/buffer.hpp>
#include <boost/asio/post.hpp>
#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "base/failpoint/Failpoint.h"
#include "base/log/PlatformLog.h"
#include "platform/rest/AnswerRoad.h"
#include "platform/rest/ChunkedBody.h"
#include "platform/rest/Connection.h"
#include "platform/rest/IoLoop.h"

namespace PlatformAbstraction::Rest {

namespace {

namespace asio = boost::asio;
using CoreServices::Parameters;
using Use = RequestMemory::Use;

constexpr std::string_view kContinue = "HTTP/1.1 100 Continue\r\n\r\n";

// What one connection reads before it is others' turn.
constexpr std::size_t kReadAtOnce = 65536;

// What is reserved beforehand for an answer that will not be small: what its like have taken, but no more
// than this part of the budget.
constexpr std::size_t kMostOfAnswer = 16;

// What was not used of a tree's share goes back.
void ShrinkTo(const MadeRequest& made, RequestMemory::Share& share) noexcept {
    if (made.documentBytes != 0) {
        share.Shrink(MessageOf(made.documentBytes));
    }
}

/// On a reader's thread.
class LargeBody final : public BodyReading {
public:
    LargeBody(GatewayCore& core, CallerKey caller, AdmittedRequest admitted, std::string body,
              RequestMemory::Share share, AnswerRoad road)
        : m_core(core),
          m_caller(caller),
          m_admitted(std::move(admitted)),
          m_body(std::move(body)),
          m_share(std::move(share)),
          m_road(std::move(road)) {}

    void Run(bool isStopping) noexcept override {
        try {
            if (auto reply = HandIn(isStopping)) {
                m_road.Send(*std::move(reply), RequestMemory::Share());
            }
        } catch (const std::exception& error) {
            Fail(error);
        }
    }

private:
    /// A reply where it is no message.
    std::optional<HttpReply> HandIn(bool isStopping) {
        auto share = isStopping ? RequestMemory::Share()
                                : m_core.memory->Reserve(Use::LargeTree, m_caller, TreeBoundOf(m_body));
        if (!share) {
            return ReplyOf(GatewayFailure::Stopping);
        }
        auto made = RequestGate::MakeRequest(m_admitted, m_body);
        m_body = std::string();
        m_share.Release();
        if (auto* const refusal = std::get_if<HttpReply>(&made)) {
            return std::move(*refusal);
        }
        auto& request = std::get<MadeRequest>(made);
        ShrinkTo(request, share);
        m_core.sink.Deliver(m_admitted.route.operation, std::move(request.tree),
                            std::move(m_admitted.context),
                            std::make_unique<ReplyReceiver>(m_road, std::move(share), m_admitted.route));
        return std::nullopt;
    }

    void Fail(const std::exception& error) noexcept {
        try {
            Log::Error(std::string("A large body could not be read: ") + error.what());
            m_road.Send(ReplyOf(GatewayFailure::InternalError), RequestMemory::Share());
        } catch (...) {  // without memory even for that its client waits in vain
            return;
        }
    }

    GatewayCore& m_core;
    const CallerKey m_caller;
    AdmittedRequest m_admitted;
    std::string m_body;
    RequestMemory::Share m_share;
    const AnswerRoad m_road;
};

}  // namespace

/// Awaits what `OnShare` brings.
struct Connection::Grant {
    Connection& connection;

    bool await_ready() const noexcept { return false; }
    void await_suspend(std::coroutine_handle<> awaiting) noexcept { connection.m_awaitsShare = awaiting; }
    void await_resume() const noexcept {}
};

CallerKey Connection::GetCaller() const {
    const CallerKey named = m_request->admitted.caller;
    return named != 0 ? named : reinterpret_cast<CallerKey>(this);
}

std::string_view Connection::Body() const {
    return m_body.empty() ? Buffered().substr(0, m_request->contentLength) : m_body;
}

void Connection::GiveUpBody() {
    m_body = std::string();
    m_bodyShare.Release();
    m_treeShare.Release();
}

Task<Connection::Step> Connection::ReadBody() {
    if (m_request->chunked) {
        co_return co_await ReadChunks();
    }
    const std::size_t length = m_request->contentLength;
    const bool fitsBuffer = length <= m_buffer.size();
    Step step = fitsBuffer ? Step::Next : co_await ClaimBody(length);
    if (step == Step::Next) {
        step = co_await Continue();
    }
    while (step == Step::Next && fitsBuffer && Buffered().size() < length) {
        const IoResult more = co_await ReadIntoBuffer(m_buffer.size());
        step = After(more);
        m_end += more.bytes;
    }
    if (step != Step::Next || fitsBuffer) {
        co_return step;
    }
    m_body = Buffered().substr(0, length);
    m_begin += m_body.size();
    std::size_t filled = m_body.size();
    while (filled < length) {
        if (filled == m_body.size()) {
            m_body.resize(std::min(length, filled + kReadAtOnce));
        }
        const IoResult more = co_await Read(asio::buffer(m_body.data() + filled, m_body.size() - filled));
        if (step = After(more); step != Step::Next) {
            co_return step;
        }
        filled += more.bytes;
    }
    co_return step;
}

// What fits the buffer is taken without a share here too, however many pieces it comes in.
Task<Connection::Step> Connection::ReadChunks() {
    const std::size_t most = m_loop.GetCore().settings.maxBodyBytes;
    ChunkedBody chunks(most);
    bool wantsShare = m_request->expectsContinue && Buffered().empty();
    while (true) {
        if (wantsShare && !m_bodyShare) {
            if (const Step step = co_await ClaimBody(most); step != Step::Next) {
                co_return step;
            }
            if (const Step step = co_await Continue(); step != Step::Next) {
                co_return step;
            }
        }
        std::string_view input = Buffered();
        const ChunkedBody::Progress progress = chunks.Read(input, m_body);
        m_begin = m_end - input.size();
        switch (progress) {
            case ChunkedBody::Progress::Incomplete:
                break;
            case ChunkedBody::Progress::Complete:
                m_bodyShare.Shrink(m_body.size());
                co_return Step::Next;
            case ChunkedBody::Progress::Malformed:
                co_return Refuse(GatewayFailure::MalformedRequest);
            case ChunkedBody::Progress::TooLarge:
                co_return Refuse(GatewayFailure::BodyTooLarge);
        }
        wantsShare = m_body.size() >= m_buffer.size();
        if (wantsShare && !m_bodyShare) {
            continue;
        }
        const IoResult more =
            co_await ReadIntoBuffer(m_bodyShare ? m_buffer.size() : m_buffer.size() - m_body.size());
        if (const Step step = After(more); step != Step::Next) {
            co_return step;
        }
        m_end += more.bytes;
    }
}

Task<Connection::Step> Connection::Continue() {
    if (!m_request->expectsContinue || m_begin != m_end || !m_body.empty()) {
        co_return Step::Next;
    }
    const IoResult told = co_await Write(asio::buffer(kContinue));
    co_return After(told);
}

Task<Connection::Step> Connection::ClaimBody(std::size_t bytes) {
    const Use use = bytes > kSmallBodyBytes ? Use::LargeBody : Use::SmallBody;
    m_bodyShare = m_loop.GetCore().memory->TryReserve(use, bytes);
    if (!m_bodyShare) {
        if (const Step step = co_await WaitFor(use, bytes, m_bodyShare); step != Step::Next) {
            co_return step;
        }
    }
    m_body.reserve(bytes);  // the system gives the memory as it is filled
    co_return Step::Next;
}

bool Connection::TryClaimTree() {
    if (m_body.size() > kSmallBodyBytes) {  // a reader sees to it
        return true;
    }
    RequestMemory& memory = *m_loop.GetCore().memory;
    const bool isAnswerSmall = m_request->admitted.route.answers->Expected() == 0;
    const std::string_view body = Body();
    if (isAnswerSmall && body.size() <= m_buffer.size()) {  // a close bound costs more than the room it saves
        m_treeShare = memory.TryReserve(Use::SmallTree, WorstTreeOf(body.size()));
    }
    if (!m_treeShare) {
        m_treeShare = memory.TryReserve(isAnswerSmall ? Use::SmallTree : Use::LargeAnswer, TreeAndAnswer());
    }
    return static_cast<bool>(m_treeShare);
}

std::size_t Connection::TreeAndAnswer() const {
    const MemoryPlan& plan = m_loop.GetCore().plan;
    const std::size_t answer =
        std::min(m_request->admitted.route.answers->Expected(), plan.budget / kMostOfAnswer);
    return std::min(TreeBoundOf(Body()) + answer, plan.largestTree);
}

Task<Connection::Step> Connection::WaitForTree() {
    const bool isAnswerSmall = m_request->admitted.route.answers->Expected() == 0;
    co_return co_await WaitFor(isAnswerSmall ? Use::SmallTree : Use::LargeAnswer, TreeAndAnswer(),
                               m_treeShare);
}

Task<Connection::Step> Connection::WaitFor(Use use, std::size_t bytes, RequestMemory::Share& share) {
    const auto left = m_deadline - m_loop.Now();
    EnterPhase(Phase::Waiting);
    m_place = m_loop.GetCore().memory->Queue(
        use, GetCaller(), bytes,
        [loop = m_loop.weak_from_this(), connection = weak_from_this(),
         wait = ++m_waitNumber](RequestMemory::Share granted) {
            const auto held = loop.lock();
            if (!held) {
                return;
            }
            try {
                asio::post(held->GetContext(), [connection, wait, granted = std::move(granted)]() mutable {
                    if (const auto target = connection.lock()) {
                        target->OnShare(wait, std::move(granted));
                    }
                });
            } catch (const std::exception& error) {  // the limit of its time ends the wait
                Log::Error(std::string("A connection could not be told that there is room: ") + error.what());
            }
        });
    if (!m_place) {
        co_return Refuse(GatewayFailure::TooBusy);
    }
    co_await Grant{*this};
    m_place.Leave();
    share = std::move(m_granted);
    if (const auto reason = std::exchange(m_interruption, std::nullopt)) {
        co_return Refuse(*reason);
    }
    if (!share) {
        co_return Refuse(GatewayFailure::Stopping);
    }
    EnterPhase(Phase::Reading);
    m_deadline = m_loop.Now() + left;
    co_return Step::Next;
}

void Connection::OnShare(std::uint64_t wait, RequestMemory::Share share) {
    if (wait == m_waitNumber && m_awaitsShare) {
        m_granted = std::move(share);
        std::exchange(m_awaitsShare, {}).resume();
    }
}

Connection::Step Connection::HandIn() {
    GatewayCore& core = m_loop.GetCore();
    AdmittedRequest& admitted = m_request->admitted;
    AnswerRoad road{m_loop.weak_from_this(), weak_from_this(), m_requestNumber};
    if (m_body.size() > kSmallBodyBytes) {
        core.readers.Add(GetCaller(), std::make_unique<LargeBody>(core, GetCaller(), std::move(admitted),
                                                                  std::move(m_body), std::move(m_bodyShare),
                                                                  std::move(road)));
        EnterPhase(Phase::Handling);
        return Step::Next;
    }
    auto made = RequestGate::MakeRequest(admitted, Body());
    if (m_body.empty()) {
        m_begin += m_request->contentLength;
    }
    m_body = std::string();
    m_bodyShare.Release();
    if (auto* const refusal = std::get_if<HttpReply>(&made)) {
        m_reply = std::move(*refusal);
        return Step::Reply;
    }
    EnterPhase(Phase::Handling);
    auto& request = std::get<MadeRequest>(made);
    if (admitted.route.answers->Expected() == 0) {
        ShrinkTo(request, m_treeShare);
    }
    core.sink.Deliver(
        admitted.route.operation, std::move(request.tree), std::move(admitted.context),
        std::make_unique<ReplyReceiver>(std::move(road), std::move(m_treeShare), admitted.route));
    return Step::Next;
}

void Connection::OnAnswer(std::uint64_t request, HttpReply reply, RequestMemory::Share share) {
    if (m_phase == Phase::Handling && request == m_requestNumber) {
        QUILLON_FAILPOINT("before-answer");
        m_reply = std::move(reply);
        m_replyShare = std::move(share);
        m_awaitsAnswer.resume();
    }
}

}  // namespace PlatformAbstraction::Rest
