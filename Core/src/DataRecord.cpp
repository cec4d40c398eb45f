#include "Core/src/DataRecord.h"

#include <stdexcept>

namespace Weftline::DataModel {
namespace {

// Says "RecordType" whichever of the three differs: that is the text operators know.
[[noreturn]] void ThrowMismatch(const std::string& incomingValue) {
    throw std::domain_error("DataRecord::BuildFromRecord() incoming record RecordType mismatch Incoming: " +
                            incomingValue);
}

}  // namespace

std::string MakeTopic(std::string_view collection, std::string_view suffix) {
    std::string topic(collection);
    if (!suffix.empty()) {
        topic.append("-").append(suffix);
    }
    return topic;
}

std::string GetFieldString(const Record& record, const RecordField& field, const std::string& defaultValue) {
    const std::string& json = field.scope != 0 ? record.recordPublicData : record.recordData;
    std::string text = defaultValue;
    CoreServices::Parameters::fromJSON(json).GetParameter(field.key, text);
    return text;
}

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
