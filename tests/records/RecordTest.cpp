#include "Core/src/wf_Record.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/random.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <boost/uuid/entropy_error.hpp>
#include <cerrno>
#include <csignal>
#include <future>
#include <iostream>

#include "Core/src/Job.h"
#include "Core/src/Profile.h"
#include "Core/src/SubmitOperations.h"
#include "Core/src/TimeText.h"

namespace {
bool g_randomFails = false;
}  // namespace

/// In the place of the system's own.
extern "C" ssize_t getrandom(void* bytes, size_t count, unsigned flags) {
    errno = ENOSYS;
    return g_randomFails ? -1 : ::syscall(SYS_getrandom, bytes, count, flags);
}

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
    EXPECT_EQ(record.tags + record.recordPublicData + record.recordData, R"([]{"tags":[]})");
}

TEST(Record, IsNotBornWithoutRandomness) {
    g_randomFails = true;
    // In a thread that has no random bytes left over
    auto born = std::async(std::launch::async, [] { Record("Job", 1, "V2_WFJobs"); });
    EXPECT_THROW(born.get(), boost::uuids::entropy_error);
    g_randomFails = false;
}

TEST(Record, SetPublicDataTakesTheFieldsThatTheTreeHas) {
    Record record("T", 1, "C");
    record.name = record.description = "kept";
    record.SetPublicData(Parameters::fromJSON(R"({"a":1,"b":2.0})"));
    record.SetTags(R"([ "a", "b" ])");
    EXPECT_EQ(record.name + record.description + record.tags, R"(keptkept[ "a", "b" ])");
    EXPECT_EQ(record.recordPublicData, R"({"a":1,"b":2.0,"tags":["a","b"]})");

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
        {{"Profile", -1, "X"}, mismatch + "-1"},
        {{"Profile", 1, MakeTopic("V2_WFProfiles", "abc")}, mismatch + "V2_WFProfiles-abc"}};
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

TEST(TaskDisplayName, MatchesTheWholeTextOfATaskThatWorkersRun) {
    // What the table of operations holds is told with it.
    const std::pair<std::string, std::string_view> rows[] = {
        {"render.audio", "Audio precompute"}, {"mixdown.video", "VideoMixdown"},
        {"mixdown.audio", "AudioMixdown"},    {"mixdown.data", "DataMixdown"},
        {"metadata.transcode", ""},           {"mixdown.", ""}};
    for (const auto& [task, name] : rows) {
        EXPECT_EQ(TaskDisplayName("orvik.quillon.task." + task), name) << task;
    }
}

TEST(ExtendedIsoUtc, CutsToMicrosecondsAndLeavesOutAZeroFraction) {
    using namespace std::chrono;  // NOLINT(google-build-using-namespace)
    const system_clock::time_point day = sys_days{2024y / February / 29};
    const std::pair<nanoseconds, std::string> rows[] = {
        {0ns, "00:00:00"},
        {7h + 8min + 9s + 999ns, "07:08:09"},
        {7h + 8min + 9s + 1us, "07:08:09.000001"},
        {23h + 59min + 59s + 999'999'900ns, "23:59:59.999999"},
        {7h + 500ms, "07:00:00.500000"}};
    for (const auto& [sinceMidnight, text] : rows) {
        EXPECT_EQ(ExtendedIsoUtc(day + duration_cast<system_clock::duration>(sinceMidnight)),
                  "2024-02-29T" + text);
    }
    EXPECT_EQ(ExtendedIsoUtc({}), "1970-01-01T00:00:00");
}

}  // namespace
}  // namespace Weftline::DataModel
