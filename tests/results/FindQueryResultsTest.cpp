#include <memory>
#include <string>

#include "FindMobIDsFromContainerHandler.h"
#include "FindSourceAvailabilityHandler.h"
#include "FindSuitableMastersHandler.h"
#include "ResultsFixture.h"

namespace Weftline::Services::Scheduler {
namespace {

using PlatformAbstraction::Messaging::ServiceMessageHandlerV2;
using TestSupport::StoreFault;

struct Query {
    std::string collection;
    std::string recordType;
    std::string arrayKey;
    std::shared_ptr<ServiceMessageHandlerV2> handler;
};

class FindQueryResults : public ResultsFixture {
protected:
    const std::vector<Query> queries = {
        {"V2_WFSourceAvailabilities", "SourceAvailability", "results",
         std::make_shared<FindSourceAvailabilityHandler>()},
        {"V2_WFMobIDs", "MobID", "results", std::make_shared<FindMobIDsFromContainerHandler>("realm")},
        {"V2_WFMasterMobDescs", "MasterMobDesc", "masterMobDescs",
         std::make_shared<FindSuitableMastersHandler>()},
    };
    const std::string request = R"({"queryID":"q"})";
};

TEST_F(FindQueryResults, ResultsComeOnceAndAsTheyAreStored) {
    for (const Query& query : queries) {
        SCOPED_TRACE(query.collection);
        const std::string nothing = R"({")" + query.arrayKey + R"(":[]})";
        EXPECT_EQ(Answer(*query.handler, request), nothing);
        StoreResult(query.collection, query.recordType, R"({"z":1.0,"any":{"k":[null]}})");
        StoreResult(query.collection, query.recordType, "");
        StoreResult(query.collection, query.recordType, R"(["a",2147483648])");
        EXPECT_EQ(Answer(*query.handler, R"({"queryID":"another"})"), nothing);
        EXPECT_EQ(Answer(*query.handler, request),
                  R"({")" + query.arrayKey + R"(":[{"z":1.0,"any":{"k":[null]}},{},["a",2147483648]]})");
        EXPECT_EQ(CountStored(), 0U);
        EXPECT_EQ(Answer(*query.handler, request), nothing);
    }
}

TEST_F(FindQueryResults, AFailureIsThrownAndLeavesTheRecords) {
    for (const Query& query : queries) {
        SCOPED_TRACE(query.collection);
        const TestSupport::StoresInPlace fresh;
        Record record(query.recordType, 1, query.collection);
        record.recordPublicData = request;
        record.recordData = "{broken";
        ASSERT_TRUE(fresh.records->Upsert(record));
        EXPECT_EQ(Answer(*query.handler, R"({"queryID":1})"), "thrown: Failed to extract: queryID");
        EXPECT_TRUE(Answer(*query.handler, request).starts_with("thrown: "));
        ASSERT_EQ(fresh.records->Records().size(), 1U);

        record.recordData = R"({"a":1})";
        ASSERT_TRUE(fresh.records->Upsert(record));
        fresh.records->FailDeletes(StoreFault::Throw);
        EXPECT_EQ(Answer(*query.handler, request), "thrown: The fake store was told to fail");
        fresh.records->FailDeletes(StoreFault::Refuse);
        EXPECT_EQ(Answer(*query.handler, request), R"({")" + query.arrayKey + R"(":[{"a":1}]})");
        EXPECT_EQ(fresh.records->Records().size(), 1U);
    }
}

}  // namespace
}  // namespace Weftline::Services::Scheduler
