#include "FakeRecordStore.h"

#include <algorithm>

#include "ObjectStoreException.h"
#include "Parameters.h"

namespace TestSupport {

using CommonServices::ObjectStoreException;
using CoreServices::Parameters;
using Weftline::Record;

namespace {

/// True where the work is to be done.
bool PassFault(StoreFault fault) {
    if (fault == StoreFault::Throw) {
        throw ObjectStoreException("The fake store was told to fail");
    }
    return fault == StoreFault::None;
}

}  // namespace

void FakeRecordStore::FailUpserts(StoreFault fault) {
    const std::lock_guard lock(m_mutex);
    m_upsertFault = fault;
}

void FakeRecordStore::FailDeletes(StoreFault fault) {
    const std::lock_guard lock(m_mutex);
    m_deleteFault = fault;
}

void FakeRecordStore::FailReads(bool fail) {
    const std::lock_guard lock(m_mutex);
    m_readsFail = fail;
}

std::vector<Record> FakeRecordStore::Records() const {
    const std::lock_guard lock(m_mutex);
    return m_records;
}

std::size_t FakeRecordStore::CountReads() const {
    const std::lock_guard lock(m_mutex);
    return m_reads;
}

bool FakeRecordStore::Upsert(const Record& record) {
    const std::lock_guard lock(m_mutex);
    if (!PassFault(m_upsertFault)) {
        return false;
    }
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

void FakeRecordStore::BeginRead() {
    ++m_reads;
    PassFault(m_readsFail ? StoreFault::Throw : StoreFault::None);
}

std::optional<Record> FakeRecordStore::FindByID(const std::string& id, const std::string& collection) {
    const std::lock_guard lock(m_mutex);
    BeginRead();
    const auto found = std::find_if(m_records.begin(), m_records.end(), [&](const Record& record) {
        return record.recordID == id && record.recordTopic == collection;
    });
    return found == m_records.end() ? std::nullopt : std::optional(*found);
}

template <typename Predicate>
std::vector<Record> FakeRecordStore::Page(Predicate matches, std::int32_t offset, std::int32_t limit) {
    const std::lock_guard lock(m_mutex);
    BeginRead();
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

std::vector<Record> FakeRecordStore::FindOfType(const std::string& collection, const std::string& type,
                                                std::int32_t offset, std::int32_t limit) {
    return Page(
        [&](const Record& record) { return record.recordTopic == collection && record.recordType == type; },
        offset, limit);
}

std::vector<Record> FakeRecordStore::FindWithReference(const std::string& collection, const std::string& type,
                                                       const std::string& key, const std::string& value,
                                                       std::int32_t offset, std::int32_t limit) {
    const auto matches = [&](const Record& record) {
        std::string reference;
        return record.recordTopic == collection && record.recordType == type &&
               Parameters::fromJSON(record.recordPublicData).GetParameter(key, reference) &&
               reference == value;
    };
    return Page(matches, offset, limit);
}

bool FakeRecordStore::DeleteMany(const std::vector<std::string>& ids) {
    const std::lock_guard lock(m_mutex);
    if (!PassFault(m_deleteFault)) {
        return false;
    }
    std::erase_if(m_records, [&](const Record& record) {
        return std::find(ids.begin(), ids.end(), record.recordID) != ids.end();
    });
    return true;
}

}  // namespace TestSupport
