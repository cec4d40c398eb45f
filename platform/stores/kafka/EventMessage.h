#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "Core/src/wf_Record.h"

namespace CommonServices::Kafka {

// How events travel: pure functions. docs/kafka.md tells the same to other programs.

/// The name that Kafka knows a topic by: letters, digits and "_" as they are, every other byte as "-XX" in
/// upper-case hexadecimal, the empty name as "-". No two topics have one name, also where Kafka takes "." and
/// "_" for the same. Empty where it would be longer than Kafka allows.
std::optional<std::string> TopicName(std::string_view topic);

/// The record as a JSON object. Bytes that are no UTF-8 come out as U+FFFD.
std::string MessageOf(const Weftline::Record& record);

/// Empty where the message is no event of ours: no JSON object, of another layout, or with a member missing
/// or of another type.
std::optional<Weftline::Record> RecordOfMessage(std::string_view message);

}  // namespace CommonServices::Kafka
