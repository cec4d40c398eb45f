#include <string>

#include "FindAudioFormatsHandler.h"
#include "FindExportTypesHandler.h"
#include "FindVideoFormatsHandler.h"
#include "ResultsFixture.h"

namespace Weftline::Services::Scheduler {
namespace {

using TestSupport::StoreFault;

class FindFormatResults : public ResultsFixture {
protected:
    void StoreVideo(const std::string& data) { StoreResult("V2_WFVideoFormats", "VideoFormat", data); }
    void StoreAudio(const std::string& data) { StoreResult("V2_WFAudioFormats", "AudioFormat", data); }
    void StoreExport(const std::string& data) { StoreResult("V2_WFExportTypes", "ExportType", data); }

    FindVideoFormatsHandler video{"realm"};
    FindAudioFormatsHandler audio{"realm"};
    FindExportTypesHandler exports{"realm"};
};

/// A stored format; `optional` are further members, each with a comma before it.
std::string VideoData(const std::string& preset, const std::string& optional = "") {
    // In another order than that of the answer, with a key that nobody knows.
    return R"({"Preset":")" + preset + R"(","FrameRate":{"Denominator":1,"Numerator":25},)" +
           R"("RasterSize":{"Height":1080,"Width":1920},"Progressive":true,"ChromaSampling":"422",)" +
           R"("BitsPerComponent":10,"ColorSpace":"x","CompressionFamily":"f","EncodingName":"e",)" +
           R"("Compressed":false,"Unknown":[1])" + optional + "}";
}

const std::string kAllOptionals =
    R"(,"LegacyVCID":-5,"MinBitRate":4,"AvgBitRate":3,"MaxBitRate":2,"MaxGOPLength":1)";

std::string Page(const std::string& formats, int found, int offset = 0, int size = 60) {
    return R"(TEXT {"FormatsList":[)" + formats + R"(],"FoundFormats":)" + std::to_string(found) +
           R"(,"PageOffset":)" + std::to_string(offset) + R"(,"PageSize":)" + std::to_string(size) + "}";
}

TEST_F(FindFormatResults, VideoFormatsComeInEitherVersionInTheOrderOfTheAnswer) {
    struct Row {
        std::string version;
        std::string expected;
    };
    const std::string head1 =
        R"({"RasterSize":{"Width":1920,"Height":1080},"Progressive":true,"ChromaSampling":"422",)"
        R"("BitsPerComponent":10,"ColorSpace":"x","FrameRate":{"Numerator":25,"Denominator":1},)";
    const std::string tail1 = R"("CompressionFamily":"f","EncodingName":"e","Compressed":false,)";
    const std::string version1 =
        Page(head1 + tail1 + R"("Preset":"\"\\/\u0001\n\u0000ä"},)" + head1 +
                 R"("MaxGOPLength":1,"MaxBitRate":2,"AvgBitRate":3,"MinBitRate":4,)" + tail1 +
                 R"("LegacyVCID":-5,"Preset":"p"})",
             2);
    const std::string head2 =
        R"({"rasterSize":{"width":1920,"height":1080},"progressive":true,"chromaSampling":"422",)"
        R"("bitsPerComponent":10,"colorSpace":"x","frameRate":{"numerator":25,"denominator":1},)";
    const std::string tail2 = R"("compressionFamily":"f","encodingName":"e","compressed":false,)";
    const std::string version2 =
        Page(head2 + tail2 + R"("preset":"\"\\/\u0001\n\u0000ä"},)" + head2 +
                 R"("maxGOPLength":1,"maxBitRate":2,"avgBitRate":3,"minBitRate":4,)" + tail2 +
                 R"("legacyVCID":-5,"preset":"p"})",
             2);
    const Row rows[] = {{"", version1},
                        {R"(,"version":1)", version1},
                        {R"(,"version":"2")", version1},
                        {R"(,"version":2)", version2},
                        {R"(,"version":3)", "TEXT "},
                        {R"(,"version":-1)", "TEXT "}};
    for (const auto& [version, expected] : rows) {
        StoreVideo(VideoData(R"(\"\\\/\u0001\u000A\u0000ä)"));
        StoreVideo(VideoData("p", kAllOptionals));
        EXPECT_EQ(Answer(video, R"({"queryID":"q")" + version + "}"), expected) << version;
        EXPECT_EQ(CountStored(), 0U) << version;
        EXPECT_EQ(Answer(video, R"({"queryID":"q"})"), R"(OK {"status":"FAILED"})");
    }
}

