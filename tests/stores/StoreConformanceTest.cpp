// What every record store and every event log promises.

#include <future>
#include <thread>
#include <tuple>

#include "tests/stores/EmbeddedFixture.h"
#include "tests/support/FakeEventLog.h"
#include "tests/support/FakeRecordStore.h"

namespace {

using namespace std::chrono_literals;
using CommonServices::LoggedEvent;
using testing::ElementsAre;
using testing::IsEmpty;
using Weftline::Record;
using Names = std::vector<std::string>;

/// An implementation under test, with what it stands on.
struct StoreSubject {
    std::shared_ptr<TempDirectory> directory;  // outlives the stores
    std::shared_ptr<CommonServices::RecordStore> records;
    std::shared_ptr<CommonServices::EventLog> events;
};

struct StoreFactory {
    std::string name;
    StoreSubject (*make)();
};

StoreSubject MakeEmbedded() {
    const auto directory = std::make_shared<TempDirectory>();
    const auto store = CommonServices::OpenEmbeddedStore(directory->File("store.db"));
    return {directory, store.records, store.events};
}

StoreSubject MakeFake() {
    return {nullptr, std::make_shared<TestSupport::FakeRecordStore>(),
            std::make_shared<TestSupport::FakeEventLog>()};
}

/// All implementations of the two interfaces: a new one is added here and nowhere else.
const auto kStores = testing::Values(StoreFactory{"Embedded", MakeEmbedded}, StoreFactory{"Fake", MakeFake});

class RecordStoreConformance : public testing::TestWithParam<StoreFactory> {
protected:
    bool Upsert(const std::string& id, const std::string& topic = "V2_WFJobs",
                const std::string& type = "Job", const std::string& name = "") {
        Record record = RecordOf(id, topic, type);
        record.name = name;
        return store.UpsertOne(record);
    }
    bool UpsertResult(const std::string& publicJson) {
        Record record = RecordOf("r", "V2_WFMobIDs", "MobID");
        record.recordPublicData = publicJson;
        return store.UpsertOne(record);
    }
    Names Jobs(const std::string& type = "Job") {
        return IdsOf(store.FindRecordsOfType("V2_WFJobs", type, 0, kAll));
    }
    Names Referring(const std::string& key, const std::string& value, const std::string& type = "MobID",
                    const std::string& topic = "V2_WFMobIDs") {
        return IdsOf(store.FindRecordsWithReferencedID(topic, type, key, value, 0, kAll));
    }

