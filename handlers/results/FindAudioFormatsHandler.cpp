#include "handlers/results/FindAudioFormatsHandler.h"

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "Core/src/Vocabulary.h"
#include "handlers/results/AudioFormat.h"
#include "handlers/results/ConsumedResults.h"
#include "handlers/results/FormatsPage.h"
#include "handlers/results/VersionedFormats.h"
#include "handlers/support/SubmissionRegistration.h"
#include "platform/messaging/RegParamsBuilder.h"

namespace Weftline::Services::Scheduler {

using CoreServices::Parameters;
using DataModel::AudioFormat;
using DataModel::AudioFormatV2;
using PlatformAbstraction::RegistrationParams;
using PlatformAbstraction::RegParamsBuilder;
using PlatformAbstraction::Messaging::MessageContext;
using PlatformAbstraction::Messaging::ServiceMessageResponse;

namespace {

constexpr ResultKind kKind{Collections::AudioFormats, RecordTypes::AudioFormat};

std::string MakeAnswer(const std::vector<Record>& results, const Parameters& request) {
    // All are parsed before the first is read: which of two bad records is reported follows from that.
    const std::vector<Parameters> trees = ParseResults(results, [](std::size_t) { return true; });
    std::vector<AudioFormat> formats;
    formats.reserve(trees.size());
    for (const Parameters& tree : trees) {
        formats.push_back(DataModel::ReadStructure<AudioFormat>(tree));
    }
    return WriteInVersion<AudioFormatV2>(ReadAnswerVersion(request), std::move(formats),
                                         []<class Format>(std::vector<Format> list) {
                                             const auto found = static_cast<std::int32_t>(list.size());
                                             return DataModel::FormatsList<Format>{std::move(list), found};
                                         });
}

}  // namespace

FindAudioFormatsHandler::FindAudioFormatsHandler(std::string realm) : m_realm(std::move(realm)) {}

RegistrationParams FindAudioFormatsHandler::GetRegistrationParams() const {
    return RegParamsBuilder()
        .SetName("findAudioFormats")
        .SetDescription("Find Specific Audio formats")
        .SetRESTPath("findAudioFormats")
        .AddExample({"Find Audio formats by ID obtained via submitAudioFormatsQuery",
                     TreeOf({{Keys::QueryID, kExampleQueryID}})})
        .GetResult();
}

bool FindAudioFormatsHandler::HandleMessage(std::shared_ptr<MessageContext> /*context*/,
                                            const Parameters& request, ServiceMessageResponse& response) {
    const auto answer = [&request](const std::vector<Record>& results, ServiceMessageResponse& with) {
        with.RespondOK(MakeAnswer(results, request));
    };
    return RespondWithConsumedResults(kKind, request, response, answer);
}

}  // namespace Weftline::Services::Scheduler
