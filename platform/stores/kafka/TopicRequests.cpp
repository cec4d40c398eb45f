#include "platform/stores/kafka/TopicRequests.h"

#include <algorithm>
#include <array>
#include <memory>

#include "platform/stores/kafka/LibraryHandle.h"

namespace CommonServices::Kafka {

using Answer = TopicKeeper::Answer;
using State = TopicKeeper::State;
using Clock = std::chrono::steady_clock;

namespace {

constexpr int kSliceMilliseconds = 100;  // how late a stop may be noticed

using NewTopic = Handle<rd_kafka_NewTopic_t, rd_kafka_NewTopic_destroy>;
using Options = Handle<rd_kafka_AdminOptions_t, rd_kafka_AdminOptions_destroy>;
using Queue = Handle<rd_kafka_queue_t, rd_kafka_queue_destroy>;
using Event = Handle<rd_kafka_event_t, rd_kafka_event_destroy>;

/// An answer of the cluster or of the client, with its text.
struct Reply {
    rd_kafka_resp_err_t error = RD_KAFKA_RESP_ERR_NO_ERROR;
    std::string text;
};

Reply ReplyOf(rd_kafka_event_t* event) {
    if (const auto error = rd_kafka_event_error(event); error != RD_KAFKA_RESP_ERR_NO_ERROR) {
        return {error, rd_kafka_event_error_string(event)};
    }
    std::size_t count = 0;
    const rd_kafka_topic_result_t* const* const results =
        rd_kafka_CreateTopics_result_topics(rd_kafka_event_CreateTopics_result(event), &count);
    if (count == 0) {
        return {RD_KAFKA_RESP_ERR__FAIL, "no answer"};
    }
    const char* const text = rd_kafka_topic_result_error_string(results[0]);
    return {rd_kafka_topic_result_error(results[0]), text == nullptr ? "" : text};
}

/// True where asking again may help without anybody doing something.
bool IsPassing(rd_kafka_resp_err_t error) {
    constexpr std::array kPassing = {
        RD_KAFKA_RESP_ERR__TIMED_OUT,        RD_KAFKA_RESP_ERR__TRANSPORT,
        RD_KAFKA_RESP_ERR__ALL_BROKERS_DOWN, RD_KAFKA_RESP_ERR__WAIT_COORD,
        RD_KAFKA_RESP_ERR__DESTROY,          RD_KAFKA_RESP_ERR_REQUEST_TIMED_OUT,
        RD_KAFKA_RESP_ERR_NOT_CONTROLLER,    RD_KAFKA_RESP_ERR_LEADER_NOT_AVAILABLE,
        RD_KAFKA_RESP_ERR__TIMED_OUT_QUEUE,  RD_KAFKA_RESP_ERR_BROKER_NOT_AVAILABLE,
        RD_KAFKA_RESP_ERR__RESOLVE,          RD_KAFKA_RESP_ERR_NETWORK_EXCEPTION};
    return std::ranges::find(kPassing, error) != kPassing.end();
}

/// One attempt with a client of its own. It is a consumer's, whose questions make no topics.
class Attempt {
public:
    Attempt(const ClientConfiguration& configuration, const KafkaSettings& settings, const std::string& name,
            const std::stop_token& stop)
        : m_settings(settings), m_name(name), m_stop(stop) {
        const auto properties = configuration.Make({}, m_reports);
        m_pClient.reset(RdKafka::Consumer::create(properties.get(), m_problem));
    }

