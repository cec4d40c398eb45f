#include "Catalogue.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>

#include "Catalogues.h"
#include "TempDirectory.h"

namespace Quillon::Farm {
namespace {

using CoreServices::Parameters;

/// The values under the key of the entries that were found, each with a blank before it.
std::string Found(const Catalogue& catalogue, const std::string& request, const std::string& key) {
    std::string found;
    for (const Parameters& entry : catalogue.Find(Parameters::fromJSON(request))) {
        std::string value;
        entry.GetParameter(key, value);
        found += " " + value;
    }
    return found;
}

TEST(Catalogue, FindsTheEntriesThatMeetAllCriteria) {
    const Catalogue colorSpaces(CatalogueKinds::kColorSpaces, R"([
        {"Name":"A","BitDepth":"10","MinReference":"64","MaxReference":"940","TransferCharacteristicName":"t",
         "TransferCharacteristicUid":"04010101-0102-0000-060e-2b3404010101","ColorPrimariesName":"p",
         "ColorPrimariesUid":"x"},
        {"Name":"B","BitDepth":"8","MinReference":"16","MaxReference":"235","TransferCharacteristicName":"t",
         "TransferCharacteristicUid":"0401010-10102-0000-060e-2b34040101","ColorPrimariesName":"p",
         "ColorPrimariesUid":"X","More":1}])");
    struct Row {
        std::string name;
        std::string request;
        std::string found;
    };
    const Row rows[] = {
        {"no criteria", "{}", " A B"},
        {"one", R"({"Name":"B"})", " B"},
        {"all must be met", R"({"Name":"B","BitDepth":"10"})", ""},
        {"a number for a text", R"({"BitDepth":10})", " A"},
        {"another text of the number", R"({"BitDepth":10.0})", ""},
        {"case counts", R"({"Name":"a"})", ""},
        {"but not in a GUID", R"({"TransferCharacteristicUid":"{0401010101020000060E2B3404010101}"})", " A"},
        {"nor its 0x",
         R"({"TransferCharacteristicUid":"0x04010101-0x0102-0x0000-0x060e-0x2b34-0x0401-0x0101"})", " A"},
        {"too short for a GUID", R"({"TransferCharacteristicUid":"0401010-10102-0000-060E-2b34040101"})", ""},
        {"null asks for nothing", R"({"Name":null})", " A B"},
        {"no criterion of this catalogue", R"({"jobQueue":"q","More":2,"name":"A"})", " A B"},
        {"a tree", R"({"Name":{"a":"A"}})", ""},
        {"an empty text", R"({"Name":""})", ""},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(Found(colorSpaces, row.request, "Name"), row.found) << row.name;
    }
}

TEST(Catalogue, TheDocumentedQueriesHaveAnswersBuiltIn) {
    const Catalogues builtIn{""};
    struct Row {
        std::string name;
        const Catalogue& catalogue;
        std::string request;
        std::string key;
        std::string found;
    };
    const Row rows[] = {
        {"video by parameters", builtIn.videoFormats,
         R"({"RasterWidth":1280,"RasterHeight":720,
             "ColorSpace":"0xdab8b683-0x8476-0x4478-0x8f6e-0x2da6-0xf50d-0xe395","RateNumerator":60000,
             "RateDenominator":1001,"Progressive":true,"CompressionFamily":"Ravex HQX",
             "EncodingName":"Ravex HQX","Preset":"ravex/hr/1271/422"})",
         "EncodingName", " Ravex HQX"},
        {"video by id", builtIn.videoFormats, R"({"LegacyVCID":1242})", "EncodingName", " Ravex SQ"},
        {"video by encoding", builtIn.videoFormats,
         R"({"TarvaleCompression":"XAVC UHD Intra CBG Class 300 59.94"})", "Preset",
         " AVC/Intra/4K/300/XAVC/CBG"},
        {"video by family", builtIn.videoFormats, R"({"TarvaleCompression":"AVC Long GOP 25"})", "Preset",
         " AVC/Panasonic/G25"},
        {"audio by parameters", builtIn.audioFormats,
         R"({"FileFormat":"FA6C0B28-ACEF-4196-A1A5-B1BF3C3BDC60","SampleRate":48000,"BitsPerSample":24})",
         "TarvaleCompression", " Uncompressed PCM 24 bit"},
        {"audio by compression", builtIn.audioFormats,
         R"({"TarvaleCompression":"Uncompressed PCM 24 bit","SampleRate":96000})", "FileFormat",
         " FA6C0B28-ACEF-4196-A1A5-B1BF3C3BDC60 A7F8178D-8C20-42F0-8917-566140CEF05D"},
        {"export type by name", builtIn.exportTypes, R"({"name":"MXF OP1a"})", "type", " LXA"},
        {"export type by GUID", builtIn.exportTypes, R"({"GUID":"D49F75BA-4965-4CFA-9D11-CD87206287E0"})",
         "name", " MXF OP1a"},
        {"colour space", builtIn.colorSpaces,
         R"({"Name":"Rec.709 [video levels]","BitDepth":"10","MinReference":"64","MaxReference":"940",
             "TransferCharacteristicName":"Rec.709",
             "TransferCharacteristicUid":"04010101-0102-0000-060e-2b3404010101",
             "ColorPrimariesName":"Rec.709","ColorPrimariesUid":"04010101-0303-0000-060e-2b3404010106"})",
         "Name", " Rec.709 [video levels]"},
        {"stereoscopic mode", builtIn.s3dModes, R"({"S3DMode":"Monoscopic"})", "S3DMode", " Monoscopic"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(Found(row.catalogue, row.request, row.key), row.found) << row.name;
    }
    EXPECT_GT(builtIn.mediaCreationTypes.Find({}).size(), 1U);
    EXPECT_GT(builtIn.exportTypes.Find(Parameters::fromJSON(R"({"type":"LXA"})")).size(), 1U);
}

