#include "farm/coordinator/JobRecords.h"

#include <gtest/gtest.h>

#include "Core/src/JobKinds.h"

namespace Quillon::Farm {
namespace {

using Weftline::Record;
namespace JobStates = Weftline::JobStates;

Record Job(const char* privateData, const char* publicData) {
    Record job("Job", 1, "V2_WFJobs");
    job.recordID = "j";
    job.recordData = privateData;
    job.recordPublicData = publicData;
    return job;
}

TEST(JobRecordTest, ChangesWhatItNamesAndKeepsAllElse) {
    Record job = Job(
        R"({"parent":"p","jobLastState":"","jobMonitorID":"","processingData":"{\"n\":1e400}","big":9007199254740993})",
        R"({"jobKind":"k","jobState":"","priority":7,"progress":0,"x":1.0,"tags":[]})");
    for (int n = 0; n < 2; ++n) {  // once more, after a restart
        MoveTo(job, JobStates::Tasked);
        SetProgress(job, 40);
        EXPECT_EQ(
            job.recordData,
            R"({"parent":"p","jobLastState":"Created","jobMonitorID":"j","processingData":"{\"n\":1e400}","big":9007199254740993})");
        EXPECT_EQ(job.recordPublicData,
                  R"({"jobKind":"k","jobState":"Tasked","priority":7,"progress":40,"x":1.0,"tags":[]})");
    }
    Record failed = job;
    Complete(job, "2026-01-02T03:04:05");
    EXPECT_EQ(
        job.recordPublicData,
        R"({"jobKind":"k","jobState":"Completed","priority":7,"progress":100,"x":1.0,"tags":[],"completedDateTime":"2026-01-02T03:04:05"})");
    Fail(failed, "2026-01-02T03:04:05", "why");
    EXPECT_EQ(
        failed.recordPublicData,
        R"({"jobKind":"k","jobState":"Failed","priority":7,"progress":40,"x":1.0,"tags":[],"completedDateTime":"2026-01-02T03:04:05"})");
    EXPECT_NE(failed.recordData.find(R"("failureReason":"why")"), std::string::npos);
}

TEST(JobRecordTest, ReadsWhatOthersWroteAndChangesNothingThatIsBroken) {
    const struct {
        const char* publicData;
        std::int32_t priority;  // 0: it cannot be read
        bool isOpen;
        const char* privateData = "{}";
    } rows[] = {
        {R"({"jobState":""})", 50, true},
        {R"({"jobState":"Tasked","priority":3})", 3, true},
        {R"({"priority":-2147483648})", 1, true},
        {R"({"jobState":1,"priority":"9"})", 50, true},
        {R"({"jobState":"Completed"})", 50, false},
        {R"({"jobState":"tasked"})", 50, false},
        {"[", 0, true},
        {"[]", 0, true},
        {"{}", 0, true, "{"},
    };
    for (const auto& row : rows) {
        Record job = Job(row.privateData, row.publicData);
        EXPECT_EQ(IsOpen(job), row.isOpen) << row.publicData;
        if (row.priority != 0) {
            EXPECT_EQ(ReadJobFacts(job).priority, row.priority) << row.publicData;
            continue;
        }
        EXPECT_THROW(ReadJobFacts(job), std::runtime_error) << row.publicData;
        EXPECT_THROW(MoveTo(job, JobStates::Tasked), std::runtime_error) << row.publicData;
        EXPECT_EQ(job.recordData + job.recordPublicData, std::string(row.privateData) + row.publicData);
    }
}

}  // namespace
}  // namespace Quillon::Farm
