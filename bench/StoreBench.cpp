// What a durable write costs, from one thread and from many: the store commits in groups, so many waiting
// threads share each sync.

#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>

#include "Core/src/wf_Record.h"
#include "platform/stores/EventLog.h"
#include "platform/stores/RecordStore.h"
#include "platform/stores/sqlite/EmbeddedStore.h"
#include "platform/stores/sqlite/SqliteOptions.h"

namespace {

namespace fs = std::filesystem;
using CommonServices::EmbeddedStore;

/// A store on a real file, for one benchmark; threads of the benchmark share it. QUILLON_BENCH_DIR names the
/// disk to measure.
class StoreOnDisk {
public:
    StoreOnDisk() {
        const char* place = std::getenv("QUILLON_BENCH_DIR");
        m_directory = place != nullptr ? fs::path(place) : fs::temp_directory_path();
        m_directory /= "quillon-store-bench-" + std::to_string(::getpid());
        fs::remove_all(m_directory);
        CommonServices::Sqlite::SqliteOptions options;
        options.path = (m_directory / "bench.db").string();
        options.compression = CommonServices::Sqlite::Compression::None;  // what counts is the bytes to write
        m_store = CommonServices::OpenEmbeddedStore(options);
    }
    StoreOnDisk(const StoreOnDisk&) = delete;
    StoreOnDisk& operator=(const StoreOnDisk&) = delete;
    ~StoreOnDisk() {
        m_store = {};
        fs::remove_all(m_directory);
    }
    EmbeddedStore& operator*() { return m_store; }
    double FileBytes() const { return static_cast<double>(fs::file_size(m_directory / "bench.db")); }
    void Close() { m_store = {}; }

private:
    fs::path m_directory;
    EmbeddedStore m_store;
};

std::unique_ptr<StoreOnDisk> g_store;

void OpenStore(const benchmark::State&) {
    g_store = std::make_unique<StoreOnDisk>();
}
void CloseStore(const benchmark::State&) {
    g_store.reset();
}

constexpr std::size_t kJobBytes = 6500;

Weftline::Record JobRecord() {
    Weftline::Record job("Job", 1, "V2_WFJobs");
    job.name = "Transcode";
    job.recordData = "{\"processingData\":\"" + std::string(kJobBytes, 'x') + "\"}";
    job.recordPublicData =
        "{\"jobKind\":\"transcode\",\"priority\":50,\"filler\":\"" + std::string(450, 'y') + "\"}";
    return job;
}

Weftline::Record JobEvent(const Weftline::Record& job) {
    Weftline::Record event("JobCreated", 1, "V2_WFJobEvents");
    event.recordData =
        "{\"id\":\"" + job.recordID + "\",\"jobQueue\":\"c52a7f6e-c32a-45da-8716-c06c79af3a98\"}";
    return event;
}

void Require(bool accepted) {
    if (!accepted) {
        throw std::runtime_error("the store refused a write");
    }
}

void UpsertNewJobs(benchmark::State& state) {
    for ([[maybe_unused]] auto _ : state) {
        Require((**g_store).records->UpsertOne(JobRecord()));
    }
    state.SetItemsProcessed(state.iterations());
}

void SubmitJobs(benchmark::State& state) {
    std::size_t texts = 0;
    for ([[maybe_unused]] auto _ : state) {
        const Weftline::Record job = JobRecord();
        const Weftline::Record event = JobEvent(job);
        Require((**g_store).records->UpsertOne(job));
        Require((**g_store).events->Produce(event, true));
        for (const Weftline::Record* record : {&job, &event}) {
            texts += record->recordID.size() + record->recordType.size() + record->recordTopic.size() +
                     record->name.size() + record->recordData.size() + record->recordPublicData.size() +
                     record->tags.size();
        }
    }
    state.SetItemsProcessed(state.iterations());
    state.counters["text_bytes"] = benchmark::Counter(static_cast<double>(texts));
    if (state.thread_index() == 0) {
        g_store->Close();
        state.counters["file_bytes"] = benchmark::Counter(g_store->FileBytes());
    }
}

BENCHMARK(UpsertNewJobs)->Setup(OpenStore)->Teardown(CloseStore)->UseRealTime()->Threads(1)->Threads(64);
BENCHMARK(SubmitJobs)->Setup(OpenStore)->Teardown(CloseStore)->UseRealTime()->Threads(64);

}  // namespace
