#include "farm/workers/QueryAnswers.h"

#include <algorithm>
#include <boost/uuid/name_generator_sha1.hpp>
#include <boost/uuid/uuid.hpp>
#include <boost/uuid/uuid_io.hpp>
#include <cstddef>
#include <stdexcept>
#include <string>

#include "Core/src/JobKinds.h"
#include "Core/src/TreeValues.h"
#include "Core/src/Vocabulary.h"

namespace Quillon::Farm {

using CoreServices::Parameters;
using Answer = QueryKind::Answer;
namespace Keys = Weftline::Keys;
namespace Collections = Weftline::Collections;
namespace RecordTypes = Weftline::RecordTypes;
namespace EvalTaskKinds = Weftline::EvalTaskKinds;

namespace {

constexpr std::size_t kMobsInContainer = 3;

/// Stands for a mob that only a farm with media could know: always the same one for a name.
std::string MobOf(const std::string& name) {
    const boost::uuids::name_generator_sha1 generate(boost::uuids::ns::url());
    return to_string(generate(name));
}

std::vector<std::string> InputMobs(const Parameters& request) {
    std::vector<std::string> mobs;
    const std::size_t count = request.GetArrayNumValues(Keys::InputMobIDsCapital);
    for (std::size_t n = 0; n < count; ++n) {
        if (!request.GetArrayNthValue(Keys::InputMobIDsCapital, n, mobs.emplace_back())) {
            throw std::runtime_error("\"" + std::string(Keys::InputMobIDsCapital) +
                                     "\" holds values that are no texts.");
        }
    }
    return mobs;
}

Answer VideoFormats(const Parameters& request, const Catalogues& catalogues) {
    return catalogues.videoFormats.Find(request);
}

Answer AudioFormats(const Parameters& request, const Catalogues& catalogues) {
    return catalogues.audioFormats.Find(request);
}

Answer ExportTypes(const Parameters& request, const Catalogues& catalogues) {
    return catalogues.exportTypes.Find(request);
}

/// Every mob that is asked for is there.
Answer SourceAvailability(const Parameters& request, const Catalogues& /*catalogues*/) {
    Answer answer;
    for (const std::string& mob : InputMobs(request)) {
        Parameters& result = answer.emplace_back();
        result.SetParameter(Keys::InputMobID, mob);
        result.SetParameter("Available", true);
    }
    return answer;
}

Answer MobIDsFromContainer(const Parameters& request, const Catalogues& /*catalogues*/) {
    const std::string container = Weftline::GetRequiredString(request, Keys::CompositionMetadataFilePath);
    Answer answer;
    for (std::size_t n = 0; n < kMobsInContainer; ++n) {
        answer.emplace_back().SetParameter("MobID", MobOf(container + "#" + std::to_string(n)));
    }
    return answer;
}

/// Every mob has one master.
Answer SuitableMasters(const Parameters& request, const Catalogues& /*catalogues*/) {
    Answer answer;
    for (const std::string& mob : InputMobs(request)) {
        Parameters& result = answer.emplace_back();
        result.SetParameter(Keys::InputMobID, mob);
        result.SetParameter("MasterMobID", MobOf(mob));
    }
    return answer;
}

constexpr QueryKind kQueries[] = {
    {EvalTaskKinds::ExportQuery, {Collections::ExportTypes, RecordTypes::ExportType}, ExportTypes},
    {EvalTaskKinds::VideoFormatsQuery, {Collections::VideoFormats, RecordTypes::VideoFormat}, VideoFormats},
    {EvalTaskKinds::AudioFormatsQuery, {Collections::AudioFormats, RecordTypes::AudioFormat}, AudioFormats},
    {EvalTaskKinds::SourceAvailability,
     {Collections::SourceAvailabilities, RecordTypes::SourceAvailability},
     SourceAvailability},
    {EvalTaskKinds::MobIDsFromContainer, {Collections::MobIDs, RecordTypes::MobID}, MobIDsFromContainer},
    {EvalTaskKinds::SuitableMastersQuery,
     {Collections::MasterMobDescs, RecordTypes::MasterMobDesc},
     SuitableMasters},
};

}  // namespace

const QueryKind* FindQueryKind(std::string_view taskKind) {
    const auto* const found =
        std::find_if(std::begin(kQueries), std::end(kQueries),
                     [taskKind](const auto& query) { return query.taskKind == taskKind; });
    return found == std::end(kQueries) ? nullptr : found;
}

}  // namespace Quillon::Farm
