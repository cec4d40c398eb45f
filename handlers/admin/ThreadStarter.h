#pragma once

#include <functional>

namespace Weftline::Services::Scheduler {

/// Starts work that nobody waits for. Throws `std::system_error` when no thread can be started. What handlers
/// start their detached work with.
using ThreadStarter = std::function<void(std::function<void()> work)>;

/// Runs `work` on a detached thread, which may still be at it while the process ends: it owns all that it
/// uses, and reaches nothing that is destroyed then. What it throws ends that work and nothing else.
void StartDetachedThread(std::function<void()> work);

}  // namespace Weftline::Services::Scheduler
