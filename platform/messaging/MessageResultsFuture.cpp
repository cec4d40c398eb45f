#include "platform/messaging/MessageResultsFuture.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <stdexcept>
#include <utility>

#include "base/concurrency/BlockingRegion.h"

namespace PlatformAbstraction::Messaging {

namespace {

// Longer waits are cut to this, so that no deadline overflows the clock.
constexpr std::chrono::microseconds kLongestWait = std::chrono::hours(24 * 365);

}  // namespace

struct MessageExchange::State {
    enum class End { Answered, ErrorWithoutDetails, TimedOut };

    bool Finish(End how, MessageAnswer with) {
        {
            const std::lock_guard lock(mutex);
            if (hasEnded.load(std::memory_order_relaxed)) {
                return false;
            }
            end = how;
            answer = std::move(with);
            hasEnded.store(true, std::memory_order_release);
        }
        // Whoever ends the exchange holds it, so it is still there although a waiter may be gone by now.
        ended.notify_all();
        return true;
    }

    bool HasEnded() const { return hasEnded.load(std::memory_order_acquire); }
    bool HasEndedAs(End how) const { return HasEnded() && end == how; }
    bool HasAnswerOf(MessageAnswer::Kind kind) const {
        return HasEndedAs(End::Answered) && answer.kind == kind;
    }

    std::mutex mutex;
    std::condition_variable ended;
    std::atomic<bool> hasEnded = false;  // written under `mutex`
    // Written once before `hasEnded`, and constant after it.
    End end = End::Answered;
    MessageAnswer answer;
};

MessageExchange::MessageExchange() : m_pState(std::make_unique<State>()) {}

MessageExchange::~MessageExchange() = default;

bool MessageExchange::End(MessageAnswer answer) {
    return m_pState->Finish(State::End::Answered, std::move(answer));
}

bool MessageExchange::EndWithErrorWithoutDetails() {
    return m_pState->Finish(State::End::ErrorWithoutDetails, MessageAnswer());
}

bool MessageExchange::TimeOut() {
    return m_pState->Finish(State::End::TimedOut, MessageAnswer());
}

MessageResultsFuture::MessageResultsFuture(std::shared_ptr<MessageExchange> exchange)
    : m_pExchange(std::move(exchange)) {}

MessageResultsFuture::~MessageResultsFuture() = default;

bool MessageResultsFuture::WaitForDone(std::int64_t microseconds) {
    MessageExchange::State& state = *m_pExchange->m_pState;
    if (state.HasEnded() || microseconds <= 0) {
        return state.HasEnded();
    }
    const auto deadline =
        std::chrono::steady_clock::now() + std::min(std::chrono::microseconds(microseconds), kLongestWait);
    const BlockingRegion waiting;
    std::unique_lock lock(state.mutex);
    return state.ended.wait_until(lock, deadline, [&state] { return state.HasEnded(); });
}

bool MessageResultsFuture::HasTimedOut() const {
    return m_pExchange->m_pState->HasEndedAs(MessageExchange::State::End::TimedOut);
}

bool MessageResultsFuture::HasError() const {
    const MessageExchange::State& state = *m_pExchange->m_pState;
    return state.HasEnded() && (state.end != MessageExchange::State::End::Answered ||
                                state.answer.kind == MessageAnswer::Kind::Error);
}

bool MessageResultsFuture::GetErrorDetails(std::string& code, std::string& message) const {
    const MessageExchange::State& state = *m_pExchange->m_pState;
    if (!state.HasAnswerOf(MessageAnswer::Kind::Error)) {
        return false;
    }
    code = state.answer.code;
    message = state.answer.message;
    return true;
}

bool MessageResultsFuture::GetResults(CoreServices::Parameters& results) const {
    const MessageExchange::State& state = *m_pExchange->m_pState;
    if (state.HasAnswerOf(MessageAnswer::Kind::Results)) {
        results = state.answer.results;
        return true;
    }
    if (!state.HasAnswerOf(MessageAnswer::Kind::Text)) {
        return false;
    }
    try {
        results = CoreServices::Parameters::fromJSON(state.answer.text);
        return true;
    } catch (const std::runtime_error&) {
        return false;
    }
}

}  // namespace PlatformAbstraction::Messaging
