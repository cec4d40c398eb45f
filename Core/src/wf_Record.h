#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "base/parameters/Parameters.h"

namespace Weftline {

/// What the service stores and produces: a header that classifies it, a private and a public JSON text, and a
/// few plain fields. A plain value; a copy keeps the id. Records belong to one thread at a time.
///
/// Nothing in it is parsed before somebody asks: both JSON fields are text.
class Record {
public:
    /// A record with a fresh random id (UUID version 4), an empty private payload, and an empty array of tags
    /// both in `tags` and in the public payload. Throws Boost's `entropy_error` when the system has no
    /// randomness to give.
    Record(std::string type, std::int32_t version, std::string topic);

    /// Type and topic named, version not 0.
    bool HasValidClassification() const;

    /// Stores `tagsJson` as it came in `tags` and as the child `tags` of the public payload. The text must be
    /// a JSON array: anything else is a fault of the calling code and ends the process.
    void SetTags(const std::string& tagsJson);

    /// Takes `name`, `description`, `readOnly`, `systemCreated` and `tags` from the tree, each where it is
    /// there, and makes the tree the public payload.
    void SetPublicData(const CoreServices::Parameters& tree);

    std::string recordID;
    std::string recordType;
    std::int32_t recordVersion;
    std::string recordTopic;
    std::int32_t opaque1 = 0;
    std::int64_t opaque2 = 0;
    std::string recordData;
    std::int64_t opaque3 = 0;
    std::string name;
    std::string description;
    std::string tags;
    bool readOnly = false;
    bool systemCreated = false;
    std::string recordPublicData;
};

/// Reports a broken invariant with the calling thread's stack on standard output, and aborts the process. For
/// faults of this program's own code, never for what a client sent. Any thread may call.
[[noreturn]] void AssertFailed(std::string_view expression, std::string_view file, std::uint32_t line);

}  // namespace Weftline
