#include "FakeEventLog.h"

#include <algorithm>

#include "ObjectStoreException.h"

namespace TestSupport {

using CommonServices::LoggedEvent;
using Weftline::Record;

void FakeEventLog::FailAppends(StoreFault fault) {
    const std::lock_guard lock(m_mutex);
    m_fault = fault;
}

std::vector<Record> FakeEventLog::Events() const {
    const std::lock_guard lock(m_mutex);
    return m_events;
}

bool FakeEventLog::AllDurable() const {
    const std::lock_guard lock(m_mutex);
    return m_allDurable;
}

bool FakeEventLog::Append(const Record& record, bool durable) {
    const std::lock_guard lock(m_mutex);
    m_allDurable = m_allDurable && durable;
    if (m_fault == StoreFault::Throw) {
        throw CommonServices::ObjectStoreException("The fake store was told to fail");
    }
    if (m_fault == StoreFault::Refuse) {
        return false;
    }
    m_events.push_back(record);
    m_appended.notify_all();
    return true;
}

std::vector<LoggedEvent> FakeEventLog::Behind(const std::string& topic, std::int64_t afterOffset,
                                              std::size_t limit) const {
    std::vector<LoggedEvent> found;
    for (auto place = static_cast<std::size_t>(std::max<std::int64_t>(afterOffset, 0));
         place < m_events.size() && found.size() < limit; ++place) {
        if (m_events[place].recordTopic == topic) {
            found.push_back({static_cast<std::int64_t>(place) + 1, m_events[place]});
        }
    }
    return found;
}

std::vector<LoggedEvent> FakeEventLog::Read(const std::string& topic, std::int64_t afterOffset,
                                            std::size_t limit, std::chrono::milliseconds wait) {
    std::unique_lock lock(m_mutex);
    std::vector<LoggedEvent> found;
    m_appended.wait_for(lock, wait, [&] {
        found = Behind(topic, afterOffset, limit);
        return !found.empty();
    });
    return found;
}

}  // namespace TestSupport
