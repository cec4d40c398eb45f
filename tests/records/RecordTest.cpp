#include "Core/src/wf_Record.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <cstdint>
#include <iostream>
#include <stdexcept>
#include <string>

#include "Core/src/DataRecord.h"
#include "Core/src/Job.h"
#include "Core/src/Profile.h"

namespace Weftline::DataModel {
namespace {

using CoreServices::Parameters;
using testing::AllOf;
using testing::HasSubstr;
using testing::MatchesRegex;

TEST(Record, IsBornWithAnIdOfItsOwnAndNoTags) {
    const Record record("Job", 1, "V2_WFJobs");
    EXPECT_THAT(record.recordID, MatchesRegex("[0-9a-f-]{14}4[0-9a-f]{3}-[89ab][0-9a-f-]{16}"));
    EXPECT_NE(record.recordID, Record("Job", 1, "V2_WFJobs").recordID);
    EXPECT_EQ(record.tags, "[]");
    EXPECT_EQ(record.recordPublicData, R"({"tags":[]})");
    EXPECT_EQ(record.recordData, "");
}

TEST(Record, IsClassifiedByTypeVersionAndTopicTogether) {
    EXPECT_TRUE(Record("T", -1, "C").HasValidClassification());
    EXPECT_FALSE(Record("", 1, "C").HasValidClassification());
    EXPECT_FALSE(Record("T", 0, "C").HasValidClassification());
    EXPECT_FALSE(Record("T", 1, "").HasValidClassification());
}

TEST(Record, SetTagsWritesBothPlacesAndNothingElse) {
    Record record("T", 1, "C");
    record.recordPublicData = R"({"a":1,"tags":["old"],"b":2.0})";
    record.SetTags(R"([ "a", "b" ])");
    EXPECT_EQ(record.tags, R"([ "a", "b" ])");
    EXPECT_EQ(record.recordPublicData, R"({"a":1,"tags":["a","b"],"b":2.0})");
}

TEST(Record, SetPublicDataTakesTheFieldsThatTheTreeHas) {
    Record record("T", 1, "C");
    record.name = record.description = "kept";
    record.SetPublicData(Parameters::fromJSON(R"({"x":1})"));
    EXPECT_EQ(record.name + record.description + record.tags, "keptkept[]");
    EXPECT_EQ(record.recordPublicData, R"({"x":1})");

    const std::string all =
        R"({"tags":["t"],"systemCreated":true,"readOnly":true,"description":"d","name":"n"})";
    record.SetPublicData(Parameters::fromJSON(all));
    EXPECT_EQ(record.name + record.description + record.tags, R"(nd["t"])");
    EXPECT_TRUE(record.readOnly && record.systemCreated);
    EXPECT_EQ(record.recordPublicData, all);
}

TEST(RecordDeathTest, TagsThatAreNoArrayEndTheProcessWithAReport) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_EXIT(
        {
            // A death test sees the stream of standard error alone, and what is meant is standard output.
            std::cout.rdbuf(std::cerr.rdbuf(nullptr));
            Record("T", 1, "C").SetTags("{}");
        },
        testing::KilledBySignal(SIGABRT),
        AllOf(HasSubstr("ASSERT FAILED: recordTags.IsArray()in Core/src/wf_Record(152)\nSTACKTRACE BEGIN\n "
                        "0# Weftline::AssertFailed("),
              HasSubstr("\n\nSTACKTRACE END\n")));
}

TEST(BuildFromRecord, NamesTheFirstThingWrongAndLeavesTheTargetAlone) {
    const std::string start = "DataRecord::BuildFromRecord() incoming record ";
    const std::string invalid = start + "classification is invalid";
    const std::string mismatch = start + "RecordType mismatch Incoming: ";
    const std::pair<Record, std::string> rows[] = {
        {{"", 2, "X"}, invalid},
        {{"Profile", 0, "V2_WFProfiles"}, invalid},
        {{"Profile", 1, ""}, invalid},
        {{"profile", 2, "X"}, mismatch + "profile"},
        {{"Profile", 2, "X"}, mismatch + "2"},
        {{"Profile", -1, "V2_WFProfiles"}, mismatch + "-1"},
        {{"Profile", 1, "V2_WFProfiles-abc"}, mismatch + "V2_WFProfiles-abc"},
    };
    Profile target("mine");
    for (const auto& [record, failure] : rows) {
        const auto build = [&incoming = record, &target] {
            BuildFromRecord(incoming, target, "Profile", 1, "V2_WFProfiles");
        };
        EXPECT_THAT(build, testing::ThrowsMessage<std::domain_error>(failure));
        EXPECT_EQ(target.GetRecord().recordID, "mine") << failure;
    }
    Record incoming("Profile", 1, "V2_WFProfiles");
    incoming.opaque2 = std::int64_t{1} << 40;
    BuildFromRecord(incoming, target, "Profile", 1, "V2_WFProfiles");
    EXPECT_EQ(target.GetRecord().recordID, incoming.recordID);
    EXPECT_EQ(target.GetRecord().opaque2, incoming.opaque2);
}

TEST(TypedRecord, HasTheTopicOfItsSuffix) {
    using Jobs = DataRecordV2<decltype(kJobTypeName), 1, decltype(kJobCollection), JobData, PublicJobData>;
    using Profiles = DataRecord<decltype(kProfileTypeName), 1, decltype(kProfileCollection)>;
    EXPECT_EQ(Jobs("").GetRecord().recordTopic, "V2_WFJobs");
    EXPECT_EQ(Jobs("x").GetRecord().recordTopic, "V2_WFJobs-x");
    EXPECT_EQ(Profiles("abc").GetRecord().recordTopic, "V2_WFProfiles-abc");
}

}  // namespace
}  // namespace Weftline::DataModel
