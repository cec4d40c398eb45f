#include "platform/stores/kafka/EventProducer.h"

#include <algorithm>

#include "base/concurrency/BlockingRegion.h"
#include "base/concurrency/Mutex.h"
#include "platform/stores/RecordStore.h"

namespace CommonServices::Kafka {

using PlatformAbstraction::MutexLock;

namespace {

constexpr int kListenMilliseconds = 100;  // how late the end of the listener may be noticed

/// Durable events on their way, for the thread that waits for all of them.
class Deliveries {
public:
    struct Delivery {
        Deliveries* all;
        RdKafka::ErrorCode error = RdKafka::ERR_NO_ERROR;
    };

    explicit Deliveries(std::size_t count) : m_each(count, {this}), m_open(count) {}

    Delivery& Each(std::size_t place) { return m_each[place]; }
    void End(Delivery& delivery, RdKafka::ErrorCode how) {
        const MutexLock lock(m_mutex);  // to the end: the waiting thread takes the deliveries away
        delivery.error = how;
        if (--m_open == 0) {
            m_over.NotifyOne();
        }
    }
    void Wait() {
        const PlatformAbstraction::BlockingRegion region;
        MutexLock lock(m_mutex);
        while (m_open > 0) {
            m_over.Wait(lock);
        }
    }

private:
    PlatformAbstraction::Mutex m_mutex;
    PlatformAbstraction::Condition m_over;
    std::vector<Delivery> m_each;  // the mutex guards their errors, until all are over
    std::size_t m_open QUILLON_GUARDED_BY(m_mutex);
};

std::string SubjectOf(const std::string& topicName) {
    return "Events of the topic " + topicName + " do not reach Kafka";
}

}  // namespace

EventProducer::EventProducer(const ClientConfiguration& configuration, const KafkaSettings& settings,
                             PlatformAbstraction::Log::OutageLog& outages)
    : m_timeout(settings.timeout), m_outages(outages) {
    const auto properties = configuration.Make(
        {{"acks", "all"},
         {"enable.idempotence", "true"},
         {"message.timeout.ms", std::to_string(settings.timeout.count())},
         // With less of it the library's thread looks for what to send without rest, as long as the batches
         // that may be on their way are: a sixth of the service's processor time.
         {"linger.ms", "5"},
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

EventProducer::Outcome EventProducer::Queue(const Event& event, void* delivery) {
    const std::string& message = event.message;
    const auto queued = m_pProducer->produce(event.topicName, 0, RdKafka::Producer::RK_MSG_COPY,
                                             const_cast<char*>(message.data()), message.size(),
                                             event.key.data(), event.key.size(), 0, delivery);
    return {queued, queued == RdKafka::ERR_NO_ERROR};
}

std::vector<EventProducer::Outcome> EventProducer::ProduceAll(std::span<const Event> events) {
    std::vector<Outcome> outcomes(events.size());
    Deliveries deliveries(events.size());
    for (std::size_t place = 0; place < events.size(); ++place) {
        outcomes[place] = Queue(events[place], &deliveries.Each(place));
        if (!outcomes[place].isQueued) {
            deliveries.End(deliveries.Each(place), outcomes[place].error);
        }
    }
    deliveries.Wait();
    for (std::size_t place = 0; place < events.size(); ++place) {
        outcomes[place].error = deliveries.Each(place).error;
    }
    return outcomes;
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
    if (auto* const delivery = static_cast<Deliveries::Delivery*>(message.msg_opaque())) {
        delivery->all->End(*delivery, error);
    }
}

}  // namespace CommonServices::Kafka
