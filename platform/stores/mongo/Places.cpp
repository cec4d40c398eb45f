#include "platform/stores/mongo/Places.h"

#include "platform/stores/mongo/Client.h"
#include "platform/stores/mongo/RecordDocument.h"

namespace CommonServices::Mongo {

using PlatformAbstraction::MutexLock;

namespace {

constexpr std::int64_t kBlock = 1000;
constexpr std::chrono::seconds kBlockLife{1};

constexpr const char* kNext = "next";

Document TheCounter() {
    Document filter;
    filter.Text(Fields::kId, Fields::kPlace);
    return filter;
}

// The end of a block of places that no other caller gets.
std::int64_t FetchBlock(Client& client) {
    Document update;
    update.Child("$inc", Document().Long(kNext, kBlock));
    const Document counter = client.FindAndUpdate(Collections::kCounters, TheCounter(), update);
    const auto next = Value(*counter.Get(), kNext).Number();
    if (!next) {
        throw Fault(Fault::Kind::Other, "the counter of places holds no number");
    }
    return *next;
}

}  // namespace

void Places::Prepare(Client& client) {
    Document update;
    update.Child("$setOnInsert", Document().Long(kNext, 0));
    try {
        client.Update(Collections::kCounters, TheCounter(), update, IfMissing::Insert);
    } catch (const Fault& fault) {
        if (fault.kind != Fault::Kind::Duplicate) {
            throw;
        }
        // Another process was faster.
    }
}

std::int64_t Places::Take(Client& client) {
    MutexLock lock(m_mutex);
    const std::uint64_t failures = m_failures;
    while (m_next >= m_end || std::chrono::steady_clock::now() >= m_staleAt) {
        if (m_failures != failures) {
            throw Fault(Fault::Kind::Other, "the counter of places does not answer");
        }
        if (m_isFetching) {
            m_fetched.Wait(lock);
            continue;
        }
        m_isFetching = true;
        lock.unlock();
        std::int64_t end = 0;
        try {
            end = FetchBlock(client);
        } catch (...) {
            lock.lock();
            m_isFetching = false;
            ++m_failures;
            m_fetched.NotifyAll();
            throw;
        }
        lock.lock();
        m_isFetching = false;
        m_end = end;
        m_next = end - kBlock;
        m_staleAt = std::chrono::steady_clock::now() + kBlockLife;
        m_fetched.NotifyAll();
    }
    return m_next++;
}

}  // namespace CommonServices::Mongo
