#pragma once

#include <atomic>
#include <chrono>
#include <deque>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

#include "base/concurrency/Mutex.h"
#include "base/parameters/Parameters.h"
#include "platform/messaging/MessageSink.h"

namespace PlatformAbstraction::Rest {

/// A service that answers at once with what it was given, or holds its answers back.
class FakeSink final : public Messaging::MessageSink {
public:
    void Deliver(std::string_view operation, CoreServices::Parameters request,
                 CoreServices::Parameters context, AnswerCallback onAnswer) override {
        const MutexLock lock(m_mutex);
        if (throws) {
            throw std::runtime_error("secret of the process");
        }
        m_lastMessage = std::string(operation) + " " + request.toJSON() + " " + context.toJSON();
        if (holds) {
            m_held.push_back(std::move(onAnswer));
            m_arrived.NotifyAll();
        } else {
            onAnswer(m_answer);
        }
    }

    void RespondWith(Messaging::MessageAnswer answer) {
        const MutexLock lock(m_mutex);
        m_answer = std::move(answer);
    }

    /// The oldest answer that is held back, once there is one.
    AnswerCallback TakeHeld() {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        MutexLock lock(m_mutex);
        while (m_held.empty()) {
            if (!m_arrived.WaitUntil(lock, deadline)) {
                throw std::runtime_error("No message came.");
            }
        }
        AnswerCallback callback = std::move(m_held.front());
        m_held.pop_front();
        return callback;
    }

    /// "operation request context" of the last message.
    std::string LastMessage() {
        const MutexLock lock(m_mutex);
        return m_lastMessage;
    }

    std::atomic<bool> holds = false;
    std::atomic<bool> throws = false;

private:
    Mutex m_mutex;
    Condition m_arrived;
    Messaging::MessageAnswer m_answer QUILLON_GUARDED_BY(m_mutex);
    std::deque<AnswerCallback> m_held QUILLON_GUARDED_BY(m_mutex);
    std::string m_lastMessage QUILLON_GUARDED_BY(m_mutex);
};

}  // namespace PlatformAbstraction::Rest
