#include "StructureFields.h"

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
    struct Row {
        const char* text;
        const char* failure;
    };
    constexpr Row kRows[] = {
        {"", "Failed to extract: name"},
        {R"({"name":null})", "Failed to extract: name"},
        {R"({"name":"","offline":"true"})", "Failed to extract: offline"},
        {R"({"name":"","offline":true})", "Failed to extract: Width"},
        {R"({"name":"","offline":true,"size":{"Width":1,"Height":"2"}})", "Failed to extract: Height"},
        {R"({"name":"","offline":true,"size":{"Width":1,"Height":2.0}})", "Failed to extract: Height"},
        {R"({"name":"","offline":true,"size":{"Width":1,"Height":2},"rate":null})",
         "Failed to extract: rate"},
        {R"({"name":"","offline":true,"size":{"Width":1,"Height":2}})", "Failed to extract: tracks"},
        {R"({"name":"","offline":true,"size":{"Width":1,"Height":2},"tracks":{}})",
         "Failed to extract: tracks"},
        {R"({"name":"","offline":true,"size":{"Width":1,"Height":2},"tracks":["a",1]})",
         "Failed to extract: tracks"},
    };
    for (const Row& row : kRows) {
        try {
            ReadStructure<Clip>(Parameters::fromJSON(row.text));
            ADD_FAILURE() << row.text;
        } catch (const std::runtime_error& error) {
            EXPECT_STREQ(error.what(), row.failure) << row.text;
        }
    }
}

}  // namespace
}  // namespace Weftline::DataModel
