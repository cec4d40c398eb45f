#include "farm/coordinator/KeptPosition.h"

#include <charconv>
#include <chrono>
#include <stdexcept>
#include <string>

#include "Core/src/Vocabulary.h"
#include "base/log/PlatformLog.h"
#include "base/parameters/Parameters.h"
#include "platform/stores/EventLog.h"
#include "platform/stores/ObjectStore.h"
#include "platform/stores/StoreChoice.h"

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

bool IsInLog(std::int64_t offset) {
    return !CommonServices::StoreChoice::Events()
                ->Read(std::string(Weftline::Topics::JobEvents), offset - 1, 1, {})
                .empty();
}

}  // namespace

// From a position behind the end of the log no job would be heard of. From the first event on, those that
// have ended are passed over.
std::int64_t Load() {
    const auto kept = CommonServices::ObjectStore().FindByID(kRecordId, kCollection);
    const std::int64_t offset = kept ? ReadOffset(kept->recordData) : 0;
    if (kept && (offset == 0 || !IsInLog(offset))) {
        PlatformAbstraction::Log::Warning(
            "The coordinator's position cannot be used, so all events are read.");
        return 0;
    }
    return offset;
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
