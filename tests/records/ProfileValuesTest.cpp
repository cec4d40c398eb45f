#include "ProfileValues.h"

#include <gtest/gtest.h>

namespace Weftline::Services::Scheduler {
namespace {

using CoreServices::Parameters;

TEST(CopyParameter, KeepsEveryValueButNull) {
    struct Row {
        const char* name;
        const char* source;
        const char* target;
    };
    constexpr Row kRows[] = {
        {"text", R"({"a":"x"})", R"({"b":"x"})"},
        {"empty text", R"({"a":""})", R"({"b":""})"},
        {"integer", R"({"a":-5})", R"({"b":-5})"},
        {"bool", R"({"a":false})", R"({"b":false})"},
        {"double", R"({"a":1.50})", R"({"b":1.50})"},
        {"integer beyond 32 bits", R"({"a":9007199254740993})", R"({"b":9007199254740993})"},
        {"beyond a double", R"({"a":1e400})", R"({"b":1e400})"},
        {"tree", R"({"a":{"c":null}})", R"({"b":{"c":null}})"},
        {"array", R"({"a":[1,"x",null,[]]})", R"({"b":[1,"x",null,[]]})"},
        {"null", R"({"a":null})", "{}"},
        {"missing", R"({"c":1})", "{}"},
    };
    for (const Row& row : kRows) {
        Parameters target;
        CopyParameter(Parameters::fromJSON(row.source), target, "a", "b");
        EXPECT_EQ(target.toJSON(), row.target) << row.name;
    }
}

TEST(FlattenProfileValues, KeepsTheValuesOfSettingsAlone) {
    struct Row {
        const char* name;
        const char* profile;
        const char* settings;
    };
    constexpr Row kRows[] = {
        {"setting", R"({"a":{"value":5,"label":"Five"}})", R"({"a":5})"},
        {"group", R"({"b":{"c":{"value":"x","label":"X"}}})", R"({"b":{"c":"x"}})"},
        {"deep group", R"({"b":{"c":{"d":{"label":"","value":2.0}}}})", R"({"b":{"c":{"d":2.0}}})"},
        {"tree as value", R"({"a":{"value":{"w":1,"h":{}},"label":"L"}})", R"({"a":{"w":1,"h":{}}})"},
        {"array as value", R"({"a":{"value":[1],"label":"L"}})", R"({"a":[1]})"},
        {"null as value", R"({"a":{"value":null,"label":"L"}})", "{}"},
        {"null as label", R"({"a":{"value":5,"label":null}})", R"({"a":5})"},
        {"plain values", R"({"name":"B","type":"Proxy","d":4,"e":true,"f":null})", "{}"},
        {"array instead of a node", R"({"a":[{"value":5,"label":"Five"}]})", "{}"},
        {"value without label", R"({"a":{"value":5}})", R"({"a":{}})"},
        {"label without value", R"({"a":{"label":"L","c":{"value":1,"label":""}}})", R"({"a":{"c":1}})"},
        {"at the root", R"({"value":{"value":1,"label":""},"label":"L"})", R"({"value":1})"},
        {"nothing", "", "{}"},
    };
    for (const Row& row : kRows) {
        EXPECT_EQ(FlattenProfileValues(Parameters::fromJSON(row.profile)).toJSON(), row.settings) << row.name;
    }
}

}  // namespace
}  // namespace Weftline::Services::Scheduler
