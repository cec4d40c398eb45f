#pragma once

#include <memory>
#include <utility>

#include "Core/src/BuildFromRecord.h"
#include "Core/src/wf_Record.h"

namespace CommonServices {
class EventStore;
class ObjectStore;
}  // namespace CommonServices

namespace Weftline {

/// Couples a typed record with the stores it came from. Made for one handler call and confined to its thread;
/// it owns the typed record alone and shares the stores.
///
/// `EventClass` says what the entity announces; `MutexClass` is a lock for entities that threads share, which
/// no operation here takes.
template <class RecordClass, class EventClass, class MutexClass>
class BaseEntity {
public:
    using Event = EventClass;

    /// Throws the `std::domain_error` of `BuildFromRecord` when `record` is of another type or version. Its
    /// topic may be the plain collection as well as any suffixed one.
    BaseEntity(std::shared_ptr<CommonServices::ObjectStore> pObjectStore,
               std::shared_ptr<CommonServices::EventStore> pEventStore, const Record& record)
        : m_pObjectStore(std::move(pObjectStore)), m_pEventStore(std::move(pEventStore)) {
        auto pData = std::make_unique<RecordClass>(record.recordID);
        DataModel::BuildFromRecord(record, *pData, RecordClass::TypeName(), RecordClass::Version(),
                                   record.recordTopic);
        m_pData = std::move(pData);
    }
    BaseEntity(const BaseEntity&) = delete;
    BaseEntity& operator=(const BaseEntity&) = delete;
    virtual ~BaseEntity() = default;

protected:
    const RecordClass& Data() const noexcept { return *m_pData; }

private:
    std::shared_ptr<CommonServices::ObjectStore> m_pObjectStore;
    std::shared_ptr<CommonServices::EventStore> m_pEventStore;
    std::unique_ptr<RecordClass> m_pData;
    MutexClass m_lock;
};

}  // namespace Weftline
