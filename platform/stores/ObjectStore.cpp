#include "platform/stores/ObjectStore.h"

#include <filesystem>
#include <string_view>
#include <utility>

#include "Core/src/Vocabulary.h"
#include "base/concurrency/HeldOutput.h"
#include "base/log/PlatformLog.h"
#include "platform/messaging/PlatformIdentifiers.h"
#include "platform/stores/EventStore.h"
#include "platform/stores/StoreChoice.h"

namespace CommonServices {

using PlatformAbstraction::HeldOutput;

namespace {

constexpr std::string_view kFileScheme = "sqlite:";

// `<directory>/Store/<database><suffix>.db`, where <directory> holds the metadata root.
std::string EmbeddedPath(const std::string& database, const std::string& suffix) {
    const std::string name = database + suffix;
    if (name.empty() || name.find_first_of(std::string_view("/\0", 2)) != std::string::npos) {
        throw ObjectStoreException("'" + name +
                                   "' cannot be the name of a store: it is empty or holds a slash");
    }
    std::filesystem::path root = std::filesystem::absolute(PlatformAbstraction::MetadataRootPath());
    root = root.lexically_normal();
    if (!root.has_filename()) {
        root = root.parent_path();  // the path ended in a slash
    }
    return (root.parent_path() / "Store" / (name + ".db")).string();
}

bool IsMongo(const std::string& uri) {
    return uri.starts_with("mongodb://") || uri.starts_with("mongodb+srv://");
}

// The address is not shown anywhere: it may hold a password.
void OpenRecords(const std::string& database, const std::string& uri, const std::string& suffix) {
    if (uri.empty()) {
        StoreChoice::OpenEmbedded(EmbeddedPath(database, suffix));
    } else if (uri.starts_with(kFileScheme) && uri.size() > kFileScheme.size()) {
        StoreChoice::OpenEmbedded(uri.substr(kFileScheme.size()));
    } else if (IsMongo(uri)) {
        if (!StoreChoice::NamesKafka()) {
            throw ObjectStoreException(
                "Records in MongoDB have their events in Kafka: kafka-host must not be empty");
        }
        StoreChoice::OpenMongo(uri, database + suffix);
    } else {
        throw ObjectStoreException(
            "mongo-uri is no address of a store; leave it empty for the embedded store, name its file with "
            "sqlite:PATH, or name a database with mongodb:// or mongodb+srv://");
    }
}

std::shared_ptr<RecordStore> SettledRecords() {
    HeldOutput::Settle();
    return StoreChoice::Records();
}

}  // namespace

bool ObjectStore::Init(const std::string& deploy, const std::string& database, const std::string& uri,
                       const std::string& suffix) {
    try {
        if (deploy == Weftline::DeploymentModes::Distributed && !IsMongo(uri)) {
            throw ObjectStoreException(
                "With --deploy=distributed all machines share their records: mongo-uri has to begin with "
                "mongodb:// or mongodb+srv://");
        }
        OpenRecords(database, uri, suffix);
        if (StoreChoice::NamesKafka()) {
            StoreChoice::Events();  // what is wrong with it is said now
        }
        return true;
    } catch (const std::exception& fault) {
        PlatformAbstraction::Log::Error(fault.what());
        return false;
    }
}

bool ObjectStore::UpsertOne(const Weftline::Record& record) const {
    return SettledRecords()->UpsertOne(record);
}

ReplaceOutcome ObjectStore::ReplaceIf(const std::optional<Weftline::Record>& seen,
                                      const Weftline::Record& next) const {
    return SettledRecords()->ReplaceIf(seen, next);
}

bool ObjectStore::UpsertOneAndProduce(Weftline::Record record, const EventStore& events,
                                      Weftline::Record event) const {
    if (HeldOutput* const output = HeldOutput::OfTail()) {
        return SettledRecords()->UpsertOneAndProduceHeld(std::move(record), *events.m_pLog, std::move(event),
                                                         *output);
    }
    return SettledRecords()->UpsertOneAndProduce(record, *events.m_pLog, event);
}

std::optional<Weftline::Record> ObjectStore::FindByID(const std::string& id,
                                                      const std::string& collection) const {
    return SettledRecords()->FindByID(id, collection);
}

std::vector<std::optional<Weftline::Record>> ObjectStore::FindManyByID(const std::vector<std::string>& ids,
                                                                       const std::string& collection) const {
    return SettledRecords()->FindManyByID(ids, collection);
}

std::vector<std::optional<Weftline::Record>> ObjectStore::FindManyWithoutData(
    const std::vector<std::string>& ids, const std::string& collection) const {
    return SettledRecords()->FindManyWithoutData(ids, collection);
}

std::vector<Weftline::Record> ObjectStore::FindRecordsOfType(const std::string& collection,
                                                             const std::string& type, std::int32_t offset,
                                                             std::int32_t limit) const {
    return SettledRecords()->FindRecordsOfType(collection, type, offset, limit);
}

std::vector<Weftline::Record> ObjectStore::FindRecordsWithReferencedID(
    const std::string& collection, const std::string& type, const std::string& referenceKey,
    const std::string& referenceValue, std::int32_t offset, std::int32_t limit) const {
    return SettledRecords()->FindRecordsWithReferencedID(collection, type, referenceKey, referenceValue,
                                                         offset, limit);
}

bool ObjectStore::DeleteMany(const std::vector<std::string>& ids) const {
    return SettledRecords()->DeleteMany(ids);
}

std::vector<std::string> ObjectStore::TakeDataWithReferencedID(const std::string& collection,
                                                               const std::string& type,
                                                               const std::string& referenceKey,
                                                               const std::string& referenceValue) const {
    return SettledRecords()->TakeDataWithReferencedID(collection, type, referenceKey, referenceValue);
}

}  // namespace CommonServices
