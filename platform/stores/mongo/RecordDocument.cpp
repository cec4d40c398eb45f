#include "platform/stores/mongo/RecordDocument.h"

#include <openssl/sha.h>

#include <array>
#include <stdexcept>
#include <vector>

#include "base/parameters/Parameters.h"

namespace CommonServices::Mongo {

using CoreServices::Parameters;

namespace {

constexpr std::size_t kHashBytes = 16;

struct TextField {
    const char* key;
    std::string Weftline::Record::*text;
};
constexpr TextField kTexts[] = {
    {Fields::kType, &Weftline::Record::recordType},      {"name", &Weftline::Record::name},
    {"description", &Weftline::Record::description},     {Fields::kData, &Weftline::Record::recordData},
    {"publicData", &Weftline::Record::recordPublicData}, {"tags", &Weftline::Record::tags}};
constexpr const char* kVersion = "version";
constexpr const char* kReadOnly = "readOnly";
constexpr const char* kSystemCreated = "systemCreated";

std::vector<std::string> ReferencesOf(const std::string& publicJson) {
    Parameters tree;
    try {
        tree = Parameters::fromJSON(publicJson);
    } catch (const std::runtime_error&) {
        return {};  // such a record is stored as it is, and refers to nothing
    }
    std::vector<std::string> references;
    for (const std::string& key : tree.GetTopLevelParameterNames()) {
        std::string value;
        if (tree.GetParameter(key, value)) {
            references.push_back(ReferenceHash(key, value));
        }
    }
    return references;
}

// A new `Record` draws an id and builds JSON; a document brings its own, so records are copies of an empty
// one.
const Weftline::Record& EmptyRecord() {
    static const Weftline::Record& empty = *[] {
        auto* record = new Weftline::Record("", 0, "");  // never destroyed: detached threads may still read
        record->recordID.clear();
        return record;
    }();
    return empty;
}

}  // namespace

void AppendPlainFields(Document& document, const Weftline::Record& record) {
    for (const TextField& field : kTexts) {
        document.Text(field.key, record.*field.text);
    }
    document.Int(kVersion, record.recordVersion)
        .Bool(kReadOnly, record.readOnly)
        .Bool(kSystemCreated, record.systemCreated);
}

Document FieldsOf(const Weftline::Record& record, std::chrono::system_clock::time_point now) {
    Document fields;
    AppendPlainFields(fields, record);
    fields.AllBytes(Fields::kReferences, ReferencesOf(record.recordPublicData)).Time("modified", now);
    return fields;
}

Weftline::Record RecordOf(const bson_t& document) {
    Weftline::Record record = EmptyRecord();
    record.recordID = Value(document, Fields::kId).Text();
    record.recordTopic = Value(document, Fields::kCollection).Text();
    for (const TextField& field : kTexts) {
        record.*field.text = Value(document, field.key).Text();
    }
    record.readOnly = Value(document, kReadOnly).Bool();
    record.systemCreated = Value(document, kSystemCreated).Bool();
    record.recordVersion = static_cast<std::int32_t>(Value(document, kVersion).Number().value_or(0));
    return record;
}

Document OutboxEntryOf(const Token& token, const Weftline::Record& event) {
    Document fields;
    fields.Text(Fields::kId, event.recordID).Text(Fields::kCollection, event.recordTopic);
    AppendPlainFields(fields, event);
    Document entry;
    entry.Id(Fields::kToken, token).Child(Fields::kEvent, fields);
    return entry;
}

Weftline::Record EventOf(const Document& entry) {
    const auto event = Value(*entry.Get(), Fields::kEvent).Child();
    return event ? RecordOf(*event->Get()) : EmptyRecord();
}

std::string ReferenceHash(std::string_view key, std::string_view value) {
    // The length keeps key and value apart.
    std::string text = std::to_string(key.size()) + ":";
    text.append(key).append(value);
    std::array<unsigned char, SHA256_DIGEST_LENGTH> digest{};
    SHA256(reinterpret_cast<const unsigned char*>(text.data()), text.size(), digest.data());
    return {reinterpret_cast<const char*>(digest.data()), kHashBytes};
}

}  // namespace CommonServices::Mongo
