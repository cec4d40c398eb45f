#include <gmock/gmock.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <string>

#include "farm/workers/Catalogues.h"
#include "tests/stores/TempDirectory.h"

namespace Quillon::Farm {
namespace {

using CoreServices::Parameters;

TEST(Catalogue, FindsTheEntriesThatMeetAllCriteria) {
    const Catalogue formats(CatalogueKinds::kAudioFormats, R"([
        {"FileFormat":"04010101-0102-0000-060e-2b3404010101","SampleRate":10,"BitsPerSample":1,
         "TarvaleCompression":"A"},
        {"FileFormat":"0401010-10102-0000-060e-2b34040101","SampleRate":8,"BitsPerSample":1,
         "TarvaleCompression":"B","More":1}])");
    const std::array<const char*, 2> rows[] = {
        {R"({"TarvaleCompression":"B","SampleRate":10})", ""},
        {R"({"SampleRate":10.0})", ""},
        {R"({"TarvaleCompression":"a"})", ""},
        // Of a GUID neither case counts, nor its form.
        {R"({"FileFormat":"{0401010101020000060E2B3404010101}"})", " A"},
        {R"({"FileFormat":"0x04010101-0x0102-0x0000-0x060e-0x2b34-0x0401-0x0101"})", " A"},
        {R"({"FileFormat":"0401010-10102-0000-060E-2b34040101"})", ""},  // too short
        {R"({"TarvaleCompression":null})", " A B"},
        {R"({"jobQueue":"q","More":2,"name":"A"})", " A B"},  // no criteria of this catalogue
        {R"({"TarvaleCompression":{"a":"A"}})", ""},
    };
    for (const auto& [request, names] : rows) {
        std::string found;
        for (const Parameters& entry : formats.Find(Parameters::fromJSON(request))) {
            std::string name;
            entry.GetParameter("TarvaleCompression", name);
            found += " " + name;
        }
        EXPECT_EQ(found, names) << request;
    }
}

TEST(Catalogue, AFileThatCannotBeUsedIsNamedWithWhatIsWrong) {
    const std::array<const char*, 2> rows[] = {
        {"[{", "byte 2"},
        {"{}", "It is no array of objects."},
        {R"([{"FileFormat":"x","SampleRate":1,"BitsPerSample":2},3])",
         R"(In the entry 1, "FileFormat" must be a text.)"},
        {R"([{"FileFormat":"x","SampleRate":"1","BitsPerSample":2}])",
         R"(In the entry 0, "SampleRate" must be a whole number.)"},
        {R"([{"FileFormat":"x","SampleRate":1,"BitsPerSample":2,"TarvaleCompression":1}])",
         R"("TarvaleCompression" must be a text.)"},
    };
    const TempDirectory directory;
    const std::string file = directory.File("AudioFormats.json");
    for (const auto& [text, reason] : rows) {
        std::ofstream(file) << text;
        EXPECT_THAT([&] { Catalogues(directory.Path().string()); },
                    testing::ThrowsMessage<std::runtime_error>(
                        testing::AllOf(testing::StartsWith("The catalogue \"" + file + "\" is refused. "),
                                       testing::HasSubstr(reason))));
    }
    std::filesystem::remove(file);
    std::filesystem::create_directory(file);
    EXPECT_THROW(Catalogues(directory.Path().string()), std::runtime_error);
}

}  // namespace
}  // namespace Quillon::Farm
