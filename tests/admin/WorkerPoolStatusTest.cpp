#include "handlers/admin/WorkerPoolStatusHandler.h"

#include "tests/admin/AdminFixture.h"

namespace Weftline::Services::Scheduler {
namespace {

class WorkerPool : public AdminFixture {
protected:
    static std::string Worker(const std::string& task, const std::string& metadataOnly = "false") {
        return R"({"id":"i","status":"Busy","task":")" + task +
               R"(","user":"ada","machine":"m","tag":"t","workerKind":"w","metadataOnly":)" + metadataOnly +
               R"(,"processID":7,"time":"now","more":{}})";
    }
    /// What the handler says when the coordinator reports so.
    std::string AnswerAbout(const std::string& report) {
        bus->Restart("workerPoolStatus", Results(report));
        return Answer(handler, R"({"results":[{}]})");
    }

    WorkerPoolStatusHandler handler{"farm"};
};

TEST_F(WorkerPool, ShowsAllWorkersButThoseForMetadata) {
    const auto row = [](const std::string& taskType) {
        return R"({"Status":"Busy","TaskType":")" + taskType +
               R"(","WorkingForUser":"ada","WorkerName":"m","MachineName":"m","WorkerTag":"t","ProcessID":7,)"
               R"("Time":"now"})";
    };
    EXPECT_EQ(AnswerAbout(R"({"results":[)" + Worker("orvik.quillon.task.render.video") + "," +
                          Worker("orvik.quillon.task.export", "true") + "," +
                          Worker("orvik.quillon.task.metadata.transcode") + "]}"),
              R"(OK {"results":{"WorkerPoolInfo":{"Workers":[)" + row("Video precompute") + "," + row("") +
                  R"(]},"partitionOK":true,"count":2,"workerStatusJobID":""}})");
    EXPECT_THAT(Sent(), ElementsAre("orvik.quillon.processing.coordinator/farm/1/workerPoolStatus {}"));
    EXPECT_EQ(AnswerAbout(R"({"results":{"id":"i"}})"),
              R"(OK {"results":{"WorkerPoolInfo":{"Workers":[]},"partitionOK":true,"count":0,)"
              R"("workerStatusJobID":""}})");
}

TEST_F(WorkerPool, OneFaultyRecordLosesTheWholeAnswer) {
    for (const std::string key : {"id", "status", "task", "user", "machine", "tag", "workerKind",
                                  "metadataOnly", "processID", "time"}) {
        Parameters lacking = Json(Worker("", "true"));
        lacking.ClearParameter(key);
        EXPECT_EQ(AnswerAbout(R"({"results":[)" + Worker("") + "," + lacking.toJSON() + "]}"),
                  "thrown Failed to extract: " + key);
    }
}

}  // namespace
}  // namespace Weftline::Services::Scheduler
