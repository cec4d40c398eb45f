// What every record store and every event log promises.

#include <future>
#include <thread>
#include <tuple>

#include "tests/stores/EmbeddedFixture.h"
#include "tests/stores/StoresUnderTest.h"

namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using Weftline::Record;
using Names = std::vector<std::string>;

const std::string kTopic = "V2_WFJobEvents";

class Stores : public testing::TestWithParam<StoresUnderTest> {
protected:
    Stores() {
        auto opened = GetParam().open(directory);
        records = std::move(opened.records);
        log = std::move(opened.log);
    }

    bool Upsert(const std::string& id, const std::string& topic = "V2_WFJobs",
                const std::string& type = "Job", const std::string& name = "") {
        Record record = RecordOf(id, topic, type);
        record.name = name;
        return records->UpsertOne(record);
    }
    bool UpsertResult(const std::string& publicJson) { return records->UpsertOne(ResultOf("r", publicJson)); }
    Names Jobs(const std::string& type = "Job") {
        return IdsOf(records->FindRecordsOfType("V2_WFJobs", type, 0, kAll));
    }
    Names Referring(const std::string& key, const std::string& value, const std::string& type = "MobID",
                    const std::string& topic = "V2_WFMobIDs") {
        return IdsOf(records->FindRecordsWithReferencedID(topic, type, key, value, 0, kAll));
    }

    Names Texts(std::int64_t offset, std::size_t limit, const CommonServices::EventWait& wait = {}) {
        Names texts;
        for (const auto& event : log->Read(kTopic, offset, limit, wait)) {
            texts.push_back(event.record.recordData);
        }
        return texts;
    }

    /// A store may announce after it has answered.
    Names EventsOnceThere(std::size_t count) {
        for (const auto deadline = std::chrono::steady_clock::now() + 60s;
             Texts(0, 10).size() < count && std::chrono::steady_clock::now() < deadline;) {
            std::this_thread::sleep_for(1ms);
        }
        return Texts(0, 10);
    }

    const TempDirectory directory;
    std::shared_ptr<CommonServices::RecordStore> records;
    std::shared_ptr<CommonServices::EventLog> log;
};

INSTANTIATE_TEST_SUITE_P(All, Stores, testing::ValuesIn(AllStoresUnderTest()),
                         [](const auto& row) { return row.param.name; });

auto FieldsOf(const Record& record) {
    return std::tuple(record.recordID, record.recordType, record.recordVersion, record.recordTopic,
                      record.name, record.description, record.recordData, record.recordPublicData,
                      record.tags, record.readOnly, record.systemCreated);
}

TEST_P(Stores, GiveBackWhatTheyTook) {
    Record record("Job", -7, "V2_WFJobs");
    record.name = "N\xc3\xa4me 'quoted' \"twice\"";
    record.description = std::string("a NUL \0 inside", 14);
    record.recordData = "{\"" + std::string(100000, 'x') + "\":1}";
    record.SetTags("[ \"a\" ]");
    record.readOnly = record.systemCreated = true;
    ASSERT_TRUE(records->UpsertOne(record));
    EXPECT_EQ(FieldsOf(records->FindByID(record.recordID, "V2_WFJobs").value()), FieldsOf(record));
    EXPECT_FALSE(records->FindByID(record.recordID, "V2_WFProfiles").has_value());
    const auto many = records->FindManyByID({"nobody", record.recordID, "", record.recordID}, "V2_WFJobs");
    ASSERT_EQ(many.size(), 4U);
    EXPECT_FALSE(many[0].has_value() || many[2].has_value());
    EXPECT_EQ(FieldsOf(many[1].value()), FieldsOf(many[3].value()));
    record.recordData.clear();
    const auto parts = records->FindManyWithoutData({record.recordID, "nobody"}, "V2_WFJobs");
    EXPECT_EQ(FieldsOf(parts.at(0).value()), FieldsOf(record));
    EXPECT_FALSE(parts.at(1).has_value());
}

TEST_P(Stores, AnUpsertReplacesAndKeepsThePlaceAndADeletionFreesIt) {
    ASSERT_TRUE(Upsert("c") && Upsert("a") && Upsert("b"));
    ASSERT_TRUE(Upsert("c", "V2_WFJobs", "Job", std::string(20000, 'x')));
    EXPECT_TRUE(records->DeleteMany({}) && records->DeleteMany({"a", "nobody", "a"}));
    EXPECT_THAT(Jobs(), ElementsAre("c", "b"));
    EXPECT_EQ(records->FindByID("c", "V2_WFJobs")->name.size(), 20000U);
    ASSERT_TRUE(Upsert("a"));
    EXPECT_THAT(Jobs(), ElementsAre("c", "b", "a"));

    // An id belongs to one collection as long as it is there, and within that may change its type.
    EXPECT_FALSE(Upsert("a", "V2_WFProfiles", "Profile", "stranger"));
    EXPECT_EQ(records->FindByID("a", "V2_WFJobs")->name, "");
    ASSERT_TRUE(Upsert("b", "V2_WFJobs", "Other"));
    EXPECT_THAT(Jobs("Other"), ElementsAre("b"));
    EXPECT_TRUE(records->DeleteMany({"a"}) && Upsert("a", "V2_WFProfiles"));
    EXPECT_THAT(Jobs(), ElementsAre("c"));
}

