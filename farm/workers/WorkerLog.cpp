#include "farm/workers/WorkerLog.h"

#include "base/log/PlatformLog.h"

namespace Quillon::Farm {

namespace Log = PlatformAbstraction::Log;

void WorkerLog::Switch(bool on) {
    m_isOn = on;
    Log::Info(m_service + ": remote logging is " + (on ? "on" : "off"));
}

void WorkerLog::Tell(std::string_view text) const {
    const std::string line = m_service + ": " + std::string(text);
    if (m_isOn) {
        Log::Info(line);
    } else {
        Log::Debug(line);
    }
}

}  // namespace Quillon::Farm