TEST_F(FindFormatResults, AudioFormatsComeAllTogetherInEitherVersion) {
    struct Row {
        std::string version;
        std::string expected;
    };
    const Row rows[] = {
        {"1", R"(TEXT {"FormatsList":[{"FileFormat":"g","SampleRate":48000,"BitsPerSample":24},)"
              R"({"FileFormat":"g","SampleRate":48000,"BitsPerSample":24}],"FoundFormats":2})"},
        {"2", R"(TEXT {"FormatsList":[{"fileFormat":"g","sampleRate":48000,"bitDepth":24},)"
              R"({"fileFormat":"g","sampleRate":48000,"bitDepth":24}],"FoundFormats":2})"},
        {"0", "TEXT "},
    };
    for (const auto& [version, expected] : rows) {
        StoreAudio(R"({"BitsPerSample":24,"SampleRate":48000,"FileFormat":"g"})");
        StoreAudio(R"({"BitsPerSample":24,"SampleRate":48000,"FileFormat":"g"})");
        EXPECT_EQ(Answer(audio, R"({"queryID":"q","version":)" + version + "}"), expected);
        EXPECT_EQ(Answer(audio, R"({"queryID":"q"})"), R"(OK {"status":"FAILED"})");
    }
}

TEST_F(FindFormatResults, ExportTypesAreFoldedByTheirTextAndOrderedByIt) {
    for (const char* data : {R"({"b":1,"a":2})", R"({"z":1.0})", R"({"a":2,"b":1})", R"({"z":1.0})"}) {
        StoreExport(data);
    }
    EXPECT_EQ(Answer(exports, R"({"queryID":"q","version":2})"),
              R"(OK {"ExportTypesList":[{"a":2,"b":1},{"b":1,"a":2},{"z":1.0}],)"
              R"("FoundExportTypes":3,"status":"COMPLETED"})");
    EXPECT_EQ(Answer(exports, R"({"queryID":"q"})"), R"(OK {"status":"FAILED"})");
}

TEST_F(FindFormatResults, PagesOfVideoFormats) {
    struct Row {
        std::string page;
        std::string first;  // behind "TEXT" the preset of the first format of the page
        std::string last;
        std::string tail;
    };
    const Row rows[] = {
        {R"("PageOffset":1,"PageSize":60)", "60", "99", R"("FoundFormats":40,"PageOffset":1,"PageSize":60})"},
        {R"("PageSize":500)", "0", "59", R"("FoundFormats":60,"PageOffset":0,"PageSize":60})"},
        {R"("PageOffset":"1","PageSize":1.0)", "0", "59",
         R"("FoundFormats":60,"PageOffset":0,"PageSize":60})"},
        {R"("PageOffset":3,"PageSize":7)", "21", "27", R"("FoundFormats":7,"PageOffset":3,"PageSize":7})"},
        {R"("PageSize":-1)", "0", "99", R"("FoundFormats":100,"PageOffset":0,"PageSize":-1})"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.page);
        for (int n = 0; n < 100; ++n) {
            StoreVideo(VideoData(std::to_string(n)));
        }
        const std::string answer = Answer(video, R"({"queryID":"q",)" + row.page + "}");
        const std::string preset = R"("Preset":")";
        EXPECT_TRUE(answer.ends_with(preset + row.last + R"("}],)" + row.tail)) << answer;
        const std::size_t first = answer.find(preset) + preset.size();
        EXPECT_EQ(answer.substr(first, answer.find('"', first) - first), row.first);
        EXPECT_EQ(CountStored(), 0U);
    }
    StoreVideo(VideoData("only"));
    EXPECT_EQ(Answer(video, R"({"queryID":"q","PageSize":1,"PageOffset":1})"), Page("", 0, 1, 1));
    StoreVideo(VideoData("only"));
    EXPECT_EQ(Answer(video, R"({"queryID":"q","PageSize":0})"), Page("", 0, 0, 0));
}

