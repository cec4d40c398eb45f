// The store's file: how it is made, what is refused, and what other programs may do with it.

#include <sys/stat.h>

#include <fstream>
#include <thread>

#include "platform/stores/sqlite/Readers.h"
#include "tests/stores/EmbeddedFixture.h"

namespace {

using CommonServices::ObjectStoreException;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::ThrowsMessage;

using EmbeddedFile = EmbeddedFixture;

unsigned ModeOf(const std::filesystem::path& path) {
    struct stat state {};
    EXPECT_EQ(::stat(path.c_str(), &state), 0) << path;
    return state.st_mode & 0777u;
}

TEST_F(EmbeddedFile, IsThereForItsOwnerAlone) {
    const std::filesystem::path shared = directory.Path() / "shared";
    std::filesystem::create_directory(shared);
    ASSERT_EQ(::chmod(shared.c_str(), 0755), 0);
    options.path = (shared / "where" / "Store" / "x.db").string();
    Open();
    ASSERT_TRUE(Upsert("a"));
    EXPECT_EQ(ModeOf(shared / "where" / "Store"), 0700u);
    for (const char* suffix : {"", "-wal", "-shm"}) {
        EXPECT_EQ(ModeOf(options.path + suffix), 0600u) << suffix;
    }
    options.path = (shared / "x.db").string();
    Open();
    EXPECT_EQ(ModeOf(shared), 0755u);  // it was there
}

TEST_F(EmbeddedFile, RefusesWhatItCannotOrMayNotUse) {
    const std::string base = directory.Path().string();
    std::ofstream(base + "/text.db") << std::string(5000, 'x');
    std::ofstream(base + "/file") << "";
    ForeignProgram(base + "/other.db").Ask("CREATE TABLE t (a)");
    ASSERT_EQ(::chmod((base + "/other.db").c_str(), 0664), 0);
    ForeignProgram(base + "/marked.db").Ask("PRAGMA user_version = 1");
    ForeignProgram(base + "/newer.db").Ask("PRAGMA application_id = 0x51535354; PRAGMA user_version = 7");
    std::filesystem::create_directory(base + "/directory.db");
    options.path = base + "/used.db";
    Open();
    const CommonServices::EmbeddedStore inUse = store;

    const std::pair<const char*, const char*> rows[] = {{"text.db", "is no database"},
                                                        {"other.db", "database of another program"},
                                                        {"marked.db", "database of another program"},
                                                        {"newer.db", "layout version 7"},
                                                        {"directory.db", "Is a directory"},
                                                        {"file/store.db", "Not a directory"},
                                                        {"used.db", "in use by another service"}};
    for (const auto& [file, words] : rows) {
        options.path = base + "/" + file;
        EXPECT_THAT([this] { Open(); },
                    ThrowsMessage<ObjectStoreException>(AllOf(HasSubstr(base), HasSubstr(words))));
    }
    // A refusal leaves nothing behind in the file, nor takes it from anybody.
    EXPECT_EQ(ModeOf(base + "/other.db"), 0664u);
    EXPECT_THAT(ForeignProgram(base + "/other.db").Ask("SELECT name FROM sqlite_master"), ElementsAre("t"));
}

TEST_F(EmbeddedFile, KeepsOrderAndOffsetsOverReopening) {
    Open();
    ASSERT_TRUE(Upsert("b") && Upsert("a") && Append("e1"));
    const auto lastOffset = [this] { return store.events->Read("V2_WFJobEvents", 0, 1, {}).at(0).offset; };
    const std::int64_t before = lastOffset();
    ForeignProgram(options.path).Ask("DELETE FROM events");
    Close();
    Open();
    ASSERT_TRUE(Upsert("c") && Upsert("b") && Append("e2"));
    EXPECT_THAT(Jobs(), ElementsAre("b", "a", "c"));
    EXPECT_GT(lastOffset(), before);
}

TEST_F(EmbeddedFile, ShowsOtherProgramsTheStoredKeysAsColumns) {
    Open();
    ASSERT_TRUE(Upsert("job"));
    ForeignProgram program(options.path);
    const std::string columns =
        "recordID,recordType,recordVersion,name,description,recordTopic,recordData,recordModificationTime,"
        "recordPublicData,readOnly,systemCreated,tags";
    EXPECT_THAT(program.Ask("SELECT group_concat(name) FROM pragma_table_info('records')"),
                ElementsAre(columns));
    EXPECT_THAT(program.Ask("SELECT group_concat(name) FROM pragma_table_info('events')"),
                ElementsAre("eventOffset," + columns));
    EXPECT_THAT(
        program.Ask("SELECT abs(recordModificationTime / 1000 - strftime('%s', 'now')) < 100 FROM records"),
        ElementsAre("1"));
}

TEST_F(EmbeddedFile, ReadsRowsOfOtherProgramsWhateverTheyHold) {
    Open();
    ForeignProgram program(options.path);
    program.Ask(
        "INSERT INTO records VALUES ('n', 'MobID', 1, NULL, NULL, 'V2_WFMobIDs', NULL, NULL, NULL, NULL, "
        "NULL, NULL),"
        "(7, 'MobID', 'text', 5, 1.5, 'V2_WFMobIDs', x'7b7d', 'then', x'7b227175657279494422', 'yes', 1, "
        "x'00ff')");
    const std::pair<std::string, std::string> rows[] = {
        {"b1", R"({"queryID":"q")"}, {"b2", "queryID"}, {"b3", R"("queryID")"}, {"ok", R"({"queryID":"q"})"}};
    for (const auto& [id, json] : rows) {
        program.Ask("INSERT INTO records (recordID, recordType, recordTopic, recordPublicData) VALUES ('" +
                    id + "', 'MobID', 'V2_WFMobIDs', '" + json + "')");
    }
    EXPECT_THAT(
        IdsOf(store.records->FindRecordsWithReferencedID("V2_WFMobIDs", "MobID", "queryID", "q", 0, kAll)),
        ElementsAre("ok"));
    const auto all = store.records->FindRecordsOfType("V2_WFMobIDs", "MobID", 0, kAll);
    ASSERT_THAT(IdsOf(all), ElementsAre("n", "7", "b1", "b2", "b3", "ok"));
    EXPECT_EQ(all[0].recordPublicData, "");
    EXPECT_EQ(all[1].name, "5");
    EXPECT_EQ(all[1].recordVersion, 0);
    EXPECT_EQ(all[1].recordData, "{}");
    EXPECT_EQ(all[1].tags, std::string("\0\xff", 2));
    EXPECT_TRUE(all[1].systemCreated);
    EXPECT_THROW(
        program.Ask("INSERT INTO records (recordID, recordType, recordTopic) VALUES (x'00', 'a', 'b')"),
        std::runtime_error);
}

TEST_F(EmbeddedFile, AnswersReferencesFromAnIndexThatLaterKeysGetOnFirstUse) {
    Open();
    ASSERT_TRUE(store.records->UpsertOne(ResultOf("r", "q")));
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
