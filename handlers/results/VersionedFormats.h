#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "Core/src/Vocabulary.h"
#include "base/parameters/Parameters.h"
#include "handlers/results/StructureConversion.h"
#include "handlers/results/StructureJson.h"

/// For the sources of this folder alone, as `StructureJson.h` is.
namespace Weftline::Services::Scheduler {

/// The version of the answer that the client asks for, 1 where it asks for none.
inline std::int32_t ReadAnswerVersion(const CoreServices::Parameters& request) {
    std::int32_t version = 1;
    request.GetParameter(Keys::Version, version);
    return version;
}

/// The JSON text of an answer in one version: 1 shows the formats as they are, 2 as
/// `FormatV2`; every other version has no text at all. `answerWith(formats)` puts a list of either form into
/// the structure of the answer.
template <class FormatV2, class Format, class AnswerWith>
std::string WriteInVersion(std::int32_t version, std::vector<Format> formats, AnswerWith answerWith) {
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

}  // namespace Weftline::Services::Scheduler
