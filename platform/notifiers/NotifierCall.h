#pragma once

namespace PlatformAbstraction {

/// Puts the exception in flight, of whatever kind, into the log. To be called inside a catch block.
void LogFailedNotifier() noexcept;

/// Makes one call of a notifier. What it throws goes to the log and no further.
template <class Call>
void CallNotifier(Call call) noexcept {
    try {
        call();
    } catch (...) {
        LogFailedNotifier();
    }
}

}  // namespace PlatformAbstraction
