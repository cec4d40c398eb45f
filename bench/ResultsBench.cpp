// What fetching the results of a large query costs, on the embedded store on disk: reading, deleting durably,
// parsing every record and writing one page.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "Core/src/wf_Record.h"
#include "handlers/results/FormatResults.h"
#include "handlers/results/StoreListings.h"
#include "platform/stores/RecordStore.h"
#include "platform/stores/StoreChoice.h"
#include "platform/stores/sqlite/EmbeddedStore.h"

namespace {

namespace fs = std::filesystem;
using CommonServices::EmbeddedStore;
using CoreServices::Parameters;
using Weftline::Record;

constexpr std::size_t kWriters = 64;

constexpr const char* kFormat =
    R"({"RasterSize":{"Width":1920,"Height":1080},"Progressive":true,"ChromaSampling":"422",)"
    R"("BitsPerComponent":10,"ColorSpace":"0xdab8b683-0x8476-0x4478-0x8f6e-0x2da6-0xf50d-0xe395",)"
    R"("FrameRate":{"Numerator":60000,"Denominator":1001},"MaxGOPLength":1,"MaxBitRate":440,)"
    R"("AvgBitRate":440,"CompressionFamily":"Ravex HQX","EncodingName":"Ravex HQX","Compressed":true,)"
    R"("LegacyVCID":1242,"Preset":"ravex/hr/1271/422"})";

/// The stores of the process on a real file, as long as this lives. QUILLON_BENCH_DIR names the disk.
class StoresOnDisk {
public:
    StoresOnDisk() {
        const char* place = std::getenv("QUILLON_BENCH_DIR");
        m_directory = place != nullptr ? fs::path(place) : fs::temp_directory_path();
        m_directory /= "quillon-results-bench-" + std::to_string(::getpid());
        fs::remove_all(m_directory);
        m_store = CommonServices::OpenEmbeddedStore((m_directory / "bench.db").string());
        CommonServices::StoreChoice::SetRecords(m_store.records);
        CommonServices::StoreChoice::SetEvents(m_store.events);
    }
    StoresOnDisk(const StoresOnDisk&) = delete;
    StoresOnDisk& operator=(const StoresOnDisk&) = delete;
    ~StoresOnDisk() {
        CommonServices::StoreChoice::SetEvents(nullptr);
        CommonServices::StoreChoice::SetRecords(nullptr);
        m_store = {};
        fs::remove_all(m_directory);
    }

    /// From many threads, which share the syncs.
    void Fill(const Record& sample, std::size_t count) {
        std::vector<std::jthread> writers;
        for (std::size_t first = 0; first < kWriters; ++first) {
            writers.emplace_back([this, &sample, first, count] {
                for (std::size_t n = first; n < count; n += kWriters) {
                    Record record = sample;
                    record.recordID = "record-" + std::to_string(n);
                    m_store.records->UpsertOne(record);
                }
            });
        }
    }

private:
    fs::path m_directory;
    EmbeddedStore m_store;
};

double ResidentMiB() {
    std::ifstream statm("/proc/self/statm");
    double total = 0;
    double resident = 0;
    statm >> total >> resident;
    return resident * static_cast<double>(::sysconf(_SC_PAGESIZE)) / (1 << 20);
}

/// One page of a query with as many video formats as the argument says; each fetch consumes them all.
void FetchVideoFormats(benchmark::State& state) {
    StoresOnDisk stores;
    Record format("VideoFormat", 1, "V2_WFVideoFormats");
    format.recordData = kFormat;
    format.recordPublicData = R"({"queryID":"q"})";
    const Parameters request = Parameters::fromJSON(R"({"queryID":"q"})");
    Weftline::Services::Scheduler::FindVideoFormatsHandler handler("test");
    const double before = ResidentMiB();
    for ([[maybe_unused]] auto step : state) {
        state.PauseTiming();
        stores.Fill(format, static_cast<std::size_t>(state.range(0)));
        state.ResumeTiming();
        PlatformAbstraction::Messaging::ServiceMessageResponse response;
        handler.HandleMessage(nullptr, request, response);
        if (response.GetAnswer()->text.find(R"("FoundFormats":60)") == std::string::npos) {
            state.SkipWithError("the page is not full");
        }
    }
    state.counters["MiB_kept"] = ResidentMiB() - before;
}

void ListProfiles(benchmark::State& state) {
    StoresOnDisk stores;
    Record profile("Profile", 1, "V2_WFProfiles");
    profile.recordData =
        R"({"name":"HD proxy","type":"Proxy","video":{"codec":{"value":"h264","label":"Codec"}}})";
    stores.Fill(profile, static_cast<std::size_t>(state.range(0)));
    Weftline::Services::Scheduler::GetProfilesHandler handler;
    for ([[maybe_unused]] auto step : state) {
        benchmark::DoNotOptimize(handler.HandleMessageV2(Parameters(), nullptr).IsEmpty());
    }
}

BENCHMARK(FetchVideoFormats)
    ->Arg(100)
    ->Arg(10'000)
    ->Iterations(3)
    ->Unit(benchmark::kMillisecond)
    ->MeasureProcessCPUTime()
    ->UseRealTime();
BENCHMARK(ListProfiles)->Arg(1'000)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