    const StoreSubject subject = GetParam().make();
    CommonServices::RecordStore& store = *subject.records;
};

auto FieldsOf(const Record& record) {
    return std::tuple(record.recordID, record.recordType, record.recordVersion, record.recordTopic,
                      record.name, record.description, record.recordData, record.recordPublicData,
                      record.tags, record.readOnly, record.systemCreated);
}

TEST_P(RecordStoreConformance, GivesBackWhatItTook) {
    Record record("Job", -7, "V2_WFJobs");
    record.name = "N\xc3\xa4me 'quoted' \"twice\"";
    record.description = std::string("a NUL \0 inside", 14);
    record.recordData = "{\"" + std::string(100000, 'x') + "\":1}";
    record.SetTags("[ \"a\" ]");
    record.readOnly = record.systemCreated = true;
    ASSERT_TRUE(store.UpsertOne(record));
    EXPECT_EQ(FieldsOf(store.FindByID(record.recordID, "V2_WFJobs").value()), FieldsOf(record));
    EXPECT_FALSE(store.FindByID(record.recordID, "V2_WFProfiles").has_value());
    EXPECT_FALSE(store.FindByID("nobody", "V2_WFJobs").has_value());
    const auto many = store.FindManyByID({"nobody", record.recordID, "", record.recordID}, "V2_WFJobs");
    ASSERT_EQ(many.size(), 4U);
    EXPECT_FALSE(many[0].has_value() || many[2].has_value());
    EXPECT_EQ(FieldsOf(many[1].value()), FieldsOf(many[3].value()));
}

TEST_P(RecordStoreConformance, AnUpsertReplacesAndKeepsThePlaceAndADeletionFreesIt) {
    ASSERT_TRUE(Upsert("c") && Upsert("a") && Upsert("b"));
    ASSERT_TRUE(Upsert("c", "V2_WFJobs", "Job", std::string(20000, 'x')));
    EXPECT_TRUE(store.DeleteMany({}) && store.DeleteMany({"nobody"}) &&
                store.DeleteMany({"a", "nobody", "a"}));
    EXPECT_THAT(Jobs(), ElementsAre("c", "b"));
    EXPECT_EQ(store.FindByID("c", "V2_WFJobs")->name.size(), 20000U);
    ASSERT_TRUE(Upsert("a"));
    EXPECT_THAT(Jobs(), ElementsAre("c", "b", "a"));
    EXPECT_TRUE(store.DeleteMany({"a", "c"}) && Upsert("a", "V2_WFProfiles"));
    EXPECT_THAT(Jobs(), ElementsAre("b"));
}

TEST_P(RecordStoreConformance, AnIdBelongsToOneCollection) {
    ASSERT_TRUE(Upsert("one"));
    EXPECT_FALSE(Upsert("one", "V2_WFProfiles", "Profile", "stranger"));
    EXPECT_EQ(store.FindByID("one", "V2_WFJobs")->name, "");
    EXPECT_FALSE(store.FindByID("one", "V2_WFProfiles").has_value());
    // Within the collection a record may change its type; it is then found under the new one alone.
    ASSERT_TRUE(Upsert("one", "V2_WFJobs", "Other"));
    EXPECT_THAT(Jobs(), IsEmpty());
    EXPECT_THAT(Jobs("Other"), ElementsAre("one"));
}

TEST_P(RecordStoreConformance, ListsHaveOffsetAndLimit) {
    for (const std::string id : {"0", "1", "2", "3"}) {
        Record other = ResultOf("x" + id, "q");
        other.recordType = "Other";
        ASSERT_TRUE(store.UpsertOne(ResultOf(id, "q")) && store.UpsertOne(other));
    }
    const std::tuple<std::int32_t, std::int32_t, Names> rows[] = {{0, kAll, {"0", "1", "2", "3"}},
                                                                  {1, 2, {"1", "2"}},
                                                                  {3, 5, {"3"}},
                                                                  {4, kAll, {}},
                                                                  {kAll, kAll, {}},
                                                                  // A negative number counts as 0.
                                                                  {0, 0, {}},
                                                                  {0, -1, {}},
                                                                  {-3, 2, {"0", "1"}}};
    for (const auto& [offset, limit, ids] : rows) {
        SCOPED_TRACE(std::to_string(offset) + ", " + std::to_string(limit));
        EXPECT_EQ(
            IdsOf(store.FindRecordsWithReferencedID("V2_WFMobIDs", "MobID", "queryID", "q", offset, limit)),
            ids);
        EXPECT_EQ(IdsOf(store.FindRecordsOfType("V2_WFMobIDs", "MobID", offset, limit)), ids);
    }
}

TEST_P(RecordStoreConformance, AReferenceIsATextAtTheTopOfThePublicJson) {
    const std::tuple<const char*, const char*, const char*> found[] = {
        {R"({"queryID":"q1"})", "queryID", "q1"},
        {"{ \"tags\" : [] ,\n \"queryID\" : \"q2\" }", "queryID", "q2"},
        {R"({"queryID":""})", "queryID", ""},
        {R"({"queryID":"a\"\u00e4\n"})", "queryID", "a\"\xc3\xa4\n"},
        {R"({"it's a.key[0]":"v"})", "it's a.key[0]", "v"},
        {R"({"parentID":"p"})", "parentID", "p"},
    };
    for (const auto& [json, key, value] : found) {
        SCOPED_TRACE(json);
        ASSERT_TRUE(UpsertResult(json));
        EXPECT_THAT(Referring(key, value), ElementsAre("r"));
        EXPECT_THAT(Referring(key, value, "Other"), IsEmpty());
        EXPECT_THAT(Referring(key, value, "MobID", "V2_WFJobs"), IsEmpty());
        ASSERT_TRUE(UpsertResult("{}"));  // it follows an upsert
        EXPECT_THAT(Referring(key, value), IsEmpty());
        ASSERT_TRUE(UpsertResult(json) && store.DeleteMany({"r"}));
        EXPECT_THAT(Referring(key, value), IsEmpty());
    }
    const std::pair<const char*, const char*> hidden[] = {{R"({"queryID":"q"})", "%"},
                                                          {R"({"queryID":"q"})", "Q"},
                                                          {R"({"a":{"queryID":"q"}})", "q"},
                                                          // Other kinds of values, and what is no object
                                                          {R"({"queryID":5})", "5"},
                                                          {R"({"queryID":null})", "null"},
                                                          {R"({"queryID":{}})", "{}"},
                                                          {R"(["queryID","q"])", "q"},
                                                          {"", ""}};
    for (const auto& [json, value] : hidden) {
        ASSERT_TRUE(UpsertResult(json));
        EXPECT_THAT(Referring("queryID", value), IsEmpty()) << json;
    }
}

