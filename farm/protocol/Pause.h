#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <stop_token>

namespace Quillon::Farm {

/// Waits that long, or until the stop.
inline void PauseUnlessStopped(std::chrono::nanoseconds time, const std::stop_token& stop) {
    std::mutex mutex;
    std::condition_variable_any never;
    std::unique_lock lock(mutex);
    never.wait_for(lock, stop, time, [] { return false; });
}

}  // namespace Quillon::Farm
