#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <string>
#include <vector>

#include "EventLog.h"
#include "StoreFault.h"

namespace TestSupport {

/// An event log in memory. Its failures can be switched on. Any thread may call.
class FakeEventLog final : public CommonServices::EventLog {
public:
    void FailAppends(StoreFault fault);
    /// All events of all topics, in order.
    std::vector<Weftline::Record> Events() const;
    /// Whether every append so far asked for durability.
    bool AllDurable() const;

    bool Append(const Weftline::Record& record, bool durable) override;
    std::vector<CommonServices::LoggedEvent> Read(const std::string& topic, std::int64_t afterOffset,
                                                  std::size_t limit, std::chrono::milliseconds wait) override;

private:
    std::vector<CommonServices::LoggedEvent> Behind(const std::string& topic, std::int64_t afterOffset,
                                                    std::size_t limit) const;

    mutable std::mutex m_mutex;
    std::condition_variable m_appended;
    std::vector<Weftline::Record> m_events;  // guarded by m_mutex; the offset is the place plus one
    StoreFault m_fault = StoreFault::None;   // guarded by m_mutex
    bool m_allDurable = true;                // guarded by m_mutex
};

}  // namespace TestSupport
