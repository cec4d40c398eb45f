#include "Core/src/StructureFields.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

namespace Weftline::DataModel {
namespace {

using CoreServices::Parameters;

struct Size {
    std::int32_t width = 0;
    std::int32_t height = 0;
};

struct Clip {
    std::string name;
    bool offline = false;
    Size size;
    std::optional<std::int32_t> rate;
    std::optional<Size> crop;
    std::vector<std::string> tracks;
};

}  // namespace

template <>
struct StructureFields<Size> {
    static constexpr FieldList kFields{
        Field{"Width", &Size::width},
        Field{"Height", &Size::height},
    };
};

template <>
struct StructureFields<Clip> {
    static constexpr FieldList kFields{
        Field{"name", &Clip::name}, Field{"offline", &Clip::offline}, Field{"size", &Clip::size},
        Field{"rate", &Clip::rate}, Field{"crop", &Clip::crop},       Field{"tracks", &Clip::tracks},
    };
};

namespace {

TEST(StructureFields, WritesInOrderAndReadsBack) {
    constexpr const char* kTexts[] = {
        R"({"name":"","offline":false,"size":{"Width":0,"Height":0},"tracks":[]})",
        R"({"name":"n","offline":true,"size":{"Width":1,"Height":-2},"rate":25,)"
        R"("crop":{"Width":3,"Height":4},"tracks":["v1","a1"]})",
    };
    EXPECT_EQ(WriteStructure(Clip{}).toJSON(), kTexts[0]);
    for (const char* text : kTexts) {
        EXPECT_EQ(WriteStructure(ReadStructure<Clip>(Parameters::fromJSON(text))).toJSON(), text);
    }
}

TEST(StructureFields, NamesTheFirstKeyThatCannotBeRead) {
    const std::string size = R"({"name":"","offline":true,"size":{"Width":1,"Height":2})";
    const std::pair<std::string, const char*> rows[] = {
        {"", "name"},
        {R"({"name":null})", "name"},
        {R"({"name":"","offline":"true"})", "offline"},
        {R"({"name":"","offline":true})", "Width"},
        {R"({"name":"","offline":true,"size":{"Width":1,"Height":"2"}})", "Height"},
        {R"({"name":"","offline":true,"size":{"Width":1,"Height":2.0}})", "Height"},
        {size + R"(,"rate":null})", "rate"},
        {size + "}", "tracks"},
        {size + R"(,"tracks":{}})", "tracks"},
        {size + R"(,"tracks":["a",1]})", "tracks"},
    };
    for (const auto& [text, key] : rows) {
        EXPECT_THAT([&json = text] { ReadStructure<Clip>(Parameters::fromJSON(json)); },
                    testing::ThrowsMessage<std::runtime_error>("Failed to extract: " + std::string(key)));
    }
}

}  // namespace
}  // namespace Weftline::DataModel
