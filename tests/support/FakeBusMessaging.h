#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "base/concurrency/Mutex.h"
#include "platform/messaging/BusMessaging.h"

namespace TestSupport {

/// How the fake bus treats one message.
struct ScriptedAnswer {
    using Answer = PlatformAbstraction::Messaging::MessageAnswer;
    using Dispatch = PlatformAbstraction::Messaging::ServiceMessageDispatch;
    using Exchange = PlatformAbstraction::Messaging::MessageExchange;

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
    static ScriptedAnswer Error(const std::string& code, const std::string& message,
                                const CoreServices::Parameters& details = {}) {
        return From([=](const auto&) { return Answer::OfError(code, message, details); });
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
                [results](Exchange& exchange) { exchange.End(Answer::OfResults(results)); }};
    }
    /// The sending itself runs `raise`, which is to throw.
    static ScriptedAnswer Throws(const std::function<void()>& raise) {
        return From([raise](const auto&) { return raise(), Answer(); });
    }

    std::function<void(Exchange&, const Dispatch&)> onSend;
    std::function<void(Exchange&)> onWait;  ///< where there is one, the wait ends in vain
};

/// A message as the fake bus was given it.
struct SentMessage {
    enum class Kind { Request, Notification, Broadcast };
    Kind kind;
    PlatformAbstraction::Messaging::ServiceMessageDispatch dispatch;
};

/// A bus for what the real one takes its time for or cannot be made to do: it answers by script, remembers
/// what was sent and how long its futures were to be waited for, and no wait takes any time. Thread-safe.
class FakeBusMessaging final : public PlatformAbstraction::Messaging::BusMessaging {
public:
    using Dispatch = ScriptedAnswer::Dispatch;
    using Future = std::shared_ptr<PlatformAbstraction::Messaging::MessageResultsFuture>;

    /// Answers for `operation` are given in the order of the calls; the last one stays. An operation without
    /// script ends with the error "OPERATION_NOT_FOUND".
    void On(const std::string& operation, ScriptedAnswer answer);
    /// Forgets what there was, and answers `operation` so from now on.
    void Restart(const std::string& operation, ScriptedAnswer answer);

    std::vector<SentMessage> Sent() const;
    std::size_t CountSent() const { return Sent().size(); }
    /// The times that were granted to `WaitForDone`, in microseconds.
    std::vector<std::int64_t> Waits() const;

    Future SendRequest(const Dispatch& to) override { return Send({SentMessage::Kind::Request, to}); }
    Future SendNotification(const Dispatch& to) override {
        return Send({SentMessage::Kind::Notification, to});
    }
    Future BroadcastNotification(const Dispatch& to) override {
        return Send({SentMessage::Kind::Broadcast, to});
    }

private:
    /// Which the futures share, since they outlive the bus.
    struct Memory {
        PlatformAbstraction::Mutex mutex;
        std::vector<SentMessage> sent QUILLON_GUARDED_BY(mutex);
        std::vector<std::int64_t> waits QUILLON_GUARDED_BY(mutex);
        std::map<std::string, std::deque<ScriptedAnswer>> script QUILLON_GUARDED_BY(mutex);
    };
    class FakeFuture;

    Future Send(SentMessage message);
    ScriptedAnswer TakeAnswer(SentMessage message);

    const std::shared_ptr<Memory> m_pMemory = std::make_shared<Memory>();
};

}  // namespace TestSupport
