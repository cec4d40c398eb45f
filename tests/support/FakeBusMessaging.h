#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "BusMessaging.h"

namespace TestSupport {

/// How the fake bus treats one message.
class ScriptedAnswer {
public:
    static ScriptedAnswer Results(CoreServices::Parameters results);
    /// A ready JSON text, or any other text.
    static ScriptedAnswer Text(std::string text);
    static ScriptedAnswer Error(std::string code, std::string message,
                                CoreServices::Parameters details = CoreServices::Parameters());
    static ScriptedAnswer ErrorWithoutDetails();
    /// The exchange ends, for want of an answer.
    static ScriptedAnswer TimedOut();
    /// Whoever waits is told at once that his time is over.
    static ScriptedAnswer Never();
    /// As `Never`, but the results arrive right after the wait.
    static ScriptedAnswer Late(CoreServices::Parameters results);
    /// The sending itself runs `raise`, which is to throw.
    static ScriptedAnswer Throws(std::function<void()> raise);
    /// Made for each message from what was sent.
    static ScriptedAnswer From(std::function<PlatformAbstraction::Messaging::MessageAnswer(
                                   const PlatformAbstraction::Messaging::ServiceMessageDispatch& dispatch)>
                                   answer);

private:
    friend class FakeBusMessaging;
    friend class FakeFuture;
    enum class Kind { Answer, ErrorWithoutDetails, TimedOut, Never, Late, Throws, From };

    ScriptedAnswer(Kind kind, PlatformAbstraction::Messaging::MessageAnswer answer)
        : m_kind(kind), m_answer(std::move(answer)) {}

    Kind m_kind;
    PlatformAbstraction::Messaging::MessageAnswer m_answer;
    std::function<void()> m_raise;
    std::function<PlatformAbstraction::Messaging::MessageAnswer(
        const PlatformAbstraction::Messaging::ServiceMessageDispatch&)>
        m_from;
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
    /// Answers for `operation` are given in the order of the calls; the last one stays. An operation without
    /// script ends with the error "OPERATION_NOT_FOUND".
    void On(const std::string& operation, ScriptedAnswer answer);

    std::vector<SentMessage> Sent() const;
    std::size_t CountSent() const { return Sent().size(); }
    /// The times that were granted to `WaitForDone`, in microseconds.
    std::vector<std::int64_t> Waits() const;
    /// Waits for work on other threads: true once `count` messages were sent, false at the deadline.
    bool WaitForSent(std::size_t count, std::chrono::milliseconds deadline = std::chrono::seconds(30)) const;

    using Future = std::shared_ptr<PlatformAbstraction::Messaging::MessageResultsFuture>;
    Future SendRequest(const PlatformAbstraction::Messaging::ServiceMessageDispatch& dispatch) override;
    Future SendNotification(const PlatformAbstraction::Messaging::ServiceMessageDispatch& dispatch) override;
    Future BroadcastNotification(
        const PlatformAbstraction::Messaging::ServiceMessageDispatch& dispatch) override;

private:
    /// What the futures outlive the bus with.
    struct WaitLog {
        std::mutex mutex;
        std::vector<std::int64_t> microseconds;
    };
    friend class FakeFuture;

    Future Send(SentMessage::Kind kind,
                const PlatformAbstraction::Messaging::ServiceMessageDispatch& dispatch);
    ScriptedAnswer TakeAnswer(SentMessage message);

    const std::shared_ptr<WaitLog> m_pWaits = std::make_shared<WaitLog>();
    mutable std::mutex m_mutex;
    mutable std::condition_variable m_sentChanged;
    std::vector<SentMessage> m_sent;                              // guarded by m_mutex
    std::map<std::string, std::vector<ScriptedAnswer>> m_script;  // guarded by m_mutex
};

}  // namespace TestSupport
