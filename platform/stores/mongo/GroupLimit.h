#pragma once

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstddef>

namespace CommonServices::Mongo {

/// How many writes go with one message: as many as the database is seen to do in a small part of the time
/// within which it has to answer. A message too large for a slow database would fail whole, and so would the
/// next, made larger by what has gathered meanwhile. Any thread may call.
class GroupLimit {
public:
    GroupLimit(std::chrono::milliseconds timeout, std::size_t most) : m_wanted(timeout / 16), m_most(most) {}

    std::size_t Get() const noexcept { return m_limit; }
    /// To be told of each message, of those that failed too.
    void Note(std::size_t count, std::chrono::steady_clock::duration took) noexcept {
        const std::size_t limit = m_limit;
        if (took > m_wanted) {
            const auto fits = static_cast<double>(count) * (m_wanted / std::chrono::duration<double>(took));
            m_limit = std::min(limit, std::max(static_cast<std::size_t>(fits), kLeast));
        } else if (count >= limit) {
            m_limit = std::min(2 * limit, m_most);
        }
    }

private:
    // Fewer are not the reason why it takes long: the way is.
    static constexpr std::size_t kLeast = 16;

    const std::chrono::duration<double> m_wanted;
    const std::size_t m_most;
    std::atomic<std::size_t> m_limit{2 * kLeast};
};

}  // namespace CommonServices::Mongo
