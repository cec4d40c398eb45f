#include "handlers/results/FormatResults.h"

#include <limits>
#include <tuple>

#include "handlers/results/QueryResults.h"
#include "handlers/results/ResultPage.h"
#include "tests/support/HandlerFixture.h"

namespace Weftline::Services::Scheduler {
namespace {

using testing::StartsWith;
using TestSupport::StoreFault;

constexpr char kError[] = "GENERIC_SERVICE_ERROR: ";

class FindMessages : public TestSupport::HandlerFixture {
protected:
    void Store(const std::string& collection, const std::string& type, const std::string& data) {
        Record record(type, 1, collection);
        record.recordID = std::to_string(m_nextId++);
        record.recordData = data;
        record.recordPublicData = request;
        ASSERT_TRUE(stores.records->UpsertOne(record));
    }
    void StoreVideo(const std::string& data) { Store("V2_WFVideoFormats", "VideoFormat", data); }
    void StoreAudio(const std::string& data) { Store("V2_WFAudioFormats", "AudioFormat", data); }
    std::size_t CountStored() const { return stores.records->Records().size(); }
    /// The query with further keys, each with a comma before it.
    static std::string With(const std::string& keys) { return R"({"queryID":"q")" + keys + "}"; }

    const std::string request = R"({"queryID":"q"})";
    FindVideoFormatsHandler video{"realm"};
    FindAudioFormatsHandler audio{"realm"};
    FindExportTypesHandler exports{"realm"};

private:
    int m_nextId = 0;
};

/// A stored format; `optional` are further members, each with a comma before it.
std::string VideoData(const std::string& preset, const std::string& optional = "") {
    // In another order than that of the answer, with a key that nobody knows.
    return R"({"Preset":")" + preset + R"(","FrameRate":{"Denominator":1,"Numerator":25},)" +
           R"("RasterSize":{"Height":1080,"Width":1920},"Progressive":true,"ChromaSampling":"422",)" +
           R"("BitsPerComponent":10,"ColorSpace":"x","CompressionFamily":"f","EncodingName":"e",)" +
           R"("Compressed":false,"Unknown":[1])" + optional + "}";
}

TEST_F(FindMessages, FormatsComeInTheOrderOfTheAnswerAndInNoThirdVersion) {
    const std::string video2 =
        R"({"rasterSize":{"width":1920,"height":1080},"progressive":true,"chromaSampling":"422",)"
        R"("bitsPerComponent":10,"colorSpace":"x","frameRate":{"numerator":25,"denominator":1},)"
        R"("maxGOPLength":1,"maxBitRate":2,"avgBitRate":3,"minBitRate":4,"compressionFamily":"f",)"
        R"("encodingName":"e","compressed":false,"legacyVCID":-5,"preset":"\"\\/\u0001\n\u0000ä"})";
    const std::string list = R"(TEXT {"FormatsList":[)";
    const std::tuple<std::string, std::string, std::string> rows[] = {
        {R"(,"version":"2")", list + R"({"RasterSize":{"Width":1920,)",
         list + R"({"FileFormat":"g","SampleRate":48000,"BitsPerSample":24}],"FoundFormats":1})"},
        {R"(,"version":2,"PageSize":61)",
         list + video2 + R"(],"FoundFormats":1,"PageOffset":0,"PageSize":60})",
         list + R"({"fileFormat":"g","sampleRate":48000,"bitDepth":24}],"FoundFormats":1})"},
        {R"(,"version":3)", "TEXT ", "TEXT "},
    };
    for (const auto& [version, videoAnswer, audioAnswer] : rows) {
        StoreVideo(
            VideoData(R"(\"\\\/\u0001\u000A\u0000ä)",
                      R"(,"LegacyVCID":-5,"MinBitRate":4,"AvgBitRate":3,"MaxBitRate":2,"MaxGOPLength":1)"));
        EXPECT_THAT(Answer(video, With(version)), StartsWith(videoAnswer)) << version;
        StoreAudio(R"({"BitsPerSample":24,"SampleRate":48000,"FileFormat":"g"})");
        EXPECT_EQ(Answer(audio, With(version)), audioAnswer) << version;
        EXPECT_EQ(CountStored(), 0U);
    }
}

