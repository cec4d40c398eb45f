#include "platform/stores/StoreChoice.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <utility>

#include "Core/src/Vocabulary.h"
#include "base/concurrency/Mutex.h"
#include "base/log/PlatformLog.h"
#include "platform/messaging/ConfigurationStore.h"
#include "platform/stores/EventLog.h"
#include "platform/stores/RecordStore.h"
#include "platform/stores/sqlite/EmbeddedStore.h"
#include "platform/stores/sqlite/SqliteOptions.h"

namespace CommonServices::StoreChoice {

namespace {

using PlatformAbstraction::Mutex;
using PlatformAbstraction::MutexLock;

struct Choice {
    Mutex mutex;
    std::shared_ptr<RecordStore> records QUILLON_GUARDED_BY(mutex);
    std::shared_ptr<EventLog> events QUILLON_GUARDED_BY(mutex);
    EmbeddedStore embedded QUILLON_GUARDED_BY(mutex);
    std::string embeddedPath QUILLON_GUARDED_BY(mutex);
};

Choice& TheChoice() {
    static Choice& choice = *new Choice;  // leaked on purpose, see the header
    return choice;
}

// Closing a store waits for its writer, so the caller does that after the mutex.
EmbeddedStore LetGoOfEmbedded(Choice& choice) QUILLON_REQUIRES(choice.mutex) {
    if (choice.events == choice.embedded.events) {
        choice.events.reset();
    }
    if (choice.records == choice.embedded.records) {
        choice.records.reset();
    }
    return std::exchange(choice.embedded, {});
}

Sqlite::Compression ReadCompression() {
    const std::string text =
        PlatformAbstraction::GetConfigValue(std::string(Weftline::Options::StoreCompression));
    if (!text.empty() && text != "zstd" && text != "none") {
        throw ObjectStoreException("store.compression is \"zstd\" or \"none\", and not \"" + text + "\"");
    }
    return text == "none" ? Sqlite::Compression::None : Sqlite::Compression::Zstd;
}

}  // namespace

void OpenEmbedded(const std::string& path) {
    Choice& choice = TheChoice();
    EmbeddedStore former;
    {
        const MutexLock lock(choice.mutex);
        if (choice.embedded.records != nullptr && choice.embeddedPath == path) {
            choice.records = choice.embedded.records;
            return;
        }
        former = LetGoOfEmbedded(choice);
    }
    former = {};
    Sqlite::SqliteOptions options;
    options.path = path;
    options.compression = ReadCompression();
    EmbeddedStore opened = OpenEmbeddedStore(options);
    const MutexLock lock(choice.mutex);
    choice.records = opened.records;
    choice.embedded = std::move(opened);
    choice.embeddedPath = path;
}

std::string EmbeddedPath() {
    Choice& choice = TheChoice();
    const MutexLock lock(choice.mutex);
    return choice.embedded.records == nullptr ? std::string() : choice.embeddedPath;
}

void SetRecords(std::shared_ptr<RecordStore> records) {
    Choice& choice = TheChoice();
    EmbeddedStore former;  // closes after the mutex
    const MutexLock lock(choice.mutex);
    former = LetGoOfEmbedded(choice);
    choice.records.swap(records);
}

std::shared_ptr<RecordStore> Records() {
    Choice& choice = TheChoice();
    const MutexLock lock(choice.mutex);
    if (choice.records == nullptr) {
        throw ObjectStoreException("There is no record store: it was not initialised, or that failed");
    }
    return choice.records;
}

void SetEvents(std::shared_ptr<EventLog> events) {
    Choice& choice = TheChoice();
    const MutexLock lock(choice.mutex);
    choice.events.swap(events);
}

std::shared_ptr<EventLog> Events() {
    Choice& choice = TheChoice();
    const MutexLock lock(choice.mutex);
    if (choice.events != nullptr) {
        return choice.events;
    }
    const std::string host = PlatformAbstraction::GetConfigValue(std::string(Weftline::Options::KafkaHost));
    if (!host.empty()) {
        const std::string reason = "This build has no Kafka event log, and kafka-host names '" + host +
                                   "'; leave kafka-host empty for the embedded log";
        PlatformAbstraction::Log::Error(reason);  // nobody further up says it on standard error
        throw ObjectStoreException(reason);
    }
    if (choice.embedded.events == nullptr) {
        throw ObjectStoreException(
            "There is no event log: the object store was not initialised, or that failed");
    }
    choice.events = choice.embedded.events;
    return choice.events;
}

std::chrono::milliseconds LongestEventWait() {
    constexpr std::int32_t kDefault = 2000;
    constexpr std::int32_t kShortest = 10;  // less would keep a core busy with reading an idle log
    const std::string text =
        PlatformAbstraction::GetConfigValue(std::string(Weftline::Options::EventMaxPollingTimeoutMs));
    std::int32_t wait = kDefault;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), wait);
    const bool isNumber = error == std::errc() && end == text.data() + text.size() && wait >= 0;
    return std::chrono::milliseconds(isNumber ? std::max(wait, kShortest) : kDefault);
}

}  // namespace CommonServices::StoreChoice
