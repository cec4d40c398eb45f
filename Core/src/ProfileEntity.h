#pragma once

#include <memory>
#include <mutex>

#include "Core/src/BaseEntity.h"
#include "Core/src/NullEvent.h"
#include "Core/src/Profile.h"
#include "base/parameters/Parameters.h"

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
