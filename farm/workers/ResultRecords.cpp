#include "farm/workers/ResultRecords.h"

#include <cstddef>
#include <cstdint>
#include <stdexcept>

#include "Core/src/Vocabulary.h"
#include "Core/src/wf_Record.h"
#include "platform/stores/ObjectStore.h"

namespace Quillon::Farm {

using CoreServices::Parameters;
namespace Keys = Weftline::Keys;

namespace {

constexpr std::int32_t kRecordVersion = 1;

Weftline::Record MakeRecord(const ResultPlace& place, const std::string& queryId, std::size_t number,
                            const Parameters& result) {
    Weftline::Record record{std::string(place.recordType), kRecordVersion, std::string(place.collection)};
    record.recordID = queryId + "." + std::to_string(number);
    record.recordData = result.toJSON();
    Parameters reference;
    reference.AddEmptyArray(Keys::Tags);
    reference.SetParameter(Keys::QueryID, queryId);
    record.SetPublicData(reference);
    return record;
}

}  // namespace

void StoreResults(const ResultPlace& place, const std::string& queryId,
                  const std::vector<Parameters>& results) {
    const CommonServices::ObjectStore store;
    for (std::size_t number = 0; number < results.size(); ++number) {
        if (!store.UpsertOne(MakeRecord(place, queryId, number, results[number]))) {
            throw std::runtime_error("The result " + std::to_string(number) + " could not be stored.");
        }
    }
}

}  // namespace Quillon::Farm
