#pragma once

#include <librdkafka/rdkafkacpp.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <stop_token>
#include <string>
#include <vector>

#include "base/log/OutageLog.h"
#include "platform/stores/EventLog.h"
#include "platform/stores/kafka/ClientConfiguration.h"
#include "platform/stores/kafka/LibraryHandle.h"

namespace CommonServices::Kafka {

/// Reads one topic for one reader at a time. Between calls it stays at its place and fetches ahead, so that
/// whoever goes on where he stopped has the next events at hand; any other offset costs a turn to it. Its
/// owner takes care that one thread at a time calls.
class EventReader {
public:
    /// `outages` must outlive it. Throws `ObjectStoreException`.
    EventReader(const ClientConfiguration& configuration, std::string topicName,
                PlatformAbstraction::Log::OutageLog& outages);
    EventReader(const EventReader&) = delete;
    EventReader& operator=(const EventReader&) = delete;
    ~EventReader();

    const std::string& TopicName() const { return m_topicName; }
    /// Kafka's offset of the event that comes next.
    std::int64_t Position() const { return m_position; }

    using Deadline = std::chrono::steady_clock::time_point;
    struct Page {
        std::vector<LoggedEvent> events;
        bool isTopicMissing = false;
    };
    /// The events from Kafka's offset `position` on, at most `limit`. Where there is none it waits for one
    /// until `waitEnd`, and where that is too soon to know until the cluster has answered, or `askEnd`.
    Page Read(std::int64_t position, std::size_t limit, Deadline waitEnd, Deadline askEnd,
              const std::stop_token& stop);

private:
    using Message = Handle<rd_kafka_message_t, rd_kafka_message_destroy>;

    /// Anew from this offset of Kafka's: what was fetched before is forgotten.
    void StartAt(std::int64_t offset);
    void StopFetching();
    /// Null where none came until then, or somebody woke the reader.
    Message Next(Deadline until);
    void Take(const rd_kafka_message_t& message, std::vector<LoggedEvent>& events);
    /// The position was no place of the topic, and the topic begins, or is empty, at this offset. True where
    /// it goes on from there, false where the position lies behind the end.
    bool EndSearch(std::int64_t offset);
    /// Whether the last answer of the cluster, as it came with events, showed more than was taken.
    bool KnowsOfMore();
    void ReportErrors(bool isUnanswered);

    const std::string m_topicName;
    const std::string m_subject;
    PlatformAbstraction::Log::OutageLog& m_outages;
    ClientReports m_reports;
    std::unique_ptr<RdKafka::Consumer> m_pConsumer;
    std::unique_ptr<RdKafka::Topic> m_pTopic;
    Handle<rd_kafka_queue_t, rd_kafka_queue_destroy> m_pQueue;
    std::int64_t m_position = -1;
    bool m_isFetching = false;
    bool m_isSearching = false;  // for the place to go on from, since there is nothing at the position
};

}  // namespace CommonServices::Kafka
