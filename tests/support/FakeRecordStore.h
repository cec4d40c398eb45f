#pragma once

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "RecordStore.h"
#include "StoreFault.h"

namespace TestSupport {

/// A record store in memory that keeps the promises of the interface, but for surviving the process. Its
/// failures can be switched on. Any thread may call.
class FakeRecordStore final : public CommonServices::RecordStore {
public:
    void FailUpserts(StoreFault fault);
    void FailDeletes(StoreFault fault);
    /// All reading operations throw.
    void FailReads(bool fail);

    /// All records, in the store's order.
    std::vector<Weftline::Record> Records() const;
    /// How many reading operations were asked for.
    std::size_t CountReads() const;

    bool Upsert(const Weftline::Record& record) override;
    std::optional<Weftline::Record> FindByID(const std::string& id, const std::string& collection) override;
    std::vector<Weftline::Record> FindOfType(const std::string& collection, const std::string& type,
                                             std::int32_t offset, std::int32_t limit) override;
    std::vector<Weftline::Record> FindWithReference(const std::string& collection, const std::string& type,
                                                    const std::string& key, const std::string& value,
                                                    std::int32_t offset, std::int32_t limit) override;
    bool DeleteMany(const std::vector<std::string>& ids) override;

private:
    template <typename Predicate>
    std::vector<Weftline::Record> Page(Predicate matches, std::int32_t offset, std::int32_t limit);
    void BeginRead();

    mutable std::mutex m_mutex;
    std::vector<Weftline::Record> m_records;  // guarded by m_mutex, as is all below
    StoreFault m_upsertFault = StoreFault::None;
    StoreFault m_deleteFault = StoreFault::None;
    bool m_readsFail = false;
    std::size_t m_reads = 0;
};

}  // namespace TestSupport
