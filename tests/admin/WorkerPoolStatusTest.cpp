#include "handlers/admin/WorkerPoolStatusHandler.h"

#include "tests/admin/AdminFixture.h"

namespace Weftline::Services::Scheduler {
namespace {

class WorkerPool : public AdminFixture {
protected:
    static Parameters Worker(const std::string& task, bool metadataOnly = false) {
        auto worker =
            Json(R"({"id":"i","status":"Busy","user":"ada","machine":"m","tag":"t","workerKind":"w",)"
                 R"("processID":7,"time":"now","more":{}})");
        worker.SetParameter("task", task);
        worker.SetParameter("metadataOnly", metadataOnly);
        return worker;
    }
    /// What the handler says when the coordinator reports these workers.
    std::string AnswerAbout(const std::vector<Parameters>& workers) {
        Parameters report;
        for (const Parameters& worker : workers) {
            report.AddArrayChildParameters("results", worker);
        }
        bus->Restart("workerPoolStatus", ScriptedAnswer::Results(report));
        return Answer(handler, R"({"results":[{}]})");
    }

    WorkerPoolStatusHandler handler{"farm"};
};

TEST_F(WorkerPool, ShowsAllWorkersButThoseForMetadata) {
    const std::string answer =
        AnswerAbout({Worker("orvik.quillon.task.render.video"), Worker("orvik.quillon.task.export", true),
                     Worker("orvik.quillon.task.metadata.transcode")});
    const auto row = [](const std::string& taskType) {
        return R"({"Status":"Busy","TaskType":")" + taskType +
               R"(","WorkingForUser":"ada","WorkerName":"m","MachineName":"m","WorkerTag":"t","ProcessID":7,)"
               R"("Time":"now"})";
    };
    EXPECT_EQ(answer, R"(OK {"results":{"WorkerPoolInfo":{"Workers":[)" + row("Video precompute") + "," +
                          row("") + R"(]},"partitionOK":true,"count":2,"workerStatusJobID":""}})");
    EXPECT_THAT(Sent(), ElementsAre("orvik.quillon.processing.coordinator/farm/1/workerPoolStatus {}"));
    EXPECT_THAT(bus->Waits(), ElementsAre(10'000'000));
}

TEST_F(WorkerPool, AnAnswerWithoutWorkersGivesNoRows) {
    for (const std::string answer : {"{}", R"({"results":[]})", R"({"results":{"id":"i"}})", "[{}]"}) {
        bus->Restart("workerPoolStatus", Results(answer));
        EXPECT_EQ(Answer(handler, "{}"),
                  R"(OK {"results":{"WorkerPoolInfo":{"Workers":[]},"partitionOK":true,"count":0,)"
                  R"("workerStatusJobID":""}})")
            << answer;
    }
}

TEST_F(WorkerPool, OneFaultyRecordLosesTheWholeAnswer) {
    for (const std::string key : {"id", "status", "task", "user", "machine", "tag", "workerKind",
                                  "metadataOnly", "processID", "time"}) {
        Parameters lacking = Worker("", true);
        lacking.ClearParameter(key);
        Parameters other = Worker("");
        other.SetParameterNull(key);
        EXPECT_EQ(AnswerAbout({Worker(""), lacking}), "thrown Failed to extract: " + key);
        EXPECT_EQ(AnswerAbout({Worker(""), other}), "thrown Failed to extract: " + key);
    }
    bus->Restart("workerPoolStatus", Results(R"({"results":["i"]})"));
    EXPECT_EQ(Answer(handler, "{}"), "thrown Failed to extract: id");
}

TEST_F(WorkerPool, TheCoordinatorsFailuresLeaveTheHandler) {
    const std::string query =
        "MsgHandlersUtils::WaitForResult() - Query to orvik.quillon.processing.coordinator ";
    bus->On("workerPoolStatus", ScriptedAnswer::Never());
    bus->On("workerPoolStatus", ScriptedAnswer::Error("E", "m"));
    EXPECT_EQ(Answer(handler, "{}"), "thrown " + query + "Timeout");
    EXPECT_EQ(Answer(handler, "{}"),
              R"(thrown {"Description":")" + query + R"(FAILED","ErrorString":"E","ErrorDetails":"m"})");
}

}  // namespace
}  // namespace Weftline::Services::Scheduler
