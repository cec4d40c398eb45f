#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "platform/messaging/BusMessaging.h"

namespace TestSupport {

/// How the fake bus treats one message.
class ScriptedAnswer {
public:
    using Answer = PlatformAbstraction::Messaging::MessageAnswer;
    using Dispatch = PlatformAbstraction::Messaging::ServiceMessageDispatch;

    static ScriptedAnswer Results(const CoreServices::Parameters& results);
    /// A ready JSON text, or any other text.
    static ScriptedAnswer Text(const std::string& text);
    static ScriptedAnswer Error(const std::string& code, const std::string& message,
                                const CoreServices::Parameters& details = {});
    static ScriptedAnswer ErrorWithoutDetails();
    /// The exchange ends, for want of an answer.
    static ScriptedAnswer TimedOut();
    /// Whoever waits is told at once that his time is over.
    static ScriptedAnswer Never();
    /// As `Never`, but the results arrive right after the wait.
    static ScriptedAnswer Late(const CoreServices::Parameters& results);
    /// The sending itself runs `raise`, which is to throw.
    static ScriptedAnswer Throws(const std::function<void()>& raise);
    /// Made for each message from what was sent.
    static ScriptedAnswer From(const std::function<Answer(const Dispatch& dispatch)>& answer);

private:
    friend class FakeBusMessaging;
    friend class FakeFuture;
    using Exchange = PlatformAbstraction::Messaging::MessageExchange;

    std::function<void(Exchange&, const Dispatch&)> m_onSend = [](auto&, const auto&) {};
    std::function<void(Exchange&)> m_onWait;  ///< where there is one, the wait ends in vain
};

/// A message as the fake bus was given it.
struct SentMessage {
    enum class Kind { Request, Notification, Broadcast };
    Kind kind;
    PlatformAbstraction::Messaging::ServiceMessageDispatch dispatch;
};

/// A bus that answers by script and remembers what was sent. No wait on its futures takes any time. Any
/// thread may call.
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

    Future SendRequest(const Dispatch& to) override { return Send(SentMessage::Kind::Request, to); }
    Future SendNotification(const Dispatch& to) override { return Send(SentMessage::Kind::Notification, to); }
    Future BroadcastNotification(const Dispatch& to) override {
        return Send(SentMessage::Kind::Broadcast, to);
    }

private:
    /// What the futures outlive the bus with.
    struct WaitLog {
        std::mutex mutex;
        std::vector<std::int64_t> microseconds;
    };
    friend class FakeFuture;

    Future Send(SentMessage::Kind kind, const Dispatch& dispatch);
    ScriptedAnswer TakeAnswer(SentMessage message);

    const std::shared_ptr<WaitLog> m_pWaits = std::make_shared<WaitLog>();
    mutable std::mutex m_mutex;
    std::vector<SentMessage> m_sent;                              // guarded by m_mutex
    std::map<std::string, std::vector<ScriptedAnswer>> m_script;  // guarded by m_mutex
};

}  // namespace TestSupport
