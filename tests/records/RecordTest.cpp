#include "wf_Record.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <iostream>
#include <string>

namespace Weftline {
namespace {

using CoreServices::Parameters;
using testing::AllOf;
using testing::HasSubstr;
using testing::MatchesRegex;

TEST(Record, IsBornWithAnIdOfItsOwnAndNoTags) {
    const Record record("Job", 1, "V2_WFJobs");
    EXPECT_EQ(record.recordID.size(), 36U);
    EXPECT_THAT(record.recordID, MatchesRegex("[0-9a-f-]{14}4[0-9a-f]{3}-[89ab][0-9a-f-]{16}"));
    EXPECT_NE(record.recordID, Record("Job", 1, "V2_WFJobs").recordID);

    // What parsing and writing the empty array would give.
    const Parameters noTags = Parameters::fromJSON("[]");
    Parameters publicData;
    publicData.SetChildParameters("tags", noTags);
    EXPECT_EQ(record.tags, noTags.toJSON());
    EXPECT_EQ(record.recordPublicData, publicData.toJSON());
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
    record.name = "kept";
    record.description = "kept";
    record.SetPublicData(Parameters::fromJSON(R"({"x":1})"));
    EXPECT_EQ(record.name, "kept");
    EXPECT_EQ(record.description, "kept");
    EXPECT_EQ(record.tags, "[]");
    EXPECT_EQ(record.recordPublicData, R"({"x":1})");

    const std::string all =
        R"({"tags":["t"],"systemCreated":true,"readOnly":true,"description":"d","name":"n"})";
    record.SetPublicData(Parameters::fromJSON(all));
    EXPECT_EQ(record.name, "n");
    EXPECT_EQ(record.description, "d");
    EXPECT_TRUE(record.readOnly);
    EXPECT_TRUE(record.systemCreated);
    EXPECT_EQ(record.tags, R"(["t"])");
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

}  // namespace
}  // namespace Weftline
