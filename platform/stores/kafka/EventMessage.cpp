#include "platform/stores/kafka/EventMessage.h"

#include <charconv>
#include <cstddef>
#include <cstdint>
#include <stdexcept>

#include "base/parameters/JsonObjectText.h"
#include "base/parameters/Parameters.h"

namespace CommonServices::Kafka {

using CoreServices::Parameters;
using Weftline::Record;

namespace {

constexpr std::size_t kLongestTopicName = 249;  // Kafka's own limit
constexpr std::int32_t kLayout = 1;
constexpr const char* kLayoutKey = "layout";

struct TextField {
    const char* key;
    std::string Record::*member;
};
constexpr TextField kTexts[] = {{"recordID", &Record::recordID},
                                {"recordType", &Record::recordType},
                                {"recordTopic", &Record::recordTopic},
                                {"name", &Record::name},
                                {"description", &Record::description},
                                {"recordData", &Record::recordData},
                                {"recordPublicData", &Record::recordPublicData},
                                {"tags", &Record::tags}};

struct FlagField {
    const char* key;
    bool Record::*member;
};
constexpr FlagField kFlags[] = {{"readOnly", &Record::readOnly}, {"systemCreated", &Record::systemCreated}};

struct NumberField {
    const char* key;
    std::int32_t Record::*member;
};
constexpr NumberField kNumbers[] = {{"recordVersion", &Record::recordVersion}, {"opaque1", &Record::opaque1}};

// As texts, since many readers of JSON keep no more than 53 bits of a number.
struct LongField {
    const char* key;
    std::int64_t Record::*member;
};
constexpr LongField kLongs[] = {{"opaque2", &Record::opaque2}, {"opaque3", &Record::opaque3}};

bool ReadLong(const std::string& text, std::int64_t& out) {
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, out);
    return error == std::errc() && stop == end;
}

bool ReadInto(Record& record, const Parameters& tree) {
    std::int32_t layout = 0;
    if (!tree.GetParameter(kLayoutKey, layout) || layout != kLayout) {
        return false;
    }
    for (const auto& [key, member] : kTexts) {
        if (!tree.GetParameter(key, record.*member)) {
            return false;
        }
    }
    for (const auto& [key, member] : kFlags) {
        if (!tree.GetParameter(key, record.*member)) {
            return false;
        }
    }
    for (const auto& [key, member] : kNumbers) {
        if (!tree.GetParameter(key, record.*member)) {
            return false;
        }
    }
    for (const auto& [key, member] : kLongs) {
        std::string text;
        if (!tree.GetParameter(key, text) || !ReadLong(text, record.*member)) {
            return false;
        }
    }
    return true;
}

}  // namespace

std::optional<std::string> TopicName(std::string_view topic) {
    constexpr std::string_view kHex = "0123456789ABCDEF";
    std::string name = topic.empty() ? "-" : "";
    for (const char c : topic) {
        if ((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_') {
            name += c;
        } else {
            const auto byte = static_cast<unsigned char>(c);
            name += {'-', kHex[byte >> 4U], kHex[byte & 15U]};
        }
    }
    return name.size() <= kLongestTopicName ? std::optional(std::move(name)) : std::nullopt;
}

std::string MessageOf(const Record& record) {
    CoreServices::JsonObjectText message;
    message.AddInteger(kLayoutKey, kLayout);
    for (const auto& [key, member] : kTexts) {
        message.AddText(key, record.*member);
    }
    for (const auto& [key, member] : kFlags) {
        message.AddFlag(key, record.*member);
    }
    for (const auto& [key, member] : kNumbers) {
        message.AddInteger(key, record.*member);
    }
    for (const auto& [key, member] : kLongs) {
        message.AddText(key, std::to_string(record.*member));
    }
    return message.Finish();
}

std::optional<Record> RecordOfMessage(std::string_view message) {
    try {
        Record record("", 1, "");
        if (ReadInto(record, Parameters::fromJSON(message))) {
            return record;
        }
    } catch (const std::runtime_error&) {
        // No JSON: a message of another program.
    }
    return std::nullopt;
}

}  // namespace CommonServices::Kafka
