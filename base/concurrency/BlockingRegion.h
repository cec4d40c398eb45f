#pragma once

namespace PlatformAbstraction {

/// What a thread waits for.
enum class Wait {
    Peer,  ///< somebody who may take his time
    Disk,  ///< a write that is on its way
};

/// Whoever lends threads to work (a pool) and wants to hear when the work waits for somebody else, so that
/// another thread can stand in. Called on the thread that waits.
class BlockingObserver {
public:
    virtual ~BlockingObserver() = default;

    virtual void EnterBlocking(Wait wait) noexcept = 0;
    virtual void LeaveBlocking(Wait wait) noexcept = 0;
};

/// Marks the time in which the present thread waits for an answer, a disk or a lock of unknown length. Costs
/// next to nothing on a thread that no pool observes. Regions may nest; only the outermost is told.
class BlockingRegion {
public:
    explicit BlockingRegion(Wait wait = Wait::Peer) noexcept;
    ~BlockingRegion();
    BlockingRegion(const BlockingRegion&) = delete;
    BlockingRegion& operator=(const BlockingRegion&) = delete;

private:
    const Wait m_wait;
};

/// Makes `observer` hear of the blocking regions of the present thread; null ends that. The observer must
/// outlive the observation.
void ObserveBlocking(BlockingObserver* observer) noexcept;

}  // namespace PlatformAbstraction
