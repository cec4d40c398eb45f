#include "handlers/results/QueryResults.h"
#include "tests/results/ResultsFixture.h"

namespace Weftline::Services::Scheduler {
namespace {

class FindQueryResults : public ResultsFixture {
protected:
    /// The results come once and as they are stored; a failure is thrown and leaves the records.
    void Check(PlatformAbstraction::Messaging::ServiceMessageHandlerV2& handler,
               const std::string& collection, const std::string& type, const std::string& arrayKey) {
        SCOPED_TRACE(collection);
        const auto list = [&](const std::string& elements) {
            return R"(OK {")" + arrayKey + R"(":[)" + elements + "]}";
        };
        EXPECT_EQ(Answer(handler, request), list(""));
        Store(collection, type, R"({"z":1.0,"any":{"k":[null]}})");
        Store(collection, type, "");
        Store(collection, type, R"(["a",2147483648])");
        EXPECT_EQ(Answer(handler, R"({"queryID":1})"), "thrown Failed to extract: queryID");
        EXPECT_EQ(Answer(handler, R"({"queryID":"another"})"), list(""));
        stores.records->deleteFault = StoreFault::Throw;
        EXPECT_EQ(Answer(handler, request), "thrown The fake store was told to fail");
        const std::string all = list(R"({"z":1.0,"any":{"k":[null]}},{},["a",2147483648])");
        stores.records->deleteFault = StoreFault::Refuse;
        EXPECT_EQ(Answer(handler, request), all);
        EXPECT_EQ(CountStored(), 3U);
        stores.records->deleteFault = StoreFault::None;
        EXPECT_EQ(Answer(handler, request), all);
        EXPECT_EQ(Answer(handler, request), list(""));

        Store(collection, type, "{broken");
        EXPECT_THAT(Answer(handler, request), testing::StartsWith("thrown "));
        EXPECT_EQ(CountStored(), 1U);
        stores.records->DeleteMany({stores.records->Records().front().recordID});
    }
};

TEST_F(FindQueryResults, ComeOnceAndAFailureLeavesThem) {
    FindSourceAvailabilityHandler sourceAvailability;
    Check(sourceAvailability, "V2_WFSourceAvailabilities", "SourceAvailability", "results");
    FindMobIDsFromContainerHandler mobIDs("realm");
    Check(mobIDs, "V2_WFMobIDs", "MobID", "results");
    FindSuitableMastersHandler masters;
    Check(masters, "V2_WFMasterMobDescs", "MasterMobDesc", "masterMobDescs");
}

}  // namespace
}  // namespace Weftline::Services::Scheduler
