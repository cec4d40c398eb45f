#pragma once

// Private to the gateway.

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <list>
#include <memory>
#include <optional>
#include <string_view>

#include "base/concurrency/Mutex.h"
#include "platform/rest/TurnQueue.h"

namespace PlatformAbstraction::Rest {

/// A body up to this size is read on the I/O threads, and counts as small.
inline constexpr std::size_t kSmallBodyBytes = 65536;

/// What a message with the tree of a body of that size takes at most, while the body is read and after.
[[nodiscard]] std::size_t WorstTreeOf(std::size_t bodyBytes) noexcept;
/// A closer bound, for this body.
[[nodiscard]] std::size_t TreeBoundOf(std::string_view body) noexcept;

/// What a message takes of which the tree takes so much.
[[nodiscard]] std::size_t MessageOf(std::size_t treeBytes) noexcept;

/// How a budget for requests is laid out. All in bytes.
struct MemoryPlan {
    MemoryPlan(std::size_t budgetBytes, std::size_t maxBodyBytes) noexcept;
    /// The least budget with which the largest body and its worst tree find room beside the reserve.
    static std::size_t LeastBudget(std::size_t maxBodyBytes) noexcept;

    std::size_t budget;
    std::size_t smallReserve;  ///< where large requests do not come
    std::size_t smallBodies;   ///< what small bodies hold of it at most
    std::size_t largeBodies;   ///< what large bodies hold at most, so that the worst tree always finds room
    std::size_t
        spareBodies;  ///< what small bodies hold beyond the reserve: with the others half of the budget
    std::size_t largestTree;  ///< and so the most that can be waited for
};

/// The memory that the requests of one gateway take together, against its budget: bodies from before they
/// arrive until they are read, trees until there is an answer, and answers until they are taken.
///
/// Nobody waits for ever. Whoever holds the share of a body waits for nothing but that of its tree, for which
/// the bodies of its kind leave room; whoever holds that of a tree waits for nothing. Large requests and
/// large answers never touch the reserve of the small ones, and small ones leave it only while no large tree
/// waits.
///
/// Thread-safe. Shared by the shares that it gives, which may outlive the gateway. A tree's share is had and
/// given back without a lock unless somebody waits.
class RequestMemory : public std::enable_shared_from_this<RequestMemory> {
public:
    /// A small request whose answer will not be small counts as `LargeAnswer`, tree and answer together. A
    /// `SpareBody` is a small one beyond the reserve, and nobody waits for such a share: whoever waits for
    /// that of a small body may get it.
    enum class Use { SmallBody, SmallTree, LargeBody, LargeTree, LargeAnswer, SpareBody, Answer };

    /// So many bytes; they are given back when it goes. Belongs to one thread at a time.
    class [[nodiscard]] Share {
    public:
        Share() noexcept = default;
        Share(Share&& other) noexcept;
        Share& operator=(Share&& other) noexcept;
        ~Share() { Release(); }

        explicit operator bool() const noexcept { return m_pMemory != nullptr; }
        /// Gives back what is above that.
        void Shrink(std::size_t bytes) noexcept;
        void Release() noexcept;
        /// From now on this is the share of an answer of so many bytes, which may be more than it was: what
        /// is there already cannot be refused.
        void BecomeAnswer(std::size_t bytes) noexcept;

    private:
        friend class RequestMemory;
        Share(std::shared_ptr<RequestMemory> memory, Use use, std::uint32_t units) noexcept;

        std::shared_ptr<RequestMemory> m_pMemory;
        Use m_use = Use::SmallTree;
        std::uint32_t m_units = 0;
    };

    /// Takes the share that was waited for, once, on whichever thread gave something back; an empty one where
    /// the memory has been closed. Must not throw.
    using OnShare = std::function<void(Share share)>;

private:
    struct Entry {
        Use use;
        CallerKey caller;
        std::uint32_t units;
        OnShare onShare;
        Share share{};
    };

public:
    /// A place in a queue, left when it goes. A share that is on its way by then still comes.
    class [[nodiscard]] Place {
    public:
        Place() noexcept = default;
        Place(Place&&) noexcept = default;
        Place& operator=(Place&& other) noexcept;
        ~Place() { Leave(); }

        explicit operator bool() const noexcept { return m_pEntry != nullptr; }
        void Leave() noexcept;

    private:
        friend class RequestMemory;

        std::shared_ptr<RequestMemory> m_pMemory;
        std::shared_ptr<Entry> m_pEntry;
    };

    /// Of one named caller; above it he is told to come again.
    static constexpr std::size_t kMostWaitingOfCaller = 256;

    explicit RequestMemory(const MemoryPlan& plan) noexcept;

    /// Empty where there is no room, or others wait for the same use.
    Share TryReserve(Use use, std::size_t bytes);
    /// Waits for it in turn. An empty place where too many wait for this caller already.
    Place Queue(Use use, CallerKey caller, std::size_t bytes, OnShare onShare);
    /// Blocks until it is there; empty where the memory has been closed.
    Share Reserve(Use use, CallerKey caller, std::size_t bytes);
    /// Whoever waits, now or later, gets an empty share: the gateway ends.
    void Close();

    /// What is reserved at the moment.
    std::size_t InUse() const noexcept;

private:
    using Entries = std::list<std::shared_ptr<Entry>>;
    static constexpr std::size_t kWaitedFor = 6;  // all uses but answers

    bool Take(Use use, std::uint32_t units) noexcept QUILLON_REQUIRES(m_mutex);
    /// As what it was taken.
    std::optional<Use> TakeAnyOf(Use use, std::uint32_t units) noexcept QUILLON_REQUIRES(m_mutex);
    bool AddToUsed(Use use, std::uint32_t units) noexcept;
    void GiveBack(Use use, std::uint32_t units) noexcept;
    void LeaveQueue(const std::shared_ptr<Entry>& entry) noexcept;
    /// Takes those out of the queues for whom there is room.
    Entries ServeWaiting() noexcept QUILLON_REQUIRES(m_mutex);
    /// Not under the lock: whoever gets a share may give it back at once.
    static void HandOver(const Entries& served) noexcept;

    // In steps of a KiB, so that both parts of what is in use fit one word.
    const std::uint32_t m_budget;
    const std::uint32_t m_smallReserve;
    const std::array<std::uint32_t, 3> m_mostOfBodies;  // small, large, spare

    /// Small bodies and trees in the upper half, all else in the lower one.
    std::atomic<std::uint64_t> m_used{0};
    std::array<std::atomic<std::uint32_t>, kWaitedFor> m_numWaiting{};
    std::atomic<std::uint32_t> m_numWaitingAtAll{0};

    Mutex m_mutex;
    std::array<std::uint32_t, 3> m_bodies QUILLON_GUARDED_BY(m_mutex){};
    std::array<TurnQueue<std::shared_ptr<Entry>>, kWaitedFor> m_queues QUILLON_GUARDED_BY(m_mutex);
    bool m_isClosed QUILLON_GUARDED_BY(m_mutex) = false;
};

}  // namespace PlatformAbstraction::Rest
