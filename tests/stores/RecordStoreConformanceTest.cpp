// What every record store promises.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

#include "ObjectStoreException.h"
#include "StoreSubjects.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Weftline::Record;

constexpr std::int32_t kAll = std::numeric_limits<std::int32_t>::max();

class RecordStoreConformance : public testing::TestWithParam<StoreFactory> {
protected:
    const StoreSubject subject = GetParam().make();
    CommonServices::RecordStore& store = *subject.records;
};

TEST_P(RecordStoreConformance, GivesBackWhatItTook) {
    Record record("Job", -7, "V2_WFJobs");
    record.name = "N\xc3\xa4me 'quoted' \"twice\"";
    record.description = std::string("a NUL \0 inside", 14);
    record.recordData = "{\"" + std::string(100000, 'x') + "\":1}";
    record.SetTags("[ \"a\" ]");
    record.readOnly = true;
    record.systemCreated = true;
    ASSERT_TRUE(store.Upsert(record));

    const auto found = store.FindByID(record.recordID, "V2_WFJobs");
    ASSERT_TRUE(found.has_value());
    EXPECT_EQ(found->recordID, record.recordID);
    EXPECT_EQ(found->recordType, "Job");
    EXPECT_EQ(found->recordVersion, -7);
    EXPECT_EQ(found->recordTopic, "V2_WFJobs");
    EXPECT_EQ(found->recordData, record.recordData);
    EXPECT_EQ(found->name, record.name);
    EXPECT_EQ(found->description, record.description);
    EXPECT_EQ(found->tags, "[ \"a\" ]");
    EXPECT_EQ(found->recordPublicData, record.recordPublicData);
    EXPECT_TRUE(found->readOnly);
    EXPECT_TRUE(found->systemCreated);

    EXPECT_FALSE(store.FindByID(record.recordID, "V2_WFProfiles").has_value());
    EXPECT_FALSE(store.FindByID("nobody", "V2_WFJobs").has_value());
}

TEST_P(RecordStoreConformance, AnUpsertReplacesAndKeepsThePlace) {
    for (const char* id : {"c", "a", "b"}) {
        ASSERT_TRUE(store.Upsert(RecordOf(id)));
    }
    Record changed = RecordOf("c");
    changed.name = "changed";
    changed.recordData = std::string(20000, 'x');
    ASSERT_TRUE(store.Upsert(changed));
    ASSERT_TRUE(store.DeleteMany({"a"}));
    ASSERT_TRUE(store.Upsert(RecordOf("a")));

    EXPECT_THAT(IdsOf(store.FindOfType("V2_WFJobs", "Job", 0, kAll)), ElementsAre("c", "b", "a"));
    EXPECT_EQ(store.FindByID("c", "V2_WFJobs")->name, "changed");
}

TEST_P(RecordStoreConformance, AnIdBelongsToOneCollection) {
    ASSERT_TRUE(store.Upsert(RecordOf("one", "V2_WFJobs")));
    Record stranger = RecordOf("one", "V2_WFProfiles", "Profile");
    stranger.name = "stranger";
    EXPECT_FALSE(store.Upsert(stranger));
    EXPECT_EQ(store.FindByID("one", "V2_WFJobs")->name, "");
    EXPECT_FALSE(store.FindByID("one", "V2_WFProfiles").has_value());

    // Within the collection a record may change its type; it is then found under the new one alone.
    ASSERT_TRUE(store.Upsert(RecordOf("one", "V2_WFJobs", "Other")));
    EXPECT_THAT(store.FindOfType("V2_WFJobs", "Job", 0, kAll), IsEmpty());
    EXPECT_THAT(IdsOf(store.FindOfType("V2_WFJobs", "Other", 0, kAll)), ElementsAre("one"));
}

