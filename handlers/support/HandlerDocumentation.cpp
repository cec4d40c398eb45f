#include "handlers/support/HandlerDocumentation.h"

#include <optional>
#include <stdexcept>

#include "Core/src/JobKinds.h"
#include "Core/src/Vocabulary.h"
#include "resources/EmbeddedResources.h"

namespace Weftline::Services {

using CoreServices::Parameters;

namespace {

constexpr std::int32_t kExampleEmailPort = 22;

/// The placement keys that both envelopes have in common.
void AddPlacement(Parameters& example) {
    example.SetParameter(Keys::JobQueue, DefaultJobQueue::Id);
    example.SetParameter(Keys::ClientMachine, Placeholders::ClientMachine);
    example.SetParameter(Keys::RequiredWorkerMachine, Placeholders::WorkerMachine);
    example.SetParameter(Keys::ExcludedWorkerMachine, Placeholders::WorkerMachine);
    example.SetChildParameters(Keys::EmailSettingsParams, BuildEmailSettingsExample());
}

}  // namespace

Parameters LoadJsonDocumentation(const std::string& resourceName, const ResourceStore& store) {
    const std::optional<ResourceStore::Handle> resource = store.Find(resourceName, Resources::kJsonFileType);
    if (!resource) {
        throw std::runtime_error(resourceName + " documentation resource not found");
    }
    if (!store.Load(*resource)) {
        throw std::runtime_error("Failed to load render documentation");
    }
    const std::optional<std::string_view> bytes = store.Lock(*resource);
    if (!bytes) {
        throw std::runtime_error("Failed to lock render documentation");
    }
    return Parameters::fromJSON(*bytes);
}

Parameters BuildDocumentedExample(const std::string& resourceName) {
    Parameters example;
    example.SetParameter(Keys::InputMetadataFilePath, Placeholders::InputMetadataFile);
    example.AddArrayParameter(Keys::InputMobIDsCapital, Placeholders::InputMob);
    example.AddArrayParameter(Keys::InputMobIDsCapital, Placeholders::InputMob);
    example.SetParameter(Keys::RootPath, kExampleRootPath);
    example.SetParameter(Keys::CompositionMetadataFilePath, Placeholders::OutputMetadataFile);
    example.SetParameter(Keys::SaveMobsMetadataFilePath, Placeholders::SaveMobsMetadataFile);
    AddPlacement(example);
    example.SetChildParameters(Keys::JobParamsCapital, LoadJsonDocumentation(resourceName));
    return example;
}

Parameters BuildEmailSettingsExample() {
    Parameters settings;
    settings.SetParameter(Keys::EmailSMTPServer, "mail.example.com");
    settings.SetParameter(Keys::EmailPort, kExampleEmailPort);
    settings.SetParameter(Keys::EmailFromName, "Email From Name, PhD.");
    settings.ClearParameter(Keys::EmailToAddresses);
    settings.AddArrayParameter(Keys::EmailToAddresses, "first.recipient@example.com");
    settings.AddArrayParameter(Keys::EmailToAddresses, "second.recipient@example.com");
    settings.SetParameter(Keys::EmailFromAddress, "sender@example.com");
    return settings;
}

Parameters BuildJobExample(const Parameters& jobParams) {
    Parameters example;
    example.SetParameter(Keys::RootPath, kExampleRootPath);
    example.SetParameter(Keys::Description, "Job description");
    AddPlacement(example);
    example.SetChildParameters(Keys::JobParams, jobParams);
    return example;
}

Parameters TreeOf(const SubmitOperations::Fields& values) {
    Parameters tree;
    for (const auto& [key, value] : values) {
        std::visit([&tree, key = key](auto plain) { tree.SetParameter(key, plain); }, value);
    }
    return tree;
}

}  // namespace Weftline::Services
