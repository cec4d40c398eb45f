// What a page of the job monitor costs with few jobs and with a million, and how soon it starts. The index
// holds them all; only the newest and the oldest have records, since a page reads no more than it shows.

#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "Core/src/Job.h"
#include "Core/src/SubmitOperations.h"
#include "farm/jobmonitor/JobDirectory.h"
#include "platform/stores/EventStore.h"
#include "platform/stores/ObjectStore.h"
#include "platform/stores/StoreChoice.h"

namespace {

namespace fs = std::filesystem;
using Quillon::Farm::IndexedJob;
using Quillon::Farm::JobDirectory;
using Quillon::Farm::JobFilter;
using Quillon::Farm::JobIndex;

constexpr std::int32_t kPage = 100;
constexpr std::int64_t kBatch = 10000;
constexpr std::size_t kJobBytes = 5000;
const std::string g_kind(Weftline::SubmitOperations::kTranscode.jobKind);

std::string IdOf(std::int64_t n) {
    std::string digits = std::to_string(n);
    return "job-" + std::string(32 - digits.size(), '0') + digits;
}

void StoreJob(std::int64_t n) {
    Weftline::DataModel::Job job(IdOf(n));
    job.SetJobKind(g_kind);
    job.SetCreatedDateTime("2026-11-22T20:06:45.123456");
    CoreServices::Parameters request;
    request.SetParameter("filler", std::string(kJobBytes, 'x'));
    job.SetProcessingData(request);
    static_cast<void>(CommonServices::ObjectStore().UpsertOne(job.ToRecord()));
}

/// A store with that many jobs in its index; QUILLON_BENCH_DIR names the disk to measure.
class Farm {
public:
    explicit Farm(std::int64_t jobs) {
        const char* const place = std::getenv("QUILLON_BENCH_DIR");
        m_directory = place != nullptr ? fs::path(place) : fs::temp_directory_path();
        m_directory /= "quillon-farm-bench-" + std::to_string(::getpid());
        fs::remove_all(m_directory);
        CommonServices::StoreChoice::OpenEmbedded((m_directory / "bench.db").string());
        for (std::int64_t n = 0; n < kPage; ++n) {
            StoreJob(1 + n);
            StoreJob(jobs - n);
        }
        const auto event = Weftline::DataModel::MakeJobCreatedEvent("none", "queue");
        CommonServices::EventStore({}).Produce(event, true);
        FillIndex(jobs, {1, event.recordID});
        Open();
    }
    Farm(const Farm&) = delete;
    Farm& operator=(const Farm&) = delete;
    ~Farm() {
        m_jobs.reset();
        CommonServices::StoreChoice::SetEvents(nullptr);
        CommonServices::StoreChoice::SetRecords(nullptr);
        fs::remove_all(m_directory);
    }

    void Close() { m_jobs.reset(); }
    void Open() { m_jobs = std::make_unique<JobDirectory>(IndexPath()); }
    JobDirectory& Jobs() { return *m_jobs; }

private:
    std::string IndexPath() const { return (m_directory / "bench.jobindex").string(); }

    void FillIndex(std::int64_t jobs, const Quillon::Farm::IndexPosition& position) {
        JobIndex index(IndexPath());
        std::vector<IndexedJob> batch;
        for (std::int64_t n = 1; n <= jobs; ++n) {
            batch.push_back({n, IdOf(n), n % 2 == 0 ? "somebody" : "somebody else", "", g_kind});
            if (n % kBatch == 0 || n == jobs) {
                index.Add(batch, position);
                batch.clear();
            }
        }
    }

    fs::path m_directory;
    std::unique_ptr<JobDirectory> m_jobs;
};

// Filling an index takes its time, so it serves all runs of its size.
std::unique_ptr<Farm> g_farm;
std::int64_t g_size = 0;

void UseFarm(const benchmark::State& state) {
    if (std::exchange(g_size, state.range(0)) != state.range(0)) {
        g_farm.reset();
        g_farm = std::make_unique<Farm>(state.range(0));
    }
}

std::size_t Describe(const std::vector<Quillon::Farm::ListedJob>& page) {
    std::size_t bytes = 0;
    for (const auto& job : page) {
        bytes += Quillon::Farm::DescribeJob(job).toJSON().size();
    }
    return bytes;
}

void FindNewestJobs(benchmark::State& state) {
    for ([[maybe_unused]] auto _ : state) {
        benchmark::DoNotOptimize(Describe(g_farm->Jobs().Newest({}, {0, kPage})));
    }
}

void FindOneCreatorsRoots(benchmark::State& state) {
    const JobFilter filter{"somebody", ""};
    for ([[maybe_unused]] auto _ : state) {
        benchmark::DoNotOptimize(Describe(g_farm->Jobs().Newest(filter, {0, kPage / 2})));
    }
}

void FindOldestOfKind(benchmark::State& state) {
    for ([[maybe_unused]] auto _ : state) {
        benchmark::DoNotOptimize(Describe(g_farm->Jobs().OfKind(g_kind, {0, kPage})));
        benchmark::DoNotOptimize(g_farm->Jobs().CountOfKind(g_kind));
    }
}

void StartJobMonitor(benchmark::State& state) {
    for ([[maybe_unused]] auto _ : state) {
        g_farm->Close();
        g_farm->Open();
    }
}

void RegisterAll(std::int64_t jobs) {
    const auto add = [jobs](const char* name, void (*run)(benchmark::State&)) {
        benchmark::RegisterBenchmark(name, run)->Setup(UseFarm)->Unit(benchmark::kMillisecond)->Arg(jobs);
    };
    add("FindNewestJobs", FindNewestJobs);
    add("FindOneCreatorsRoots", FindOneCreatorsRoots);
    add("FindOldestOfKind", FindOldestOfKind);
    add("StartJobMonitor", StartJobMonitor);
}

// All of one size before those of the next.
const bool g_isRegistered = [] {
    for (const std::int64_t jobs : {200, 1000000}) {
        RegisterAll(jobs);
    }
    return true;
}();

}  // namespace
