#include "Core/src/BuildFromRecord.h"

#include <stdexcept>
#include <string>

namespace Weftline::DataModel {
namespace {

// Says "RecordType" whichever of the three differs: that is the text operators know.
[[noreturn]] void ThrowMismatch(const std::string& incomingValue) {
    throw std::domain_error("DataRecord::BuildFromRecord() incoming record RecordType mismatch Incoming: " +
                            incomingValue);
}

}  // namespace

void RequireClassification(const Record& incoming, std::string_view expectedType,
                           std::int32_t expectedVersion, std::string_view expectedTopic) {
    if (!incoming.HasValidClassification()) {
        throw std::domain_error("DataRecord::BuildFromRecord() incoming record classification is invalid");
    }
    if (incoming.recordType != expectedType) {
        ThrowMismatch(incoming.recordType);
    }
    if (incoming.recordVersion != expectedVersion) {
        ThrowMismatch(std::to_string(incoming.recordVersion));
    }
    if (incoming.recordTopic != expectedTopic) {
        ThrowMismatch(incoming.recordTopic);
    }
}

}  // namespace Weftline::DataModel
