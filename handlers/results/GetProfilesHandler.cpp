#include "handlers/results/GetProfilesHandler.h"

#include <string>

#include "Core/src/ProfileEntity.h"
#include "Core/src/Vocabulary.h"
#include "handlers/results/StoreLimits.h"
#include "platform/messaging/RegParamsBuilder.h"
#include "platform/stores/EventStore.h"
#include "platform/stores/ObjectStore.h"

namespace Weftline::Services::Scheduler {

using CommonServices::EventStore;
using CommonServices::ObjectStore;
using CoreServices::Parameters;
using PlatformAbstraction::Messaging::MessageContext;

PlatformAbstraction::RegistrationParams GetProfilesHandler::GetRegistrationParams() const {
    return PlatformAbstraction::RegParamsBuilder()
        .SetName("getProfiles")
        .SetDescription("Get the list of all profiles")
        .SetRESTPath("profiles")
        .AddExample({"get profiles", {}})
        .GetResult();
}

Parameters GetProfilesHandler::HandleMessageV2(const Parameters& /*request*/,
                                               std::shared_ptr<MessageContext> /*context*/) {
    const auto objectStore = std::make_shared<ObjectStore>();
    const auto eventStore = std::make_shared<EventStore>(Parameters());
    Parameters answer;
    answer.AddEmptyArray(Keys::Results);
    for (const Record& record : objectStore->FindRecordsOfType(
             std::string(Collections::Profiles), std::string(RecordTypes::Profile), 0, kAllRecords)) {
        const Entities::Profile profile(objectStore, eventStore, record);
        answer.AddArrayChildParameters(Keys::Results, profile.ToListEntry());
    }
    return answer;
}

}  // namespace Weftline::Services::Scheduler
