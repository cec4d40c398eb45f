#pragma once

namespace PlatformAbstraction {

/// Stands around a piece of work on the present thread. Where the work claimed memory from the system and
/// much of what the process holds lies idle when it is over, that goes back to the system: what one huge
/// message took is not kept for good. Costs two cheap system calls. Work that was no burden ends as if
/// nothing were.
class MemoryWatch {
public:
    MemoryWatch() noexcept;
    ~MemoryWatch();
    MemoryWatch(const MemoryWatch&) = delete;
    MemoryWatch& operator=(const MemoryWatch&) = delete;

private:
    const long m_faultsBefore;
};

}  // namespace PlatformAbstraction
