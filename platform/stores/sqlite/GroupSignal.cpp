#include "platform/stores/sqlite/GroupSignal.h"

#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <climits>

namespace CommonServices::Sqlite {

void GroupSignal::WaitFor(std::uint32_t number) {
    for (;;) {
        const std::uint32_t last = m_last.load(std::memory_order_acquire);
        if (static_cast<std::int32_t>(last - number) >= 0) {
            return;
        }
        // Returns at once when the word has changed since, so no announcement is missed.
        ::syscall(SYS_futex, &m_last, FUTEX_WAIT_PRIVATE, last, nullptr, nullptr, 0);
    }
}

void GroupSignal::Announce(std::uint32_t number) {
    m_last.store(number, std::memory_order_release);
    ::syscall(SYS_futex, &m_last, FUTEX_WAKE_PRIVATE, INT_MAX, nullptr, nullptr, 0);
}

}  // namespace CommonServices::Sqlite
