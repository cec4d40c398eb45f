#include "base/concurrency/BlockingRegion.h"

namespace PlatformAbstraction {

namespace {

struct ThreadState {
    BlockingObserver* observer = nullptr;
    int depth = 0;
};

thread_local ThreadState t_state;

}  // namespace

BlockingRegion::BlockingRegion() noexcept {
    if (t_state.depth++ == 0 && t_state.observer != nullptr) {
        t_state.observer->EnterBlocking();
    }
}

BlockingRegion::~BlockingRegion() {
    if (--t_state.depth == 0 && t_state.observer != nullptr) {
        t_state.observer->LeaveBlocking();
    }
}

void ObserveBlocking(BlockingObserver* observer) noexcept {
    t_state.observer = observer;
}

}  // namespace PlatformAbstraction
