#include "handlers/results/FormatResults.h"
#include "tests/results/ResultsFixture.h"

namespace Weftline::Services::Scheduler {
namespace {

using testing::StartsWith;

constexpr char kNothing[] = R"(OK {"status":"FAILED"})";
constexpr char kError[] = "GENERIC_SERVICE_ERROR: ";

class FindFormatResults : public ResultsFixture {
protected:
    void StoreVideo(const std::string& data) { Store("V2_WFVideoFormats", "VideoFormat", data); }
    void StoreAudio(const std::string& data) { Store("V2_WFAudioFormats", "AudioFormat", data); }
    void StoreExport(const std::string& data) { Store("V2_WFExportTypes", "ExportType", data); }
    /// The query with further keys, each with a comma before it.
    static std::string With(const std::string& keys) { return R"({"queryID":"q")" + keys + "}"; }

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

TEST_F(FindFormatResults, FormatsComeOnceInEitherVersionInTheOrderOfTheAnswer) {
    struct Row {
        std::string version;
        std::string video, audio;
    };
    const std::string video1 =
        R"({"RasterSize":{"Width":1920,"Height":1080},"Progressive":true,"ChromaSampling":"422",)"
        R"("BitsPerComponent":10,"ColorSpace":"x","FrameRate":{"Numerator":25,"Denominator":1},)"
        R"("MaxGOPLength":1,"MaxBitRate":2,"AvgBitRate":3,"MinBitRate":4,"CompressionFamily":"f",)"
        R"("EncodingName":"e","Compressed":false,"LegacyVCID":-5,"Preset":"\"\\/\u0001\n\u0000ä"})";
    const std::string video2 =
        R"({"rasterSize":{"width":1920,"height":1080},"progressive":true,"chromaSampling":"422",)"
        R"("bitsPerComponent":10,"colorSpace":"x","frameRate":{"numerator":25,"denominator":1},)"
        R"("maxGOPLength":1,"maxBitRate":2,"avgBitRate":3,"minBitRate":4,"compressionFamily":"f",)"
        R"("encodingName":"e","compressed":false,"legacyVCID":-5,"preset":"\"\\/\u0001\n\u0000ä"})";
    const std::string audio1 = R"({"FileFormat":"g","SampleRate":48000,"BitsPerSample":24})";
    const std::string audio2 = R"({"fileFormat":"g","sampleRate":48000,"bitDepth":24})";
    const auto page = [](const std::string& format) {
        return R"(TEXT {"FormatsList":[)" + format + R"(],"FoundFormats":1,"PageOffset":0,"PageSize":60})";
    };
    const auto list = [](const std::string& format) {
        return R"(TEXT {"FormatsList":[)" + format + "," + format + R"(],"FoundFormats":2})";
    };
    const Row rows[] = {
        {"", page(video1), list(audio1)},
        {R"(,"version":1)", page(video1), list(audio1)},
        {R"(,"version":"2")", page(video1), list(audio1)},
        {R"(,"version":2)", page(video2), list(audio2)},
        {R"(,"version":3)", "TEXT ", "TEXT "},
        {R"(,"version":-1)", "TEXT ", "TEXT "},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.version);
        StoreVideo(
            VideoData(R"(\"\\\/\u0001\u000A\u0000ä)",
                      R"(,"LegacyVCID":-5,"MinBitRate":4,"AvgBitRate":3,"MaxBitRate":2,"MaxGOPLength":1)"));
        EXPECT_EQ(Answer(video, With(row.version)), row.video);
        for (int n = 0; n < 2; ++n) {
            StoreAudio(R"({"BitsPerSample":24,"SampleRate":48000,"FileFormat":"g"})");
        }
        EXPECT_EQ(Answer(audio, With(row.version)), row.audio);
        EXPECT_EQ(CountStored(), 0U);
        EXPECT_EQ(Answer(video, request), kNothing);
        EXPECT_EQ(Answer(audio, request), kNothing);
    }
    StoreVideo(VideoData("p"));
    EXPECT_THAT(Answer(video, request), testing::Not(testing::HasSubstr("Rate\":0")))
        << "optionals stay away";
}

TEST_F(FindFormatResults, ExportTypesAreFoldedByTheirTextAndOrderedByIt) {
    for (const char* data : {R"({"b":1,"a":2})", R"({"z":1.0})", R"({"a":2,"b":1})", R"({"z":1.0})"}) {
        StoreExport(data);
    }
    EXPECT_EQ(Answer(exports, With(R"(,"version":2)")),
              R"(OK {"ExportTypesList":[{"a":2,"b":1},{"b":1,"a":2},{"z":1.0}],)"
              R"("FoundExportTypes":3,"status":"COMPLETED"})");
    EXPECT_EQ(Answer(exports, request), kNothing);
}

