#include "platform/stores/kafka/EventProducer.h"

#include <algorithm>

#include "base/concurrency/BlockingRegion.h"
#include "base/concurrency/Mutex.h"
#include "platform/stores/RecordStore.h"

namespace CommonServices::Kafka {

using PlatformAbstraction::MutexLock;

namespace {

constexpr int kListenMilliseconds = 100;  // how late the end of the listener may be noticed

/// A durable event on its way; lies on the stack of the thread that waits for it.
struct Delivery {
    PlatformAbstraction::Mutex mutex;
    PlatformAbstraction::Condition changed;
    bool isOver QUILLON_GUARDED_BY(mutex) = false;
    RdKafka::ErrorCode error QUILLON_GUARDED_BY(mutex) = RdKafka::ERR_NO_ERROR;

    void End(RdKafka::ErrorCode how) {
        const MutexLock lock(mutex);  // to the end: the waiting thread takes the delivery away
        isOver = true;
        error = how;
        changed.NotifyOne();
    }
    RdKafka::ErrorCode Wait() {
        const PlatformAbstraction::BlockingRegion region;
        MutexLock lock(mutex);
        while (!isOver) {
            changed.Wait(lock);
        }
        return error;
    }
};

std::string SubjectOf(const std::string& topicName) {
    return "Events of the topic " + topicName + " do not reach Kafka";
}

}  // namespace

EventProducer::EventProducer(const ClientConfiguration& configuration, const KafkaSettings& settings,
                             OutageLog& outages)
    : m_timeout(settings.timeout), m_outages(outages) {
    const auto properties = configuration.Make(
        {{"acks", "all"},
         {"enable.idempotence", "true"},
         {"message.timeout.ms", std::to_string(settings.timeout.count())},
         // Waiting for company helps nobody: what comes while a batch is on its way makes up the next one.
         {"linger.ms", "0"},
         {"queue.buffering.max.messages", std::to_string(settings.maxQueuedEvents)},
         {"queue.buffering.max.kbytes",
          std::to_string(std::max<std::size_t>(settings.maxQueuedBytes / 1024, 1))}},
        m_reports);
    std::string error;
    properties->set("dr_cb", static_cast<RdKafka::DeliveryReportCb*>(this), error);
    m_pProducer.reset(RdKafka::Producer::create(properties.get(), error));
    if (m_pProducer == nullptr) {
        throw ObjectStoreException("Kafka's producer cannot be made: " + error);
    }
    m_listener = std::jthread([this](const std::stop_token& stop) {
        while (!stop.stop_requested()) {
            m_pProducer->poll(kListenMilliseconds);
        }
    });
}

EventProducer::~EventProducer() {
    m_pProducer->flush(static_cast<int>(m_timeout.count()));
    m_pProducer->purge(RdKafka::Producer::PURGE_QUEUE | RdKafka::Producer::PURGE_INFLIGHT);
    m_pProducer->flush(kListenMilliseconds);
    m_listener = {};
}

EventProducer::Outcome EventProducer::Produce(const std::string& topicName, const std::string& key,
                                              const std::string& message, bool durable) {
    Delivery delivery;
    const auto queued =
        m_pProducer->produce(topicName, 0, RdKafka::Producer::RK_MSG_COPY, const_cast<char*>(message.data()),
                             message.size(), key.data(), key.size(), 0, durable ? &delivery : nullptr);
    if (queued != RdKafka::ERR_NO_ERROR || !durable) {
        return {queued, queued == RdKafka::ERR_NO_ERROR};
    }
    return {delivery.Wait(), true};
}

void EventProducer::dr_cb(RdKafka::Message& message) {
    const RdKafka::ErrorCode error = message.err();
    if (error == RdKafka::ERR_NO_ERROR) {
        m_outages.Up(SubjectOf(message.topic_name()));
    } else {
        const std::string cause = m_reports.TakeLastError();
        m_outages.Down(SubjectOf(message.topic_name()),
                       message.errstr() + (cause.empty() ? "" : " (" + cause + ")"));
    }
    if (auto* const delivery = static_cast<Delivery*>(message.msg_opaque()); delivery != nullptr) {
        delivery->End(error);
    }
}

}  // namespace CommonServices::Kafka
