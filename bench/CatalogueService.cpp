// Something to drive: the handler of one catalogue message on the real bus and behind the real gateway, and a
// metadata worker whose answer costs nothing. Says where it listens as the service does; ends on SIGTERM.
#include <cstdint>
#include <iostream>
#include <memory>
#include <string>
#include <string_view>

#include "Core/src/Vocabulary.h"
#include "handlers/results/CatalogueMessages.h"
#include "platform/deployment/DeployedTransport.h"
#include "platform/messaging/BusTransport.h"
#include "platform/messaging/ConfigurationStore.h"
#include "platform/messaging/MessageBus.h"
#include "platform/messaging/ServiceInfo.h"

namespace {

using CoreServices::Parameters;
using PlatformAbstraction::Messaging::MessageBus;
using PlatformAbstraction::Messaging::ServiceInfo;
using PlatformAbstraction::Messaging::ServiceInfoApi;

constexpr const char* kRealm = "test";

constexpr const char* kAnswer =
    R"({"results":{"FormatsList":[{"RasterSize":{"Width":1920,"Height":1080},"Progressive":true,)"
    R"("ChromaSampling":"422","BitsPerComponent":10,"ColorSpace":"Rec.709","FrameRate":{"Numerator":60000,)"
    R"("Denominator":1001},"MaxBitRate":440,"CompressionFamily":"Ravex HQX","EncodingName":"Ravex HQX",)"
    R"("Compressed":true,"LegacyVCID":1242,"Preset":"ravex/hr/1271/422"}],"FoundFormats":1}})";

/// Knows one video format, whatever it is asked for.
class OneFormat final : public PlatformAbstraction::Messaging::ServiceMessageHandlerV2 {
public:
    PlatformAbstraction::RegistrationParams GetRegistrationParams() const override {
        PlatformAbstraction::RegistrationParams registration;
        registration.name = Weftline::Operations::GetVideoFormats;
        return registration;
    }

    Parameters HandleMessageV2(
        const Parameters& /*request*/,
        std::shared_ptr<PlatformAbstraction::Messaging::MessageContext> /*context*/) override {
        return Parameters::fromJSON(kAnswer);
    }
};

std::shared_ptr<ServiceInfo> MakeService(std::string_view name, std::int32_t version) {
    auto service = std::make_shared<ServiceInfo>();
    service->SetNameRealmVersion(std::string(name), kRealm, version);
    return service;
}

std::shared_ptr<PlatformAbstraction::Deployment::AttachedFarm> AttachWorker(
    MessageBus& bus, const PlatformAbstraction::Deployment::BusSettings& /*settings*/,
    const ServiceInfoApi& /*scheduler*/) {
    const auto worker = MakeService(Weftline::ServiceNames::MetadataWorker,
                                    Weftline::Services::Scheduler::kMetadataWorkerVersion);
    worker->AddMessageHandlerV2(std::make_shared<OneFormat>());
    bus.Attach(worker);
    return nullptr;
}

}  // namespace

int main() {
    const auto scheduler = MakeService(Weftline::ServiceNames::Scheduler, 2);
    scheduler->SetHost("localhost");
    scheduler->AddMessageHandler(std::make_shared<Weftline::Services::Scheduler::GetVideoFormatsMsg>(kRealm));
    PlatformAbstraction::AddConfigData("port", "0");
    const auto transport = PlatformAbstraction::Messaging::MakeStandaloneTransport(AttachWorker);
    if (transport->Start(scheduler, "") != PlatformAbstraction::Messaging::InitError::None) {
        std::cerr << "The bus could not be started.\n";
        return 1;
    }
    return transport->WaitUntilStopped() ? 0 : 1;
}
