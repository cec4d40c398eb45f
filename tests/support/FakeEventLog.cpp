#include "tests/support/FakeEventLog.h"

#include <algorithm>

namespace TestSupport {

using CommonServices::LoggedEvent;

std::vector<Weftline::Record> FakeEventLog::Events() const {
    const std::lock_guard lock(m_mutex);
    return m_events;
}

bool FakeEventLog::Produce(const Weftline::Record& record, bool durable) {
    allDurable = allDurable && durable;
    if (!PassFault(appendFault)) {
        return false;
    }
    const std::lock_guard lock(m_mutex);
    m_events.push_back(record);
    m_appended.notify_all();
    return true;
}

std::vector<LoggedEvent> FakeEventLog::Read(const std::string& topic, std::int64_t afterOffset,
                                            std::size_t limit, const CommonServices::EventWait& wait) {
    longestWait = std::max(longestWait.load(), wait.longest);
    std::unique_lock lock(m_mutex);
    auto place = static_cast<std::size_t>(std::max<std::int64_t>(afterOffset, 0));
    std::vector<LoggedEvent> found;
    m_appended.wait_for(lock, wait.stop, wait.longest, [&] {
        for (; place < m_events.size() && found.size() < limit; ++place) {
            if (m_events[place].recordTopic == topic) {
                found.push_back({static_cast<std::int64_t>(place) + 1, m_events[place]});
            }
        }
        return !found.empty();
    });
    return found;
}

}  // namespace TestSupport
