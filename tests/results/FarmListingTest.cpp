#include "handlers/results/StoreListings.h"
#include "tests/results/ResultsFixture.h"

namespace Weftline::Services::Scheduler {
namespace {

class FarmListing : public ResultsFixture {};

TEST_F(FarmListing, ShowsEachPluginOnceAsItsFirstWorkerHasIt) {
    struct Row {
        std::string name;
        std::vector<std::string> workers;
        std::string request;
        std::string expected;
    };
    const std::string a = R"({"name":"first","pluginGuid":"a","type":"LXA"})";
    const std::string otherA = R"({"name":"second","pluginGuid":"a","type":"LXA"})";
    const std::string upperA = R"({"pluginGuid":"A","type":"lxa"})";
    const std::string noGuid = R"({"type":"other"})";
    const std::string noType = R"({"pluginGuid":"t"})";
    const std::string lxa = R"({"type":"LXA"})";
    /// A worker's record, and the answer too.
    const auto list = [](const std::string& plugins) { return R"({"exportPlugins":[)" + plugins + "]}"; };
    const Row rows[] = {
        {"no workers", {}, "{}", "OK {}"},
        {"none with plug-ins", {"", "{}", list(""), R"({"exportPlugins":"x"})"}, "{}", "OK {}"},
        {"two workers",
         {list(a + "," + upperA), list(otherA + "," + noType)},
         "{}",
         "OK " + list(a + "," + upperA + "," + noType)},
        {"twice in one worker", {list(a + "," + otherA)}, "{}", "OK " + list(a)},
        {"filter", {list(upperA + "," + noGuid + "," + a)}, lxa, "OK " + list(a)},
        {"filter lets nothing pass", {list(upperA)}, lxa, "OK {}"},
        {"empty filter", {list(upperA)}, R"({"type":""})", "OK " + list(upperA)},
        {"filter of another type", {list(upperA)}, R"({"type":7})", "OK " + list(upperA)},
        {"no identity", {list(a), list(noGuid)}, "{}", "thrown Failed to extract: pluginGuid"},
        {"no type", {list(noType)}, lxa, "thrown Failed to extract: type"},
        {"a worker with a bad element", {list(noType + R"(,"x")"), list(a)}, "{}", "OK " + list(a)},
        {"a worker that is no JSON",
         {list(a), "{broken"},
         "{}",
         "thrown JSON: byte 1: a key in double quotes was expected"},
    };
    GetUniqueExportPluginsHandler handler("realm");
    for (const Row& row : rows) {
        const TestSupport::StoresInPlace fresh;
        for (const std::string& data : row.workers) {
            Record record("Worker", 1, "V2_WFWorkers");
            record.recordData = data;
            ASSERT_TRUE(fresh.records->UpsertOne(record));
        }
        EXPECT_EQ(Answer(handler, row.request), row.expected) << row.name;
    }
    const TestSupport::StoresInPlace faulty;
    faulty.records->readsThrow = true;
    EXPECT_EQ(Answer(handler, "{}"), "thrown The fake store was told to fail");
}

TEST_F(FarmListing, ShowsIdNameAndKindOfProfilesInTheOrderOfTheStore) {
    GetProfilesHandler handler;
    EXPECT_EQ(Answer(handler, "{}"), R"(OK {"results":[]})");
    Store("V2_WFProfiles", "Profile", R"({"type":"Proxy","name":"B","more":{"value":1,"label":"l"}})");
    Store("V2_WFProfiles", "Profile", R"({"type":"proxy","name":"A"})");
    Store("V2_WFProfiles", "Profile", "");
    Store("V2_WFProfiles-suffix", "Profile", R"({"name":"elsewhere"})");
    Store("V2_WFProfiles", "Other", "{}");
    EXPECT_EQ(Answer(handler, R"({"type":"Proxy","results":1})"),
              R"(OK {"results":[{"id":"id-0","name":"B","isProxy":true},)"
              R"({"id":"id-1","name":"A","isProxy":false},{"id":"id-2","name":"","isProxy":false}]})");
    Store("V2_WFProfiles", "Profile", "{}", 2);
    EXPECT_EQ(Answer(handler, "{}"),
              "thrown DataRecord::BuildFromRecord() incoming record RecordType mismatch Incoming: 2");
}

}  // namespace
}  // namespace Weftline::Services::Scheduler
