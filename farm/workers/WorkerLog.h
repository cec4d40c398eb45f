#pragma once

#include <atomic>
#include <string>
#include <string_view>

namespace Quillon::Farm {

/// What a worker service says of its work: to the operator's log while remote logging is on, else only to
/// those who watch at the level "debug". Shared by the handlers of one service; any thread may call.
class WorkerLog {
public:
    explicit WorkerLog(std::string_view service) : m_service(service) {}

    void Switch(bool on);
    bool IsOn() const { return m_isOn; }
    void Tell(std::string_view text) const;

private:
    const std::string m_service;
    std::atomic<bool> m_isOn = false;
};

}  // namespace Quillon::Farm
