#pragma once

#include <atomic>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <string>
#include <string_view>

#include "base/parameters/Parameters.h"
#include "platform/messaging/MessageSink.h"

namespace PlatformAbstraction::Rest {

/// A service that answers at once with what it was given, or holds its answers back.
class FakeSink final : public Messaging::MessageSink {
public:
    void Deliver(std::string_view operation, CoreServices::Parameters request,
                 CoreServices::Parameters contextParameters, AnswerCallback onAnswer) override;

    void RespondWith(Messaging::MessageAnswer answer);
    void Hold() { m_holds = true; }
    void ThrowOnDeliver() { m_throws = true; }
    /// The oldest answer that is held back, once there is one.
    AnswerCallback TakeHeld();

    /// "operation request context" of the last message.
    std::string LastMessage();

private:
    std::mutex m_mutex;
    std::condition_variable m_arrived;
    std::atomic<bool> m_holds = false;
    std::atomic<bool> m_throws = false;
    Messaging::MessageAnswer m_answer;
    std::deque<AnswerCallback> m_held;
    std::string m_lastMessage;
};

}  // namespace PlatformAbstraction::Rest
