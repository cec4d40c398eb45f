#include <string>
#include <vector>

#include "GetProfilesHandler.h"
#include "GetUniqueExportPluginsHandler.h"
#include "ResultsFixture.h"

namespace Weftline::Services::Scheduler {
namespace {

class UniqueExportPluginsListing : public ResultsFixture {};
class ProfileListing : public ResultsFixture {};

TEST_F(UniqueExportPluginsListing, ShowsEachPluginOnceAsItsFirstWorkerHasIt) {
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
    const auto worker = [](const std::string& plugins) {
        return R"({"name":"w","exportPlugins":[)" + plugins + "]}";
    };
    const auto shown = [](const std::string& plugins) { return R"({"exportPlugins":[)" + plugins + "]}"; };
    const std::string lxa = R"({"type":"LXA"})";
    const Row rows[] = {
        {"no workers", {}, "{}", "{}"},
        {"none with plug-ins", {"", "{}", worker(""), R"({"exportPlugins":"x"})"}, "{}", "{}"},
        {"two workers",
         {worker(a + "," + upperA), worker(otherA + "," + noType)},
         "{}",
         shown(a + "," + upperA + "," + noType)},
        {"twice in one worker", {worker(a + "," + otherA)}, "{}", shown(a)},
        {"filter", {worker(upperA + "," + noGuid + "," + a)}, lxa, shown(a)},
        {"filter lets nothing pass", {worker(upperA)}, lxa, "{}"},
        {"empty filter", {worker(upperA)}, R"({"type":""})", shown(upperA)},
        {"filter of another type", {worker(upperA)}, R"({"type":7})", shown(upperA)},
        {"no identity", {worker(a), worker(noGuid)}, "{}", "thrown: Failed to extract: pluginGuid"},
        {"no type", {worker(noType)}, lxa, "thrown: Failed to extract: type"},
        {"a worker with a bad element", {worker(noType + R"(,"x")"), worker(a)}, "{}", shown(a)},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        const TestSupport::StoresInPlace fresh;
        for (const std::string& data : row.workers) {
            Record record("Worker", 1, "V2_WFWorkers");
            record.recordData = data;
            ASSERT_TRUE(fresh.records->Upsert(record));
        }
        GetUniqueExportPluginsHandler handler("realm");
        EXPECT_EQ(Answer(handler, row.request), row.expected);
        EXPECT_EQ(fresh.records->Records().size(), row.workers.size());
    }
}

TEST_F(UniqueExportPluginsListing, FailsWithTheStoreOrARecordThatIsNoJson) {
    GetUniqueExportPluginsHandler handler("realm");
    Store("V2_WFWorkers", "Worker", "{broken");
    EXPECT_TRUE(Answer(handler, "{}").starts_with("thrown: "));
    stores.records->FailReads(true);
    EXPECT_EQ(Answer(handler, "{}"), "thrown: The fake store was told to fail");
}

TEST_F(ProfileListing, ShowsIdNameAndKindInTheOrderOfTheStore) {
    GetProfilesHandler handler;
    EXPECT_EQ(Answer(handler, "{}"), R"({"results":[]})");
    Store("V2_WFProfiles", "Profile", R"({"type":"Proxy","name":"B","more":{"value":1,"label":"l"}})");
    Store("V2_WFProfiles", "Profile", R"({"type":"proxy","name":"A"})");
    Store("V2_WFProfiles", "Profile", "");
    Store("V2_WFProfiles-suffix", "Profile", R"({"name":"elsewhere"})");
    Store("V2_WFProfiles", "Other", "{}");
    const std::string listed = R"({"results":[{"id":"id-0","name":"B","isProxy":true},)"
                               R"({"id":"id-1","name":"A","isProxy":false},)"
                               R"({"id":"id-2","name":"","isProxy":false}]})";
    EXPECT_EQ(Answer(handler, "{}"), listed);
    EXPECT_EQ(Answer(handler, R"({"type":"Proxy","results":1})"), listed);

    Store("V2_WFProfiles", "Profile", "{}", "{}", 2);
    EXPECT_EQ(Answer(handler, "{}"),
              "thrown: DataRecord::BuildFromRecord() incoming record RecordType mismatch Incoming: 2");
}

}  // namespace
}  // namespace Weftline::Services::Scheduler
