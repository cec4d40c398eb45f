#include "Core/src/DataRecord.h"

namespace Weftline::DataModel {

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

}  // namespace Weftline::DataModel