TEST_P(Stores, ARecordIsThereBeforeItsEventWhicheverWayItIsWritten) {
    EXPECT_TRUE(records->UpsertOneAndProduce(RecordOf("a"), *log, RecordOf("event of a", kTopic)));
    EXPECT_TRUE(AnnounceHeld(*records, *log, "b", "V2_WFJobs").get());
    EXPECT_FALSE(AnnounceHeld(*records, *log, "b", "V2_WFProfiles").get());
    EXPECT_FALSE(
        records->UpsertOneAndProduce(RecordOf("a", "V2_WFProfiles"), *log, RecordOf("event of a", kTopic)));
    EXPECT_THAT(Jobs(), ElementsAre("a", "b"));
    EXPECT_EQ(EventsOnceThere(2).size(), 2U);
}

TEST_P(Stores, AReplacementIsMadeWhereNobodyWasFasterAndKeepsPlaceAndEvent) {
    using enum CommonServices::ReplaceOutcome;
    Record first = RecordOf("a");
    first.recordData = "{\"" + std::string(1000, 'x') + "\":\"\xff a NUL " + std::string(1, '\0') + "\"}";
    EXPECT_EQ(records->ReplaceIf(first, first), Changed) << "none is there";
    EXPECT_EQ(records->ReplaceIf({}, first), Replaced);
    EXPECT_EQ(records->ReplaceIf({}, first), Changed) << "one is there";
    EXPECT_EQ(records->ReplaceIf({}, RecordOf("a", "V2_WFProfiles")), Changed) << "elsewhere";
    ASSERT_TRUE(records->UpsertOneAndProduce(RecordOf("b"), *log, RecordOf("event of b", kTopic)));

    // Whatever another has changed.
    const std::function<void(Record&)> changes[] = {
        [](Record& record) { record.recordType = "Other"; },
        [](Record& record) { record.recordVersion = 2; },
        [](Record& record) { record.name = "x"; },
        [](Record& record) { record.description = "x"; },
        [](Record& record) { record.recordData.back() = ' '; },
        [](Record& record) { record.recordPublicData = R"({"queryID":"q"})"; },
        [](Record& record) { record.tags = "[1]"; },
        [](Record& record) { record.readOnly = !record.readOnly; },
        [](Record& record) { record.systemCreated = !record.systemCreated; }};
    Record stored = first;
    for (const auto& change : changes) {
        const auto seen = records->FindByID("a", "V2_WFJobs");
        Record next = seen.value();
        change(next);
        EXPECT_EQ(records->ReplaceIf(seen, next), Replaced);
        EXPECT_EQ(records->ReplaceIf(seen, first), Changed);
        stored = next;
    }
    EXPECT_EQ(FieldsOf(records->FindByID("a", "V2_WFJobs").value()), FieldsOf(stored));
    EXPECT_THAT(Referring("queryID", "q", "Other", "V2_WFJobs"), ElementsAre("a"));
    stored.recordType = "Job";
    EXPECT_TRUE(records->UpsertOne(stored));
    const auto b = records->FindByID("b", "V2_WFJobs");
    EXPECT_EQ(records->ReplaceIf(b, RecordOf("b")), Replaced);
    EXPECT_THAT(Jobs(), ElementsAre("a", "b"));
    EXPECT_THAT(EventsOnceThere(1), ElementsAre(""));
    ASSERT_TRUE(records->DeleteMany({"b"}));
    EXPECT_EQ(records->ReplaceIf(RecordOf("b"), *b), Changed) << "what is gone is not made again";
    EXPECT_FALSE(records->FindByID("b", "V2_WFJobs"));
}

TEST_P(Stores, OfManyReplacementsOfOneRecordEachIsMadeOnTopOfTheLast) {
    constexpr int kThreads = 4;
    constexpr int kEach = 25;
    ASSERT_TRUE(Upsert("a"));
    const auto count = [this] {
        for (int made = 0; made < kEach;) {
            const auto seen = records->FindByID("a", "V2_WFJobs");
            Record next = seen.value();
            ++next.recordVersion;
            made += records->ReplaceIf(seen, next) == CommonServices::ReplaceOutcome::Replaced ? 1 : 0;
        }
    };
    {
        std::vector<std::jthread> threads;
        for (int n = 0; n < kThreads; ++n) {
            threads.emplace_back(count);
        }
    }
    EXPECT_EQ(records->FindByID("a", "V2_WFJobs")->recordVersion, 1 + kThreads * kEach);
}

