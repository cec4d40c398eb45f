#include "farm/workers/Catalogue.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>

#include "farm/workers/Catalogues.h"
#include "tests/stores/TempDirectory.h"

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

TEST(Catalogue, AFileOfOnesOwnComesInThePlaceOfTheOneBuiltIn) {
    const TempDirectory directory;
    std::ofstream(directory.File("S3DModes.json")) << R"([{"S3DMode":"Anaglyph"}])";
    const Catalogues catalogues(directory.Path().string());
    EXPECT_EQ(Found(catalogues.s3dModes, "{}", "S3DMode"), " Anaglyph");
    EXPECT_FALSE(catalogues.exportTypes.Find({}).empty());
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
