#include "platform/messaging/BusMessaging.h"

#include <algorithm>
#include <chrono>
#include <stdexcept>
#include <utility>

#include "base/concurrency/BlockingRegion.h"

namespace PlatformAbstraction::Messaging {

namespace {

// Longer waits are cut to this, so that no deadline overflows the clock.
constexpr std::chrono::microseconds kLongestWait = std::chrono::hours(24 * 365);

}  // namespace

bool MessageExchange::Finish(Phase how, MessageAnswer with) {
    {
        const MutexLock lock(m_mutex);
        if (m_phase != MessageExchange::Phase::UnderWay) {
            return false;
        }
        m_phase = how;
        m_answer = std::move(with);
    }
    // Whoever ends the exchange holds it, so it is still there although a waiter may be gone by now.
    m_ended.NotifyAll();
    return true;
}

bool MessageExchange::End(MessageAnswer answer) {
    return Finish(MessageExchange::Phase::Answered, std::move(answer));
}

bool MessageExchange::EndWithErrorWithoutDetails() {
    return Finish(MessageExchange::Phase::ErrorWithoutDetails, MessageAnswer());
}

bool MessageExchange::TimeOut() {
    return Finish(MessageExchange::Phase::TimedOut, MessageAnswer());
}

MessageResultsFuture::MessageResultsFuture(std::shared_ptr<MessageExchange> exchange)
    : m_pExchange(std::move(exchange)) {}

MessageResultsFuture::~MessageResultsFuture() = default;

bool MessageResultsFuture::WaitForDone(std::int64_t microseconds) {
    MessageExchange& exchange = *m_pExchange;
    {
        const MutexLock lock(exchange.m_mutex);
        if (exchange.m_phase != MessageExchange::Phase::UnderWay || microseconds <= 0) {
            return exchange.m_phase != MessageExchange::Phase::UnderWay;
        }
    }
    const auto deadline =
        std::chrono::steady_clock::now() + std::min(std::chrono::microseconds(microseconds), kLongestWait);
    const BlockingRegion waiting;
    MutexLock lock(exchange.m_mutex);
    while (exchange.m_phase == MessageExchange::Phase::UnderWay &&
           exchange.m_ended.WaitUntil(lock, deadline)) {
    }
    return exchange.m_phase != MessageExchange::Phase::UnderWay;
}

bool MessageResultsFuture::HasTimedOut() const {
    const MutexLock lock(m_pExchange->m_mutex);
    return m_pExchange->m_phase == MessageExchange::Phase::TimedOut;
}

bool MessageResultsFuture::HasError() const {
    const MutexLock lock(m_pExchange->m_mutex);
    return m_pExchange->m_phase == MessageExchange::Phase::Answered
               ? m_pExchange->m_answer.kind == MessageAnswer::Kind::Error
               : m_pExchange->m_phase != MessageExchange::Phase::UnderWay;
}

bool MessageResultsFuture::GetErrorDetails(std::string& code, std::string& message) const {
    MessageExchange& exchange = *m_pExchange;
    const MutexLock lock(exchange.m_mutex);
    if (exchange.m_phase != MessageExchange::Phase::Answered ||
        exchange.m_answer.kind != MessageAnswer::Kind::Error) {
        return false;
    }
    code = exchange.m_answer.code;
    message = exchange.m_answer.message;
    return true;
}

bool MessageResultsFuture::GetResults(CoreServices::Parameters& results) const {
    MessageExchange& exchange = *m_pExchange;
    const MutexLock lock(exchange.m_mutex);
    if (exchange.m_phase != MessageExchange::Phase::Answered ||
        exchange.m_answer.kind == MessageAnswer::Kind::Error) {
        return false;
    }
    if (exchange.m_answer.kind == MessageAnswer::Kind::Results) {
        results = exchange.m_answer.results;
        return true;
    }
    try {
        results = CoreServices::Parameters::fromJSON(exchange.m_answer.text);
        return true;
    } catch (const std::runtime_error&) {
        return false;
    }
}

}  // namespace PlatformAbstraction::Messaging
