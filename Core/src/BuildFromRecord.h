#pragma once

#include <cstdint>
#include <string_view>

#include "Core/src/wf_Record.h"

namespace Weftline::DataModel {

/// Throws `std::domain_error` unless `incoming` is classified at all and then as expected; the text ends with
/// the first value that differs. Texts are compared byte for byte.
void RequireClassification(const Record& incoming, std::string_view expectedType,
                           std::int32_t expectedVersion, std::string_view expectedTopic);

/// Puts a record that came out of a store into the typed record `target`, after the test above. `target`
/// stays as it was where the test fails.
template <class TypedRecord>
void BuildFromRecord(const Record& incoming, TypedRecord& target, std::string_view expectedType,
                     std::int32_t expectedVersion, std::string_view expectedTopic) {
    RequireClassification(incoming, expectedType, expectedVersion, expectedTopic);
    target.GetRecord() = incoming;
}

}  // namespace Weftline::DataModel
