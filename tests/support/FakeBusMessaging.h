#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "base/concurrency/Mutex.h"
#include "platform/messaging/BusMessaging.h"
#include "platform/messaging/BusTransport.h"

namespace TestSupport {

namespace Messaging = PlatformAbstraction::Messaging;

/// How the fake bus treats one message.
struct ScriptedAnswer {
    using Answer = Messaging::MessageAnswer;
    using Dispatch = Messaging::ServiceMessageDispatch;
    using Exchange = Messaging::MessageExchange;

    /// Made for each message from what was sent.
    static ScriptedAnswer From(const std::function<Answer(const Dispatch& dispatch)>& answer) {
        return {[answer](Exchange& exchange, const Dispatch& to) { exchange.End(answer(to)); }, {}};
    }
    static ScriptedAnswer Results(const CoreServices::Parameters& results) {
        return From([results](const auto&) { return Answer::OfResults(results); });
    }
    /// A ready JSON text, or any other text.
    static ScriptedAnswer Text(const std::string& text) {
        return From([text](const auto&) { return Answer::OfText(text); });
    }
    static ScriptedAnswer Error(const std::string& code, const std::string& message) {
        return From([=](const auto&) { return Answer::OfError(code, message); });
    }
    static ScriptedAnswer ErrorWithoutDetails() {
        return {[](Exchange& exchange, const auto&) { exchange.EndWithErrorWithoutDetails(); }, {}};
    }
    /// The exchange ends, for want of an answer.
    static ScriptedAnswer TimedOut() {
        return {[](Exchange& exchange, const auto&) { exchange.TimeOut(); }, {}};
    }
    /// Whoever waits is told at once that his time is over.
    static ScriptedAnswer Never() {
        return {[](auto&, const auto&) {}, [](auto&) {}};
    }
    /// As `Never`, but the results arrive right after the wait.
    static ScriptedAnswer Late(const CoreServices::Parameters& results) {
        return {[](auto&, const auto&) {},
                [results](auto& exchange) { exchange.End(Answer::OfResults(results)); }};
    }
    /// The sending itself runs `raise`, which is to throw.
    static ScriptedAnswer Throws(const std::function<void()>& raise) {
        return From([raise](const auto&) { return raise(), Answer(); });
    }

