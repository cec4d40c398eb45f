#include "platform/messaging/inprocess/HeldMessages.h"

#include <utility>

namespace PlatformAbstraction::Messaging {

void HeldMessages::Add(QueuedMessage& message) {
    const MutexLock lock(m_mutex);
    m_messages.push_back(message);
    ++m_count;
}

std::unique_ptr<AnswerReceiver> HeldMessages::Remove(QueuedMessage& message) {
    const MutexLock lock(m_mutex);
    m_messages.erase(m_messages.iterator_to(message));
    return message.TakeReceiver();
}

void HeldMessages::Left() {
    if (m_count.fetch_sub(1) == 1) {
        { const MutexLock lock(m_mutex); }  // whoever looked before is waiting by now
        m_none.NotifyAll();
    }
}

void HeldMessages::WaitUntilNone(std::chrono::steady_clock::time_point deadline) {
    MutexLock lock(m_mutex);
    while (Count() > 0 && m_none.WaitUntil(lock, deadline)) {
    }
}

std::vector<std::unique_ptr<AnswerReceiver>> HeldMessages::TakeReceivers() {
    std::vector<std::unique_ptr<AnswerReceiver>> receivers;
    const MutexLock lock(m_mutex);
    for (QueuedMessage& message : m_messages) {
        receivers.push_back(message.TakeReceiver());
    }
    return receivers;
}

}  // namespace PlatformAbstraction::Messaging
