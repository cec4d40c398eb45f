#include "handlers/submit/SubmitAudioFormatsQueryHandler.h"

#include "Core/src/Vocabulary.h"
#include "handlers/support/SubmissionRegistration.h"

namespace Weftline::Services::Scheduler {

PlatformAbstraction::RegistrationParams SubmitAudioFormatsQueryHandler::GetRegistrationParams() const {
    return DescribeSubmission(
        "SubmitAudioFormatsQuery", "Returns list of available audio formats for specified filters",
        "submitAudioFormatsQuery",
        {
            {"query audio formats for specified filters",
             TreeOf({{Keys::Formats::FileFormat, "FA6C0B28-ACEF-4196-A1A5-B1BF3C3BDC60"},
                     {Keys::Formats::SampleRate, 48000},
                     {Keys::Formats::BitsPerSample, 24}})},
            {"query audio formats by Tarvale compression string",
             TreeOf({{Keys::TarvaleCompression, "Uncompressed PCM 24 bit"},
                     {Keys::Formats::SampleRate, 96000}})},
        });
}

}  // namespace Weftline::Services::Scheduler