    std::function<void(Exchange&, const Dispatch&)> onSend;
    std::function<void(Exchange&)> onWait;  ///< where there is one, the wait ends in vain
};

/// A message as the fake bus was given it; `word` is empty for a request.
struct SentMessage {
    std::string word;
    Messaging::ServiceMessageDispatch dispatch;
};

/// A bus for what the real one takes its time for or cannot be made to do: it answers by script, remembers
/// what was sent and how long its futures were to be waited for, and no wait takes any time. Thread-safe.
class FakeBusMessaging final : public Messaging::BusMessaging,
                               public std::enable_shared_from_this<FakeBusMessaging> {
public:
    using Dispatch = Messaging::ServiceMessageDispatch;
    using Future = std::shared_ptr<Messaging::MessageResultsFuture>;

    /// Answers for `operation` are given in the order of the calls; the last one stays. An operation without
    /// script ends with the error "OPERATION_NOT_FOUND".
    void On(const std::string& operation, ScriptedAnswer answer) {
        const PlatformAbstraction::MutexLock lock(m_mutex);
        m_script[operation].push_back(std::move(answer));
    }
    /// Forgets what there was, and answers `operation` so from now on.
    void Restart(const std::string& operation, ScriptedAnswer answer) {
        const PlatformAbstraction::MutexLock lock(m_mutex);
        m_sent.clear();
        m_waits.clear();
        m_script = {{operation, {std::move(answer)}}};
    }

    std::vector<SentMessage> Sent() const {
        const PlatformAbstraction::MutexLock lock(m_mutex);
        return m_sent;
    }
    std::size_t CountSent() const { return Sent().size(); }
    /// The times that were granted to `WaitForDone`, in microseconds.
    std::vector<std::int64_t> Waits() const {
        const PlatformAbstraction::MutexLock lock(m_mutex);
        return m_waits;
    }

    Future SendRequest(const Dispatch& to) override { return Send({"", to}); }
    Future SendNotification(const Dispatch& to) override { return Send({"notification ", to}); }
    Future BroadcastNotification(const Dispatch& to) override { return Send({"broadcast ", to}); }

private:
    class FakeFuture final : public Messaging::MessageResultsFuture {
    public:
        FakeFuture(std::shared_ptr<FakeBusMessaging> bus,
                   std::shared_ptr<Messaging::MessageExchange> exchange, ScriptedAnswer scripted)
            : MessageResultsFuture(exchange),
              m_pBus(std::move(bus)),
              m_pExchange(std::move(exchange)),
              m_scripted(std::move(scripted)) {}

        bool WaitForDone(std::int64_t microseconds) override {
            {
                const PlatformAbstraction::MutexLock lock(m_pBus->m_mutex);
                m_pBus->m_waits.push_back(microseconds);
            }
            if (!m_scripted.onWait) {
                return MessageResultsFuture::WaitForDone(microseconds);
            }
            m_scripted.onWait(*m_pExchange);
            return false;
        }

    private:
        const std::shared_ptr<FakeBusMessaging> m_pBus;
        const std::shared_ptr<Messaging::MessageExchange> m_pExchange;
        const ScriptedAnswer m_scripted;
    };

    Future Send(const SentMessage& message) {
        const ScriptedAnswer scripted = TakeAnswer(message);
        auto exchange = std::make_shared<Messaging::MessageExchange>();
        scripted.onSend(*exchange, message.dispatch);
        return std::make_shared<FakeFuture>(shared_from_this(), std::move(exchange), scripted);
    }
    ScriptedAnswer TakeAnswer(const SentMessage& message) {
        const PlatformAbstraction::MutexLock lock(m_mutex);
        m_sent.push_back(message);
        auto& answers = m_script[message.dispatch.operation];
        if (answers.empty()) {
            return ScriptedAnswer::Error("OPERATION_NOT_FOUND", "No answer was scripted");
        }
        ScriptedAnswer scripted = answers.front();
        if (answers.size() > 1) {
            answers.pop_front();
        }
        return scripted;
    }

    mutable PlatformAbstraction::Mutex m_mutex;
    std::vector<SentMessage> m_sent QUILLON_GUARDED_BY(m_mutex);
    std::vector<std::int64_t> m_waits QUILLON_GUARDED_BY(m_mutex);
    std::map<std::string, std::deque<ScriptedAnswer>> m_script QUILLON_GUARDED_BY(m_mutex);
};

/// A bus whose start is what a function makes of it, and which has the messaging that it was given.
class ToldTransport final : public Messaging::BusTransport {
public:
    using StartFunction = std::function<Messaging::InitError()>;
    explicit ToldTransport(StartFunction start, std::shared_ptr<Messaging::BusMessaging> messaging = nullptr)
        : m_start(std::move(start)), m_pMessaging(std::move(messaging)) {}

    Messaging::InitError Start(std::shared_ptr<Messaging::ServiceInfoApi>, const std::string&) override {
        const Messaging::InitError error = m_start();
        m_isRunning = error == Messaging::InitError::None;
        return error;
    }
    bool IsRunning() const override { return m_isRunning; }
    bool WaitUntilStopped() override { return std::exchange(m_isRunning, false); }
    Messaging::TermError Stop() override { return m_isRunning = false, Messaging::TermError::None; }
    std::shared_ptr<Messaging::BusMessaging> GetMessaging() const override { return m_pMessaging; }

private:
    const StartFunction m_start;
    const std::shared_ptr<Messaging::BusMessaging> m_pMessaging;
    bool m_isRunning = false;
};

}  // namespace TestSupport
