#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <string>
#include <vector>

#include "platform/stores/EventLog.h"
#include "tests/support/FakeRecordStore.h"

namespace TestSupport {

/// An event log in memory. Any thread may call.
class FakeEventLog final : public CommonServices::EventLog {
public:
    std::atomic<StoreFault> appendFault{StoreFault::None};
    std::atomic<std::chrono::milliseconds> longestWait{};  ///< that a reader has asked for
    std::atomic<bool> allDurable{true};  ///< whether every append so far asked for durability

    /// All events of all topics, in order.
    std::vector<Weftline::Record> Events() const;

    bool Produce(const Weftline::Record& record, bool durable) override;
    std::vector<CommonServices::LoggedEvent> Read(const std::string& topic, std::int64_t afterOffset,
                                                  std::size_t limit,
                                                  const CommonServices::EventWait& wait) override;

private:
    mutable std::mutex m_mutex;
    std::condition_variable_any m_appended;
    std::vector<Weftline::Record> m_events;  // guarded by m_mutex; the offset is the place plus one
};

}  // namespace TestSupport
