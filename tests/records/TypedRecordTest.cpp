#include <gtest/gtest.h>

#include <cstdint>
#include <stdexcept>
#include <string>

#include "BuildFromRecord.h"
#include "Job.h"
#include "Profile.h"

namespace Weftline::DataModel {
namespace {

TEST(TypedRecord, HasTheClassificationOfItsClassAndTheTopicOfItsSuffix) {
    using JobRecord =
        DataRecordV2<decltype(kJobTypeName), 1, decltype(kJobCollection), JobData, PublicJobData>;
    using ProfileRecord = DataRecord<decltype(kProfileTypeName), 1, decltype(kProfileCollection)>;
    EXPECT_EQ(JobRecord("").GetRecord().recordTopic, "V2_WFJobs");
    EXPECT_EQ(JobRecord("x").GetRecord().recordTopic, "V2_WFJobs-x");
    EXPECT_EQ(ProfileRecord("abc").GetRecord().recordTopic, "V2_WFProfiles-abc");

    const Profile profile("p");
    EXPECT_EQ(profile.GetRecord().recordID, "p");
    EXPECT_EQ(profile.GetRecord().recordType, "Profile");
    EXPECT_EQ(profile.GetRecord().recordVersion, 1);
    EXPECT_EQ(profile.GetRecord().recordTopic, "V2_WFProfiles");
}

TEST(BuildFromRecord, NamesTheFirstThingWrongAndLeavesTheTargetAlone) {
    struct Row {
        std::string type;
        std::int32_t version;
        std::string topic;
        std::string failure;
    };
    const std::string invalid = "DataRecord::BuildFromRecord() incoming record classification is invalid";
    const std::string mismatch =
        "DataRecord::BuildFromRecord() incoming record RecordType mismatch Incoming: ";
    const Row rows[] = {
        {"", 2, "X", invalid},
        {"Profile", 0, "V2_WFProfiles", invalid},
        {"Profile", 1, "", invalid},
        {"profile", 2, "X", mismatch + "profile"},
        {"Profile", 2, "X", mismatch + "2"},
        {"Profile", -1, "V2_WFProfiles", mismatch + "-1"},
        {"Profile", 1, "V2_WFProfiles-abc", mismatch + "V2_WFProfiles-abc"},
    };
    for (const Row& row : rows) {
        Profile target("mine");
        try {
            BuildFromRecord(Record(row.type, row.version, row.topic), target, "Profile", 1, "V2_WFProfiles");
            ADD_FAILURE() << row.failure;
        } catch (const std::domain_error& error) {
            EXPECT_EQ(error.what(), row.failure);
        }
        EXPECT_EQ(target.GetRecord().recordID, "mine") << row.failure;
    }

    Record incoming("Profile", 1, "V2_WFProfiles");
    incoming.opaque2 = std::int64_t{1} << 40;
    Profile target("mine");
    BuildFromRecord(incoming, target, "Profile", 1, "V2_WFProfiles");
    EXPECT_EQ(target.GetRecord().recordID, incoming.recordID);
    EXPECT_EQ(target.GetRecord().opaque2, incoming.opaque2);
}

TEST(GetFieldString, ReadsTheTextOfItsScopeOrGivesTheDefault) {
    Profile profile("p");
    EXPECT_EQ(profile.GetFieldString({"k", 0}, "default"), "default") << "no JSON at all";

    profile.GetRecord().recordData = R"({"k":"private","n":1})";
    profile.GetRecord().recordPublicData = R"({"k":"public"})";
    EXPECT_EQ(profile.GetFieldString({"k", 0}, "default"), "private");
    EXPECT_EQ(profile.GetFieldString({"k", -1}, "default"), "public");
    EXPECT_EQ(profile.GetFieldString({"n", 0}, "default"), "default");
}

}  // namespace
}  // namespace Weftline::DataModel
