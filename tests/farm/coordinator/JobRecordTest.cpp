#include "farm/coordinator/JobRecord.h"

#include <gtest/gtest.h>

#include "Core/src/JobKinds.h"
#include "Core/src/Vocabulary.h"

namespace Quillon::Farm {
namespace {

using Weftline::Record;

constexpr char kPrivate[] =
    R"({"parent":"p","jobLastState":"","jobMonitorID":"","processingData":"{\"n\":1e400}","big":9007199254740993})";
constexpr char kPublic[] = R"({"jobKind":"k","jobState":"","priority":7,"progress":0,"x":1.0,"tags":[]})";

Record Job(const char* privateData = kPrivate, const char* publicData = kPublic) {
    Record job("Job", 1, "V2_WFJobs");
    job.recordID = "j";
    job.name = "A name";
    job.description = "Told";
    job.recordData = privateData;
    job.recordPublicData = publicData;
    return job;
}

TEST(JobRecordTest, ChangesWhatItNamesAndKeepsAllElse) {
    Record job = Job();
    MoveTo(job, Weftline::JobStates::Tasked);
    SetProgress(job, 40);
    EXPECT_EQ(
        job.recordData,
        R"({"parent":"p","jobLastState":"Created","jobMonitorID":"j","processingData":"{\"n\":1e400}","big":9007199254740993})");
    EXPECT_EQ(job.recordPublicData,
              R"({"jobKind":"k","jobState":"Tasked","priority":7,"progress":40,"x":1.0,"tags":[]})");
    EXPECT_EQ(job.name + job.description + job.tags, "A nameTold[]");
    MoveTo(job, Weftline::JobStates::Tasked);  // once more, after a restart
    EXPECT_NE(job.recordData.find(R"("jobLastState":"Created")"), std::string::npos);

    Record failed = job;
    Complete(job, "2026-01-02T03:04:05");
    EXPECT_EQ(
        job.recordPublicData,
        R"({"jobKind":"k","jobState":"Completed","priority":7,"progress":100,"x":1.0,"tags":[],"completedDateTime":"2026-01-02T03:04:05"})");
    Fail(failed, "2026-01-02T03:04:05", "why");
    EXPECT_EQ(
        failed.recordPublicData,
        R"({"jobKind":"k","jobState":"Failed","priority":7,"progress":40,"x":1.0,"tags":[],"completedDateTime":"2026-01-02T03:04:05"})");
    EXPECT_NE(failed.recordData.find(R"("jobLastState":"Tasked")"), std::string::npos);
    EXPECT_NE(failed.recordData.find(R"("failureReason":"why")"), std::string::npos);
}

TEST(JobRecordTest, RefusesBrokenJsonAndChangesNothing) {
    for (const auto& [privateData, publicData] :
         {std::pair{"{", kPublic}, std::pair{kPrivate, "["}, std::pair{kPrivate, "[]"}}) {
        Record job = Job(privateData, publicData);
        EXPECT_THROW(MoveTo(job, Weftline::JobStates::Tasked), std::runtime_error)
            << privateData << publicData;
        EXPECT_THROW(ReadJobFacts(job), std::runtime_error) << privateData << publicData;
        EXPECT_EQ(job.recordData, privateData);
        EXPECT_EQ(job.recordPublicData, publicData);
    }
}

TEST(JobRecordTest, ReadsWhatOthersWrote) {
    const struct {
        const char* publicData;
        std::int32_t priority;
        bool isOpen;
    } rows[] = {
        {R"({"jobState":""})", 50, true},           {R"({"jobState":"Tasked","priority":3})", 3, true},
        {R"({"priority":-2147483648})", 1, true},   {R"({"jobState":1,"priority":"9"})", 50, true},
        {R"({"jobState":"Completed"})", 50, false}, {R"({"jobState":"tasked"})", 50, false},
    };
    for (const auto& row : rows) {
        const JobFacts facts = ReadJobFacts(Job("{}", row.publicData));
        EXPECT_EQ(facts.priority, row.priority) << row.publicData;
        EXPECT_EQ(IsOpenState(facts.state), row.isOpen) << row.publicData;
    }
}

}  // namespace
}  // namespace Quillon::Farm
