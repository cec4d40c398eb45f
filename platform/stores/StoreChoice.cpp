#include "platform/stores/StoreChoice.h"

#include <utility>

#include "base/concurrency/Mutex.h"
#include "platform/stores/EventLog.h"
#include "platform/stores/RecordStore.h"
#include "platform/stores/StoreSettings.h"
#include "platform/stores/sqlite/EmbeddedStore.h"

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
    options.compression = StoreSettings::ReadCompression();
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

void OpenMongo(const std::string& uri, const std::string& database) {
    SetRecords(OpenMongoStore(StoreSettings::ReadMongo(uri, database), Events()));
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
    if (StoreSettings::NamesKafka()) {
        choice.events = std::make_shared<KafkaEventLog>(StoreSettings::ReadKafka());
        return choice.events;
    }
    if (choice.embedded.events == nullptr) {
        throw ObjectStoreException(
            "There is no event log: the object store was not initialised, or that failed");
    }
    choice.events = choice.embedded.events;
    return choice.events;
}

bool NamesKafka() {
    return StoreSettings::NamesKafka();
}

void LetGoOfEngines() {
    Choice& choice = TheChoice();
    std::shared_ptr<RecordStore> records;  // end after the mutex, and before the log that they announce to
    std::shared_ptr<EventLog> events;
    const MutexLock lock(choice.mutex);
    if (choice.records != choice.embedded.records) {
        records = std::move(choice.records);
    }
    if (choice.events != choice.embedded.events) {
        events = std::move(choice.events);
    }
}

std::chrono::milliseconds LongestEventWait() {
    return StoreSettings::ReadLongestEventWait();
}

}  // namespace CommonServices::StoreChoice