TEST_F(FindFormatResults, AFailureComesAfterTheRecordsAreGone) {
    struct Row {
        std::string name;
        std::string data;
        std::string page;
        std::string expected;
    };
    const std::string good = VideoData("p");
    const Row rows[] = {
        {"beyond", good, R"(,"PageOffset":7)", "PageOffset: 7 for PageSize: 60 exceeds FoundFormats: 1"},
        {"beyond, cut size", good, R"(,"PageOffset":-1,"PageSize":61)",
         "PageOffset: -1 for PageSize: 60 exceeds FoundFormats: 1"},
        {"reversed", good, R"(,"PageOffset":-1,"PageSize":-1)", "Exception: vector too long"},
        {"empty data", "", "", "Exception: Failed to extract: Width"},
        {"an array", "[1]", "", "Exception: Failed to extract: Width"},
        {"size is no tree", VideoData("p", R"(,"RasterSize":"big")"), "",
         "Exception: Failed to extract: Width"},
        {"no denominator", VideoData("p", R"(,"FrameRate":{"Numerator":1})"), "",
         "Exception: Failed to extract: Denominator"},
        {"another type", VideoData("p", R"(,"Compressed":"true")"), "",
         "Exception: Failed to extract: Compressed"},
        {"beyond 32 bits", VideoData("p", R"(,"BitsPerComponent":4294967296)"), "",
         "Exception: Failed to extract: BitsPerComponent"},
        {"optional, but null", VideoData("p", R"(,"MaxBitRate":null)"), "",
         "Exception: Failed to extract: MaxBitRate"},
        {"the version does not matter", "", R"(,"version":3)", "Exception: Failed to extract: Width"},
    };
    for (const Row& row : rows) {
        StoreVideo(row.data);
        EXPECT_EQ(Answer(video, R"({"queryID":"q")" + row.page + "}"),
                  "GENERIC_SERVICE_ERROR: " + row.expected + " {}")
            << row.name;
        EXPECT_EQ(CountStored(), 0U) << row.name;
    }
    StoreAudio(R"({"FileFormat":"g","SampleRate":1})");
    EXPECT_EQ(Answer(audio, R"({"queryID":"q"})"),
              "GENERIC_SERVICE_ERROR: Exception: Failed to extract: BitsPerSample {}");
    EXPECT_EQ(CountStored(), 0U);
}

TEST_F(FindFormatResults, ARecordWithoutJsonFailsItsFetchWhereverItStandsAndABadOneOnlyOnItsPage) {
    StoreVideo(VideoData("p"));
    StoreVideo(R"({"Preset":"q"})");
    EXPECT_TRUE(Answer(video, R"({"queryID":"q","PageSize":1})").starts_with("TEXT {"));

    for (PlatformAbstraction::Messaging::ServiceMessageHandler* pHandler :
         std::initializer_list<PlatformAbstraction::Messaging::ServiceMessageHandler*>{&video, &exports}) {
        StoreVideo(VideoData("p"));
        StoreVideo("{broken");
        StoreExport("{broken");
        const std::string answer = Answer(*pHandler, R"({"queryID":"q","PageSize":1,"PageOffset":9})");
        EXPECT_TRUE(answer.starts_with("GENERIC_SERVICE_ERROR: Exception: ")) << answer;
        EXPECT_EQ(answer.find("exceeds"), std::string::npos) << answer;
        EXPECT_EQ(Answer(*pHandler, R"({"queryID":"q"})"), R"(OK {"status":"FAILED"})");
    }
}

TEST_F(FindFormatResults, ARequestWithoutQueryOrAFaultOfTheStoreIsAnswered) {
    StoreVideo(VideoData("p"));
    for (const char* request : {"{}", R"({"queryID":7})", R"({"queryID":null})"}) {
        EXPECT_EQ(Answer(video, request), "GENERIC_SERVICE_ERROR: Exception: Failed to extract: queryID {}");
    }
    EXPECT_EQ(Answer(video, R"({"queryID":"another"})"), R"(OK {"status":"FAILED"})");

    const std::string fault = "GENERIC_SERVICE_ERROR: Exception: The fake store was told to fail {}";
    stores.records->FailReads(true);
    EXPECT_EQ(Answer(video, R"({"queryID":"q"})"), fault);
    stores.records->FailReads(false);
    stores.records->FailDeletes(StoreFault::Throw);
    EXPECT_EQ(Answer(video, R"({"queryID":"q"})"), fault);
    stores.records->FailDeletes(StoreFault::Refuse);
    EXPECT_TRUE(Answer(video, R"({"queryID":"q"})").starts_with("TEXT {")) << "a refusal is not noticed";
    EXPECT_EQ(CountStored(), 1U);
}

}  // namespace
}  // namespace Weftline::Services::Scheduler
