#include "handlers/results/GetColorSpacesMsg.h"

#include <utility>

#include "Core/src/Vocabulary.h"
#include "handlers/support/SubmissionRegistration.h"
#include "platform/messaging/RegParamsBuilder.h"

namespace Weftline::Services::Scheduler {

GetColorSpacesMsg::GetColorSpacesMsg(std::string realm)
    : GenericProxyMsg(std::move(realm), ServiceNames::MetadataWorker, kMetadataWorkerVersion,
                      Operations::GetColorSpaces) {}

PlatformAbstraction::RegistrationParams GetColorSpacesMsg::GetRegistrationParams() const {
    return PlatformAbstraction::RegParamsBuilder()
        .SetName(std::string(Operations::GetColorSpaces))
        .SetDescription("Returns list of available color spaces for specified parameters")
        .SetRESTPath("getColorSpaces")
        .AddExample(
            {"query color space by name string",
             TreeOf({{Keys::Formats::Name, "Rec.709 [video levels]"},
                     {Keys::Formats::BitDepth, "10"},
                     {Keys::Formats::MinReference, "64"},
                     {Keys::Formats::MaxReference, "940"},
                     {Keys::Formats::TransferCharacteristicName, "Rec.709"},
                     {Keys::Formats::TransferCharacteristicUid, "04010101-0102-0000-060e-2b3404010101"},
                     {Keys::Formats::ColorPrimariesName, "Rec.709"},
                     {Keys::Formats::ColorPrimariesUid, "04010101-0303-0000-060e-2b3404010106"}})})
        .GetResult();
}

}  // namespace Weftline::Services::Scheduler
