#include "handlers/results/FindVideoFormatsHandler.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "Core/src/Vocabulary.h"
#include "handlers/results/ConsumedResults.h"
#include "handlers/results/FormatsPage.h"
#include "handlers/results/ResultPage.h"
#include "handlers/results/VersionedFormats.h"
#include "handlers/results/VideoFormat.h"
#include "handlers/support/SubmissionRegistration.h"
#include "platform/messaging/RegParamsBuilder.h"

namespace Weftline::Services::Scheduler {

using CoreServices::Parameters;
using DataModel::VideoFormat;
using DataModel::VideoFormatV2;
using PlatformAbstraction::RegistrationParams;
using PlatformAbstraction::RegParamsBuilder;
using PlatformAbstraction::Messaging::MessageContext;
using PlatformAbstraction::Messaging::ServiceMessageResponse;

namespace {

constexpr ResultKind kKind{Collections::VideoFormats, RecordTypes::VideoFormat};
constexpr std::int32_t kLargestPage = 60;

struct PageRequest {
    std::int32_t offset = 0;
    std::int32_t size = kLargestPage;
};

PageRequest ReadPageRequest(const Parameters& request) {
    PageRequest page;
    request.GetParameter(Keys::PageOffset, page.offset);
    request.GetParameter(Keys::PageSize, page.size);
    page.size = std::min(page.size, kLargestPage);
    return page;
}

std::string DescribeBeyond(const PageRequest& page, std::size_t total) {
    return "PageOffset: " + std::to_string(page.offset) + " for PageSize: " + std::to_string(page.size) +
           " exceeds FoundFormats: " + std::to_string(total);
}

std::string WritePage(std::int32_t version, const PageRequest& page, std::vector<VideoFormat> formats) {
    return WriteInVersion<VideoFormatV2>(
        version, std::move(formats), [&page]<class Format>(std::vector<Format> list) {
            const auto found = static_cast<std::int32_t>(list.size());
            return DataModel::FormatsPage<Format>{std::move(list), found, page.offset, page.size};
        });
}

void Answer(const std::vector<Record>& results, const Parameters& request, ServiceMessageResponse& response) {
    const PageRequest asked = ReadPageRequest(request);
    const ResultPage page(asked.size, asked.offset, results.size());
    const std::vector<Parameters> trees =
        ParseResults(results, [&page](std::size_t place) { return page.Contains(place); });
    if (page.IsBeyondTotal()) {
        response.RespondGenericError(DescribeBeyond(asked, results.size()));
        return;
    }
    std::vector<VideoFormat> formats;
    formats.reserve(page.Count());
    for (const Parameters& tree : trees) {
        formats.push_back(DataModel::ReadStructure<VideoFormat>(tree));
    }
    response.RespondOK(WritePage(ReadAnswerVersion(request), asked, std::move(formats)));
}

}  // namespace

FindVideoFormatsHandler::FindVideoFormatsHandler(std::string realm) : m_realm(std::move(realm)) {}

RegistrationParams FindVideoFormatsHandler::GetRegistrationParams() const {
    return RegParamsBuilder()
        .SetName("findVideoFormats")
        .SetDescription("Find Specific Video formats")
        .SetRESTPath("findVideoFormats")
        .AddExample({"Find Video formats by ID obtained via submitVideoFormatsQuery",
                     TreeOf({{Keys::QueryID, kExampleQueryID}})})
        .AddExample({"Find Video formats by ID with page offset",
                     TreeOf({{Keys::QueryID, kExampleQueryID}, {Keys::PageOffset, 0}, {Keys::PageSize, 50}})})
        .GetResult();
}

bool FindVideoFormatsHandler::HandleMessage(std::shared_ptr<MessageContext> /*context*/,
                                            const Parameters& request, ServiceMessageResponse& response) {
    const auto answer = [&request](const std::vector<Record>& results, ServiceMessageResponse& with) {
        Answer(results, request, with);
    };
    return RespondWithConsumedResults(kKind, request, response, answer);
}

}  // namespace Weftline::Services::Scheduler
