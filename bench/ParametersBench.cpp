// The tree on its hot path: a transcode request of about 2 KB is read, copied, written to and printed.

#include <benchmark/benchmark.h>

#include <string>
#include <string_view>

#include "base/parameters/Parameters.h"

namespace {

using CoreServices::Parameters;

constexpr std::string_view kTranscodeRequest = R"({
  "name": "Nightly transcode of the evening news",
  "description": "Transcodes the selected mobs to the house format",
  "priority": 50,
  "jobQueue": "c52a7f6e-c32a-45da-8716-c06c79af3a98",
  "failJobOnFirstFailedTask": true,
  "storeJobSpecificOutputMetadataInJobMonitor": true,
  "InputMetadataFilePath": "\\\\storage-01\\Projects\\EveningNews\\Bins\\Nightly.avb",
  "InputMobIDs": [
    "060a2b340101010101010f0013-000000-5a33ba348cf60ff1-060e2b347f7f-2a80",
    "060a2b340101010101010f0013-000000-5a33ba348cf60ff1-060e2b347f7f-2a81",
    "060a2b340101010101010f0013-000000-5a33ba348cf60ff1-060e2b347f7f-2a82",
    "060a2b340101010101010f0013-000000-5a33ba348cf60ff1-060e2b347f7f-2a83"
  ],
  "rootPath": "C:\\temp",
  "JobParams": {
    "TargetVideoDirectory": "\\\\storage-01\\Media\\Video",
    "TargetAudioDirectory": "\\\\storage-01\\Media\\Audio",
    "SkipVideo": false,
    "SkipAudio": false,
    "SkipData": true,
    "HandleLength_optional": 2,
    "FrameRate": 29.97,
    "useMachineAsWorker_optional": false,
    "VideoFormat": {
      "Name": "1080i/59.94",
      "Width": 1920,
      "Height": 1080,
      "ColorSpace": "YCbCr 709",
      "Compression": "4:2:2 10 bit",
      "FieldMotion": "Interlaced",
      "Stereoscopic": "Off"
    },
    "AudioFormat": {
      "SampleRate": 48000,
      "BitDepth": 24,
      "Channels": [1, 2, 3, 4, 5, 6, 7, 8],
      "Gain": -12.5,
      "Wrapping": "MXF"
    },
    "Effects": [
      {"Name": "Colour Correction", "Render": true, "Quality": 0.75},
      {"Name": "Stabilise", "Render": false, "Quality": null}
    ]
  },
  "emailSettingsParams": {
    "sendEmailOnSuccess": false,
    "sendEmailOnFailure": true,
    "emailAddresses": ["operator@newsroom.example", "chief@newsroom.example"],
    "subject": "Überspielung beendet – Abendnachrichten",
    "body": "The job has ended.\nPlease look at the result before the programme goes on air."
  }
})";

void ReadJson(benchmark::State& state) {
    for ([[maybe_unused]] const auto step : state)
        benchmark::DoNotOptimize(Parameters::fromJSON(kTranscodeRequest));
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(kTranscodeRequest.size()));
}
BENCHMARK(ReadJson);

void BoundMemory(benchmark::State& state) {
    for ([[maybe_unused]] const auto step : state)
        benchmark::DoNotOptimize(Parameters::MostMemoryOf(kTranscodeRequest));
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(kTranscodeRequest.size()));
}
BENCHMARK(BoundMemory);

void WriteJson(benchmark::State& state) {
    const Parameters request = Parameters::fromJSON(kTranscodeRequest);
    std::size_t bytes = 0;
    for ([[maybe_unused]] const auto step : state) {
        const std::string text = request.toJSON();
        bytes += text.size();
        benchmark::DoNotOptimize(text.data());
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(bytes));
}
BENCHMARK(WriteJson);

void ReadAndWriteJson(benchmark::State& state) {
    for ([[maybe_unused]] const auto step : state)
        benchmark::DoNotOptimize(Parameters::fromJSON(kTranscodeRequest).toJSON());
}
BENCHMARK(ReadAndWriteJson);

void CopyAndSetOne(benchmark::State& state) {
    const Parameters request = Parameters::fromJSON(kTranscodeRequest);
    for ([[maybe_unused]] const auto step : state) {
        Parameters copy(request);
        copy.SetParameter("priority", 75);
        benchmark::DoNotOptimize(copy);
    }
}
BENCHMARK(CopyAndSetOne);

/// Bad input: one wide object, every key another.
void ReadWideObject(benchmark::State& state) {
    std::string text = "{";
    for (std::int64_t i = 0; i < state.range(0); ++i)
        text.append(i != 0 ? ",\"" : "\"").append(std::to_string(i)).append("\":1");
    text += "}";
    for ([[maybe_unused]] const auto step : state)
        benchmark::DoNotOptimize(Parameters::fromJSON(text));
    state.SetComplexityN(state.range(0));
}
BENCHMARK(ReadWideObject)->RangeMultiplier(8)->Range(64, 1 << 18)->Complexity(benchmark::oN);

}  // namespace
