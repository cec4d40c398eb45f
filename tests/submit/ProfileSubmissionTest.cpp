#include "handlers/submit/SubmitHandlers.h"
#include "tests/submit/SubmitFixture.h"

namespace Weftline::Services {
namespace {

class ProfileSubmission : public SubmitFixture {
protected:
    void StoreProfile(const std::string& id, const std::string& data, const std::string& type = "Profile") {
        Record record(type, 1, "V2_WFProfiles");
        record.recordID = id;
        record.recordData = data;
        ASSERT_TRUE(stores.records->UpsertOne(record));
    }

    Scheduler::SubmitTranscodeHandler transcode{connection};
    Scheduler::SubmitProxyCreationHandler proxyCreation{connection};
    Scheduler::SubmitConsolidateHandler consolidate{connection};
};

TEST_F(ProfileSubmission, AProfilesSettingsAreLaidOverTheRequest) {
    StoreProfile("p", R"({"name":"P","type":"Proxy","SkipVideo":{"value":false,"label":"Skip video"},)"
                      R"("Rate":{"Numerator":{"value":24000,"label":"N"}},"NoLabel":{"value":1},)"
                      R"("Added":{"value":"new","label":"L"}})");
    for (SubmitJobHandler* handler : std::initializer_list<SubmitJobHandler*>{&transcode, &proxyCreation}) {
        Submit(*handler, R"({"jobParams":{"profile":"p","SkipVideo":true,"Mine":[1,"two"]}})");
        EXPECT_EQ(Tree("jobBlueprintData").toJSON(),
                  R"({"profile":"p","SkipVideo":false,"Mine":[1,"two"],"Rate":{"Numerator":24000},)"
                  R"("NoLabel":{},"Added":"new"})");
        EXPECT_EQ(Tree("processingData").GetChildParameters("jobParams"), Tree("jobBlueprintData"));
    }
}

TEST_F(ProfileSubmission, AProfileThatCannotBeReadFailsTheSubmission) {
    StoreProfile("job", "{}", "Job");
    StoreProfile("broken", "{");
    const auto failureOf = [&](const std::string& id) {
        return TextOf<std::exception>(
            [&] { Submit(transcode, R"({"jobParams":[{"profile":")" + id + R"("}]})"); });
    };
    EXPECT_EQ(failureOf("absent"), "[absent] Unable to find record in Object Store");
    EXPECT_EQ(failureOf("job"),
              "DataRecord::BuildFromRecord() incoming record RecordType mismatch Incoming: Job");
    EXPECT_NE(failureOf("broken"), "nothing");
    EXPECT_EQ(stores.records->Records().size(), 2U);
    EXPECT_TRUE(stores.events->Events().empty());
}

TEST_F(ProfileSubmission, NoProfileIsReadWhereNoneIsMeant) {
    Submit(consolidate, R"({"jobParams":{"profile":"absent","x":1}})");
    EXPECT_EQ(Tree("jobBlueprintData").toJSON(), "{}");
    Submit(transcode, R"({"JobParams":{"profile":"absent"}})");
    Submit(transcode, R"({"jobParams":{"profile":7}})");
    EXPECT_EQ(stores.records->reads, 0U);
}

}  // namespace
}  // namespace Weftline::Services
