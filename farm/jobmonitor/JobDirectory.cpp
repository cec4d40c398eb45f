#include "farm/jobmonitor/JobDirectory.h"

#include <algorithm>
#include <chrono>
#include <exception>
#include <future>
#include <iterator>
#include <span>
#include <stdexcept>
#include <utility>

#include "Core/src/Job.h"
#include "Core/src/Vocabulary.h"
#include "base/log/PlatformLog.h"
#include "farm/protocol/Pause.h"
#include "platform/stores/EventLog.h"
#include "platform/stores/ObjectStore.h"
#include "platform/stores/StoreChoice.h"

namespace Quillon::Farm {

using CommonServices::LoggedEvent;
using CommonServices::ObjectStore;
using CommonServices::StoreChoice::LongestEventWait;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

namespace {

constexpr std::size_t kBatch = 2048;
constexpr std::size_t kWorthAThread = 256;
constexpr std::size_t kReadAtOnce = 8;  // records, of which each may be megabytes
// A page is asked for by somebody who waits. An index that is being made anew is shown as far as it has come.
constexpr milliseconds kCatchUpPatience{1000};
// Events that come in quick succession are read together.
constexpr milliseconds kBetweenReads{100};
constexpr milliseconds kPauseAfterFailure{2000};
// A log that is away takes its time to say nothing. Then pages are given as the index is, without asking it
// one after the other.
constexpr milliseconds kLogIsAway{500};
constexpr milliseconds kPagesWithoutLog{5000};
constexpr std::int32_t kMostSubTasks = 100;  // named with their parent; whoever wants more lists them

std::vector<LoggedEvent> ReadEvents(std::int64_t afterOffset, std::size_t limit,
                                    const CommonServices::EventWait& wait = {}) {
    return CommonServices::StoreChoice::Events()->Read(std::string(Weftline::Topics::JobEvents), afterOffset,
                                                       limit, wait);
}

std::optional<Weftline::Record> FindRecord(const std::string& jobId) {
    return ObjectStore().FindByID(jobId, std::string(Weftline::Collections::Jobs));
}

std::vector<std::optional<Weftline::Record>> FindRecords(const std::vector<std::string>& jobIds) {
    return ObjectStore().FindManyByID(jobIds, std::string(Weftline::Collections::Jobs));
}

// Where it is told of: few of the jobs of a page have failed, and the private data of all is what takes time.
void AddPrivateData(Weftline::Record& job) {
    if (IsToldFromPrivateData(job)) {
        if (auto whole = FindRecord(job.recordID)) {
            job.recordData = std::move(whole->recordData);
        }
    }
}

using Events = std::span<const LoggedEvent>;

/// The jobs that were announced, but for those that were removed since.
std::vector<IndexedJob> ReadAnnounced(Events events) {
    std::vector<IndexedJob> jobs;
    while (!events.empty()) {
        const Events some = events.first(std::min(kReadAtOnce, events.size()));
        events = events.subspan(some.size());
        std::vector<std::string> ids;
        for (const LoggedEvent& event : some) {
            ids.push_back(Weftline::DataModel::ReadJobCreatedEvent(event.record));
        }
        const auto records = FindRecords(ids);
        for (std::size_t n = 0; n < some.size(); ++n) {
            if (records[n]) {
                jobs.push_back(MakeEntry(*records[n], some[n].offset));
            }
        }
    }
    return jobs;
}

/// The same, in half the time where there is another core: this is what an index that is made anew waits for.
std::vector<IndexedJob> ReadAnnouncedInHalves(Events events) {
    const std::size_t half = events.size() / 2;
    auto rest = std::async(ReadAnnounced, events.subspan(half));
    std::vector<IndexedJob> jobs = ReadAnnounced(events.first(half));
    std::ranges::move(rest.get(), std::back_inserter(jobs));
    return jobs;
}

// Once more where the index was begun anew.
template <class Work>
auto Insist(const Work& work) {
    try {
        return work();
    } catch (const JobIndexBegunAnew&) {
        return work();
    }
}

}  // namespace

JobDirectory::JobDirectory(const std::string& indexPath) : m_index(indexPath) {
    Insist([this] { StartOverIfLogIsAnother(); });
}

void JobDirectory::StartOverIfLogIsAnother() {
    const IndexPosition position = m_index.Position();
    if (position.offset == 0) {
        return;
    }
    const auto last = ReadEvents(position.offset - 1, 1);
    if (last.empty() || last[0].offset != position.offset || last[0].record.recordID != position.eventId) {
        PlatformAbstraction::Log::Info("The index of jobs is made anew, for it belongs to another store.");
        m_index.Clear();
    }
}

void JobDirectory::Follow(const std::stop_token& stop) {
    bool isFailing = false;
    while (!stop.stop_requested()) {
        try {
            if (!ReadEvents(m_index.Position().offset, 1, {LongestEventWait(), stop}).empty()) {
                while (ReadBatch(Asker::Follower) == kBatch && !stop.stop_requested()) {
                }
            }
            isFailing = false;
            PauseUnlessStopped(kBetweenReads, stop);
        } catch (const JobIndexBegunAnew&) {
            continue;  // with the first event
        } catch (const std::exception& failure) {
            if (!std::exchange(isFailing, true)) {
                PlatformAbstraction::Log::Error(std::string("The index of jobs does not follow the log: ") +
                                                failure.what());
            }
            PauseUnlessStopped(kPauseAfterFailure, stop);
        }
    }
}

void JobDirectory::CatchUp() {
    const auto deadline = steady_clock::now() + kCatchUpPatience;
    while (ReadBatch(Asker::Page) == kBatch && steady_clock::now() < deadline) {
    }
}

std::size_t JobDirectory::ReadBatch(Asker asker) {
    const std::lock_guard lock(m_readingMutex);
    const auto begun = steady_clock::now();
    if (asker == Asker::Page && begun < m_logIsAwayUntil) {
        return 0;
    }
    const auto events = ReadEvents(m_index.Position().offset, kBatch);
    const auto read = steady_clock::now();
    const bool isAway = events.empty() && read - begun >= kLogIsAway;
    m_logIsAwayUntil = isAway ? read + kPagesWithoutLog : read;
    const auto jobs = events.size() < kWorthAThread ? ReadAnnounced(events) : ReadAnnouncedInHalves(events);
    if (!events.empty()) {
        m_index.Add(jobs, {events.back().offset, events.back().record.recordID});
    }
    if (events.size() < kBatch) {
        m_index.PrepareLists();
    }
    return events.size();
}

std::optional<ListedJob> JobDirectory::Find(const std::string& jobId) {
    auto record = FindRecord(jobId);
    if (!record) {
        return std::nullopt;
    }
    IndexedJob entry = MakeEntry(*record, 0);
    return ListedJob{std::move(*record), std::move(entry)};
}

std::vector<ListedJob> JobDirectory::Newest(const JobFilter& filter, const JobPage& page) {
    return ReadPage({page.call, filter, {}}, page, JobIndex::kNewest,
                    [&](const PagePlaces::Start& start, std::int32_t limit) {
                        return m_index.Newest(filter, start.place, start.skip, limit);
                    });
}

std::vector<ListedJob> JobDirectory::OfKind(const std::string& kind, const JobPage& page) {
    return ReadPage({page.call, {}, kind}, page, JobIndex::kOldest,
                    [&](const PagePlaces::Start& start, std::int32_t limit) {
                        return m_index.OfKind(kind, start.place, start.skip, limit);
                    });
}

template <class Read>
std::vector<ListedJob> JobDirectory::ReadPage(const Listing& listing, const JobPage& page, std::int64_t first,
                                              const Read& read) {
    const std::int64_t offset = std::max(page.offset, 0);
    const auto limit = static_cast<std::size_t>(std::max(page.limit, 0));
    return Insist([&] {
        CatchUp();
        PagePlaces::Start start = m_places.Find(listing, offset, first);
        std::int64_t beginning = first;
        std::vector<ListedJob> jobs;
        while (jobs.size() < limit) {
            std::vector<IndexedJob> entries = read(start, static_cast<std::int32_t>(limit - jobs.size()));
            if (entries.empty()) {
                m_places.Forget(listing);
                return jobs;
            }
            if (first == JobIndex::kNewest && offset == 0 && beginning == first) {
                beginning = entries.front().order + 1;
            }
            start = {entries.back().order, 0};
            Collect(std::move(entries), jobs);
        }
        if (limit > 0) {
            m_places.GoOn(listing, offset == 0, beginning, start.place,
                          offset + static_cast<std::int64_t>(limit));
        }
        return jobs;
    });
}

void JobDirectory::Collect(std::vector<IndexedJob> entries, std::vector<ListedJob>& page) {
    std::vector<std::string> ids;
    ids.reserve(entries.size());
    for (const IndexedJob& entry : entries) {
        ids.push_back(entry.id);
    }
    auto records = ObjectStore().FindManyWithoutData(ids, std::string(Weftline::Collections::Jobs));
    std::vector<std::string> gone;
    for (std::size_t n = 0; n < entries.size(); ++n) {
        if (records[n]) {
            AddPrivateData(*records[n]);
            page.push_back({std::move(*records[n]), std::move(entries[n])});
        } else {
            gone.push_back(std::move(ids[n]));
        }
    }
    m_index.Remove(gone);
}

SubTasks JobDirectory::SubTasksOf(const std::string& jobId) {
    SubTasks subTasks;
    subTasks.ids = Insist([&] { return m_index.ChildrenOf(jobId, kMostSubTasks + 1); });
    subTasks.areMore = subTasks.ids.size() > kMostSubTasks;
    if (subTasks.areMore) {
        subTasks.ids.pop_back();
    }
    return subTasks;
}

std::int64_t JobDirectory::CountOfKind(const std::string& kind) {
    return Insist([&] { return m_index.CountOfKind(kind); });
}

bool JobDirectory::Remove(const std::string& jobId) {
    // The store does not tell whether the record was there, so nobody else may delete between the two steps.
    const PlatformAbstraction::MutexLock lock(m_removalMutex);
    if (!FindRecord(jobId)) {
        return false;
    }
    if (!ObjectStore().DeleteMany({jobId})) {
        throw std::runtime_error("The store did not remove the job \"" + jobId + "\"");
    }
    Insist([&] { m_index.Remove({jobId}); });
    return true;
}

}  // namespace Quillon::Farm
