#pragma once

#include <cstddef>
#include <cstdint>
#include <set>

namespace Quillon::Farm {

/// How far the event log has been dealt with: all events up to `Low` have, so that a restart reads on from
/// there. Jobs end in any order; the one that was announced first and has not ended holds the rest back. One
/// thread at a time.
class OpenOffsets {
public:
    explicit OpenOffsets(std::int64_t low) : m_read(low) {}

    /// The event was read; there is nothing to do for it.
    void Pass(std::int64_t offset);
    /// The event was read, and is dealt with when `Close` comes.
    void Open(std::int64_t offset);
    void Close(std::int64_t offset);

    std::int64_t Low() const;
    /// How far the log was read beyond `Low`.
    std::int64_t Span() const { return m_read - Low(); }
    std::size_t CountOpen() const { return m_open.size(); }

private:
    std::int64_t m_read;
    std::set<std::int64_t> m_open;
};

}  // namespace Quillon::Farm
