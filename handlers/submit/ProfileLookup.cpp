#include "handlers/submit/ProfileLookup.h"

#include <optional>

#include "Core/src/RequiredValues.h"
#include "Core/src/Vocabulary.h"

namespace Weftline::Services::Scheduler {

using CommonServices::EventStore;
using CommonServices::ObjectStore;
using CommonServices::ObjectStoreException;
using CoreServices::Parameters;

Entities::Profile LookupProfile(const std::shared_ptr<ObjectStore>& objectStore,
                                const std::shared_ptr<EventStore>& eventStore, const std::string& profileId) {
    const std::optional<Record> record = objectStore->FindByID(profileId, std::string(Collections::Profiles));
    if (!record) {
        throw ObjectStoreException("[" + profileId + "] Unable to find record in Object Store");
    }
    return Entities::Profile(objectStore, eventStore, *record);
}

Parameters ApplyStoredProfile(const Parameters& jobParams) {
    const std::string profileId = GetRequiredString(jobParams, Keys::Profile);
    const auto objectStore = std::make_shared<ObjectStore>();
    const auto eventStore = std::make_shared<EventStore>(Parameters());
    return LookupProfile(objectStore, eventStore, profileId).MergeProfileIntoParams(jobParams);
}

}  // namespace Weftline::Services::Scheduler
