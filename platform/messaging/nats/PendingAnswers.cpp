#include "platform/messaging/nats/PendingAnswers.h"

#include <algorithm>
#include <utility>

namespace PlatformAbstraction::Messaging {

std::uint64_t PendingAnswers::Add(const std::shared_ptr<MessageExchange>& exchange, Address address) {
    const MutexLock lock(m_mutex);
    if (m_isOver) {
        return 0;
    }
    if (m_waiting.size() >= m_forgetAt) {
        ForgetAbandoned();
    }
    m_waiting.emplace(++m_lastNumber, Waiting{exchange, std::move(address)});
    return m_lastNumber;
}

void PendingAnswers::End(std::uint64_t number, const std::function<MessageAnswer(const Address&)>& answer) {
    decltype(m_waiting)::node_type waiting;
    {
        const MutexLock lock(m_mutex);
        waiting = m_waiting.extract(number);
    }
    if (waiting.empty()) {
        return;
    }
    if (const auto exchange = waiting.mapped().exchange.lock()) {
        exchange->End(answer(waiting.mapped().address));
    }
}

void PendingAnswers::EndAll(const std::function<MessageAnswer(const Address&)>& answer) {
    decltype(m_waiting) all;
    {
        const MutexLock lock(m_mutex);
        m_isOver = true;
        all.swap(m_waiting);
    }
    for (const auto& [number, waiting] : all) {
        if (const auto exchange = waiting.exchange.lock()) {
            exchange->End(answer(waiting.address));
        }
    }
}

void PendingAnswers::ForgetAbandoned() {
    std::erase_if(m_waiting, [](const auto& entry) { return entry.second.exchange.expired(); });
    m_forgetAt = std::max(m_forgetAt, 2 * m_waiting.size());
}

}  // namespace PlatformAbstraction::Messaging
