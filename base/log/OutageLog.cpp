#include "base/log/OutageLog.h"

#include "base/log/PlatformLog.h"

namespace PlatformAbstraction::Log {

void OutageLog::Down(const std::string& subject, const std::string& reason) {
    {
        const MutexLock lock(m_mutex);
        if (!m_down.insert(subject).second) {
            return;
        }
        m_count = m_down.size();
    }
    Warning(subject + ": " + reason);
}

void OutageLog::Up(const std::string& subject) {
    if (m_count == 0) {
        return;
    }
    {
        const MutexLock lock(m_mutex);
        if (m_down.erase(subject) == 0) {
            return;
        }
        m_count = m_down.size();
    }
    Info("No longer so: " + subject);
}

}  // namespace PlatformAbstraction::Log