TEST_F(FindMessages, AFailureComesAfterTheRecordsAreGone) {
    const std::string good = VideoData("p");
    const std::string lacks = "Exception: Failed to extract: ";
    const std::tuple<const char*, std::string, std::string, std::string> rows[] = {
        {"beyond", good, R"(,"PageOffset":7)", "PageOffset: 7 for PageSize: 60 exceeds FoundFormats: 1"},
        {"reversed", good, R"(,"PageOffset":-1,"PageSize":-1)", "Exception: vector too long"},
        {"empty data", "", R"(,"version":3)", lacks + "Width"},
        {"size is no tree", VideoData("p", R"(,"RasterSize":"big")"), "", lacks + "Width"},
        {"beyond 32 bits", VideoData("p", R"(,"BitsPerComponent":4294967296)"), "",
         lacks + "BitsPerComponent"},
        {"optional, but null", VideoData("p", R"(,"MaxBitRate":null)"), "", lacks + "MaxBitRate"},
        {"no JSON, also beyond", "x", R"(,"PageOffset":7)",
         "Exception: JSON: byte 0: an object or an array was expected"},
    };
    for (const auto& [name, data, page, expected] : rows) {
        StoreVideo(data);
        EXPECT_EQ(Answer(video, With(page)), kError + expected) << name;
        EXPECT_EQ(CountStored(), 0U) << name;
    }
    StoreAudio(R"({"FileFormat":"g","SampleRate":1})");
    EXPECT_EQ(Answer(audio, request), kError + lacks + "BitsPerSample");
    Store("V2_WFExportTypes", "ExportType", "{broken");
    EXPECT_THAT(Answer(exports, request), StartsWith(kError + std::string("Exception: JSON: ")));
    EXPECT_EQ(CountStored(), 0U);

    StoreVideo(VideoData("p"));
    StoreVideo(R"({"Preset":"q"})");
    EXPECT_THAT(Answer(video, With(R"(,"PageSize":1)")), StartsWith("TEXT {")) << "a bad one behind the page";
}

TEST_F(FindMessages, AFaultOfTheStoreIsAnswered) {
    StoreVideo(VideoData("p"));
    stores.records->deleteFault = StoreFault::Throw;
    EXPECT_EQ(Answer(video, request), kError + std::string("Exception: The fake store was told to fail"));
}

TEST_F(FindMessages, QueryResultsComeOnceAsTheyAreStoredAndAFailureLeavesThem) {
    const std::string none = R"(OK {"masterMobDescs":[]})";
    const std::string all = R"(OK {"masterMobDescs":[{"z":1.0,"any":{"k":[null]}},{},["a"]]})";
    FindSuitableMastersHandler handler;
    for (const char* data : {R"({"z":1.0,"any":{"k":[null]}})", "", R"(["a"])"}) {
        Store("V2_WFMasterMobDescs", "MasterMobDesc", data);
    }
    EXPECT_EQ(Answer(handler, R"({"queryID":1})"), "thrown Failed to extract: queryID");
    EXPECT_EQ(Answer(handler, R"({"queryID":"another"})"), none);
    stores.records->deleteFault = StoreFault::Throw;
    EXPECT_EQ(Answer(handler, request), "thrown The fake store was told to fail");
    stores.records->deleteFault = StoreFault::Refuse;
    EXPECT_EQ(Answer(handler, request), all);
    EXPECT_EQ(CountStored(), 3U);
    stores.records->deleteFault = StoreFault::None;
    EXPECT_EQ(Answer(handler, request), all);
    EXPECT_EQ(Answer(handler, request), none);
}

TEST(ResultPage, IsWorkedOutInThirtyTwoBitsThatWrap) {
    constexpr std::int32_t kMin = std::numeric_limits<std::int32_t>::min();
    constexpr std::int32_t kMax = std::numeric_limits<std::int32_t>::max();
    const std::tuple<const char*, std::int32_t, std::int32_t, std::size_t, std::string> rows[] = {
        {"last, shorter", 60, 1, 100, "60 to 100"},
        {"begins where the list ends", 60, 1, 60, "60 to 60"},
        {"size 0", 0, 7, 100, "0 to 0"},
        {"negative size runs to the end", -1, 0, 100, "0 to 100"},
        {"the product wraps to 8", 12, 357913942, 100, "8 to 20"},
        {"the product wraps to a negative number", 60, kMax, 100, "beyond"},
        {"the smallest numbers", kMin, kMin, 100, "0 to 100"},
        {"the sum wraps", 60, 35791394, std::size_t{kMax}, "2147483640 to 2147483647"},
    };
    for (const auto& [name, size, offset, total, expected] : rows) {
        const ResultPage page = FindResultPage(size, offset, total);
        const std::string range = std::to_string(page.begin) + " to " + std::to_string(page.end);
        EXPECT_EQ(page.begin > total ? "beyond" : range, expected) << name;
    }
}

}  // namespace
}  // namespace Weftline::Services::Scheduler
