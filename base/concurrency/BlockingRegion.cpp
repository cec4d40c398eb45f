#include "base/concurrency/BlockingRegion.h"

namespace PlatformAbstraction {

namespace {

struct ThreadState {
    BlockingObserver* observer = nullptr;
    int depth = 0;
};

thread_local ThreadState t_state;

}  // namespace

BlockingRegion::BlockingRegion(Wait wait) noexcept : m_wait(wait) {
    if (t_state.depth++ == 0 && t_state.observer != nullptr) {
        t_state.observer->EnterBlocking(m_wait);
    }
}

BlockingRegion::~BlockingRegion() {
    if (--t_state.depth == 0 && t_state.observer != nullptr) {
        t_state.observer->LeaveBlocking(m_wait);
    }
}

void ObserveBlocking(BlockingObserver* observer) noexcept {
    t_state.observer = observer;
}

}  // namespace PlatformAbstraction
