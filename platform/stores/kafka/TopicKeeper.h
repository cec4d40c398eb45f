#pragma once

#include <chrono>
#include <cstddef>
#include <map>
#include <optional>
#include <stop_token>
#include <string>
#include <thread>

#include "base/concurrency/Mutex.h"
#include "platform/stores/kafka/ClientConfiguration.h"

namespace CommonServices::Kafka {

/// Sees to it that topics are there, with one partition each, before they are used: Kafka itself would make
/// them anyhow, or not at all. Asks the cluster on a thread of its own, so that nobody who waits for the
/// answer is bound to it. Any thread may call; destroyed when no call is under way.
class TopicKeeper {
public:
    enum class State {
        Asked,    ///< the cluster has not answered yet
        Ready,    ///< there, with one partition
        Refused,  ///< cannot be made, or has several partitions
        Away,     ///< the cluster did not answer, and is asked again while somebody waits
    };
    struct Answer {
        State state = State::Asked;
        std::string text;  ///< for the operator, where it is refused or away
    };

    /// `configuration` and `settings` must outlive it.
    TopicKeeper(const ClientConfiguration& configuration, const KafkaSettings& settings);
    TopicKeeper(const TopicKeeper&) = delete;
    TopicKeeper& operator=(const TopicKeeper&) = delete;
    ~TopicKeeper() = default;

    using Deadline = std::chrono::steady_clock::time_point;
    /// Returns once the topic is ready or refused, at `deadline`, or when stopped. Without `isPatient` also
    /// when the cluster was away at the last attempt. Costs next to nothing for a topic that is ready.
    Answer Await(const std::string& name, Deadline deadline, bool isPatient,
                 const std::stop_token& stop = {});

    /// The topic turned out to be missing: the next who wants it has it made.
    void Forget(const std::string& name);

private:
    struct Topic {
        Answer answer;
        bool isWanted = true;  // an attempt is due
        std::size_t waiting = 0;
        Deadline lastAttempt{};
    };

    void Run(const std::stop_token& stop);
    std::optional<std::string> NextWanted() QUILLON_REQUIRES(m_mutex);

    const ClientConfiguration& m_configuration;
    const KafkaSettings& m_settings;
    PlatformAbstraction::Mutex m_mutex;
    PlatformAbstraction::Condition m_changed;
    std::map<std::string, Topic> m_topics QUILLON_GUARDED_BY(m_mutex);
    std::jthread m_worker;  // the last member: it uses the others
};

}  // namespace CommonServices::Kafka
