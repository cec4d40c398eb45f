#include "platform/stores/ObjectStore.h"

#include <filesystem>
#include <string_view>
#include <utility>

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

std::string PathOf(const std::string& database, const std::string& uri, const std::string& suffix) {
    if (uri.empty()) {
        return EmbeddedPath(database, suffix);
    }
    if (uri.starts_with(kFileScheme) && uri.size() > kFileScheme.size()) {
        return uri.substr(kFileScheme.size());
    }
    if (uri.starts_with("mongodb://") || uri.starts_with("mongodb+srv://")) {
        throw ObjectStoreException(
            "This build has no MongoDB store yet; leave mongo-uri empty for the embedded "
            "store, or name its file with sqlite:PATH");
    }
    // The address is not shown: it may hold a password.
    throw ObjectStoreException(
        "mongo-uri is no address of a store; leave it empty for the embedded store, or "
        "name its file with sqlite:PATH");
}

std::shared_ptr<RecordStore> SettledRecords() {
    HeldOutput::Settle();
    return StoreChoice::Records();
}

}  // namespace

bool ObjectStore::Init(const std::string& /*deploy*/, const std::string& database, const std::string& uri,
                       const std::string& suffix) {
    try {
        StoreChoice::OpenEmbedded(PathOf(database, uri, suffix));
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
