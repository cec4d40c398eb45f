#pragma once

#include <atomic>
#include <boost/intrusive/list.hpp>
#include <chrono>
#include <cstddef>
#include <memory>
#include <vector>

#include "base/concurrency/Mutex.h"
#include "platform/messaging/MessageSink.h"
#include "platform/messaging/inprocess/QueuedMessage.h"

namespace PlatformAbstraction::Messaging {

/// The messages of one service whose handlers are through and whose answers wait for a write. They own
/// themselves; this knows them, so that they count as taken and that none is left without an answer when the
/// service ends. Shared by the service and the messages. Any thread may call.
class HeldMessages {
public:
    void Add(QueuedMessage& message);
    /// Gives the message's receiver, unless `TakeReceivers` has it already. `Left` follows once the answer is
    /// sent.
    [[nodiscard]] std::unique_ptr<AnswerReceiver> Remove(QueuedMessage& message);
    void Left();

    /// The messages whose answers have not been sent.
    std::size_t Count() const noexcept { return m_count; }
    /// Returns when there is none, at the latest at the deadline.
    void WaitUntilNone(std::chrono::steady_clock::time_point deadline);
    /// Of those that are left, which then end without anybody hearing of it.
    [[nodiscard]] std::vector<std::unique_ptr<AnswerReceiver>> TakeReceivers();

private:
    Mutex m_mutex;
    Condition m_none;
    std::atomic<std::size_t> m_count = 0;
    boost::intrusive::list<QueuedMessage, boost::intrusive::constant_time_size<false>> m_messages
        QUILLON_GUARDED_BY(m_mutex);
};

}  // namespace PlatformAbstraction::Messaging
