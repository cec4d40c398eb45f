#include "base/concurrency/HeldOutput.h"

#include <stdexcept>
#include <utility>

#include "base/concurrency/BlockingRegion.h"

namespace PlatformAbstraction {

namespace {

struct ThreadState {
    HeldOutput* output = nullptr;
    bool isTail = false;
};

thread_local ThreadState t_state;

}  // namespace

HeldOutput::Work::Work(HeldOutput& output) noexcept {
    t_state = {&output, false};
}

HeldOutput::Work::~Work() {
    t_state = {};
}

HeldOutput::Tail::Tail(std::string failure) {
    if (t_state.output == nullptr) {
        return;
    }
    Settle();
    t_state.output->m_failure = std::move(failure);
    t_state.isTail = true;
}

HeldOutput::Tail::~Tail() {
    t_state.isTail = false;
}

HeldOutput* HeldOutput::OfTail() noexcept {
    return t_state.isTail ? t_state.output : nullptr;
}

void HeldOutput::Settle() {
    if (t_state.output != nullptr) {
        t_state.output->WaitUntilSettled();
    }
}

void HeldOutput::WaitUntilSettled() {
    {
        const MutexLock lock(m_mutex);
        if (m_open == 1 && !m_hasFailed) {
            return;
        }
    }
    const BlockingRegion waiting;
    MutexLock lock(m_mutex);
    while (m_open > 1) {
        m_settled.Wait(lock);
    }
    if (m_hasFailed) {
        throw std::domain_error(m_failure);
    }
}

void HeldOutput::Begin() noexcept {
    const MutexLock lock(m_mutex);
    ++m_open;
}

void HeldOutput::End(bool hasSucceeded) noexcept {
    bool isLast = false;
    const std::string* failure = nullptr;
    {
        const MutexLock lock(m_mutex);
        m_hasFailed = m_hasFailed || !hasSucceeded;
        isLast = --m_open == 0;
        failure = m_hasFailed ? &m_failure : nullptr;
        if (m_open == 1) {
            m_settled.NotifyAll();  // under the mutex: whoever waits may let go of this object next
        }
    }
    if (isLast) {
        GoOut(failure);
    }
}

bool HeldOutput::IsHeld() const noexcept {
    const MutexLock lock(m_mutex);
    return m_open > 1;
}

}  // namespace PlatformAbstraction
