#include "platform/rest/RequestMemory.h"

#include <algorithm>
#include <utility>

#include "base/parameters/Parameters.h"

namespace PlatformAbstraction::Rest {

namespace {

using CoreServices::Parameters;

constexpr std::size_t kUnit = 1024;
constexpr unsigned kSmallShift = 32;

// What reading JSON takes at most of memory for each byte of a text, and for none.
constexpr std::size_t kMostTreeOfByte = 40;
constexpr std::size_t kMostTreeOfNothing = 1024;
// For what a message has beside its body's tree.
constexpr std::size_t kMessageBytes = 1024;

// What is lost where sizes are no multiples of a unit.
constexpr std::size_t kRounding = 4 * kUnit;

// Of the budget, for small requests; but at the least so many of the worst of them.
constexpr std::size_t kReserveShare = 8;
constexpr std::size_t kLeastWorstRequests = 4;

std::uint32_t UnitsOf(std::size_t bytes) noexcept {
    return static_cast<std::uint32_t>((bytes + kUnit - 1) / kUnit);
}

std::uint32_t SmallOf(std::uint64_t used) noexcept {
    return static_cast<std::uint32_t>(used >> kSmallShift);
}

std::uint32_t OtherOf(std::uint64_t used) noexcept {
    return static_cast<std::uint32_t>(used);
}

bool IsSmall(RequestMemory::Use use) noexcept {
    return use == RequestMemory::Use::SmallBody || use == RequestMemory::Use::SmallTree;
}

// The place of its kind among the bodies, or beyond them.
std::size_t BodyIndexOf(RequestMemory::Use use) noexcept {
    switch (use) {
        case RequestMemory::Use::SmallBody:
            return 0;
        case RequestMemory::Use::LargeBody:
            return 1;
        case RequestMemory::Use::SpareBody:
            return 2;
        default:
            return 3;
    }
}

bool IsBody(RequestMemory::Use use) noexcept {
    return BodyIndexOf(use) < 3;
}

// What gives way to a large tree that waits.
bool GivesWay(RequestMemory::Use use) noexcept {
    return use == RequestMemory::Use::LargeAnswer || use == RequestMemory::Use::SpareBody;
}

std::size_t IndexOf(RequestMemory::Use use) noexcept {
    return static_cast<std::size_t>(use);
}

std::uint64_t WordOf(RequestMemory::Use use, std::uint32_t units) noexcept {
    return IsSmall(use) ? std::uint64_t{units} << kSmallShift : units;
}

std::size_t LeastReserve(std::size_t maxBodyBytes) noexcept {
    const std::size_t body = std::min(kSmallBodyBytes, maxBodyBytes);
    return kLeastWorstRequests * (body + WorstTreeOf(body));
}

}  // namespace

std::size_t WorstTreeOf(std::size_t bodyBytes) noexcept {
    return bodyBytes == 0 ? kMessageBytes : kMessageBytes + kMostTreeOfNothing + kMostTreeOfByte * bodyBytes;
}

// The scan looks at punctuation alone, so of some texts it says more than any text of that size takes.
std::size_t TreeBoundOf(std::string_view body) noexcept {
    const std::size_t worst = WorstTreeOf(body.size());
    return body.empty() ? worst : std::min(MessageOf(Parameters::MostMemoryOf(body)), worst);
}

std::size_t MessageOf(std::size_t treeBytes) noexcept {
    return kMessageBytes + treeBytes;
}

MemoryPlan::MemoryPlan(std::size_t budgetBytes, std::size_t maxBodyBytes) noexcept
    : budget(budgetBytes),
      smallReserve(std::max(budgetBytes / kReserveShare, LeastReserve(maxBodyBytes))),
      smallBodies(smallReserve / 2) {
    const std::size_t others = smallReserve + WorstTreeOf(maxBodyBytes) + kRounding;
    largeBodies = std::min(budget / 2, budget - std::min(budget, others));
    spareBodies = budget / 2 - std::min(budget / 2, largeBodies + smallBodies);
    largestTree = WorstTreeOf(maxBodyBytes);
}

std::size_t MemoryPlan::LeastBudget(std::size_t maxBodyBytes) noexcept {
    const std::size_t large = maxBodyBytes + WorstTreeOf(maxBodyBytes) + kRounding;
    return large + std::max(LeastReserve(maxBodyBytes), large / (kReserveShare - 1) + 1);
}

RequestMemory::Share::Share(std::shared_ptr<RequestMemory> memory, Use use, std::uint32_t units) noexcept
    : m_pMemory(std::move(memory)), m_use(use), m_units(units) {}

RequestMemory::Share::Share(Share&& other) noexcept
    : m_pMemory(std::move(other.m_pMemory)), m_use(other.m_use), m_units(std::exchange(other.m_units, 0)) {}

RequestMemory::Share& RequestMemory::Share::operator=(Share&& other) noexcept {
    if (this != &other) {
        Release();
        m_pMemory = std::move(other.m_pMemory);
        m_use = other.m_use;
        m_units = std::exchange(other.m_units, 0);
    }
    return *this;
}

void RequestMemory::Share::Shrink(std::size_t bytes) noexcept {
    if (const std::uint32_t units = UnitsOf(bytes); m_pMemory && units < m_units) {
        m_pMemory->GiveBack(m_use, std::exchange(m_units, units) - units);
    }
}

void RequestMemory::Share::Release() noexcept {
    if (const auto memory = std::exchange(m_pMemory, nullptr)) {
        memory->GiveBack(m_use, std::exchange(m_units, 0));
    }
}

void RequestMemory::Share::BecomeAnswer(std::size_t bytes) noexcept {
    if (m_pMemory) {
        const std::uint32_t units = UnitsOf(bytes);
        m_pMemory->m_used.fetch_add(units);
        m_pMemory->GiveBack(std::exchange(m_use, Use::Answer), std::exchange(m_units, units));
    }
}

RequestMemory::Place& RequestMemory::Place::operator=(Place&& other) noexcept {
    if (this != &other) {
        Leave();
        m_pMemory = std::move(other.m_pMemory);
        m_pEntry = std::move(other.m_pEntry);
    }
    return *this;
}

void RequestMemory::Place::Leave() noexcept {
    if (const auto entry = std::exchange(m_pEntry, nullptr)) {
        m_pMemory->LeaveQueue(entry);
        m_pMemory.reset();
    }
}

RequestMemory::RequestMemory(const MemoryPlan& plan) noexcept
    : m_budget(UnitsOf(plan.budget)),
      m_smallReserve(UnitsOf(plan.smallReserve)),
      m_mostOfBodies{UnitsOf(plan.smallBodies), UnitsOf(plan.largeBodies), UnitsOf(plan.spareBodies)} {}

RequestMemory::Share RequestMemory::TryReserve(Use use, std::size_t bytes) {
    const std::uint32_t units = UnitsOf(bytes);
    if (m_numWaiting[IndexOf(use)] > 0) {
        return {};
    }
    if (!IsBody(use)) {
        return AddToUsed(use, units) ? Share(shared_from_this(), use, units) : Share();
    }
    const MutexLock lock(m_mutex);
    const auto granted = TakeAnyOf(use, units);
    return granted ? Share(shared_from_this(), *granted, units) : Share();
}

// What waits is counted before the last look for room, and who gives back counts those who wait after that:
// so one of the two sees the other.
RequestMemory::Place RequestMemory::Queue(Use use, CallerKey caller, std::size_t bytes, OnShare onShare) {
    Place place;
    Entries served;
    {
        const MutexLock lock(m_mutex);
        auto& queue = m_queues[IndexOf(use)];
        if (queue.CountOf(caller) >= kMostWaitingOfCaller) {
            return place;
        }
        place.m_pMemory = shared_from_this();
        place.m_pEntry = std::make_shared<Entry>(Entry{use, caller, UnitsOf(bytes), std::move(onShare)});
        queue.Add(caller, place.m_pEntry);
        ++m_numWaiting[IndexOf(use)];
        ++m_numWaitingAtAll;
        served = ServeWaiting();
    }
    HandOver(served);
    return place;
}

RequestMemory::Share RequestMemory::Reserve(Use use, CallerKey caller, std::size_t bytes) {
    if (Share share = TryReserve(use, bytes)) {
        return share;
    }
    struct Slot {
        Mutex mutex;
        Condition filled;
        bool isFilled QUILLON_GUARDED_BY(mutex) = false;
        Share share QUILLON_GUARDED_BY(mutex);
    };
    const auto slot = std::make_shared<Slot>();
    const Place place = Queue(use, caller, bytes, [slot](Share share) {
        {
            const MutexLock lock(slot->mutex);
            slot->share = std::move(share);
            slot->isFilled = true;
        }
        slot->filled.NotifyOne();
    });
    MutexLock lock(slot->mutex);
    while (place && !slot->isFilled) {
        slot->filled.Wait(lock);
    }
    return std::move(slot->share);
}

void RequestMemory::Close() {
    Entries served;
    {
        const MutexLock lock(m_mutex);
        m_isClosed = true;
        served = ServeWaiting();
    }
    HandOver(served);
}

std::size_t RequestMemory::InUse() const noexcept {
    const std::uint64_t used = m_used;
    return (std::size_t{SmallOf(used)} + OtherOf(used)) * kUnit;
}

bool RequestMemory::AddToUsed(Use use, std::uint32_t units) noexcept {
    std::uint64_t used = m_used;
    do {
        const std::uint64_t small = SmallOf(used);
        const std::uint64_t other = OtherOf(used);
        if (IsSmall(use) && small + units <= m_smallReserve) {
            continue;  // whatever all others hold
        }
        const bool stepsBack = (IsSmall(use) || GivesWay(use)) && m_numWaiting[IndexOf(Use::LargeTree)] > 0;
        const std::uint64_t beside = IsSmall(use) ? small : std::max<std::uint64_t>(small, m_smallReserve);
        if (stepsBack || other + beside + units > m_budget) {
            return false;
        }
    } while (!m_used.compare_exchange_weak(used, used + WordOf(use, units)));
    return true;
}

bool RequestMemory::Take(Use use, std::uint32_t units) noexcept {
    if (!IsBody(use)) {
        return AddToUsed(use, units);
    }
    std::uint32_t& bodies = m_bodies[BodyIndexOf(use)];
    if (units > m_mostOfBodies[BodyIndexOf(use)] - bodies || !AddToUsed(use, units)) {
        return false;
    }
    bodies += units;
    return true;
}

std::optional<RequestMemory::Use> RequestMemory::TakeAnyOf(Use use, std::uint32_t units) noexcept {
    if (Take(use, units)) {
        return use;
    }
    if (use == Use::SmallBody && Take(Use::SpareBody, units)) {
        return Use::SpareBody;
    }
    return std::nullopt;
}

void RequestMemory::GiveBack(Use use, std::uint32_t units) noexcept {
    Entries served;
    if (IsBody(use)) {
        const MutexLock lock(m_mutex);
        m_bodies[BodyIndexOf(use)] -= units;
        m_used -= WordOf(use, units);
        served = ServeWaiting();
    } else {
        m_used -= WordOf(use, units);
        if (m_numWaitingAtAll > 0) {
            const MutexLock lock(m_mutex);
            served = ServeWaiting();
        }
    }
    HandOver(served);
}

// Trees before bodies, for a tree is what frees the most.
RequestMemory::Entries RequestMemory::ServeWaiting() noexcept {
    Entries served;
    for (const Use use : {Use::SmallTree, Use::LargeTree, Use::LargeAnswer, Use::SmallBody, Use::LargeBody}) {
        auto& queue = m_queues[IndexOf(use)];
        while (!queue.IsEmpty()) {
            Entry& next = *queue.Next();
            if (!m_isClosed) {
                const auto granted = TakeAnyOf(use, next.units);
                if (!granted) {
                    break;
                }
                next.share = Share(shared_from_this(), *granted, next.units);
            }
            queue.TakeNext(served);
            --m_numWaiting[IndexOf(use)];
            --m_numWaitingAtAll;
        }
    }
    return served;
}

void RequestMemory::HandOver(const Entries& served) noexcept {
    for (const auto& entry : served) {
        entry->onShare(std::move(entry->share));
    }
}

void RequestMemory::LeaveQueue(const std::shared_ptr<Entry>& entry) noexcept {
    Entries served;
    {
        const MutexLock lock(m_mutex);
        if (m_queues[IndexOf(entry->use)].Remove(entry->caller, entry)) {
            --m_numWaiting[IndexOf(entry->use)];
            --m_numWaitingAtAll;
            served = ServeWaiting();  // it may have stood before one that fits
        }
    }
    HandOver(served);
}

}  // namespace PlatformAbstraction::Rest
