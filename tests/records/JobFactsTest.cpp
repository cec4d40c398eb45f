// Small facts about jobs: their first event, the names of their tasks, their times.

#include <gtest/gtest.h>

#include <map>

#include "Core/src/Job.h"
#include "Core/src/JobKinds.h"
#include "Core/src/TimeText.h"

namespace Weftline::DataModel {
namespace {

TEST(JobCreatedEvent, HasAnIdOfItsOwn) {
    const Record event = MakeJobCreatedEvent("job", "queue");
    EXPECT_EQ(event.recordVersion, 1);
    EXPECT_EQ(event.recordPublicData, R"({"tags":[]})");
    EXPECT_NE(event.recordID, MakeJobCreatedEvent("job", "queue").recordID);
}

TEST(TaskDisplayName, MatchesTheWholeTextOfATaskThatWorkersRun) {
    const std::map<std::string, std::string_view> names = {
        {"transcode", "Transcode"},
        {"render.video", "Video precompute"},
        {"mixdown", "Mixdown"},
        {"mixdown.data", "DataMixdown"},
        // Prefixes, another case, and a task that is no worker's
        {"metadata.transcode", ""},
        {"render", ""},
        {"mixdown.", ""},
        {"Transcode", ""},
        {"", ""}};
    for (const auto& [task, name] : names) {
        EXPECT_EQ(TaskDisplayName("orvik.quillon.task." + task), name) << task;
    }
    EXPECT_EQ(TaskDisplayName("transcode"), "");
    for (const auto* operation : SubmitOperations::kAll) {
        EXPECT_EQ(TaskDisplayName(operation->evalTaskKind), "") << operation->name;
    }
}

TEST(ExtendedIsoUtc, CutsToMicrosecondsAndLeavesOutAZeroFraction) {
    using namespace std::chrono;  // NOLINT(google-build-using-namespace)
    const system_clock::time_point day = sys_days{2024y / February / 29};
    struct Row {
        nanoseconds sinceMidnight;
        const char* text;
    };
    const Row rows[] = {
        {0ns, "2024-02-29T00:00:00"},
        {7h + 8min + 9s, "2024-02-29T07:08:09"},
        {7h + 8min + 9s + 999ns, "2024-02-29T07:08:09"},
        {7h + 8min + 9s + 1us, "2024-02-29T07:08:09.000001"},
        {23h + 59min + 59s + 999'999'900ns, "2024-02-29T23:59:59.999999"},
        {7h + 500ms, "2024-02-29T07:00:00.500000"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(ExtendedIsoUtc(day + duration_cast<system_clock::duration>(row.sinceMidnight)), row.text);
    }
    EXPECT_EQ(ExtendedIsoUtc({}), "1970-01-01T00:00:00");
}

}  // namespace
}  // namespace Weftline::DataModel
