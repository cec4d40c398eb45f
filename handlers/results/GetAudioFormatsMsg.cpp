#include "handlers/results/GetAudioFormatsMsg.h"

#include <utility>

#include "Core/src/Vocabulary.h"
#include "handlers/support/SubmissionRegistration.h"
#include "platform/messaging/RegParamsBuilder.h"

namespace Weftline::Services::Scheduler {

GetAudioFormatsMsg::GetAudioFormatsMsg(std::string realm)
    : GenericProxyMsg(std::move(realm), ServiceNames::MetadataWorker, kMetadataWorkerVersion,
                      Operations::GetAudioFormats) {}

PlatformAbstraction::RegistrationParams GetAudioFormatsMsg::GetRegistrationParams() const {
    return PlatformAbstraction::RegParamsBuilder()
        .SetName(std::string(Operations::GetAudioFormats))
        .SetDescription("Returns list of available audio formats for specified filters")
        .SetRESTPath("formats/audio")
        .AddExample({"query audio formats for specified filters",
                     TreeOf({{Keys::Formats::FileFormat, "FA6C0B28-ACEF-4196-A1A5-B1BF3C3BDC60"},
                             {Keys::Formats::SampleRate, 48000},
                             {Keys::Formats::BitsPerSample, 24}})})
        .AddExample({"query audio formats by Tarvale compression string",
                     TreeOf({{Keys::TarvaleCompression, "Uncompressed PCM 24 bit"},
                             {Keys::Formats::SampleRate, 96000}})})
        .GetResult();
}

}  // namespace Weftline::Services::Scheduler
