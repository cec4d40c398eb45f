#pragma once

#include <librdkafka/rdkafkacpp.h>

#include <memory>
#include <span>
#include <string>
#include <thread>
#include <vector>

#include "base/log/OutageLog.h"
#include "platform/stores/kafka/ClientConfiguration.h"

namespace CommonServices::Kafka {

/// Sends events: idempotent, so that what it repeats on its own comes once and in order. Keeps a thread that
/// hears of acknowledgements. Any thread may call; destroyed when no call is under way.
class EventProducer final : private RdKafka::DeliveryReportCb {
public:
    /// `outages` must outlive it. Throws `ObjectStoreException`.
    EventProducer(const ClientConfiguration& configuration, const KafkaSettings& settings,
                  PlatformAbstraction::Log::OutageLog& outages);
    EventProducer(const EventProducer&) = delete;
    EventProducer& operator=(const EventProducer&) = delete;
    ~EventProducer() override;

    /// What became of the event; `ERR_NO_ERROR` where it was taken. `ERR__FATAL` means that this producer is
    /// of no use any more, and where `isQueued` is false then also that the event was not sent.
    struct Outcome {
        RdKafka::ErrorCode error = RdKafka::ERR_NO_ERROR;
        bool isQueued = false;
    };
    struct Event {
        std::string topicName;
        std::string key;
        std::string message;
    };
    /// Sends them in order and waits for all.
    std::vector<Outcome> ProduceAll(std::span<const Event> events);
    /// Waits for nothing.
    Outcome Queue(const Event& event) { return Queue(event, nullptr); }

private:
    Outcome Queue(const Event& event, void* delivery);
    void dr_cb(RdKafka::Message& message) override;

    const std::chrono::milliseconds m_timeout;
    PlatformAbstraction::Log::OutageLog& m_outages;
    ClientReports m_reports;
    std::unique_ptr<RdKafka::Producer> m_pProducer;
    std::jthread m_listener;
};

}  // namespace CommonServices::Kafka
