// Packed texts in the store's file, and files of the layout that has none.

#include <algorithm>
#include <filesystem>
#include <random>

#include "platform/stores/sqlite/PackedText.h"
#include "tests/stores/EmbeddedFixture.h"

namespace {

using CommonServices::ObjectStoreException;
using CommonServices::Sqlite::Compression;
using CommonServices::Sqlite::OwnDictionary;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::SizeIs;
using testing::StartsWith;
using testing::ThrowsMessage;

const std::string kText = R"({"parent":"","clientKey":"","text":")" + std::string(3000, 'x') + "\"}";

std::string HexOf(const std::string& bytes) {
    std::string hex;
    for (const char byte : bytes) {
        constexpr char kDigits[] = "0123456789abcdef";
        hex += {kDigits[static_cast<unsigned char>(byte) >> 4U],
                kDigits[static_cast<unsigned char>(byte) & 15U]};
    }
    return hex;
}

std::string Packed(const std::string& text) {
    return CommonServices::Sqlite::TextPacker(OwnDictionary()).Pack(text);
}

class PackedTexts : public EmbeddedFixture {
protected:
    void OpenWith(Compression compression) {
        Close();
        options.compression = compression;
        Open();
    }
    std::vector<std::string> Ask(const std::string& sql) { return ForeignProgram(options.path).Ask(sql); }
    std::string LayoutVersion() { return Ask("PRAGMA user_version").at(0); }
    std::vector<std::string> Kinds() {
        return Ask("SELECT typeof(recordData) FROM records WHERE recordType = 'Job' ORDER BY rowid");
    }
    bool UpsertText(const std::string& id, const std::string& text) {
        Weftline::Record job = RecordOf(id);
        job.recordData = text;
        return store.records->UpsertOne(job);
    }
    std::string TextOf(const std::string& id) { return store.records->FindByID(id, "V2_WFJobs")->recordData; }
};

TEST_F(PackedTexts, AFileOfTheFirstLayoutIsReadAndWrittenAndCarriedOverOnceItMayPack) {
    std::filesystem::copy_file(QUILLON_FIRST_LAYOUT, options.path);
    const std::string all = "SELECT recordID || name || recordData || recordPublicData FROM ";
    const auto records = Ask(all + "records WHERE recordTopic = 'V2_WFJobs' ORDER BY rowid");
    const auto profiles = Ask(all + "records WHERE recordTopic = 'V2_WFProfiles'");
    const auto events = Ask(all + "events ORDER BY eventOffset");
    ASSERT_THAT(records, SizeIs(3));
    const auto read = [this](const std::string& topic, const std::string& type, std::size_t most) {
        std::vector<std::string> texts;
        for (const auto& found :
             store.records->FindRecordsOfType(topic, type, 0, static_cast<std::int32_t>(most))) {
            texts.push_back(found.recordID + found.name + found.recordData + found.recordPublicData);
        }
        return texts;
    };

    const std::tuple<Compression, const char*, std::string, std::vector<std::string>> rows[] = {
        {Compression::None, "1", "plain", {"text", "text", "text", "text"}},
        {Compression::Zstd, "2", "packed", {"text", "text", "text", "text", "blob"}},
        {Compression::None, "2", "plain again", {"text", "text", "text", "text", "blob", "text"}},
        {Compression::Zstd, "2", "packed again", {"text", "text", "text", "text", "blob", "text", "blob"}}};
    for (const auto& [compression, version, id, kinds] : rows) {
        SCOPED_TRACE(id);
        OpenWith(compression);
        EXPECT_EQ(LayoutVersion(), version);
        EXPECT_EQ(read("V2_WFJobs", "Job", records.size()), records);
        EXPECT_EQ(read("V2_WFProfiles", "Profile", 10), profiles);
        EXPECT_EQ(CountEvents(), events.size());
        ASSERT_TRUE(UpsertText(id, kText));
        EXPECT_EQ(Kinds(), kinds);
        EXPECT_EQ(TextOf(id), kText);
    }
    EXPECT_EQ(TextOf("packed"), kText);
    EXPECT_THAT(Ask("SELECT id FROM dictionaries"), ElementsAre(std::to_string(OwnDictionary().number)));
    Close();
    Ask("UPDATE dictionaries SET bytes = x'00'");
    EXPECT_THAT([this] { Open(); }, ThrowsMessage<ObjectStoreException>(HasSubstr("another dictionary")));
}