    Answer Run() {
        if (m_pClient == nullptr) {
            return {State::Refused, m_problem};
        }
        const Reply made = Create();
        if (made.error == RD_KAFKA_RESP_ERR_NO_ERROR) {
            return {State::Ready, ""};
        }
        if (IsPassing(made.error)) {
            return Away(made);
        }
        int partitions = 0;
        const Reply described = CountPartitions(partitions);
        if (IsPassing(described.error)) {
            return Away(described);
        }
        if (partitions == 1) {
            return {State::Ready, ""};
        }
        return {State::Refused,
                partitions == 0
                    ? "Kafka refuses the topic " + m_name + ": " + made.text
                    : "The topic " + m_name + " has " + std::to_string(partitions) +
                          " partitions, and the order of its events is kept with one alone. Delete it, or "
                          "move its events to a new one with one partition."};
    }

private:
    Reply Create() {
        rd_kafka_t* const client = m_pClient->c_ptr();
        std::array<char, 512> text{};
        const NewTopic topic(
            rd_kafka_NewTopic_new(m_name.c_str(), 1, m_settings.replicas, text.data(), text.size()));
        if (topic == nullptr) {
            return {RD_KAFKA_RESP_ERR__INVALID_ARG, text.data()};
        }
        const std::string inSync = std::to_string(m_settings.minInSyncReplicas);
        const std::string largest = std::to_string(m_settings.maxEventBytes + kBatchOverhead);
        rd_kafka_NewTopic_set_config(topic.get(), "min.insync.replicas", inSync.c_str());
        rd_kafka_NewTopic_set_config(topic.get(), "max.message.bytes", largest.c_str());
        // Who hears of a job late must hear of it still: what is old is for the operator to delete.
        rd_kafka_NewTopic_set_config(topic.get(), "retention.ms", "-1");
        rd_kafka_NewTopic_set_config(topic.get(), "cleanup.policy", "delete");

        // A little sooner than those who wait for it, so that they hear the reason.
        const auto limit = static_cast<int>(m_settings.timeout.count()) * 3 / 4;
        const Options options(rd_kafka_AdminOptions_new(client, RD_KAFKA_ADMIN_OP_CREATETOPICS));
        rd_kafka_AdminOptions_set_request_timeout(options.get(), limit, text.data(), text.size());
        rd_kafka_AdminOptions_set_operation_timeout(options.get(), limit, text.data(), text.size());
        const Queue queue(rd_kafka_queue_new(client));
        rd_kafka_NewTopic_t* topics[] = {topic.get()};
        rd_kafka_CreateTopics(client, topics, 1, options.get(), queue.get());
        while (!m_stop.stop_requested()) {
            m_pClient->poll(0);
            const Event event(rd_kafka_queue_poll(queue.get(), kSliceMilliseconds));
            if (event != nullptr) {
                return ReplyOf(event.get());
            }
        }
        return {RD_KAFKA_RESP_ERR__DESTROY, "stopped"};
    }

    /// None where the topic is not there.
    Reply CountPartitions(int& partitions) {
        std::string text;
        const std::unique_ptr<RdKafka::Topic> topic(
            RdKafka::Topic::create(m_pClient.get(), m_name, nullptr, text));
        const auto deadline = Clock::now() + m_settings.timeout;
        auto error = RdKafka::ERR__TIMED_OUT;
        RdKafka::Metadata* answered = nullptr;
        while (error != RdKafka::ERR_NO_ERROR && Clock::now() < deadline && !m_stop.stop_requested()) {
            error = m_pClient->metadata(false, topic.get(), &answered, kSliceMilliseconds * 5);
        }
        const std::unique_ptr<RdKafka::Metadata> metadata(answered);
        if (metadata == nullptr || metadata->topics()->empty()) {
            return {RD_KAFKA_RESP_ERR__TIMED_OUT, RdKafka::err2str(error)};
        }
        partitions = static_cast<int>(metadata->topics()->front()->partitions()->size());
        return {};
    }

    Answer Away(const Reply& reply) {
        const std::string cause = m_reports.TakeLastError();
        return {State::Away, cause.empty() ? reply.text : cause};
    }

    static constexpr std::size_t kBatchOverhead = 4096;  // what Kafka's batch adds to its one message

    const KafkaSettings& m_settings;
    const std::string& m_name;
    const std::stop_token& m_stop;
    std::string m_problem;
    ClientReports m_reports;
    std::unique_ptr<RdKafka::Consumer> m_pClient;
};

}  // namespace

Answer MakeTopic(const ClientConfiguration& configuration, const KafkaSettings& settings,
                 const std::string& name, const std::stop_token& stop) {
    return Attempt(configuration, settings, name, stop).Run();
}

}  // namespace CommonServices::Kafka
