#include "platform/stores/kafka/KafkaEventLog.h"

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <utility>

#include "base/concurrency/BlockingRegion.h"
#include "base/concurrency/Mutex.h"
#include "base/log/OutageLog.h"
#include "base/log/PlatformLog.h"
#include "platform/stores/RecordStore.h"
#include "platform/stores/kafka/ClientConfiguration.h"
#include "platform/stores/kafka/EventMessage.h"
#include "platform/stores/kafka/EventProducer.h"
#include "platform/stores/kafka/EventReader.h"
#include "platform/stores/kafka/TopicKeeper.h"

namespace CommonServices {

using PlatformAbstraction::MutexLock;
namespace Log = PlatformAbstraction::Log;
using Clock = std::chrono::steady_clock;
using ReaderPointer = std::unique_ptr<Kafka::EventReader>;

namespace {

constexpr std::size_t kMostIdleReaders = 8;  // each keeps a connection and fetches ahead
constexpr std::chrono::hours kLongestWait{24};

/// Readers between two calls, the one used last at the end. Any thread may call.
class IdleReaders {
public:
    /// The one that stands at the position, or else the one of the topic that was idle longest; null where
    /// the topic has none.
    ReaderPointer Take(const std::string& topicName, std::int64_t position) {
        const MutexLock lock(m_mutex);
        auto found = std::ranges::find_if(m_readers, [&](const ReaderPointer& reader) {
            return reader->TopicName() == topicName && reader->Position() == position;
        });
        if (found == m_readers.end() && m_readers.size() == kMostIdleReaders) {
            found = std::ranges::find(m_readers, topicName, &Kafka::EventReader::TopicName);
        }
        if (found == m_readers.end()) {
            return nullptr;
        }
        ReaderPointer taken = std::move(*found);
        m_readers.erase(found);
        return taken;
    }

    void Put(ReaderPointer reader) {
        ReaderPointer superfluous;  // ends outside of the lock: its threads are joined
        const MutexLock lock(m_mutex);
        m_readers.push_back(std::move(reader));
        if (m_readers.size() > kMostIdleReaders) {
            superfluous = std::move(m_readers.front());
            m_readers.erase(m_readers.begin());
        }
    }

private:
    PlatformAbstraction::Mutex m_mutex;
    std::vector<ReaderPointer> m_readers QUILLON_GUARDED_BY(m_mutex);
};

}  // namespace

struct KafkaEventLog::Parts {
    explicit Parts(const KafkaSettings& itsSettings)
        : settings(itsSettings),
          configuration(settings),
          topics(configuration, settings),
          producer(NewProducer()) {}

    std::shared_ptr<Kafka::EventProducer> NewProducer() {
        return std::make_shared<Kafka::EventProducer>(configuration, settings, outages);
    }
    std::shared_ptr<Kafka::EventProducer> Producer() {
        const MutexLock lock(mutex);
        return producer;
    }
    /// In place of one that has met a fatal error.
    void Replace(const std::shared_ptr<Kafka::EventProducer>& broken) {
        std::shared_ptr<Kafka::EventProducer> fresh = NewProducer();
        const MutexLock lock(mutex);
        if (producer == broken) {
            producer.swap(fresh);
        }
    }

    using Event = Kafka::EventProducer::Event;
    using Outcome = Kafka::EventProducer::Outcome;
    std::vector<bool> Produce(std::span<const Weftline::Record* const> records, bool durable);
    /// A producer that has met a fatal error is replaced, and what it never sent goes with the next.
    std::vector<Outcome> Send(std::span<const Event> events, bool durable);
    /// Says where it was not why.
    bool WasTaken(const Outcome& outcome, const Event& event);

    const KafkaSettings settings;
    const Kafka::ClientConfiguration configuration;
    Log::OutageLog outages;
    Kafka::TopicKeeper topics;
    IdleReaders readers;

