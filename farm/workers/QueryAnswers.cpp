#include "farm/workers/QueryAnswers.h"

#include <algorithm>
#include <boost/uuid/name_generator_sha1.hpp>
#include <boost/uuid/uuid.hpp>
#include <boost/uuid/uuid_io.hpp>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <stdexcept>
#include <vector>

#include "Core/src/SubmitOperations.h"
#include "Core/src/TreeValues.h"
#include "Core/src/Vocabulary.h"
#include "Core/src/wf_Record.h"
#include "platform/stores/ObjectStore.h"

namespace Quillon::Farm {

using CoreServices::Parameters;
namespace Keys = Weftline::Keys;
namespace Collections = Weftline::Collections;
namespace RecordTypes = Weftline::RecordTypes;
namespace Submit = Weftline::SubmitOperations;

namespace {

using Answer = std::vector<Parameters>;

constexpr std::size_t kMobsInContainer = 3;
constexpr std::int32_t kRecordVersion = 1;

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

/// One kind of query: the operation that submits it, where its results go, and how they come about.
struct QueryKind {
    const Submit::Row& operation;
    std::string_view collection;
    std::string_view recordType;
    Answer (*answer)(const Parameters& request, const Catalogues& catalogues);
};

constexpr QueryKind kQueries[] = {
    {Submit::kExportQuery, Collections::ExportTypes, RecordTypes::ExportType, ExportTypes},
    {Submit::kVideoFormatsQuery, Collections::VideoFormats, RecordTypes::VideoFormat, VideoFormats},
    {Submit::kAudioFormatsQuery, Collections::AudioFormats, RecordTypes::AudioFormat, AudioFormats},
    {Submit::kSourceAvailability, Collections::SourceAvailabilities, RecordTypes::SourceAvailability,
     SourceAvailability},
    {Submit::kMobIDsFromContainer, Collections::MobIDs, RecordTypes::MobID, MobIDsFromContainer},
    {Submit::kSuitableMastersQuery, Collections::MasterMobDescs, RecordTypes::MasterMobDesc, SuitableMasters},
};

Weftline::Record MakeRecord(const QueryKind& query, const std::string& queryId, std::size_t number,
                            const Parameters& result) {
    Weftline::Record record{std::string(query.recordType), kRecordVersion, std::string(query.collection)};
    record.recordID = queryId + "." + std::to_string(number);
    record.recordData = result.toJSON();
    Parameters reference;
    reference.AddEmptyArray(Keys::Tags);
    reference.SetParameter(Keys::QueryID, queryId);
    record.SetPublicData(reference);
    return record;
}

}  // namespace

void StoreQueryResults(std::string_view taskKind, const std::string& queryId, const Parameters& request,
                       const Catalogues& catalogues) {
    const auto* const query = std::ranges::find(
        kQueries, taskKind, [](const QueryKind& kind) { return kind.operation.evalTaskKind; });
    if (query == std::end(kQueries)) {
        return;
    }
    const Answer results = query->answer(request, catalogues);
    const CommonServices::ObjectStore store;
    for (std::size_t number = 0; number < results.size(); ++number) {
        const Weftline::Record result = MakeRecord(*query, queryId, number, results[number]);
        if (!store.UpsertOne(result)) {
            // Where the store is away, and has not refused this record, that is what is thrown here.
            static_cast<void>(store.FindByID(result.recordID, result.recordTopic));
            throw std::runtime_error("The result " + std::to_string(number) + " could not be stored.");
        }
    }
}

}  // namespace Quillon::Farm