TEST_P(Stores, ListsHaveOffsetAndLimit) {
    for (const std::string id : {"0", "1", "2", "3"}) {
        Record other = ResultOf("x" + id, R"({"queryID":"q"})");
        other.recordType = "Other";
        ASSERT_TRUE(records->UpsertOne(ResultOf(id, other.recordPublicData)) && records->UpsertOne(other));
    }
    // A negative number counts as 0.
    const std::tuple<std::int32_t, std::int32_t, Names> rows[] = {{0, kAll, {"0", "1", "2", "3"}},
                                                                  {1, 2, {"1", "2"}},
                                                                  {3, 5, {"3"}},
                                                                  {4, kAll, {}},
                                                                  {kAll, kAll, {}},
                                                                  {-3, 2, {"0", "1"}},
                                                                  {0, 0, {}},
                                                                  {0, -1, {}}};
    for (const auto& [offset, limit, ids] : rows) {
        SCOPED_TRACE(std::to_string(offset) + ", " + std::to_string(limit));
        EXPECT_EQ(IdsOf(records->FindRecordsOfType("V2_WFMobIDs", "MobID", offset, limit)), ids);
        const auto referring =
            records->FindRecordsWithReferencedID("V2_WFMobIDs", "MobID", "queryID", "q", offset, limit);
        EXPECT_EQ(IdsOf(referring), ids);
    }
}

TEST_P(Stores, AReferenceIsATextAtTheTopOfThePublicJson) {
    const std::tuple<const char*, const char*, const char*> found[] = {
        {"{ \"tags\" : [] ,\n \"queryID\" : \"q2\" }", "queryID", "q2"},
        {R"({"queryID":""})", "queryID", ""},
        {R"({"queryID":"a\"\u00e4\n"})", "queryID", "a\"\xc3\xa4\n"},
        {R"({"it's a.key[0]":"v"})", "it's a.key[0]", "v"}};
    for (const auto& [json, key, value] : found) {
        SCOPED_TRACE(json);
        ASSERT_TRUE(UpsertResult(json));
        EXPECT_THAT(Referring(key, value), ElementsAre("r"));
        EXPECT_THAT(Referring(key, value, "Other"), IsEmpty());
        EXPECT_THAT(Referring(key, value, "MobID", "V2_WFJobs"), IsEmpty());
        ASSERT_TRUE(UpsertResult("{}"));  // it follows an upsert
        EXPECT_THAT(Referring(key, value), IsEmpty());
        ASSERT_TRUE(UpsertResult(json) && records->DeleteMany({"r"}));
        EXPECT_THAT(Referring(key, value), IsEmpty());
    }
    // Nor are patterns, other cases, other kinds of values, and what is no object
    const std::pair<const char*, const char*> hidden[] = {
        {R"({"queryID":"q"})", "%"},       {R"({"queryID":"q"})", "Q"},
        {R"({"a":{"queryID":"q"}})", "q"}, {R"({"queryID":5})", "5"},
        {R"({"queryID":{}})", "{}"},       {R"({"queryID":null})", "null"},
        {R"(["queryID","q"])", "q"},       {"", ""}};
    for (const auto& [json, value] : hidden) {
        ASSERT_TRUE(UpsertResult(json));
        EXPECT_THAT(Referring("queryID", value), IsEmpty()) << json;
    }
}

TEST_P(Stores, WhatIsTakenIsGoneAndComesInOrder) {
    Names data;
    for (int n = 0; n < 300; ++n) {
        Record record = ResultOf(std::to_string(n % 2 == 0 ? 1000 - n : n), R"({"queryID":"q"})");
        record.recordData =
            data.emplace_back(std::to_string(n) + std::string(static_cast<std::size_t>(n) * 10, 'x'));
        ASSERT_TRUE(records->UpsertOne(record));
    }
    ASSERT_TRUE(records->UpsertOne(ResultOf("other", R"({"queryID":"other"})")) && Upsert("job"));
    const auto take = [&](const std::string& type) {
        return records->TakeDataWithReferencedID("V2_WFMobIDs", type, "queryID", "q");
    };
    EXPECT_THAT(take("Other"), IsEmpty());
    EXPECT_EQ(take("MobID"), data);
    EXPECT_THAT(take("MobID"), IsEmpty());
    EXPECT_THAT(Referring("queryID", "other"), ElementsAre("other"));
    EXPECT_THAT(Jobs(), ElementsAre("job"));
}

}  // namespace
