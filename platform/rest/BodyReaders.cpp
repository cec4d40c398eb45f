#include "platform/rest/BodyReaders.h"

#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <ctime>
#include <utility>

#include "base/concurrency/MemoryWatch.h"

namespace PlatformAbstraction::Rest {

namespace {

// Beside threads of the usual priority this leaves a reader a tenth of a busy processor.
constexpr int kNiceness = 10;

// Of the present thread alone. Where the system refuses it, all are alike.
void StandBack() noexcept {
    const auto thread = static_cast<id_t>(gettid());
    setpriority(PRIO_PROCESS, thread, getpriority(PRIO_PROCESS, thread) + kNiceness);
}

std::chrono::nanoseconds ProcessorTime() noexcept {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

// How long a reader rests after a body that took so much: not at all where it had a processor for itself,
// else long enough for those whom it has hindered. So a caller who sends one large body after the other takes
// a third of what he could.
std::chrono::nanoseconds RestAfter(std::chrono::nanoseconds byTheClock,
                                   std::chrono::nanoseconds ofProcessor) noexcept {
    constexpr std::chrono::milliseconds kLongest{100};
    const bool hadToShare = byTheClock > ofProcessor + ofProcessor / 8;
    return hadToShare ? std::min<std::chrono::nanoseconds>(2 * byTheClock, kLongest)
                      : std::chrono::nanoseconds(0);
}

}  // namespace

void BodyReaders::Start(unsigned threads) {
    for (unsigned n = 0; n < threads; ++n) {
        m_threads.emplace_back([this] {
            StandBack();
            Run();
        });
    }
}

void BodyReaders::Add(CallerKey caller, std::unique_ptr<BodyReading> reading) {
    {
        const MutexLock lock(m_mutex);
        m_queue.Add(caller, std::move(reading));
    }
    m_changed.NotifyOne();
}

void BodyReaders::BeginStop() {
    const MutexLock lock(m_mutex);
    m_isStopping = true;
    m_rest.NotifyAll();
}

void BodyReaders::Stop() {
    {
        const MutexLock lock(m_mutex);
        m_isStopping = true;
        m_isOver = true;
    }
    m_changed.NotifyAll();
    m_rest.NotifyAll();
    for (std::thread& thread : m_threads) {
        thread.join();
    }
    m_threads.clear();
}

void BodyReaders::Run() {
    MutexLock lock(m_mutex);
    while (true) {
        while (m_queue.IsEmpty() && !m_isOver) {
            m_changed.Wait(lock);
        }
        if (m_queue.IsEmpty()) {
            return;
        }
        std::list<Reading> taken;
        m_queue.TakeNext(taken);
        const bool isStopping = m_isStopping;
        lock.unlock();
        const auto begin = std::chrono::steady_clock::now();
        const auto processorBegin = ProcessorTime();
        {
            const MemoryWatch watch;
            taken.front()->Run(isStopping);
            taken.clear();
        }
        const auto end = std::chrono::steady_clock::now();
        const auto rested = end + RestAfter(end - begin, ProcessorTime() - processorBegin);
        lock.lock();
        while (!m_isStopping && m_rest.WaitUntil(lock, rested)) {
        }
    }
}

}  // namespace PlatformAbstraction::Rest
