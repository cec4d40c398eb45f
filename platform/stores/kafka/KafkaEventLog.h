#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "platform/stores/EventLog.h"

namespace CommonServices {

/// Where a Kafka cluster is and how it is used.
struct KafkaSettings {
    std::string bootstrapServers;  ///< "host:port", several with commas between; required

    bool tls = false;           ///< servers prove by a certificate who they are
    std::string caFile;         ///< PEM; empty: the system's own authorities
    std::string saslMechanism;  ///< "PLAIN", with TLS only; empty: no login
    std::string userName;
    std::string passwordFile;  ///< its first line is the password

    std::vector<std::string> topics;  ///< made at once; every other one at its first use
    int replicas = 1;                 ///< of a topic that is made
    int minInSyncReplicas = 1;        ///< of these, how many have an event before it counts as taken

    /// The longest time for an event to be acknowledged, and for the cluster to answer a question.
    std::chrono::milliseconds timeout{5000};
    std::size_t maxEventBytes = 16U * 1024U * 1024U;
    std::size_t maxQueuedEvents = 10000;  ///< not acknowledged yet; further ones are not taken
    std::size_t maxQueuedBytes = 64U * 1024U * 1024U;
};

/// The event log of many machines. A topic is one of Kafka's with one partition, whose offsets count from 0:
/// ours are greater by one. docs/kafka.md tells the messages, which other programs may read and write.
///
/// The owner destroys it when no call is under way; queued events are sent first, for as long as `timeout`.
/// While the cluster is away operations fail as they say below and one line is logged, another when it is
/// back; nothing needs to be done for that.
class KafkaEventLog final : public EventLog {
public:
    /// Makes the topics of the settings. Throws `ObjectStoreException` where settings cannot be meant, the
    /// password cannot be read, or the cluster refuses a topic or has one with several partitions. A cluster
    /// that is away, which takes `timeout` to find out, is no failure.
    explicit KafkaEventLog(const KafkaSettings& settings);
    ~KafkaEventLog() override;

    /// Durable: true once all replicas in sync have acknowledged the event. False after `timeout` and up to
    /// a second, after twice that where its topic had to be made first: such an event may arrive
    /// nevertheless. Kafka acknowledges what its servers have in memory; against a power cut it is their
    /// number that helps. Not durable: true once queued. Either way false at once when the queue is full, the
    /// event too large or its topic refused.
    bool Produce(const Weftline::Record& record, bool durable) override;

    std::vector<bool> ProduceAll(std::span<const Weftline::Record* const> records) override;

    /// A message that is no event is skipped. An empty list also where the cluster does not answer within
    /// the wait; since nobody can know without asking, a wait below a second may take up to `timeout` then.
    std::vector<LoggedEvent> Read(const std::string& topic, std::int64_t afterOffset, std::size_t limit,
                                  const EventWait& wait) override;

private:
    struct Parts;

    const std::unique_ptr<Parts> m_pParts;
};

}  // namespace CommonServices
