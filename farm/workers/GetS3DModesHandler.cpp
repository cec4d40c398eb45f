#include "farm/workers/GetS3DModesHandler.h"

#include <string>

#include "Core/src/Vocabulary.h"
#include "platform/messaging/RegParamsBuilder.h"

namespace Quillon::Farm {

namespace Keys = Weftline::Keys;

GetS3DModesHandler::GetS3DModesHandler(const CataloguesPointer& catalogues)
    : CatalogueHandler(catalogues, &Catalogues::s3dModes) {}

PlatformAbstraction::RegistrationParams GetS3DModesHandler::GetRegistrationParams() const {
    CoreServices::Parameters example;
    example.SetParameter(Keys::S3DMode, "Monoscopic");
    return PlatformAbstraction::RegParamsBuilder()
        .SetName(std::string(Weftline::Operations::GetS3DModes))
        .SetDescription("Lists the stereoscopic modes of the farm")
        .AddExample({"stereoscopic modes by name", example})
        .GetResult();
}

}  // namespace Quillon::Farm
