#include "platform/stores/kafka/TopicKeeper.h"

#include <algorithm>

#include "base/concurrency/BlockingRegion.h"
#include "platform/stores/kafka/TopicRequests.h"

namespace CommonServices::Kafka {

using PlatformAbstraction::MutexLock;
using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

namespace {

constexpr auto kRetryAfter = 500ms;  // a cluster that was away, or refused, is asked again

}  // namespace

TopicKeeper::TopicKeeper(const ClientConfiguration& configuration, const KafkaSettings& settings)
    : m_configuration(configuration),
      m_settings(settings),
      m_worker([this](const std::stop_token& stop) { Run(stop); }) {}

TopicKeeper::Answer TopicKeeper::Await(const std::string& name, Deadline deadline, bool isPatient,
                                       const std::stop_token& stop) {
    const std::stop_callback wake(stop, [this] {
        const MutexLock lock(m_mutex);
        m_changed.NotifyAll();
    });
    MutexLock lock(m_mutex);
    Topic& topic = m_topics[name];  // never erased: the reference stays good
    if (topic.answer.state == State::Ready) {
        return topic.answer;
    }
    const PlatformAbstraction::BlockingRegion region;
    if (topic.answer.state == State::Refused && Clock::now() - topic.lastAttempt >= kRetryAfter) {
        topic.answer.state = State::Asked;
    }
    topic.isWanted = topic.answer.state != State::Refused;
    ++topic.waiting;
    m_changed.NotifyAll();
    while (topic.answer.state != State::Ready && topic.answer.state != State::Refused &&
           (isPatient || topic.answer.state != State::Away) && !stop.stop_requested() &&
           m_changed.WaitUntil(lock, deadline)) {
    }
    --topic.waiting;
    return topic.answer;
}

void TopicKeeper::Forget(const std::string& name) {
    const MutexLock lock(m_mutex);
    m_topics[name].answer = {State::Asked, "it was there and is gone"};
}

std::optional<std::string> TopicKeeper::NextWanted() {
    for (auto& [name, topic] : m_topics) {
        if (topic.isWanted && Clock::now() - topic.lastAttempt >= kRetryAfter) {
            return name;
        }
    }
    return std::nullopt;
}

void TopicKeeper::Run(const std::stop_token& stop) {
    const std::stop_callback wake(stop, [this] {
        const MutexLock lock(m_mutex);
        m_changed.NotifyAll();
    });
    MutexLock lock(m_mutex);
    while (!stop.stop_requested()) {
        const auto name = NextWanted();
        if (!name) {
            const bool isOneDueLater =
                std::ranges::any_of(m_topics, [](const auto& entry) { return entry.second.isWanted; });
            m_changed.WaitUntil(lock, Clock::now() + (isOneDueLater ? kRetryAfter / 5 : 1h));
            continue;
        }
        lock.unlock();
        Answer answer = MakeTopic(m_configuration, m_settings, *name, stop);
        lock.lock();
        Topic& topic = m_topics[*name];
        topic.lastAttempt = Clock::now();
        topic.isWanted = answer.state == State::Away && topic.waiting > 0;
        topic.answer = std::move(answer);
        m_changed.NotifyAll();
    }
}

}  // namespace CommonServices::Kafka
