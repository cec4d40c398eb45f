#pragma once

#include <charconv>
#include <cstdint>
#include <stdexcept>
#include <string>

#include "Core/src/Vocabulary.h"
#include "Core/src/wf_Record.h"
#include "base/parameters/Parameters.h"
#include "farm/protocol/LeaseNumber.h"

namespace Quillon::Farm {

// What the farm keeps for itself among the records of the store. It counts for this store's own event log
// alone.

inline constexpr char kStateCollection[] = "V2_WFFarm";
inline constexpr char kPositionId[] = "farm.coordinator.position";

/// The coordinator's place in the event log, as a record; `lease` is the number of the coordinator's lease, 0
/// where there is none. As a text: offsets outgrow the numbers of a tree.
inline Weftline::Record PositionRecord(std::int64_t offset, std::int64_t lease = 0) {
    constexpr std::int32_t kVersion = 1;
    Weftline::Record position("FarmPosition", kVersion, kStateCollection);
    position.recordID = kPositionId;
    position.systemCreated = true;
    CoreServices::Parameters data;
    data.SetParameter(Weftline::Keys::Offset, std::to_string(offset));
    WriteLeaseNumber(data, lease);
    position.recordData = data.toJSON();
    return position;
}

/// 0 where the record holds no place.
inline std::int64_t OffsetOf(const Weftline::Record& position) try {
    std::string text;
    std::int64_t offset = 0;
    CoreServices::Parameters::fromJSON(position.recordData).GetParameter(Weftline::Keys::Offset, text);
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), offset);
    return error == std::errc() && end == text.data() + text.size() && offset > 0 ? offset : 0;
} catch (const std::runtime_error&) {
    return 0;
}

}  // namespace Quillon::Farm
