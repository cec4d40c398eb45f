#pragma once

#include <memory>
#include <string>

#include "Core/src/ProfileEntity.h"
#include "base/parameters/Parameters.h"
#include "platform/stores/EventStore.h"
#include "platform/stores/ObjectStore.h"

namespace Weftline::Services::Scheduler {

/// The stored profile of that id. Throws `ObjectStoreException` when there is none, and `std::domain_error`
/// when what is stored under the id is no profile.
Entities::Profile LookupProfile(const std::shared_ptr<CommonServices::ObjectStore>& objectStore,
                                const std::shared_ptr<CommonServices::EventStore>& eventStore,
                                const std::string& profileId);

/// The job parameters with the values of the profile that their key `profile` names laid over them. Throws as
/// `LookupProfile` does, and `std::runtime_error` without the key. Any thread may call.
CoreServices::Parameters ApplyStoredProfile(const CoreServices::Parameters& jobParams);

}  // namespace Weftline::Services::Scheduler