TEST_F(FindFormatResults, PagesOfVideoFormats) {
    struct Row {
        std::string page;
        std::string first, last;  ///< presets
        std::string tail;
    };
    const Row rows[] = {
        {R"(,"PageOffset":1,"PageSize":60)", "60", "99", R"(40,"PageOffset":1,"PageSize":60})"},
        {R"(,"PageSize":500)", "0", "59", R"(60,"PageOffset":0,"PageSize":60})"},
        {R"(,"PageOffset":"1","PageSize":1.0)", "0", "59", R"(60,"PageOffset":0,"PageSize":60})"},
        {R"(,"PageOffset":3,"PageSize":7)", "21", "27", R"(7,"PageOffset":3,"PageSize":7})"},
        {R"(,"PageSize":-1)", "0", "99", R"(100,"PageOffset":0,"PageSize":-1})"},
    };
    for (const Row& row : rows) {
        for (int n = 0; n < 100; ++n) {
            StoreVideo(VideoData(std::to_string(n)));
        }
        const std::string answer = Answer(video, With(row.page));
        const std::string preset = R"("Preset":")";
        EXPECT_THAT(answer, testing::EndsWith(preset + row.last + R"("}],"FoundFormats":)" + row.tail));
        EXPECT_THAT(answer.substr(answer.find(preset)), StartsWith(preset + row.first + "\""));
        EXPECT_EQ(CountStored(), 0U);
    }
    StoreVideo(VideoData("only"));
    EXPECT_EQ(Answer(video, With(R"(,"PageSize":1,"PageOffset":1)")),
              R"(TEXT {"FormatsList":[],"FoundFormats":0,"PageOffset":1,"PageSize":1})");
}

TEST_F(FindFormatResults, AFailureComesAfterTheRecordsAreGone) {
    struct Row {
        std::string name;
        std::string data;
        std::string page;
        std::string expected;
    };
    const std::string good = VideoData("p");
    const std::string lacks = "Exception: Failed to extract: ";
    const Row rows[] = {
        {"beyond", good, R"(,"PageOffset":7)", "PageOffset: 7 for PageSize: 60 exceeds FoundFormats: 1"},
        {"beyond, cut size", good, R"(,"PageOffset":-1,"PageSize":61)",
         "PageOffset: -1 for PageSize: 60 exceeds FoundFormats: 1"},
        {"reversed", good, R"(,"PageOffset":-1,"PageSize":-1)", "Exception: vector too long"},
        {"empty data", "", "", lacks + "Width"},
        {"an array", "[1]", "", lacks + "Width"},
        {"size is no tree", VideoData("p", R"(,"RasterSize":"big")"), "", lacks + "Width"},
        {"no denominator", VideoData("p", R"(,"FrameRate":{"Numerator":1})"), "", lacks + "Denominator"},
        {"another type", VideoData("p", R"(,"Compressed":"true")"), "", lacks + "Compressed"},
        {"beyond 32 bits", VideoData("p", R"(,"BitsPerComponent":4294967296)"), "",
         lacks + "BitsPerComponent"},
        {"optional, but null", VideoData("p", R"(,"MaxBitRate":null)"), "", lacks + "MaxBitRate"},
        {"the version does not matter", "", R"(,"version":3)", lacks + "Width"},
    };
    for (const Row& row : rows) {
        StoreVideo(row.data);
        EXPECT_EQ(Answer(video, With(row.page)), kError + row.expected) << row.name;
        EXPECT_EQ(CountStored(), 0U) << row.name;
    }
    StoreAudio(R"({"FileFormat":"g","SampleRate":1})");
    EXPECT_EQ(Answer(audio, request), kError + lacks + "BitsPerSample");
    EXPECT_EQ(CountStored(), 0U);
}

TEST_F(FindFormatResults, ARecordWithoutJsonFailsItsFetchWhereverItStandsAndABadOneOnlyOnItsPage) {
    StoreVideo(VideoData("p"));
    StoreVideo(R"({"Preset":"q"})");
    EXPECT_THAT(Answer(video, With(R"(,"PageSize":1)")), StartsWith("TEXT {"));

    StoreVideo(VideoData("p"));
    StoreVideo("{broken");
    StoreExport("{broken");
    for (PlatformAbstraction::Messaging::ServiceMessageHandler* pHandler :
         std::initializer_list<PlatformAbstraction::Messaging::ServiceMessageHandler*>{&video, &exports}) {
        const std::string answer = Answer(*pHandler, With(R"(,"PageSize":1,"PageOffset":9)"));
        EXPECT_THAT(answer, StartsWith(std::string(kError) + "Exception: "));
        EXPECT_THAT(answer, testing::Not(testing::HasSubstr("exceeds")));
        EXPECT_EQ(Answer(*pHandler, request), kNothing);
    }
}

TEST_F(FindFormatResults, ARequestWithoutQueryOrAFaultOfTheStoreIsAnswered) {
    StoreVideo(VideoData("p"));
    for (const char* without : {"{}", R"({"queryID":7})"}) {
        EXPECT_EQ(Answer(video, without), kError + std::string("Exception: Failed to extract: queryID"));
    }
    EXPECT_EQ(Answer(video, R"({"queryID":"another"})"), kNothing);

    const std::string fault = kError + std::string("Exception: The fake store was told to fail");
    stores.records->readsThrow = true;
    EXPECT_EQ(Answer(video, request), fault);
    stores.records->readsThrow = false;
    stores.records->deleteFault = StoreFault::Throw;
    EXPECT_EQ(Answer(video, request), fault);
    stores.records->deleteFault = StoreFault::Refuse;
    EXPECT_THAT(Answer(video, request), StartsWith("TEXT {")) << "a refusal is not noticed";
    EXPECT_EQ(CountStored(), 1U);
}

}  // namespace
}  // namespace Weftline::Services::Scheduler