const std::string kTopic = "V2_WFJobEvents";

class EventLogConformance : public testing::TestWithParam<StoreFactory> {
protected:
    bool Append(const std::string& text, bool durable = true, const std::string& topic = kTopic) {
        Record event("JobCreated", 1, topic);
        event.recordID = "the same";  // an event's id is no key
        event.recordData = text;
        return log.Produce(event, durable);
    }
    Names Texts(std::int64_t offset, std::size_t limit, const CommonServices::EventWait& wait = {}) {
        Names texts;
        for (const LoggedEvent& event : log.Read(kTopic, offset, limit, wait)) {
            texts.push_back(event.record.recordData);
        }
        return texts;
    }

    const StoreSubject subject = GetParam().make();
    CommonServices::EventLog& log = *subject.events;
};

TEST_P(EventLogConformance, KeepsEventsInOrderByTopic) {
    ASSERT_TRUE(Append("1") && Append("elsewhere", true, "other") && Append("2", false) && Append("1"));
    EXPECT_THAT(Texts(0, 100), ElementsAre("1", "2", "1"));
    const auto events = log.Read(kTopic, 0, 100, {});
    EXPECT_TRUE(0 < events[0].offset && events[0].offset < events[1].offset &&
                events[1].offset < events[2].offset);
    EXPECT_EQ(events[0].record.recordType + events[0].record.recordID, "JobCreatedthe same");
    EXPECT_THAT(Texts(events[0].offset, 1), ElementsAre("2"));
    EXPECT_THAT(Texts(events[2].offset, 100), IsEmpty());
    EXPECT_THAT(Texts(0, 0, {1ms}), IsEmpty());
    EXPECT_THAT(log.Read("nothing", 0, 100, {1ms}), IsEmpty());
}

TEST_P(EventLogConformance, AnEventEndsTheWaitOfEveryReaderOfItsTopic) {
    const auto wait = [this] { return Texts(0, 100, {1h}); };
    auto one = std::async(std::launch::async, wait);
    auto other = std::async(std::launch::async, wait);
    ASSERT_TRUE(Append("elsewhere", true, "other") && Append("here"));
    EXPECT_THAT(one.get(), ElementsAre("here"));
    EXPECT_THAT(other.get(), ElementsAre("here"));
}

TEST_P(EventLogConformance, AStopEndsTheWait) {
    std::stop_source stop;
    auto reader = std::async(std::launch::async, [&] { return Texts(0, 100, {1h, stop.get_token()}); });
    stop.request_stop();
    EXPECT_THAT(reader.get(), IsEmpty());
}

const auto kNameOfRow = [](const auto& row) { return row.param.name; };
INSTANTIATE_TEST_SUITE_P(All, RecordStoreConformance, kStores, kNameOfRow);
INSTANTIATE_TEST_SUITE_P(All, EventLogConformance, kStores, kNameOfRow);

}  // namespace
