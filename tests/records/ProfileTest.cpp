#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include "ProfileEntity.h"

namespace Weftline::Services::Scheduler {
namespace {

using CoreServices::Parameters;

Record MakeProfileRecord(const std::string& data) {
    Record record("Profile", 1, "V2_WFProfiles");
    record.recordID = "p";
    record.recordData = data;
    return record;
}

Entities::Profile MakeProfile(const std::string& data) {
    return {nullptr, nullptr, MakeProfileRecord(data)};
}

TEST(ProfileEntity, ListsNameAndKindOfThePrivateJson) {
    struct Row {
        const char* data;
        const char* entry;
    };
    constexpr Row kRows[] = {
        {R"({"type":"Proxy","name":"B"})", R"({"id":"p","name":"B","isProxy":true})"},
        {R"({"name":"B"})", R"({"id":"p","name":"B","isProxy":false})"},
        {R"({"name":7,"type":"proxy"})", R"({"id":"p","name":"","isProxy":false})"},
        {"", R"({"id":"p","name":"","isProxy":false})"},
    };
    for (const Row& row : kRows) {
        Record record = MakeProfileRecord(row.data);
        record.name = "A";
        EXPECT_EQ(Entities::Profile(nullptr, nullptr, record).ToListEntry().toJSON(), row.entry) << row.data;
    }
}

TEST(ProfileEntity, TakesAnyTopicButNoOtherTypeOrVersion) {
    Record record = MakeProfileRecord(R"({"name":"B"})");
    record.recordTopic = "V2_WFProfiles-abc";
    EXPECT_NO_THROW(Entities::Profile(nullptr, nullptr, record));

    record.recordVersion = 2;
    EXPECT_THROW(Entities::Profile(nullptr, nullptr, record), std::domain_error);
    record.recordVersion = 1;
    record.recordType = "Job";
    EXPECT_THROW(Entities::Profile(nullptr, nullptr, record), std::domain_error);
}

TEST(ProfileEntity, LaysItsSettingsOverTheJobsParameters) {
    const auto profile =
        MakeProfile(R"({"name":"B","type":"Proxy","SkipVideo":{"label":"no","value":false},)"
                    R"("Audio":{"Rate":{"value":48000,"label":"48 kHz"}},"profile":"not a setting"})");
    const Parameters jobParameters =
        Parameters::fromJSON(R"({"profile":"p","SkipVideo":true,"Own":[1.0,{"a":null}],"Gone":null})");

    EXPECT_EQ(profile.MergeProfileIntoParams(jobParameters).toJSON(),
              R"({"profile":"p","SkipVideo":false,"Own":[1.0,{"a":null}],"Audio":{"Rate":48000}})");
    EXPECT_THROW(MakeProfile("{").MergeProfileIntoParams(jobParameters), std::runtime_error);
}

}  // namespace
}  // namespace Weftline::Services::Scheduler
