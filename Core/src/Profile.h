#pragma once

#include <boost/hana/string.hpp>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>

#include "Core/src/DataRecord.h"
#include "base/parameters/Parameters.h"

namespace CommonServices {
class EventStore;
class ObjectStore;
}  // namespace CommonServices

namespace Weftline::DataModel {

inline constexpr auto kProfileTypeName = BOOST_HANA_STRING("Profile");
inline constexpr auto kProfileCollection = BOOST_HANA_STRING("V2_WFProfiles");

/// A stored set of job settings with a name and an id. The service reads profiles and never writes one; the
/// content stays JSON text and is read key by key.
class Profile final : public DataRecord<decltype(kProfileTypeName), 1, decltype(kProfileCollection)> {
public:
    explicit Profile(std::string id);
};

/// The event class of entities that announce nothing.
struct NullEvent {};

}  // namespace Weftline::DataModel

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

namespace Weftline::Services::Scheduler {

/// Copies the value under `sourceKey` to `targetKey`: a text, number, bool, tree or array, whose text does
/// not change on the way. A null or missing value writes nothing.
void CopyParameter(const CoreServices::Parameters& source, CoreServices::Parameters& target,
                   std::string_view sourceKey, std::string_view targetKey);

/// The plain settings of a profile. An object with both `value` and `label` is a setting and becomes its
/// value; any other object is a group and is flattened likewise, to any depth. What is no object is left out.
CoreServices::Parameters FlattenProfileValues(const CoreServices::Parameters& profile);

}  // namespace Weftline::Services::Scheduler

namespace Weftline::Services::Scheduler::Entities {

/// A profile together with the stores it came from. Made for one handler call and confined to its thread.
class Profile final : public BaseEntity<DataModel::Profile, DataModel::NullEvent, std::mutex> {
public:
    /// Throws `std::domain_error` when `record` is no profile of the known version.
    Profile(std::shared_ptr<CommonServices::ObjectStore> pObjectStore,
            std::shared_ptr<CommonServices::EventStore> pEventStore, const Record& record);

    /// `id`, `name` and `isProxy`, in this order. Name and kind are those of the private JSON; blank and
    /// false where it has none. Throws `std::runtime_error` when that is not JSON.
    CoreServices::Parameters ToListEntry() const;

    /// The job's parameters with the profile's settings laid over them: a setting wins over a parameter of
    /// the same name, and the key `profile` stays. Throws `std::runtime_error` when the profile's data is not
    /// JSON.
    CoreServices::Parameters MergeProfileIntoParams(const CoreServices::Parameters& jobParameters) const;
};

}  // namespace Weftline::Services::Scheduler::Entities
