#include "KeptPosition.h"

#include <charconv>
#include <stdexcept>
#include <string>

#include "ObjectStore.h"
#include "Parameters.h"
#include "Vocabulary.h"

namespace Quillon::Farm::KeptPosition {

namespace {

constexpr char kCollection[] = "V2_WFFarm";
constexpr char kType[] = "FarmPosition";
constexpr char kRecordId[] = "farm.coordinator.position";
constexpr std::int32_t kVersion = 1;

// As a text: offsets outgrow the numbers of a tree.
std::int64_t ReadOffset(const std::string& json) try {
    std::string text;
    std::int64_t offset = 0;
    CoreServices::Parameters::fromJSON(json).GetParameter(Weftline::Keys::Offset, text);
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), offset);
    return error == std::errc() && end == text.data() + text.size() && offset > 0 ? offset : 0;
} catch (const std::runtime_error&) {
    return 0;
}

}  // namespace

std::int64_t Load() {
    const auto kept = CommonServices::ObjectStore().FindByID(kRecordId, kCollection);
    return kept ? ReadOffset(kept->recordData) : 0;
}

bool Keep(std::int64_t offset) {
    Weftline::Record position(kType, kVersion, kCollection);
    position.recordID = kRecordId;
    position.systemCreated = true;
    CoreServices::Parameters data;
    data.SetParameter(Weftline::Keys::Offset, std::to_string(offset));
    position.recordData = data.toJSON();
    return CommonServices::ObjectStore().UpsertOne(position);
}

}  // namespace Quillon::Farm::KeptPosition
