#include "Core/src/wf_Record.h"

#include <boost/stacktrace.hpp>
#include <boost/uuid/uuid_io.hpp>
#include <cstdlib>
#include <iostream>
#include <utility>

#include "Core/src/RandomUuid.h"
#include "Core/src/Vocabulary.h"

namespace Weftline {

using CoreServices::Parameters;

namespace {

// What the empty array and a tree with nothing but it come to as JSON text.
constexpr const char* kNoTags = "[]";
constexpr const char* kPublicDataWithoutTags = R"({"tags":[]})";

}  // namespace

Record::Record(std::string type, std::int32_t version, std::string topic)
    : recordID(boost::uuids::to_string(RandomUuid())),
      recordType(std::move(type)),
      recordVersion(version),
      recordTopic(std::move(topic)),
      tags(kNoTags),
      recordPublicData(kPublicDataWithoutTags) {}

bool Record::HasValidClassification() const {
    return !recordType.empty() && recordVersion != 0 && !recordTopic.empty();
}

void Record::SetTags(const std::string& tagsJson) {
    Parameters recordTags = Parameters::fromJSON(tagsJson);
    if (!recordTags.IsArray()) {
        // Operators search for this place by its name and number, so both stay when lines move.
        AssertFailed("recordTags.IsArray()", "Core/src/wf_Record", 152);
    }
    Parameters publicData = Parameters::fromJSON(recordPublicData);
    publicData.SetChildParameters(Keys::Tags, std::move(recordTags));
    tags = tagsJson;
    recordPublicData = publicData.toJSON();
}

void Record::SetPublicData(const Parameters& tree) {
    tree.GetParameter(Keys::Name, name);
    tree.GetParameter(Keys::Description, description);
    tree.GetParameter(Keys::ReadOnly, readOnly);
    tree.GetParameter(Keys::SystemCreated, systemCreated);
    if (tree.HasParameter(Keys::Tags)) {
        SetTags(tree.GetChildParameters(Keys::Tags).toJSON());
    }
    recordPublicData = tree.toJSON();
}

void AssertFailed(std::string_view expression, std::string_view file, std::uint32_t line) {
    std::cout << "ASSERT FAILED: " << expression << "in " << file << "(" << line << ")\n"
              << "STACKTRACE BEGIN\n"
              << std::flush;  // whatever the walk over a damaged stack does, the reason has been said
    std::cout << boost::stacktrace::stacktrace() << "\nSTACKTRACE END\n" << std::flush;
    std::abort();
}

}  // namespace Weftline
