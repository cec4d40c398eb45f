#pragma once

#include <librdkafka/rdkafkacpp.h>

#include <initializer_list>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "base/concurrency/Mutex.h"
#include "platform/stores/kafka/KafkaEventLog.h"

namespace CommonServices::Kafka {

/// What a client of the cluster reports beside its answers: lines of the library's own, which only a
/// debugging operator wants, and the last error of connection or login, which says why answers fail to come.
/// Belongs to whoever has the client and outlives it. Any thread may call.
class ClientReports final : public RdKafka::EventCb {
public:
    void event_cb(RdKafka::Event& event) override;

    /// Empty when there was none since the last call.
    std::string TakeLastError();

private:
    PlatformAbstraction::Mutex m_mutex;
    std::string m_lastError QUILLON_GUARDED_BY(m_mutex);
};

/// The properties that all clients of the cluster share: address, login, patience. Constant once it is made;
/// any thread may call.
class ClientConfiguration {
public:
    using Property = std::pair<std::string, std::string>;

    /// Reads the password. Throws `ObjectStoreException` where the settings cannot be meant; no text of ours
    /// has the password in it.
    explicit ClientConfiguration(const KafkaSettings& settings);

    /// These and `own`, for one client, which reports to `reports`.
    std::unique_ptr<RdKafka::Conf> Make(std::initializer_list<Property> own, ClientReports& reports) const;

private:
    std::vector<Property> m_shared;
};

}  // namespace CommonServices::Kafka
