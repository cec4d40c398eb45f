#include "tests/support/FakeRecordStore.h"

#include <algorithm>

#include "base/parameters/Parameters.h"

namespace TestSupport {

using Weftline::Record;

bool PassFault(StoreFault fault) {
    if (fault == StoreFault::Throw) {
        throw CommonServices::ObjectStoreException("The fake store was told to fail");
    }
    return fault == StoreFault::None;
}

std::vector<Record> FakeRecordStore::Records() const {
    const std::lock_guard lock(m_mutex);
    return m_records;
}

bool FakeRecordStore::UpsertOne(const Record& record) {
    if (!PassFault(upsertFault)) {
        return false;
    }
    const std::lock_guard lock(m_mutex);
    const auto found = std::find_if(m_records.begin(), m_records.end(),
                                    [&](const Record& stored) { return stored.recordID == record.recordID; });
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

std::vector<Record> FakeRecordStore::Page(const std::function<bool(const Record&)>& matches,
                                          std::int32_t offset, std::int32_t limit) {
    ++reads;
    PassFault(readsThrow ? StoreFault::Throw : StoreFault::None);
    const std::lock_guard lock(m_mutex);
    std::vector<Record> page;
    for (const Record& record : m_records) {
        if (!matches(record)) {
            continue;
        }
        if (offset > 0) {
            --offset;
        } else if (limit > 0) {
            --limit;
            page.push_back(record);
        }
    }
    return page;
}

std::optional<Record> FakeRecordStore::FindByID(const std::string& id, const std::string& collection) {
    const auto found =
        Page([&](const Record& record) { return record.recordID == id && record.recordTopic == collection; },
             0, 1);
    return found.empty() ? std::nullopt : std::optional(found.front());
}

std::vector<Record> FakeRecordStore::FindRecordsOfType(const std::string& collection, const std::string& type,
                                                       std::int32_t offset, std::int32_t limit) {
    return Page(
        [&](const Record& record) { return record.recordTopic == collection && record.recordType == type; },
        offset, limit);
}

std::vector<Record> FakeRecordStore::FindRecordsWithReferencedID(const std::string& collection,
                                                                 const std::string& type,
                                                                 const std::string& key,
                                                                 const std::string& value,
                                                                 std::int32_t offset, std::int32_t limit) {
    const auto matches = [&](const Record& record) {
        std::string reference;
        return record.recordTopic == collection && record.recordType == type &&
               CoreServices::Parameters::fromJSON(record.recordPublicData).GetParameter(key, reference) &&
               reference == value;
    };
    return Page(matches, offset, limit);
}

bool FakeRecordStore::DeleteMany(const std::vector<std::string>& ids) {
    if (!PassFault(deleteFault)) {
        return false;
    }
    const std::lock_guard lock(m_mutex);
    std::erase_if(m_records, [&](const Record& record) {
        return std::find(ids.begin(), ids.end(), record.recordID) != ids.end();
    });
    return true;
}

}  // namespace TestSupport
