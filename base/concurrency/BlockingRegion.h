#pragma once

namespace PlatformAbstraction {

/// Whoever lends threads to work (a pool) and wants to hear when the work waits for somebody else, so that
/// another thread can stand in. Called on the thread that waits.
class BlockingObserver {
public:
    virtual ~BlockingObserver() = default;

    virtual void EnterBlocking() noexcept = 0;
    virtual void LeaveBlocking() noexcept = 0;
};

/// Marks the time in which the present thread waits for somebody who may take his time: an answer, a lock of
/// unknown length. Not for a write on its way to the disk: more threads in its place write no faster. Costs
/// next to nothing on a thread that no pool observes. Regions may nest; only the outermost is told.
class BlockingRegion {
public:
    BlockingRegion() noexcept;
    ~BlockingRegion();
    BlockingRegion(const BlockingRegion&) = delete;
    BlockingRegion& operator=(const BlockingRegion&) = delete;
};

/// Makes `observer` hear of the blocking regions of the present thread; null ends that. The observer must
/// outlive the observation.
void ObserveBlocking(BlockingObserver* observer) noexcept;

}  // namespace PlatformAbstraction
