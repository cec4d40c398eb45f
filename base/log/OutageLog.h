#pragma once

#include <atomic>
#include <cstddef>
#include <set>
#include <string>

#include "base/concurrency/Mutex.h"

namespace PlatformAbstraction::Log {

/// Tells the operator once of what fails time after time, and once when it is over. Any thread may call.
class OutageLog {
public:
    /// `subject` is a sentence, such as "Records cannot be stored".
    void Down(const std::string& subject, const std::string& reason);
    /// Costs next to nothing while nothing is down.
    void Up(const std::string& subject);

private:
    Mutex m_mutex;
    std::set<std::string> m_down QUILLON_GUARDED_BY(m_mutex);
    std::atomic<std::size_t> m_count{0};  // of m_down
};

}  // namespace PlatformAbstraction::Log