TEST(Catalogue, AFileOfOnesOwnComesInThePlaceOfTheOneBuiltIn) {
    const TempDirectory directory;
    std::ofstream(directory.File("S3DModes.json")) << R"([{"S3DMode":"Anaglyph"}])";
    const Catalogues catalogues(directory.Path().string());
    EXPECT_EQ(Found(catalogues.s3dModes, "{}", "S3DMode"), " Anaglyph");
    EXPECT_EQ(Found(catalogues.exportTypes, R"({"name":"MXF OP1a"})", "name"), " MXF OP1a");
}

TEST(Catalogue, AFileThatCannotBeUsedIsNamedWithWhatIsWrong) {
    struct Row {
        std::string name;
        std::string text;
        std::string reason;
    };
    const Row rows[] = {
        {"no JSON", "[{", "byte 2"},
        {"no array", "{}", "It is no array of objects."},
        {"no object", R"([{"FileFormat":"x","SampleRate":1,"BitsPerSample":2},3])",
         R"(In the entry 1, "FileFormat" must be a text.)"},
        {"another type", R"([{"FileFormat":"x","SampleRate":"1","BitsPerSample":2}])",
         R"(In the entry 0, "SampleRate" must be a whole number.)"},
        {"optional, of another type",
         R"([{"FileFormat":"x","SampleRate":1,"BitsPerSample":2,"TarvaleCompression":1}])",
         R"("TarvaleCompression" must be a text.)"},
    };
    for (const Row& row : rows) {
        const TempDirectory directory;
        const std::string file = directory.File("AudioFormats.json");
        std::ofstream(file) << row.text;
        try {
            const Catalogues catalogues(directory.Path().string());
            ADD_FAILURE() << row.name;
        } catch (const std::runtime_error& refused) {
            const std::string text = refused.what();
            EXPECT_TRUE(text.starts_with("The catalogue \"" + file + "\" is refused. ")) << text;
            EXPECT_NE(text.find(row.reason), std::string::npos) << row.name << ": " << text;
        }
    }
    const TempDirectory directory;
    EXPECT_THROW(Catalogues(directory.File("nowhere")), std::runtime_error);
    std::filesystem::create_directory(directory.File("ColorSpaces.json"));
    EXPECT_THROW(Catalogues(directory.Path().string()), std::runtime_error);
}

}  // namespace
}  // namespace Quillon::Farm
