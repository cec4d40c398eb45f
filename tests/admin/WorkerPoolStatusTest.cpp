#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <exception>

#include "AdminFixture.h"
#include "WorkerPoolStatusHandler.h"

namespace Weftline::Services::Scheduler {
namespace {

using CoreServices::Parameters;
using testing::ElementsAre;
using TestSupport::ScriptedAnswer;

class WorkerPool : public AdminFixture {
protected:
    std::string Ask(const std::string& request = "{}") {
        try {
            return WorkerPoolStatusHandler("farm")
                .HandleMessageV2(Parameters::fromJSON(request), Context())
                .toJSON();
        } catch (const Parameters& error) {
            return "thrown " + error.toJSON();
        } catch (const std::exception& failure) {
            return failure.what();
        }
    }

    static Parameters Worker(const std::string& task, bool metadataOnly = false) {
        auto worker = Parameters::fromJSON(
            R"({"id":"i","status":"Busy","user":"ada","machine":"m","tag":"t","workerKind":"w","processID":7,)"
            R"("time":"now","more":{}})");
        worker.SetParameter("task", task);
        worker.SetParameter("metadataOnly", metadataOnly);
        return worker;
    }

    void Report(const std::vector<Parameters>& workers) {
        Parameters report;
        report.AddEmptyArray("results");
        for (const Parameters& worker : workers) {
            report.AddArrayChildParameters("results", worker);
        }
        bus->On("workerPoolStatus", ScriptedAnswer::Results(report));
    }
};

TEST_F(WorkerPool, ShowsAllWorkersButThoseForMetadata) {
    Report({Worker("orvik.quillon.task.render.video"), Worker("orvik.quillon.task.export", true),
            Worker("orvik.quillon.task.metadata.transcode")});
    const auto row = [](const std::string& taskType) {
        return R"({"Status":"Busy","TaskType":")" + taskType +
               R"(","WorkingForUser":"ada","WorkerName":"m","MachineName":"m","WorkerTag":"t","ProcessID":7,)"
               R"("Time":"now"})";
    };
    EXPECT_EQ(Ask(R"({"results":[{}]})"), R"({"results":{"WorkerPoolInfo":{"Workers":[)" +
                                              row("Video precompute") + "," + row("") +
                                              R"(]},"partitionOK":true,"count":2,"workerStatusJobID":""}})");
    EXPECT_THAT(Sent(), ElementsAre("orvik.quillon.processing.coordinator/farm/1/workerPoolStatus {}"));
}

TEST_F(WorkerPool, AnAnswerWithoutWorkersGivesNoRows) {
    for (const std::string answer : {"{}", R"({"results":[]})", R"({"results":{"id":"i"}})", "[{}]"}) {
        SCOPED_TRACE(answer);
        bus = std::make_shared<TestSupport::FakeBusMessaging>();
        bus->On("workerPoolStatus", Results(answer));
        EXPECT_EQ(Ask(), R"({"results":{"WorkerPoolInfo":{"Workers":[]},"partitionOK":true,"count":0,)"
                         R"("workerStatusJobID":""}})");
    }
}

TEST_F(WorkerPool, OneFaultyRecordLosesTheWholeAnswer) {
    for (const std::string key : {"id", "status", "task", "user", "machine", "tag", "workerKind",
                                  "metadataOnly", "processID", "time"}) {
        SCOPED_TRACE(key);
        Parameters lacking = Worker("", true);
        lacking.ClearParameter(key);
        Parameters other = Worker("");
        other.SetParameterNull(key);
        for (const Parameters& faulty : {lacking, other}) {
            bus = std::make_shared<TestSupport::FakeBusMessaging>();
            Report({Worker(""), faulty});
            EXPECT_EQ(Ask(), "Failed to extract: " + key);
        }
    }
    bus = std::make_shared<TestSupport::FakeBusMessaging>();
    bus->On("workerPoolStatus", Results(R"({"results":["i"]})"));
    EXPECT_EQ(Ask(), "Failed to extract: id");
}

TEST_F(WorkerPool, TheCoordinatorsFailuresLeaveTheHandler) {
    const std::string query =
        "MsgHandlersUtils::WaitForResult() - Query to orvik.quillon.processing.coordinator ";
    bus->On("workerPoolStatus", ScriptedAnswer::Never());
    EXPECT_EQ(Ask(), query + "Timeout");
    bus = std::make_shared<TestSupport::FakeBusMessaging>();
    bus->On("workerPoolStatus", ScriptedAnswer::Error("E", "m"));
    EXPECT_EQ(Ask(),
              R"(thrown {"Description":")" + query + R"(FAILED","ErrorString":"E","ErrorDetails":"m"})");
}

}  // namespace
}  // namespace Weftline::Services::Scheduler
