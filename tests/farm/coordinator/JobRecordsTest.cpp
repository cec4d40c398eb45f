#include "farm/coordinator/JobRecords.h"

#include <gtest/gtest.h>

namespace Quillon::Farm {
namespace {

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
        Weftline::Record job("Job", 1, "V2_WFJobs");
        job.recordData = row.privateData;
        job.recordPublicData = row.publicData;
        EXPECT_EQ(IsOpen(job), row.isOpen) << row.publicData;
        if (row.priority != 0) {
            EXPECT_EQ(ReadJobFacts(job).priority, row.priority) << row.publicData;
            continue;
        }
        EXPECT_THROW(MoveTo(job, "Tasked"), std::runtime_error) << row.publicData;
        EXPECT_EQ(job.recordData + job.recordPublicData, std::string(row.privateData) + row.publicData);
    }
}

}  // namespace
}  // namespace Quillon::Farm
