#include "handlers/admin/DetachedHandler.h"

#include <iostream>
#include <thread>
#include <utility>

#include "base/concurrency/MemoryWatch.h"

namespace Weftline::Services::Scheduler {

void StartDetachedThread(std::function<void()> work) {
    std::thread([work = std::move(work)] {
        const PlatformAbstraction::MemoryWatch watch;
        try {
            work();
        } catch (...) {
            // Work reports its own failures; what comes here is a failure to report, so few words must do.
            std::cerr << "Detached work ended with an error.\n";
        }
    }).detach();
}

}  // namespace Weftline::Services::Scheduler
