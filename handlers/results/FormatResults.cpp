#include "handlers/results/FormatResults.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <set>
#include <stdexcept>
#include <string_view>

#include "Core/src/Vocabulary.h"
#include "base/parameters/JsonTexts.h"
#include "handlers/results/Formats.h"
#include "handlers/results/ResultPage.h"
#include "handlers/results/StructureJson.h"

namespace Weftline::Services::Scheduler {

using CoreServices::Parameters;
using DataModel::AudioFormat;
using DataModel::AudioFormatV2;
using DataModel::FormatsList;
using DataModel::FormatsPage;
using DataModel::VideoFormat;
using DataModel::VideoFormatV2;
using PlatformAbstraction::Messaging::ServiceMessageResponse;

namespace {

constexpr std::int32_t kLargestPage = 60;

/// The trees of the results that `page` shows, in order. A result that is not JSON fails here, wherever it
/// stands.
std::vector<Parameters> ParseResults(const std::vector<std::string>& results, const ResultPage& page) {
    std::vector<Parameters> trees;
    for (std::size_t place = 0; place < results.size(); ++place) {
        const std::string& json = results[place];
        if (page.begin <= place && place < page.end) {
            trees.push_back(Parameters::fromJSON(json));
        } else if (!CoreServices::IsJson(json)) {
            static_cast<void>(Parameters::fromJSON(json));  // its failure says what is wrong
        }
    }
    return trees;
}

template <class Format>
std::vector<Format> ReadFormats(const std::vector<Parameters>& trees) {
    std::vector<Format> formats;
    formats.reserve(trees.size());
    for (const Parameters& tree : trees) {
        formats.push_back(DataModel::ReadStructure<Format>(tree));
    }
    return formats;
}

/// The JSON text of an answer in the version that the client asks for, 1 where it asks for none: 1 shows the
/// formats as they are, 2 as `FormatV2`; every other version has no text at all. `answerWith(formats)` puts a
/// list of either form into the structure of the answer.
template <class FormatV2, class Format, class AnswerWith>
std::string WriteFormats(const Parameters& request, std::vector<Format> formats, AnswerWith answerWith) {
    std::int32_t version = 1;
    request.GetParameter(Keys::Version, version);
    switch (version) {
        case 1:
            return DataModel::WriteJsonText(answerWith(std::move(formats)));
        case 2: {
            std::vector<FormatV2> formatsV2;
            formatsV2.reserve(formats.size());
            for (const Format& format : formats) {
                formatsV2.push_back(DataModel::ConvertStructure<FormatV2>(format));
            }
            return DataModel::WriteJsonText(answerWith(std::move(formatsV2)));
        }
        default:
            return {};
    }
}

void AnswerWithVideoFormats(const std::vector<std::string>& results, const Parameters& request,
                            ServiceMessageResponse& response) {
    std::int32_t offset = 0;
    std::int32_t size = kLargestPage;
    request.GetParameter(Keys::PageOffset, offset);
    request.GetParameter(Keys::PageSize, size);
    size = std::min(size, kLargestPage);
    const ResultPage page = FindResultPage(size, offset, results.size());
    const std::vector<Parameters> trees = ParseResults(results, page);
    if (page.begin > results.size()) {
        response.RespondGenericError("PageOffset: " + std::to_string(offset) +
                                     " for PageSize: " + std::to_string(size) +
                                     " exceeds FoundFormats: " + std::to_string(results.size()));
        return;
    }
    if (page.end < page.begin) {
        throw std::length_error("vector too long");
    }
    response.RespondOK(WriteFormats<VideoFormatV2>(
        request, ReadFormats<VideoFormat>(trees), [offset, size]<class Format>(std::vector<Format> list) {
            const auto found = static_cast<std::int32_t>(list.size());
            return FormatsPage<Format>{std::move(list), found, offset, size};
        }));
}

void AnswerWithAudioFormats(const std::vector<std::string>& results, const Parameters& request,
                            ServiceMessageResponse& response) {
    // All are parsed before the first is read: which of two bad records is reported follows from that.
    const std::vector<Parameters> trees = ParseResults(results, {0, results.size()});
    response.RespondOK(WriteFormats<AudioFormatV2>(
        request, ReadFormats<AudioFormat>(trees), []<class Format>(std::vector<Format> list) {
            const auto found = static_cast<std::int32_t>(list.size());
            return FormatsList<Format>{std::move(list), found};
        }));
}

// Many workers report the same types. Texts that are equal byte for byte fold into one, and the order is that
// of their bytes, whoever wrote first.
void AnswerWithExportTypes(const std::vector<std::string>& results, const Parameters& /*request*/,
                           ServiceMessageResponse& response) {
    const std::set<std::string_view> texts(results.begin(), results.end());
    Parameters answer;
    for (const std::string_view text : texts) {
        answer.AddArrayChildParameters(Keys::ExportTypesList, Parameters::fromJSON(text));
    }
    answer.SetParameter(Keys::FoundExportTypes, static_cast<std::int32_t>(texts.size()));
    answer.SetParameter(Keys::Status, AnswerStatus::Completed);
    response.AssignParameters(std::move(answer));
    response.RespondOK();
}

}  // namespace

constexpr FormatResults kVideoFormatResults{
    .message = {.name = "findVideoFormats",
                .description = "Find Specific Video formats",
                .example = "Find Video formats by ID obtained via submitVideoFormatsQuery",
                .pagedExample = "Find Video formats by ID with page offset",
                .collection = Collections::VideoFormats,
                .recordType = RecordTypes::VideoFormat},
    .answer = AnswerWithVideoFormats,
};

constexpr FormatResults kAudioFormatResults{
    .message = {.name = "findAudioFormats",
                .description = "Find Specific Audio formats",
                .example = "Find Audio formats by ID obtained via submitAudioFormatsQuery",
                .pagedExample = {},
                .collection = Collections::AudioFormats,
                .recordType = RecordTypes::AudioFormat},
    .answer = AnswerWithAudioFormats,
};

constexpr FormatResults kExportTypeResults{
    .message = {.name = "findExportTypes",
                .description = "Find Specific Export Types",
                .example = "Find Export types by ID obtained via submitExportQuery",
                .pagedExample = {},
                .collection = Collections::ExportTypes,
                .recordType = RecordTypes::ExportType},
    .answer = AnswerWithExportTypes,
};

bool RespondWithFormatResults(const FormatResults& row, const Parameters& request,
                              ServiceMessageResponse& response) {
    try {
        const std::vector<std::string> results = TakeResults(row.message, request);
        if (results.empty()) {
            response.GetParameters().SetParameter(Keys::Status, AnswerStatus::Failed);
            response.RespondOK();
        } else {
            row.answer(results, request, response);
        }
    } catch (const std::exception& failure) {
        response.SetBlame(failure);
        response.RespondGenericError(std::string("Exception: ") + failure.what());
    }
    return true;
}

}  // namespace Weftline::Services::Scheduler
