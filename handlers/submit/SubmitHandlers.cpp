#include "handlers/submit/SubmitHandlers.h"

#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "Core/src/Profile.h"
#include "Core/src/StructureFields.h"
#include "Core/src/Vocabulary.h"
#include "handlers/support/HandlerDocumentation.h"
#include "handlers/support/RequestValues.h"
#include "platform/messaging/HandlerErrors.h"
#include "platform/messaging/RegistrationParams.h"
#include "platform/stores/EventStore.h"
#include "platform/stores/ObjectStore.h"

namespace Weftline::Services::Scheduler {
namespace {

/// The job parameters of a proxy creation from a stored profile, as its example shows them.
struct ProxyCreationParams {
    std::string inputMetadataFile;
    std::vector<std::string> inputMobIDs;
    std::string targetFolder;
    std::string profile;  ///< the id of a stored profile
};

}  // namespace
}  // namespace Weftline::Services::Scheduler

namespace Weftline::DataModel {

using Services::Scheduler::ProxyCreationParams;

template <>
struct StructureFields<ProxyCreationParams> {
    static constexpr FieldList kFields{
        Field{Keys::InputMetadataFile, &ProxyCreationParams::inputMetadataFile},
        Field{Keys::InputMobIDs, &ProxyCreationParams::inputMobIDs},
        Field{Keys::TargetFolder, &ProxyCreationParams::targetFolder},
        Field{Keys::Profile, &ProxyCreationParams::profile},
    };
};

}  // namespace Weftline::DataModel

namespace Weftline::Services::Scheduler {

using CommonServices::EventStore;
using CommonServices::ObjectStore;
using CommonServices::ObjectStoreException;
using CoreServices::Parameters;
namespace Messaging = PlatformAbstraction::Messaging;
using SubmitOperations::InCode;

namespace {

Parameters ConsolidateExample() {
    Parameters example = TreeOf({{Keys::InputMetadataFilePath, "\\\\media-server\\bins\\scenes.bin"}});
    for (const char* mob : {"060a2b340101010101010f0013-000000-5a33ba348cf60ff1-060e2b347f7f-2a80",
                            "060a2b340101010101010f0013-000000-5a33ba348cf60ff1-060e2b347f7f-2a81"}) {
        example.AddArrayParameter(Keys::InputMobIDsCapital, mob);
    }
    example.SetParameter(Keys::RootPath, kExampleRootPath);
    example.SetChildParameters(Keys::JobParamsCapital,
                               TreeOf({{Keys::TargetVideoDirectory, "\\\\media-server\\consolidate\\video"},
                                       {Keys::TargetAudioDirectory, "\\\\media-server\\consolidate\\audio"},
                                       {Keys::SkipVideo, false},
                                       {Keys::SkipAudio, false},
                                       {Keys::SkipData, true},
                                       {Keys::HandleLength_optional, 2},
                                       {Keys::UseMachineAsWorker_optional, false}}));
    example.SetChildParameters(Keys::EmailSettingsParams, BuildEmailSettingsExample());
    return example;
}

/// An export has no job parameters: its target stands beside the input.
Parameters ExportExample() {
    Parameters example = TreeOf({{Keys::InputMetadataFilePath, "\\\\media-server\\bins\\sequence.bin"}});
    example.AddArrayParameter(Keys::InputMobIDsCapital,
                              "060a2b340101010101010f0013-000000-5a33ba348cf60ff1-060e2b347f7f-2a81");
    example.SetParameter(Keys::TargetDirectory, "\\\\media-server\\export");
    example.SetParameter(Keys::UseMachineAsWorker_optional, false);
    example.SetChildParameters(Keys::EmailSettingsParams, BuildEmailSettingsExample());
    return example;
}

Parameters ProxyCreationExample() {
    ProxyCreationParams params;
    params.inputMetadataFile = Placeholders::InputMetadataFile;
    params.inputMobIDs.assign(2, std::string(Placeholders::InputMob));
    // Written as a person would quote it: in double quotes, each backslash doubled.
    params.targetFolder = R"("\\\\media-server\\proxies")";
    params.profile = "7394f07d-ea1a-4a6c-b8b0-f9b9c9751fe2";
    return BuildJobExample(DataModel::WriteStructure(params));
}

struct ExampleBuilder {
    Parameters operator()(const SubmitOperations::Fields& fields) const { return TreeOf(fields); }
    Parameters operator()(SubmitOperations::Enveloped example) const {
        return BuildDocumentedExample(std::string(example.document));
    }
    Parameters operator()(SubmitOperations::Bare example) const {
        return LoadJsonDocumentation(std::string(example.document));
    }
    Parameters operator()(InCode example) const {
        switch (example) {
            case InCode::Consolidate:
                return ConsolidateExample();
            case InCode::Export:
                return ExportExample();
            case InCode::ProxyCreation:
                return ProxyCreationExample();
        }
        return Parameters();
    }
};

Entities::Profile LookupProfile(const std::shared_ptr<ObjectStore>& objectStore,
                                const std::shared_ptr<EventStore>& eventStore, const std::string& profileId) {
    const std::optional<Record> record = objectStore->FindByID(profileId, std::string(Collections::Profiles));
    if (!record) {
        throw Messaging::Blamed<ObjectStoreException>(
            Messaging::Blame::Unprocessable, "[" + profileId + "] Unable to find record in Object Store",
            Keys::Profile);
    }
    return Entities::Profile(objectStore, eventStore, *record);
}

}  // namespace

PlatformAbstraction::RegistrationParams DescribeSubmission(const SubmitOperations::Row& operation) {
    PlatformAbstraction::RegParamsBuilder builder;
    builder.SetName(std::string(operation.message))
        .SetDescription(std::string(operation.description))
        .SetRESTPath(std::string(operation.restPath))
        .SetRESTMethod(PlatformAbstraction::HTTPMethod::Post);
    for (const SubmitOperations::Example& example : operation.examples) {
        builder.AddExample({std::string(example.label), std::visit(ExampleBuilder(), example.form)});
    }
    return builder.GetResult();
}

Parameters ProfileSubmitHandler::ApplyProfile(const Parameters& jobParams) const {
    const std::string profileId = RequestedString(jobParams, Keys::Profile);
    const auto objectStore = std::make_shared<ObjectStore>();
    const auto eventStore = std::make_shared<EventStore>(Parameters());
    return LookupProfile(objectStore, eventStore, profileId).MergeProfileIntoParams(jobParams);
}

}  // namespace Weftline::Services::Scheduler