TEST_P(RecordStoreConformance, ListsHaveOffsetAndLimit) {
    for (const char* id : {"0", "1", "2", "3"}) {
        ASSERT_TRUE(store.Upsert(ResultOf(id, "q")));
        Record other = ResultOf(std::string("x") + id, "q");
        other.recordType = "Other";
        ASSERT_TRUE(store.Upsert(other));
    }
    struct Row {
        const char* name;
        std::int32_t offset;
        std::int32_t limit;
        std::vector<std::string> ids;
    };
    const Row rows[] = {
        {"all", 0, kAll, {"0", "1", "2", "3"}},
        {"the middle", 1, 2, {"1", "2"}},
        {"past the end", 3, 5, {"3"}},
        {"behind the end", 4, kAll, {}},
        {"limit 0", 0, 0, {}},
        {"a negative limit counts as 0", 0, -1, {}},
        {"a negative offset counts as 0", -3, 2, {"0", "1"}},
        {"the largest offset", kAll, kAll, {}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(
            IdsOf(store.FindWithReference("V2_WFMobIDs", "MobID", "queryID", "q", row.offset, row.limit)),
            row.ids);
        EXPECT_EQ(IdsOf(store.FindOfType("V2_WFMobIDs", "MobID", row.offset, row.limit)), row.ids);
    }
}

TEST_P(RecordStoreConformance, AReferenceIsATextAtTheTopOfThePublicJson) {
    struct Row {
        const char* name;
        const char* json;
        const char* key;
        const char* value;
        bool found;
    };
    const Row rows[] = {
        {"plain", R"({"queryID":"q1"})", "queryID", "q1", true},
        {"among others, with blanks", "{ \"tags\" : [] ,\n \"queryID\" : \"q2\" }", "queryID", "q2", true},
        {"the empty text", R"({"queryID":""})", "queryID", "", true},
        {"escapes in the value", R"({"queryID":"a\"\u00e4\n"})", "queryID", "a\"\xc3\xa4\n", true},
        {"another key", R"({"parentID":"p"})", "parentID", "p", true},
        {"a key with quote, dot and bracket", R"({"it's a.key[0]":"v"})", "it's a.key[0]", "v", true},
        {"no wildcard", R"({"queryID":"q3"})", "queryID", "%", false},
        {"case counts", R"({"queryID":"q4"})", "queryID", "Q4", false},
        {"deeper down", R"({"a":{"queryID":"q5"}})", "queryID", "q5", false},
        {"a number", R"({"queryID":5})", "queryID", "5", false},
        {"null", R"({"queryID":null})", "queryID", "null", false},
        {"an object", R"({"queryID":{}})", "queryID", "{}", false},
        {"in an array", R"(["queryID","q6"])", "queryID", "q6", false},
        {"nothing", "", "queryID", "", false},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        Record record = RecordOf(row.name, "V2_WFMobIDs", "MobID");
        record.recordPublicData = row.json;
        ASSERT_TRUE(store.Upsert(record));
        const std::vector<std::string> expected =
            row.found ? std::vector<std::string>{row.name} : std::vector<std::string>{};
        EXPECT_EQ(IdsOf(store.FindWithReference("V2_WFMobIDs", "MobID", row.key, row.value, 0, kAll)),
                  expected);
        EXPECT_THAT(store.FindWithReference("V2_WFMobIDs", "Other", row.key, row.value, 0, kAll), IsEmpty());
        EXPECT_THAT(store.FindWithReference("V2_WFJobs", "MobID", row.key, row.value, 0, kAll), IsEmpty());
        ASSERT_TRUE(store.DeleteMany({row.name}));
        EXPECT_THAT(store.FindWithReference("V2_WFMobIDs", "MobID", row.key, row.value, 0, kAll), IsEmpty());
    }
}

TEST_P(RecordStoreConformance, AReferenceFollowsAnUpsert) {
    ASSERT_TRUE(store.Upsert(ResultOf("r", "before")));
    ASSERT_TRUE(store.Upsert(ResultOf("r", "after")));
    EXPECT_THAT(store.FindWithReference("V2_WFMobIDs", "MobID", "queryID", "before", 0, kAll), IsEmpty());
    EXPECT_THAT(IdsOf(store.FindWithReference("V2_WFMobIDs", "MobID", "queryID", "after", 0, kAll)),
                ElementsAre("r"));
}

TEST_P(RecordStoreConformance, DeletesWhatIsThere) {
    for (const char* id : {"a", "b", "c"}) {
        ASSERT_TRUE(store.Upsert(RecordOf(id)));
    }
    EXPECT_TRUE(store.DeleteMany({}));
    EXPECT_TRUE(store.DeleteMany({"nobody"}));
    EXPECT_TRUE(store.DeleteMany({"c", "nobody", "a", "a"}));
    EXPECT_THAT(IdsOf(store.FindOfType("V2_WFJobs", "Job", 0, kAll)), ElementsAre("b"));
    // A deleted id is free for any collection.
    EXPECT_TRUE(store.Upsert(RecordOf("a", "V2_WFProfiles")));
}

INSTANTIATE_TEST_SUITE_P(All, RecordStoreConformance, testing::ValuesIn(StoreFactories()),
                         [](const auto& row) { return row.param.name; });

}  // namespace
