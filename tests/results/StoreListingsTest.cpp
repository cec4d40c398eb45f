#include "handlers/results/StoreListings.h"

#include "tests/support/HandlerFixture.h"

namespace Weftline::Services::Scheduler {
namespace {

using StoreListings = TestSupport::HandlerFixture;

void Store(const TestSupport::StoresInPlace& stores, const Record& with, const std::string& data) {
    Record record = with;
    record.recordID = "id-" + std::to_string(stores.records->Records().size());
    record.recordData = data;
    ASSERT_TRUE(stores.records->UpsertOne(record));
}

TEST_F(StoreListings, ShowEachPluginOnceAsItsFirstWorkerHasIt) {
    const std::string a = R"({"name":"first","pluginGuid":"a","type":"LXA"})";
    const std::string otherA = R"({"name":"second","pluginGuid":"a"})";
    const std::string upperA = R"({"pluginGuid":"A","type":"lxa"})";
    const std::string noGuid = R"({"type":"other"})";
    const std::string noType = R"({"pluginGuid":"t"})";
    /// A worker's record, and the answer too.
    const auto list = [](const std::string& plugins) { return R"({"exportPlugins":[)" + plugins + "]}"; };
    const std::tuple<const char*, std::vector<std::string>, std::string, std::string> rows[] = {
        {"none with plug-ins", {"", "{}", list(""), R"({"exportPlugins":"x"})"}, "{}", "OK {}"},
        {"two workers",
         {list(a + "," + upperA + "," + otherA), list(otherA + "," + noType)},
         R"({"type":7})",
         "OK " + list(a + "," + upperA + "," + noType)},
        {"filter", {list(upperA + "," + noGuid + "," + a)}, R"({"type":"LXA"})", "OK " + list(a)},
        {"no identity", {list(a), list(noGuid)}, R"({"type":""})", "thrown Failed to extract: pluginGuid"},
        {"no type", {list(noType)}, R"({"type":"LXA"})", "thrown Failed to extract: type"},
        {"a worker with a bad element", {list(noType + R"(,"x")"), list(a)}, "{}", "OK " + list(a)},
    };
    GetUniqueExportPluginsHandler handler("realm");
    for (const auto& [name, workers, request, expected] : rows) {
        const TestSupport::StoresInPlace fresh;
        for (const std::string& data : workers) {
            Store(fresh, Record("Worker", 1, "V2_WFWorkers"), data);
        }
        EXPECT_EQ(Answer(handler, request), expected) << name;
    }
}

TEST_F(StoreListings, ShowIdNameAndKindOfProfilesInTheOrderOfTheStore) {
    GetProfilesHandler handler;
    EXPECT_EQ(Answer(handler, "{}"), R"(OK {"results":[]})");
    const Record profile("Profile", 1, "V2_WFProfiles");
    Store(stores, profile, R"({"type":"Proxy","name":"B","more":{"value":1,"label":"l"}})");
    Store(stores, profile, R"({"type":"proxy","name":"A"})");
    Store(stores, Record("Profile", 1, "V2_WFProfiles-suffix"), "{}");
    Store(stores, Record("Other", 1, "V2_WFProfiles"), "{}");
    EXPECT_EQ(Answer(handler, R"({"type":"Proxy","results":1})"),
              R"(OK {"results":[{"id":"id-0","name":"B","isProxy":true},)"
              R"({"id":"id-1","name":"A","isProxy":false}]})");
    Store(stores, Record("Profile", 2, "V2_WFProfiles"), "{}");
    EXPECT_THAT(Answer(handler, "{}"), testing::StartsWith("thrown DataRecord::BuildFromRecord() "));
}

}  // namespace
}  // namespace Weftline::Services::Scheduler
