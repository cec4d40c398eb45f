#pragma once

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "base/parameters/Parameters.h"
#include "platform/stores/EventLog.h"
#include "platform/stores/RecordStore.h"
#include "platform/stores/StoreChoice.h"

namespace TestSupport {

using RecordList = std::vector<Weftline::Record>;

/// What a fake store does instead of its work.
enum class StoreFault {
    None,
    Refuse,  ///< gives false
    Throw,   ///< throws `ObjectStoreException` with the text "The fake store was told to fail"
};

/// True where the work is to be done.
inline bool PassFault(StoreFault fault) {
    if (fault == StoreFault::Throw) {
        throw CommonServices::ObjectStoreException("The fake store was told to fail");
    }
    return fault == StoreFault::None;
}

/// A record store in memory that keeps the promises of the interface, but for surviving the process. Any
/// thread may call.
class FakeRecordStore : public CommonServices::RecordStore {
public:
    std::atomic<StoreFault> upsertFault{StoreFault::None};
    std::atomic<StoreFault> deleteFault{StoreFault::None};
    std::atomic<bool> readsThrow{false};
    std::atomic<std::size_t> reads{0};  ///< how many reading operations were asked for

    /// All records, in the store's order.
    RecordList Records() const {
        const std::lock_guard lock(m_mutex);
        return m_records;
    }

    bool UpsertOne(const Weftline::Record& record) override {
        if (!PassFault(upsertFault)) {
            return false;
        }
        const std::lock_guard lock(m_mutex);
        const auto found = std::ranges::find(m_records, record.recordID, &Weftline::Record::recordID);
        if (found == m_records.end()) {
            m_records.push_back(record);
            return true;
        }
        if (found->recordTopic != record.recordTopic) {
            return false;
        }
        *found = record;
        return true;
    }
    CommonServices::ReplaceOutcome ReplaceIf(const std::optional<Weftline::Record>& seen,
                                             const Weftline::Record& next) override {
        using enum CommonServices::ReplaceOutcome;
        if (!PassFault(upsertFault)) {
            return Failed;
        }
        const std::lock_guard lock(m_mutex);
        const auto found = std::ranges::find(m_records, next.recordID, &Weftline::Record::recordID);
        const bool isThere = found != m_records.end();
        if (isThere != seen.has_value() || (isThere && !CommonServices::IsSameRecord(*found, *seen))) {
            return Changed;
        }
        *(isThere ? found : m_records.insert(found, next)) = next;
        return Replaced;
    }
    std::optional<Weftline::Record> FindByID(const std::string& id, const std::string& collection) override {
        const auto found = Page(
            collection, [&](const auto& record) { return record.recordID == id; }, 0, 1);
        return found.empty() ? std::nullopt : std::optional(found.front());
    }
    RecordList FindRecordsOfType(const std::string& collection, const std::string& type, std::int32_t offset,
                                 std::int32_t limit) override {
        return Page(
            collection, [&](const auto& record) { return record.recordType == type; }, offset, limit);
    }
    RecordList FindRecordsWithReferencedID(const std::string& collection, const std::string& type,
                                           const std::string& key, const std::string& value,
                                           std::int32_t offset, std::int32_t limit) override {
        const auto matches = [&](const Weftline::Record& record) {
            const auto tree = CoreServices::Parameters::fromJSON(record.recordPublicData);
            std::string reference;
            return record.recordType == type && tree.GetParameter(key, reference) && reference == value;
        };
        return Page(collection, matches, offset, limit);
    }
    bool DeleteMany(const std::vector<std::string>& ids) override {
        if (!PassFault(deleteFault)) {
            return false;
        }
        const std::lock_guard lock(m_mutex);
        std::erase_if(m_records,
                      [&](const auto& record) { return std::ranges::count(ids, record.recordID) > 0; });
        return true;
    }

private:
    RecordList Page(const std::string& collection,
                    const std::function<bool(const Weftline::Record&)>& matches, std::int64_t offset,
                    std::int64_t limit) {
        ++reads;
        PassFault(readsThrow ? StoreFault::Throw : StoreFault::None);
        const std::lock_guard lock(m_mutex);
        RecordList page;
        for (const Weftline::Record& record : m_records) {
            if (record.recordTopic == collection && matches(record) && --offset < 0 && limit-- > 0) {
                page.push_back(record);
            }
        }
        return page;
    }

    mutable std::mutex m_mutex;
    RecordList m_records;  // guarded by m_mutex
};

/// An event log in memory. Any thread may call.
class FakeEventLog final : public CommonServices::EventLog {
public:
    std::atomic<StoreFault> appendFault{StoreFault::None};
    std::atomic<std::chrono::milliseconds> longestWait{};  ///< that a reader has asked for
    std::atomic<bool> allDurable{true};  ///< whether every append so far asked for durability

    /// All events of all topics, in order.
    RecordList Events() const {
        const std::lock_guard lock(m_mutex);
        return m_events;
    }

    bool Produce(const Weftline::Record& record, bool durable) override {
        allDurable = allDurable && durable;
        if (!PassFault(appendFault)) {
            return false;
        }
        const std::lock_guard lock(m_mutex);
        m_events.push_back(record);
        m_appended.notify_all();
        return true;
    }
    std::vector<CommonServices::LoggedEvent> Read(const std::string& topic, std::int64_t afterOffset,
                                                  std::size_t limit,
                                                  const CommonServices::EventWait& wait) override {
        longestWait = std::max(longestWait.load(), wait.longest);
        std::unique_lock lock(m_mutex);
        auto place = static_cast<std::size_t>(std::max<std::int64_t>(afterOffset, 0));
        std::vector<CommonServices::LoggedEvent> found;
        m_appended.wait_for(lock, wait.stop, wait.longest, [&] {
            for (; place < m_events.size() && found.size() < limit; ++place) {
                if (m_events[place].recordTopic == topic) {
                    found.push_back({static_cast<std::int64_t>(place) + 1, m_events[place]});
                }
            }
            return !found.empty();
        });
        return found;
    }

private:
    mutable std::mutex m_mutex;
    std::condition_variable_any m_appended;
    RecordList m_events;  // guarded by m_mutex; the offset is the place plus one
};

/// Puts fresh fake stores in the place of the process's own, as long as this lives. When it ends, there are
/// no stores at all, whatever was there before.
class StoresInPlace {
public:
    StoresInPlace() {
        CommonServices::StoreChoice::SetRecords(records);
        CommonServices::StoreChoice::SetEvents(events);
    }
    ~StoresInPlace() {
        CommonServices::StoreChoice::SetEvents(nullptr);
        CommonServices::StoreChoice::SetRecords(nullptr);
    }
    StoresInPlace(const StoresInPlace&) = delete;
    StoresInPlace& operator=(const StoresInPlace&) = delete;

    const std::shared_ptr<FakeRecordStore> records = std::make_shared<FakeRecordStore>();
    const std::shared_ptr<FakeEventLog> events = std::make_shared<FakeEventLog>();
};

}  // namespace TestSupport
