// The store's file: how it is made, what is refused, and what other programs may do with it.

#include <sys/stat.h>

#include <filesystem>
#include <fstream>

#include "platform/stores/sqlite/Readers.h"
#include "tests/stores/EmbeddedFixture.h"

namespace {

using CommonServices::ObjectStoreException;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using testing::ThrowsMessage;

using EmbeddedFile = EmbeddedFixture;

unsigned ModeOf(const std::string& path) {
    return static_cast<unsigned>(std::filesystem::status(path).permissions());
}

TEST_F(EmbeddedFile, RefusesWhatItCannotOrMayNotUse) {
    const std::string base = directory.Path().string() + "/";
    ASSERT_EQ(::chmod(base.c_str(), 0755), 0);
    std::ofstream(base + "text.db") << std::string(5000, 'x');
    ForeignProgram(base + "newer.db").Ask("PRAGMA application_id = 0x51535354; PRAGMA user_version = 3");
    ForeignProgram(base + "other.db").Ask("CREATE TABLE t (a)");
    ASSERT_EQ(::chmod((base + "other.db").c_str(), 0664), 0);
    ForeignProgram(base + "marked.db").Ask("PRAGMA user_version = 1");
    std::filesystem::create_directory(base + "directory.db");
    options.path = base + "used.db";
    Open();
    const CommonServices::EmbeddedStore inUse = store;

    const std::pair<std::string, const char*> rows[] = {
        {"text.db", "is no database"},
        {"newer.db", "layout version 3, and this program knows versions up to 2"},
        {"other.db", "database of another program"},
        {"marked.db", "database of another program"},
        {"directory.db", "Is a directory"},
        {"used.db", "in use by another service"}};
    for (const auto& [file, words] : rows) {
        options.path = base + file;
        EXPECT_THAT([this] { Open(); },
                    ThrowsMessage<ObjectStoreException>(AllOf(HasSubstr(base), HasSubstr(words))));
    }
    // A refusal leaves nothing behind in the file, nor takes it from anybody; nor is a directory taken.
    EXPECT_EQ(ModeOf(base + "other.db"), 0664u);
    EXPECT_EQ(ModeOf(base), 0755u);
    EXPECT_THAT(ForeignProgram(base + "other.db").Ask("SELECT name FROM sqlite_master"), ElementsAre("t"));
}

TEST_F(EmbeddedFile, GivesNoOffsetTwiceThoughAnotherProgramDeletesEvents) {
    Open();
    ASSERT_TRUE(Append("first"));
    const auto first = store.events->Read("V2_WFJobEvents", 0, 1, {}).at(0).offset;
    Close();
    Open();
    ForeignProgram(options.path).Ask("DELETE FROM events");
    ASSERT_TRUE(Append("later"));
    EXPECT_GT(store.events->Read("V2_WFJobEvents", 0, 1, {}).at(0).offset, first);
}

TEST_F(EmbeddedFile, ReadsRowsOfOtherProgramsWhateverTheyHold) {
    Open();
    ForeignProgram program(options.path);
    program.Ask(
        "INSERT INTO records VALUES "
        "('n', 'MobID', 1, NULL, NULL, 'V2_WFMobIDs', NULL, NULL, NULL, NULL, NULL, NULL), "
        "(7, 'MobID', 'text', 5, 1.5, 'V2_WFMobIDs', x'7b7d', 'then', x'7b227175657279494422', 'yes', 1, "
        "x'00ff')");
    for (const std::string json : {R"({"queryID":"q")", "queryID", R"("queryID")", R"({"queryID":"q"})"}) {
        program.Ask("INSERT INTO records (recordID, recordType, recordTopic, recordPublicData) VALUES ('#" +
                    json + "', 'MobID', 'V2_WFMobIDs', '" + json + "')");
    }
    EXPECT_THAT(
        IdsOf(store.records->FindRecordsWithReferencedID("V2_WFMobIDs", "MobID", "queryID", "q", 0, kAll)),
        ElementsAre(R"(#{"queryID":"q"})"));
    const auto all = store.records->FindRecordsOfType("V2_WFMobIDs", "MobID", 0, kAll);
    ASSERT_THAT(all, SizeIs(6));
    EXPECT_EQ(all[0].recordID + all[0].recordPublicData, "n");
    EXPECT_EQ(all[1].recordID + all[1].name + all[1].recordData, "75{}");
    EXPECT_EQ(all[1].recordVersion, 0);
    EXPECT_EQ(all[1].tags, std::string("\0\xff", 2));
    EXPECT_TRUE(all[1].systemCreated);
    program.Ask(R"(UPDATE records SET recordPublicData = '{"queryID":"odd"}' WHERE recordID IN ('n', '7'))");
    EXPECT_THAT(store.records->TakeDataWithReferencedID("V2_WFMobIDs", "MobID", "queryID", "odd"),
                ElementsAre("", "{}"));
    EXPECT_THROW(
        program.Ask("INSERT INTO records (recordID, recordType, recordTopic) VALUES (x'00', 'a', 'b')"),
        std::runtime_error);
}

TEST_F(EmbeddedFile, AnswersReferencesFromAnIndexThatLaterKeysGetOnFirstUse) {
    Open();
    ASSERT_TRUE(store.records->UpsertOne(ResultOf("r", R"({"queryID":"q"})")));
    EXPECT_THAT(store.records->FindRecordsWithReferencedID("V2_WFMobIDs", "MobID", "parentID", "q", 0, kAll),
                IsEmpty());
    ForeignProgram program(options.path);
    EXPECT_THAT(
        program.Ask("SELECT name FROM sqlite_master WHERE type = 'index' AND name LIKE '%:%' ORDER BY name"),
        ElementsAre("recordsByReference:parentID", "recordsByReference:queryID"));
    for (const std::string key : {"queryID", "parentID"}) {
        const std::string sql = CommonServices::Sqlite::ReferenceListSql(key);
        // One search in the index of that key, already in the store's order.
        EXPECT_THAT(program.Ask("EXPLAIN QUERY PLAN " + sql),
                    ElementsAre(AllOf(HasSubstr("SEARCH records USING INDEX recordsByReference:" + key),
                                      HasSubstr("<expr>=?"))));
    }

    for (const char* key : {"", "a\"b", "a\\b", "a\nb"}) {
        EXPECT_THROW(store.records->FindRecordsWithReferencedID("t", "t", key, "v", 0, 1),
                     ObjectStoreException)
            << key;
    }
}

}  // namespace