    PlatformAbstraction::Mutex mutex;
    std::shared_ptr<Kafka::EventProducer> producer QUILLON_GUARDED_BY(mutex);
};

namespace {

std::string SubjectOf(const std::string& topicName) {
    return "The topic " + topicName + " cannot be used";
}

using TopicState = Kafka::TopicKeeper::State;

/// Waits for the topic, and logs where it cannot be used.
bool IsReady(Kafka::TopicKeeper& topics, Log::OutageLog& outages, const std::string& name,
             Clock::time_point deadline, bool isPatient, const std::stop_token& stop = {}) {
    const auto answer = topics.Await(name, deadline, isPatient, stop);
    if (answer.state == TopicState::Ready) {
        outages.Up(SubjectOf(name));
        return true;
    }
    if (!stop.stop_requested()) {
        outages.Down(SubjectOf(name), answer.text.empty() ? "Kafka does not answer" : answer.text);
    }
    return false;
}

/// So that a reader of what cannot be read comes back no sooner than any other.
void SleepUntil(Clock::time_point deadline, const std::stop_token& stop) {
    const PlatformAbstraction::BlockingRegion region;
    std::mutex mutex;
    std::unique_lock lock(mutex);
    std::condition_variable_any never;
    never.wait_until(lock, stop, deadline, [] { return false; });
}

std::optional<std::string> CheckedName(const std::string& topic) {
    auto name = Kafka::TopicName(topic);
    if (!name) {
        Log::Error("A topic of Kafka cannot have so long a name: " + topic);
    }
    return name;
}

}  // namespace

KafkaEventLog::KafkaEventLog(const KafkaSettings& settings) : m_pParts(std::make_unique<Parts>(settings)) {
    const auto deadline = Clock::now() + settings.timeout;
    for (const std::string& topic : settings.topics) {
        const auto name = Kafka::TopicName(topic);
        if (!name) {
            throw ObjectStoreException("A topic of Kafka cannot have so long a name: " + topic);
        }
        const auto answer = m_pParts->topics.Await(*name, deadline, true);
        if (answer.state == TopicState::Refused) {
            throw ObjectStoreException(answer.text);
        }
        if (answer.state != TopicState::Ready) {
            m_pParts->outages.Down(SubjectOf(*name),
                                   answer.text.empty() ? "Kafka does not answer" : answer.text);
        }
    }
}

KafkaEventLog::~KafkaEventLog() = default;

bool KafkaEventLog::Parts::WasTaken(const Outcome& outcome, const Event& event) {
    switch (outcome.error) {
        case RdKafka::ERR_NO_ERROR:
            return true;
        case RdKafka::ERR_MSG_SIZE_TOO_LARGE:
            Log::Error("An event of " + std::to_string(event.message.size()) +
                       " bytes is larger than Kafka's settings allow: " + event.key);
            return false;
        case RdKafka::ERR_UNKNOWN_TOPIC_OR_PART:
        case RdKafka::ERR__UNKNOWN_TOPIC:
        case RdKafka::ERR__UNKNOWN_PARTITION:
            topics.Forget(event.topicName);
            return false;
        default:
            return false;
    }
}

std::vector<KafkaEventLog::Parts::Outcome> KafkaEventLog::Parts::Send(std::span<const Event> events,
                                                                      bool durable) {
    const auto send = [durable](Kafka::EventProducer& by, std::span<const Event> some) {
        return durable ? by.ProduceAll(some) : std::vector{by.Queue(some.front())};
    };
    auto by = Producer();
    std::vector<Outcome> outcomes = send(*by, events);
    if (std::ranges::find(outcomes, RdKafka::ERR__FATAL, &Outcome::error) == outcomes.end()) {
        return outcomes;
    }
    Replace(by);
    by = Producer();
    for (std::size_t place = 0; place < events.size(); ++place) {
        if (outcomes[place].error == RdKafka::ERR__FATAL && !outcomes[place].isQueued) {
            outcomes[place] = send(*by, events.subspan(place, 1)).front();
        }
    }
    return outcomes;
}

bool KafkaEventLog::Produce(const Weftline::Record& record, bool durable) {
    const Weftline::Record* const only = &record;
    return m_pParts->Produce({&only, 1}, durable).front();
}

std::vector<bool> KafkaEventLog::ProduceAll(std::span<const Weftline::Record* const> records) {
    return m_pParts->Produce(records, true);
}

std::vector<bool> KafkaEventLog::Parts::Produce(std::span<const Weftline::Record* const> records,
                                                bool durable) {
    const auto deadline = Clock::now() + settings.timeout;
    std::vector<bool> taken(records.size());
    std::vector<Event> events;
    std::vector<std::size_t> places;
    for (std::size_t place = 0; place < records.size(); ++place) {
        const Weftline::Record& record = *records[place];
        auto name = CheckedName(record.recordTopic);
        if (name && IsReady(topics, outages, *name, deadline, durable)) {
            events.push_back({std::move(*name), record.recordID, Kafka::MessageOf(record)});
            places.push_back(place);
        }
    }
    if (events.empty()) {
        return taken;
    }
    const std::vector<Outcome> outcomes = Send(events, durable);
    for (std::size_t sent = 0; sent < events.size(); ++sent) {
        taken[places[sent]] = WasTaken(outcomes[sent], events[sent]);
    }
    return taken;
}

std::vector<LoggedEvent> KafkaEventLog::Read(const std::string& topic, std::int64_t afterOffset,
                                             std::size_t limit, const EventWait& wait) {
    // Kafka counts from 0 and we from 1: what follows our offset has Kafka's offset of the same number.
    const std::int64_t position = std::max<std::int64_t>(afterOffset, 0);
    const auto start = Clock::now();
    const auto waitEnd = start + std::clamp<std::chrono::milliseconds>(wait.longest, {}, kLongestWait);
    const auto askEnd = std::max(waitEnd, start + m_pParts->settings.timeout);
    const auto name = CheckedName(topic);
    while (name && limit > 0 &&
           IsReady(m_pParts->topics, m_pParts->outages, *name, askEnd, true, wait.stop)) {
        ReaderPointer reader = m_pParts->readers.Take(*name, position);
        if (reader == nullptr) {
            reader = std::make_unique<Kafka::EventReader>(m_pParts->configuration, *name, m_pParts->outages);
        }
        auto page = reader->Read(position, limit, waitEnd, askEnd, wait.stop);
        if (!page.isTopicMissing) {
            m_pParts->readers.Put(std::move(reader));
            return std::move(page.events);
        }
        m_pParts->topics.Forget(*name);
    }
    SleepUntil(waitEnd, wait.stop);
    return {};
}

}  // namespace CommonServices
