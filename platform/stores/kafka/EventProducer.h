#pragma once

#include <librdkafka/rdkafkacpp.h>

#include <memory>
#include <string>
#include <thread>

#include "platform/stores/kafka/ClientConfiguration.h"
#include "platform/stores/kafka/OutageLog.h"

namespace CommonServices::Kafka {

/// Sends events: idempotent, so that what it repeats on its own comes once and in order. Keeps a thread that
/// hears of acknowledgements. Any thread may call; destroyed when no call is under way.
class EventProducer final : private RdKafka::DeliveryReportCb {
public:
    /// `outages` must outlive it. Throws `ObjectStoreException`.
    EventProducer(const ClientConfiguration& configuration, const KafkaSettings& settings,
                  OutageLog& outages);
    EventProducer(const EventProducer&) = delete;
    EventProducer& operator=(const EventProducer&) = delete;
    ~EventProducer() override;

    /// What became of the event; `ERR_NO_ERROR` where it was taken. `ERR__FATAL` means that this producer is
    /// of no use any more, and where `isQueued` is false then also that the event was not sent.
    struct Outcome {
        RdKafka::ErrorCode error = RdKafka::ERR_NO_ERROR;
        bool isQueued = false;
    };
    Outcome Produce(const std::string& topicName, const std::string& key, const std::string& message,
                    bool durable);

private:
    void dr_cb(RdKafka::Message& message) override;

    const std::chrono::milliseconds m_timeout;
    OutageLog& m_outages;
    ClientReports m_reports;
    std::unique_ptr<RdKafka::Producer> m_pProducer;
    std::jthread m_listener;
};

}  // namespace CommonServices::Kafka
