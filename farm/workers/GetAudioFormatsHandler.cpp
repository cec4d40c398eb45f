#include "farm/workers/GetAudioFormatsHandler.h"

#include <string>

#include "Core/src/Vocabulary.h"
#include "platform/messaging/RegParamsBuilder.h"

namespace Quillon::Farm {

namespace Keys = Weftline::Keys;

GetAudioFormatsHandler::GetAudioFormatsHandler(const CataloguesPointer& catalogues)
    : CatalogueHandler(catalogues, &Catalogues::audioFormats) {}

PlatformAbstraction::RegistrationParams GetAudioFormatsHandler::GetRegistrationParams() const {
    CoreServices::Parameters example;
    example.SetParameter(Keys::Formats::SampleRate, 48000);
    return PlatformAbstraction::RegParamsBuilder()
        .SetName(std::string(Weftline::Operations::GetAudioFormats))
        .SetDescription("Lists the audio formats of the farm")
        .AddExample({"audio formats by sample rate", example})
        .GetResult();
}

}  // namespace Quillon::Farm
