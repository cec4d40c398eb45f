#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Core/src/Vocabulary.h"
#include "platform/messaging/ServiceMessageHandler.h"

namespace Weftline::Services::Scheduler {

/// A message that another service answers: the request is passed on as it came, and the child `results` of
/// the answer is handed back. A derived class adds its registration and nothing else. Read-only after
/// construction; a call blocks its thread for ten seconds at most.
class GenericProxyMsg : public PlatformAbstraction::Messaging::ServiceMessageHandler {
public:
    /// An error of the other service is answered with its words as details; a missing answer and every other
    /// failure with "Exception: " and the text.
    bool HandleMessage(std::shared_ptr<PlatformAbstraction::Messaging::MessageContext> context,
                       const CoreServices::Parameters& request,
                       PlatformAbstraction::Messaging::ServiceMessageResponse& response) final;

protected:
    GenericProxyMsg(std::string realm, std::string_view service, std::int32_t version,
                    std::string_view operation);

private:
    const std::string m_realm;
    const std::string m_service;
    const std::int32_t m_version;
    const std::string m_operation;
};

/// The version of the metadata worker's operations.
inline constexpr std::int32_t kMetadataWorkerVersion = 1;

/// A catalogue that the metadata worker keeps, and how clients ask for it.
struct Catalogue {
    std::string_view operation;  ///< at the worker, and the name of the message
    std::string_view description;
    std::string_view restPath;
    PlatformAbstraction::HTTPMethod restMethod;
    std::vector<PlatformAbstraction::MessageExample> (*examples)();
};

namespace Catalogues {
extern const Catalogue kVideoFormats;
extern const Catalogue kAudioFormats;
extern const Catalogue kExportTypes;
extern const Catalogue kMediaCreationTypes;
extern const Catalogue kColorSpaces;
extern const Catalogue kS3DModes;
}  // namespace Catalogues

PlatformAbstraction::RegistrationParams DescribeCatalogue(const Catalogue& catalogue);

/// Passes the question for one catalogue on to the metadata worker.
template <const Catalogue& kCatalogue>
class CatalogueMsg final : public GenericProxyMsg {
public:
    explicit CatalogueMsg(std::string realm)
        : GenericProxyMsg(std::move(realm), ServiceNames::MetadataWorker, kMetadataWorkerVersion,
                          kCatalogue.operation) {}

    PlatformAbstraction::RegistrationParams GetRegistrationParams() const override {
        return DescribeCatalogue(kCatalogue);
    }
};

using GetVideoFormatsMsg = CatalogueMsg<Catalogues::kVideoFormats>;
using GetAudioFormatsMsg = CatalogueMsg<Catalogues::kAudioFormats>;
using GetExportTypesMsg = CatalogueMsg<Catalogues::kExportTypes>;
using GetMediaCreationTypesMsg = CatalogueMsg<Catalogues::kMediaCreationTypes>;
using GetColorSpacesMsg = CatalogueMsg<Catalogues::kColorSpaces>;
using GetS3DModesMsg = CatalogueMsg<Catalogues::kS3DModes>;

}  // namespace Weftline::Services::Scheduler