TEST_F(PackedTexts, AreThoseThatGetShorterByIt) {
    Open();
    std::string noise(4000, '\0');
    std::generate(noise.begin(), noise.end(),
                  [random = std::mt19937()]() mutable { return static_cast<char>(random()); });
    const std::pair<std::string, const char*> rows[] = {{"", "text"},
                                                        {std::string(511, 'x'), "text"},
                                                        {noise, "text"},
                                                        {kText, "blob"},
                                                        {std::string(3000000, '\0'), "blob"}};
    for (const auto& [text, kind] : rows) {
        ASSERT_TRUE(UpsertText("job", text));
        EXPECT_THAT(Kinds(), ElementsAre(kind)) << text.size();
        EXPECT_EQ(TextOf("job"), text);
    }
}

TEST_F(PackedTexts, ReadAsTheBytesTheyAreWhereTheyCannotBeUnpacked) {
    Open();
    const std::string frame = Packed(kText);
    ASSERT_THAT(frame, StartsWith("\x28\xb5\x2f\xfd"));
    std::string unknown = frame;
    unknown[5] = '\x7f';  // the number of its dictionary
    const std::string vast("\x28\xb5\x2f\xfd\xa0\x00\xca\x9a\x3b\x01\x00\x00",
                           12);  // claims a thousand millions
    const std::vector<std::string> broken = {
        "no frame", frame.substr(0, frame.size() - 1), frame + "x", unknown, vast, vast.substr(0, 6)};
    ForeignProgram program(options.path);
    std::vector<std::string> texts = {kText};
    ASSERT_TRUE(UpsertText("first", kText));
    for (const std::string& bytes : broken) {
        program.Ask("INSERT INTO records (recordID, recordType, recordTopic, recordData) VALUES ('" +
                    std::to_string(texts.size()) + "', 'Job', 'V2_WFJobs', x'" + HexOf(bytes) + "')");
        texts.push_back(bytes);
    }
    const auto found = store.records->FindRecordsOfType("V2_WFJobs", "Job", 0, kAll);
    ASSERT_THAT(found, SizeIs(texts.size()));
    for (std::size_t n = 0; n < texts.size(); ++n) {
        EXPECT_EQ(found[n].recordData, texts[n]) << n;
    }

    // Other programs may pack as well, with a dictionary of theirs or with none.
    program.Ask("UPDATE records SET recordData = x'28b52ffd2003190000616263' WHERE recordID = '1'");
    EXPECT_EQ(TextOf("1"), "abc");
}

TEST_F(PackedTexts, AreShownByTheFunctionForOtherPrograms) {
    Open();
    ASSERT_TRUE(UpsertText("packed", kText) && UpsertText("plain", "{}"));
    ForeignProgram program(options.path);
    program.Load(QUILLON_TEXT_EXTENSION);
    program.Ask(
        "INSERT INTO records (recordType, recordTopic, recordData) VALUES ('Job', 'V2_WFJobs', NULL)");
    program.Ask(
        "INSERT INTO records (recordType, recordTopic, recordData) VALUES ('Job', 'V2_WFJobs', x'28b52f')");
    EXPECT_THAT(program.Ask("SELECT ifnull(quillon_text(recordData), 'NULL') FROM records ORDER BY rowid"),
                ElementsAre(kText, "{}", "NULL", "\x28\xb5\x2f"));
    EXPECT_THAT(program.Ask("SELECT json_extract(quillon_text(recordData), '$.text') = '" +
                            std::string(3000, 'x') + "' FROM records LIMIT 1"),
                ElementsAre("1"));
}

}  // namespace
