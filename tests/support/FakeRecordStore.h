#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "platform/stores/RecordStore.h"

namespace TestSupport {

/// What a fake store does instead of its work.
enum class StoreFault {
    None,
    Refuse,  ///< gives false
    Throw,   ///< throws `ObjectStoreException` with the text "The fake store was told to fail"
};

/// True where the work is to be done.
bool PassFault(StoreFault fault);

/// A record store in memory that keeps the promises of the interface, but for surviving the process. Any
/// thread may call.
class FakeRecordStore : public CommonServices::RecordStore {
public:
    std::atomic<StoreFault> upsertFault{StoreFault::None};
    std::atomic<StoreFault> deleteFault{StoreFault::None};
    std::atomic<bool> readsThrow{false};
    std::atomic<std::size_t> reads{0};  ///< how many reading operations were asked for

    /// All records, in the store's order.
    std::vector<Weftline::Record> Records() const;

    bool UpsertOne(const Weftline::Record& record) override;
    std::optional<Weftline::Record> FindByID(const std::string& id, const std::string& collection) override;
    std::vector<Weftline::Record> FindRecordsOfType(const std::string& collection, const std::string& type,
                                                    std::int32_t offset, std::int32_t limit) override;
    std::vector<Weftline::Record> FindRecordsWithReferencedID(const std::string& collection,
                                                              const std::string& type, const std::string& key,
                                                              const std::string& value, std::int32_t offset,
                                                              std::int32_t limit) override;
    bool DeleteMany(const std::vector<std::string>& ids) override;

private:
    std::vector<Weftline::Record> Page(const std::function<bool(const Weftline::Record&)>& matches,
                                       std::int32_t offset, std::int32_t limit);

    mutable std::mutex m_mutex;
    std::vector<Weftline::Record> m_records;  // guarded by m_mutex
};

}  // namespace TestSupport
