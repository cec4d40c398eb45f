#include "handlers/results/StoreListings.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <string_view>
#include <unordered_set>
#include <utility>
#include <vector>

#include "Core/src/Profile.h"
#include "Core/src/TreeValues.h"
#include "Core/src/Vocabulary.h"
#include "handlers/support/HandlerDocumentation.h"
#include "platform/messaging/RegistrationParams.h"
#include "platform/stores/EventStore.h"
#include "platform/stores/ObjectStore.h"

namespace Weftline::Services::Scheduler {

using CommonServices::EventStore;
using CommonServices::ObjectStore;
using CoreServices::Parameters;
using PlatformAbstraction::RegistrationParams;
using PlatformAbstraction::RegParamsBuilder;
using PlatformAbstraction::Messaging::MessageContext;

namespace {

std::vector<Record> FindAllRecords(const ObjectStore& store, std::string_view collection,
                                   std::string_view type) {
    return store.FindRecordsOfType(std::string(collection), std::string(type), 0,
                                   std::numeric_limits<std::int32_t>::max());
}

/// The export plug-ins of different workers, each once. For one thread.
class UniqueExportPlugins {
public:
    /// An empty `typeFilter` lets every plug-in pass.
    explicit UniqueExportPlugins(std::string typeFilter) : m_typeFilter(std::move(typeFilter)) {}

    /// Takes the plug-ins of one worker, as its record describes it. A worker whose list holds anything but
    /// trees is passed over.
    void AddWorker(const Parameters& worker) {
        std::vector<Parameters> plugins(worker.GetArrayNumValues(Keys::ExportPlugins));
        for (std::size_t n = 0; n < plugins.size(); ++n) {
            if (!worker.GetArrayNthChildParameters(Keys::ExportPlugins, n, plugins[n])) {
                return;
            }
        }
        for (const Parameters& plugin : plugins) {
            AddPlugin(plugin);
        }
    }

    /// In order of first sight, each as its worker has it; the empty tree where there are none.
    const Parameters& Answer() const { return m_answer; }

private:
    void AddPlugin(const Parameters& plugin) {
        // What the filter keeps out needs no identity.
        if (!m_typeFilter.empty() && GetRequiredString(plugin, Keys::Type) != m_typeFilter) {
            return;
        }
        if (m_seen.insert(GetRequiredString(plugin, Keys::PluginGuid)).second) {
            m_answer.AddArrayChildParameters(Keys::ExportPlugins, plugin);
        }
    }

    const std::string m_typeFilter;
    std::unordered_set<std::string> m_seen;
    Parameters m_answer;
};

}  // namespace

GetUniqueExportPluginsHandler::GetUniqueExportPluginsHandler(std::string realm) : m_realm(std::move(realm)) {}

RegistrationParams GetUniqueExportPluginsHandler::GetRegistrationParams() const {
    return RegParamsBuilder()
        .SetName("getUniqueExportPlugins")
        .SetDescription("Get Unique Export Plugins")
        .SetRESTPath("uniqueExportPlugins")
        .AddExample(
            {"Get Unique Export Plugins by type", LoadJsonDocumentation("IDR_GET_UNIQUE_EXPORT_PLUGINS")})
        .GetResult();
}

Parameters GetUniqueExportPluginsHandler::HandleMessageV2(const Parameters& request,
                                                          std::shared_ptr<MessageContext> /*context*/) {
    UniqueExportPlugins plugins(TextOrEmpty(request, Keys::Type));
    for (const Record& record : FindAllRecords(ObjectStore(), Collections::Workers, RecordTypes::Worker)) {
        plugins.AddWorker(Parameters::fromJSON(record.recordData));
    }
    return plugins.Answer();
}

RegistrationParams GetProfilesHandler::GetRegistrationParams() const {
    return RegParamsBuilder()
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
    for (const Record& record : FindAllRecords(*objectStore, Collections::Profiles, RecordTypes::Profile)) {
        const Entities::Profile profile(objectStore, eventStore, record);
        answer.AddArrayChildParameters(Keys::Results, profile.ToListEntry());
    }
    return answer;
}

}  // namespace Weftline::Services::Scheduler
