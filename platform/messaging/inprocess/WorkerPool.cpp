#include "platform/messaging/inprocess/WorkerPool.h"

#include <exception>
#include <string>
#include <utility>

#include "base/concurrency/MemoryWatch.h"
#include "base/log/PlatformLog.h"
#include "platform/messaging/inprocess/InProcessBus.h"

namespace PlatformAbstraction::Messaging {

namespace {

// How long a thread that nobody needs stays: bursts that come again within it find their threads.
constexpr std::chrono::seconds kIdleTime{10};

thread_local bool t_isWorker = false;

}  // namespace

std::shared_ptr<WorkerPool> WorkerPool::Create(const InProcessBusSettings& settings, Runner runner) {
    std::shared_ptr<WorkerPool> pool(new WorkerPool(settings, std::move(runner)));
    const MutexLock lock(pool->m_mutex);
    pool->StartWorker();
    return pool;
}

WorkerPool::WorkerPool(const InProcessBusSettings& settings, Runner runner)
    : m_maxActive(settings.threads),
      m_maxWorkers(settings.threads + settings.maxStandIns),
      m_maxQueued(settings.maxQueuedMessages),
      m_pHeld(std::make_shared<HeldMessages>()),
      m_pRunner(std::make_shared<const Runner>(std::move(runner))) {}

Acceptance WorkerPool::Post(Work& work) {
    Worker* woken = nullptr;
    {
        const MutexLock lock(m_mutex);
        if (m_isClosed || (m_isDraining && !work->isPartOfWorkUnderWay)) {
            return Acceptance::Stopping;
        }
        if (m_queue.size() + m_pHeld->Count() >= m_maxQueued) {
            return Acceptance::QueueFull;
        }
        m_queue.push_back(std::move(work));
        woken = ChooseWhomToWake();
    }
    if (woken != nullptr) {
        woken->wake.NotifyOne();
    }
    return Acceptance::Accepted;
}

void WorkerPool::Drain() {
    const MutexLock lock(m_mutex);
    m_isDraining = true;
}

// A message is held before its thread is done with it, so none is missed between the two. Whoever gets an
// answer that was held may send the next message.
void WorkerPool::WaitUntilQuiet(Clock::time_point deadline) {
    bool isOver = false;
    do {
        m_pHeld->WaitUntilNone(deadline);
        MutexLock lock(m_mutex);
        while (!IsQuiet() && m_quiet.WaitUntil(lock, deadline)) {
        }
        isOver = m_pHeld->Count() == 0;
    } while (!isOver && Clock::now() < deadline);
}

std::deque<WorkerPool::Work> WorkerPool::Close(Clock::time_point deadline) {
    std::deque<Work> unanswered;
    std::shared_ptr<const Runner> runner;  // let go outside the lock: the handlers may go with it
    WorkerList finished;
    {
        MutexLock lock(m_mutex);
        m_isClosed = true;
        for (Worker* const idle : m_idle) {
            idle->wake.NotifyOne();
        }
        while (!m_workers.empty() && m_left.WaitUntil(lock, deadline)) {
        }
        unanswered.swap(m_queue);
        // Whoever has no message in hand leaves at once, so only the others are left behind.
        while (m_workers.size() > m_numRunning) {
            m_left.Wait(lock);
        }
        for (Worker& worker : m_workers) {
            if (worker.thread.joinable()) {
                worker.thread.detach();
            }
        }
        runner.swap(m_pRunner);
        finished.swap(m_finished);
    }
    for (Worker& worker : finished) {
        if (worker.thread.joinable()) {
            worker.thread.join();
        }
    }
    const MutexLock lock(m_mutex);
    m_spare.splice(m_spare.end(), finished);
    return unanswered;
}

bool WorkerPool::IsOnWorkerThread() noexcept {
    return t_isWorker;
}

void WorkerPool::EnterBlocking() noexcept {
    Worker* woken = nullptr;
    {
        const MutexLock lock(m_mutex);
        --m_numActive;
        woken = ChooseWhomToWake();
    }
    if (woken != nullptr) {
        woken->wake.NotifyOne();
    }
}

void WorkerPool::LeaveBlocking() noexcept {
    const MutexLock lock(m_mutex);
    ++m_numActive;
}

void WorkerPool::RunWorker(WorkerList::iterator self) {
    t_isWorker = true;
    ObserveBlocking(this);
    {
        std::shared_ptr<const Runner> runner;  // outlives the lock, see `Close`
        MutexLock lock(m_mutex);
        m_isOneOnItsWay = false;
        runner = m_pRunner;
        do {
            WorkWhileThereIsSome(*runner);
        } while (WaitUntilWoken(lock, *self));
    }
    ObserveBlocking(nullptr);
    Leave(self);
}

void WorkerPool::WorkWhileThereIsSome(const Runner& runner) {
    while (!m_queue.empty() && m_numActive <= m_maxActive) {
        Work work = std::move(m_queue.front());
        m_queue.pop_front();
        work->isAlone = m_queue.empty() && m_numRunning == 0 && m_pHeld->Count() == 0;
        ++m_numRunning;
        Worker* const woken = ChooseWhomToWake();
        m_mutex.unlock();
        if (woken != nullptr) {
            woken->wake.NotifyOne();
        }
        {
            const MemoryWatch watch;
            runner(std::move(work), m_pHeld);
        }
        m_mutex.lock();
        --m_numRunning;
    }
    --m_numActive;
    if (m_isDraining && IsQuiet()) {
        m_quiet.NotifyAll();
    }
}

// Nobody is left behind when this thread steps back or idles: then either nothing waits, or as many as
// allowed are at work and come to the queue after their message.
bool WorkerPool::WaitUntilWoken(MutexLock& lock, Worker& self) {
    if (m_isClosed) {
        return false;
    }
    m_idle.push_back(&self);
    // The lowest stays the lowest until it is woken. It is the one that always stays.
    const bool staysForEver = m_idle.size() == 1;
    const auto deadline = Clock::now() + kIdleTime;
    bool isTimeOver = false;
    while (!self.isWoken && !m_isClosed && !isTimeOver) {
        if (staysForEver) {
            self.wake.Wait(lock);
        } else {
            isTimeOver = !self.wake.WaitUntil(lock, deadline);
        }
    }
    if (self.isWoken) {
        self.isWoken = false;
        m_isOneOnItsWay = false;
        return true;
    }
    std::erase(m_idle, &self);
    return false;
}

// Whoever leaves joins those who left before.
void WorkerPool::Leave(WorkerList::iterator self) {
    WorkerList finished;
    {
        const MutexLock lock(m_mutex);
        finished.swap(m_finished);
    }
    for (Worker& worker : finished) {
        if (worker.thread.joinable()) {
            worker.thread.join();
        }
    }
    const MutexLock lock(m_mutex);
    m_spare.splice(m_spare.end(), finished);
    m_finished.splice(m_finished.end(), m_workers, self);
    m_left.NotifyAll();
}

WorkerPool::Worker* WorkerPool::ChooseWhomToWake() noexcept {
    if (m_queue.empty() || m_isOneOnItsWay || m_numActive >= m_maxActive) {
        return nullptr;
    }
    if (m_idle.empty()) {
        TryToStartWorker();
        return nullptr;
    }
    Worker* const worker = m_idle.back();
    m_idle.pop_back();
    worker->isWoken = true;
    m_isOneOnItsWay = true;
    ++m_numActive;
    return worker;
}

void WorkerPool::TryToStartWorker() noexcept {
    if (m_workers.size() >= m_maxWorkers) {
        return;
    }
    try {
        StartWorker();
        m_hasLackedThreads = false;
    } catch (const std::exception& error) {
        // The threads that there are go on. Each message may try again, so the first failure speaks for all.
        if (!std::exchange(m_hasLackedThreads, true)) {
            Log::Error(std::string("The bus cannot start a further thread: ") + error.what());
        }
    }
}

// Under the mutex, which the new thread waits for at once: so it cannot leave before its handle is in place.
void WorkerPool::StartWorker() {
    if (m_spare.empty()) {
        m_spare.emplace_back();
    }
    const auto self = m_spare.begin();
    self->thread = std::thread([pool = shared_from_this(), self] { pool->RunWorker(self); });
    m_workers.splice(m_workers.end(), m_spare, self);
    m_isOneOnItsWay = true;
    ++m_numActive;
}

}  // namespace PlatformAbstraction::Messaging
