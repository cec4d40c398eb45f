#include "platform/stores/kafka/EventReader.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "base/concurrency/BlockingRegion.h"
#include "platform/stores/RecordStore.h"
#include "platform/stores/kafka/EventMessage.h"

namespace CommonServices::Kafka {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

namespace {

constexpr auto kLongestSleep = 1000ms;  // the client's reports are heard at least so often
constexpr auto kPause = 200ms;          // before a place that was not there is tried again
/// A wait of this length ends with the answer of a cluster that is there: nothing came, so nothing is there.
constexpr auto kTellingWait = 1000ms;

int MillisecondsUntil(Clock::time_point deadline) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
    return static_cast<int>(std::clamp(left, 0ms, std::chrono::milliseconds(kLongestSleep)).count());
}

}  // namespace

EventReader::EventReader(const ClientConfiguration& configuration, std::string topicName,
                         PlatformAbstraction::Log::OutageLog& outages)
    : m_topicName(std::move(topicName)),
      m_subject("Events of the topic " + m_topicName + " cannot be read from Kafka"),
      m_outages(outages) {
    const auto properties = configuration.Make(
        {{"enable.auto.commit", "false"},
         {"auto.offset.reset", "error"},  // a place that is not there is looked at by `TurnBack`
         {"enable.partition.eof", "true"},
         // So long does the cluster hold back the answer that nothing is there, and with it all others.
         {"fetch.wait.max.ms", "100"},
         {"fetch.error.backoff.ms", "100"},
         {"queued.max.messages.kbytes", "16384"}},
        m_reports);
    std::string error;
    m_pConsumer.reset(RdKafka::Consumer::create(properties.get(), error));
    if (m_pConsumer != nullptr) {
        m_pTopic.reset(RdKafka::Topic::create(m_pConsumer.get(), m_topicName, nullptr, error));
    }
    if (m_pTopic == nullptr) {
        throw ObjectStoreException("Kafka's reader cannot be made: " + error);
    }
    m_pQueue.reset(rd_kafka_queue_new(m_pConsumer->c_ptr()));
}

EventReader::~EventReader() {
    StopFetching();
}

void EventReader::StopFetching() {
    if (m_isFetching) {
        rd_kafka_consume_stop(m_pTopic->c_ptr(), 0);
        m_isFetching = false;
    }
}

void EventReader::StartAt(std::int64_t offset) {
    StopFetching();
    m_isFetching = rd_kafka_consume_start_queue(m_pTopic->c_ptr(), 0, offset, m_pQueue.get()) == 0;
}

EventReader::Message EventReader::Next(Deadline until) {
    m_pConsumer->poll(0);
    return Message(rd_kafka_consume_queue(m_pQueue.get(), MillisecondsUntil(until)));
}

EventReader::Page EventReader::Read(std::int64_t position, std::size_t limit, Deadline waitEnd,
                                    Deadline askEnd, const std::stop_token& stop) {
    const PlatformAbstraction::BlockingRegion region;
    const std::stop_callback wake(stop, [this] { rd_kafka_queue_yield(m_pQueue.get()); });
    const bool isWaitTelling = waitEnd - Clock::now() >= kTellingWait;
    bool isFresh = !m_isFetching || m_position != position;  // the end that is heard of is that of now
    bool isAsking = false;                                   // the wait is over, and the end not known
    if (isFresh) {
        m_position = position;
        m_isSearching = false;
        StartAt(position);
    }
    Deadline gatherEnd = askEnd;  // a page that has begun waits no longer for its next event
    Page page;
    while (page.events.size() < limit && !stop.stop_requested()) {
        // Behind the first event only what the cluster is known to have is waited for.
        const Deadline until = page.events.empty() ? (isAsking ? askEnd : waitEnd)
                               : KnowsOfMore()     ? gatherEnd
                                                   : Clock::now();
        const Message message = Next(until);
        if (message == nullptr) {
            if (Clock::now() < until) {
                continue;
            }
            if (!page.events.empty() || isWaitTelling || isAsking) {
                break;
            }
            isAsking = true;
            if (!isFresh) {
                StartAt(m_position);
                isFresh = true;
            }
            continue;
        }
        switch (message->err) {
            case RD_KAFKA_RESP_ERR_NO_ERROR:
            case RD_KAFKA_RESP_ERR__PARTITION_EOF:
                m_outages.Up(m_subject);
                if (m_isSearching && !EndSearch(message->offset)) {
                    if (isAsking) {
                        return page;
                    }
                    Next(std::min(waitEnd, Clock::now() + kPause));
                    StartAt(m_position);
                } else if (message->err == RD_KAFKA_RESP_ERR_NO_ERROR) {
                    Take(*message, page.events);
                    gatherEnd = std::min(askEnd, Clock::now() + kTellingWait);
                } else if (!page.events.empty() || (isFresh && isAsking)) {
                    return page;
                }
                break;
            case RD_KAFKA_RESP_ERR__AUTO_OFFSET_RESET:
            case RD_KAFKA_RESP_ERR_OFFSET_OUT_OF_RANGE:
                m_isSearching = true;
                StartAt(RD_KAFKA_OFFSET_BEGINNING);
                break;
            case RD_KAFKA_RESP_ERR__UNKNOWN_TOPIC:
            case RD_KAFKA_RESP_ERR__UNKNOWN_PARTITION:
            case RD_KAFKA_RESP_ERR_UNKNOWN_TOPIC_OR_PART:
                StopFetching();
                page.isTopicMissing = true;
                return page;
            default:
                m_outages.Down(m_subject, rd_kafka_message_errstr(message.get()));
        }
    }
    ReportErrors(isAsking && page.events.empty());
    return page;
}

void EventReader::ReportErrors(bool isUnanswered) {
    const std::string error = m_reports.TakeLastError();
    if (!error.empty() || isUnanswered) {
        m_outages.Down(m_subject, error.empty() ? "Kafka does not answer" : error);
    }
}

void EventReader::Take(const rd_kafka_message_t& message, std::vector<LoggedEvent>& events) {
    m_position = message.offset + 1;
    auto record = RecordOfMessage({static_cast<const char*>(message.payload), message.len});
    if (record) {
        events.push_back({m_position, std::move(*record)});
    } else {
        m_outages.Down("Messages in the topic " + m_topicName + " are no events and are skipped",
                       "the first is at Kafka's offset " + std::to_string(message.offset));
    }
}

bool EventReader::EndSearch(std::int64_t offset) {
    m_isSearching = false;
    const std::string asked = std::to_string(m_position) + " was asked for";
    if (offset < m_position) {
        m_outages.Down("The topic " + m_topicName + " ends before the place that is to be read",
                       "Kafka's offset " + asked + ". Was it made anew?");
        StopFetching();
        return false;
    }
    if (m_position > 0) {
        m_outages.Down("Events of the topic " + m_topicName + " were deleted before they were read",
                       "it begins at Kafka's offset " + std::to_string(offset) + ", and " + asked);
    }
    m_position = offset;
    return true;
}

bool EventReader::KnowsOfMore() {
    std::int64_t first = 0;
    std::int64_t end = 0;
    return m_pConsumer->get_watermark_offsets(m_topicName, 0, &first, &end) == RdKafka::ERR_NO_ERROR &&
           m_position < end;
}

}  // namespace CommonServices::Kafka
