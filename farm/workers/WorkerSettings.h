#pragma once

#include <chrono>
#include <stop_token>
#include <string>

namespace Quillon::Farm {

/// What a worker service is told by its farm.
struct WorkerSettings {
    std::string realm;                        ///< of the scheduler, and so of its workers
    std::chrono::milliseconds taskTime{200};  ///< that each task takes
    /// Ends the tasks under way at once: they are answered with the error code "SERVICE_STOPPING", which says
    /// that the task has not failed and is to be handed out again at the next start.
    std::stop_token stop;
};

}  // namespace Quillon::Farm
