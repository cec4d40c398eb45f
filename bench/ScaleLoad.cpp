// What bench/scale.py asks of the rooms themselves, one kind of question a run; each answer is a line of
// JSON.
//   ScaleLoad events SERVERS SECONDS     one partition: events sent, and read
//   ScaleLoad documents FILE URI DB      the jobs of a store's file into MongoDB, with their events pending
//   ScaleLoad index DIRECTORY JOBS       the index of the job monitor

#include <atomic>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "Core/src/Job.h"
#include "Core/src/SubmitOperations.h"
#include "Core/src/Vocabulary.h"
#include "farm/jobmonitor/JobIndex.h"
#include "platform/stores/RecordStore.h"
#include "platform/stores/kafka/EventMessage.h"
#include "platform/stores/kafka/KafkaEventLog.h"
#include "platform/stores/mongo/MongoStore.h"
#include "platform/stores/sqlite/StoreContents.h"

namespace {

using Clock = std::chrono::steady_clock;
using Seconds = std::chrono::duration<double>;
using Weftline::Record;

// As many as the relay sends together.
constexpr std::size_t kTogether = 256;

Record EventOfNewJob() {
    const std::string key = Record("", 0, "").recordID;  // a client key has the length of any id
    return Weftline::DataModel::MakeJobCreatedEvent(key, "");
}

double RateOf(CommonServices::EventLog& log, std::size_t threads, std::size_t together, Seconds length,
              const std::string& topic) {
    std::atomic<std::size_t> taken{0};
    const auto start = Clock::now();
    const auto work = [&] {
        while (Clock::now() - start < length) {
            std::vector<Record> events(together, EventOfNewJob());
            std::vector<const Record*> pointers;
            for (Record& event : events) {
                event = EventOfNewJob();
                event.recordTopic = topic;
                pointers.push_back(&event);
            }
            for (const bool isTaken : log.ProduceAll(pointers)) {
                taken += isTaken ? 1 : 0;
            }
        }
    };
    {
        std::vector<std::jthread> all;
        for (std::size_t n = 0; n < threads; ++n) {
            all.emplace_back(work);
        }
    }
    return static_cast<double>(taken) / Seconds(Clock::now() - start).count();
}

void Events(const std::string& servers, Seconds length) {
    const std::string topic(Weftline::Topics::JobEvents);
    CommonServices::KafkaSettings settings;
    settings.bootstrapServers = servers;
    settings.topics = {topic};
    CommonServices::KafkaEventLog log(settings);
    const std::size_t bytes = CommonServices::Kafka::MessageOf(EventOfNewJob()).size();
    while (RateOf(log, 1, 1, Seconds(1), "warm") == 0) {  // it has just begun to listen
    }
    const double one = RateOf(log, 1, 1, length, "one");
    const double lane = RateOf(log, 1, kTogether, length, "lane");
    const double lanes = RateOf(log, 2, kTogether, length, topic);
    const auto start = Clock::now();
    std::size_t read = 0;
    std::int64_t offset = 0;
    auto last = start;
    for (;;) {
        const auto some = log.Read(topic, offset, kTogether, {std::chrono::seconds(1)});
        if (some.empty()) {
            break;
        }
        read += some.size();
        offset = some.back().offset;
        last = Clock::now();
    }
    std::printf(R"({"bytes":%zu,"one":%.0f,"lane":%.0f,"lanes":%.0f,"events":%zu,"read":%.0f})"
                "\n",
                bytes, one, lane, lanes, read, static_cast<double>(read) / Seconds(last - start).count());
}

/// Kafka that is away.
class AwayLog final : public CommonServices::EventLog {
public:
    bool Produce(const Record& /*record*/, bool /*durable*/) override { return false; }
    std::vector<CommonServices::LoggedEvent> Read(const std::string& /*topic*/, std::int64_t /*after*/,
                                                  std::size_t /*limit*/,
                                                  const CommonServices::EventWait& /*wait*/) override {
        return {};
    }
};

void Documents(const std::string& path, const std::string& uri, const std::string& database) {
    CommonServices::Sqlite::StoreContents file(path);
    std::map<std::string, Record> eventOf;
    file.VisitEvents(0, [&eventOf](std::int64_t, Record&& event) {
        std::string job = Weftline::DataModel::ReadJobCreatedEvent(event);
        eventOf.emplace(std::move(job), std::move(event));
        return true;
    });
    const auto away = std::make_shared<AwayLog>();
    CommonServices::MongoSettings settings;
    settings.uri = uri;
    settings.database = database;
    const auto store = CommonServices::OpenMongoStore(settings, away);
    std::size_t jobs = 0;
    file.VisitRecords(0, [&](std::int64_t, Record&& record) {
        if (const auto event = eventOf.find(record.recordID); event != eventOf.end()) {
            if (!store->UpsertOneAndProduce(record, *away, event->second)) {
                throw std::runtime_error("the job was not stored");
            }
            ++jobs;
        }
        return true;
    });
    std::printf("{\"jobs\":%zu}\n", jobs);
}

void Index(const std::string& directory, std::int64_t jobs) {
    using Quillon::Farm::IndexedJob;
    constexpr std::int64_t kBatch = 10000;
    const std::string path = (std::filesystem::path(directory) / "scale.jobindex").string();
    const std::string kind(Weftline::SubmitOperations::kTranscode.jobKind);
    const auto start = Clock::now();
    {
        Quillon::Farm::JobIndex index(path);
        std::vector<IndexedJob> batch;
        for (std::int64_t n = 1; n <= jobs; ++n) {
            batch.push_back(
                {n, Record("", 0, "").recordID, n % 2 == 0 ? "somebody" : "somebody else", "", kind});
            if (n % kBatch == 0 || n == jobs) {
                index.Add(batch, {n, batch.back().id});
                batch.clear();
            }
        }
        index.PrepareLists();
    }
    const double seconds = Seconds(Clock::now() - start).count();
    std::printf("{\"bytes\":%.1f,\"seconds\":%.1f}\n",
                static_cast<double>(std::filesystem::file_size(path)) / static_cast<double>(jobs), seconds);
}

}  // namespace

int main(int argc, char* argv[]) try {
    const std::vector<std::string> words(argv + 1, argv + argc);
    if (words.size() == 3 && words[0] == "events") {
        Events(words[1], Seconds(std::stod(words[2])));
    } else if (words.size() == 4 && words[0] == "documents") {
        Documents(words[1], words[2], words[3]);
    } else if (words.size() == 3 && words[0] == "index") {
        Index(words[1], std::stoll(words[2]));
    } else {
        std::cerr << "bench/scale.py tells how this is used\n";
        return 2;
    }
    return 0;
} catch (const std::exception& fault) {
    std::cerr << fault.what() << '\n';
    return 1;
}
