#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <tuple>

#include "Core/src/Profile.h"

namespace Weftline::Services::Scheduler {
namespace {

using CoreServices::Parameters;

TEST(CopyParameter, KeepsEveryValueButNull) {
    const std::pair<const char*, const char*> rows[] = {
        {R"({"a":""})", R"({"b":""})"},
        {R"({"a":1.50})", R"({"b":1.50})"},
        {R"({"a":9007199254740993})", R"({"b":9007199254740993})"},
        {R"({"a":1e400})", R"({"b":1e400})"},
        {R"({"a":[1,"x",null,{"c":null}]})", R"({"b":[1,"x",null,{"c":null}]})"},
        {R"({"a":null})", "{}"},
        {R"({"c":1})", "{}"},
    };
    for (const auto& [source, copied] : rows) {
        Parameters target;
        CopyParameter(Parameters::fromJSON(source), target, "a", "b");
        EXPECT_EQ(target.toJSON(), copied);
    }
}

TEST(FlattenProfileValues, KeepsTheValuesOfSettingsAlone) {
    const std::pair<const char*, const char*> rows[] = {
        {R"({"setting":{"value":5,"label":"Five"}})", R"({"setting":5})"},
        {R"({"group":{"b":{"c":{"label":"","value":2.0}}}})", R"({"group":{"b":{"c":2.0}}})"},
        {R"({"tree":{"value":{"w":1,"h":{}},"label":"L"}})", R"({"tree":{"w":1,"h":{}}})"},
        {R"({"array":{"value":[1],"label":"L"}})", R"({"array":[1]})"},
        {R"({"nothing":{"value":null,"label":"L"}})", "{}"},
        {R"({"label is null":{"value":5,"label":null}})", R"({"label is null":5})"},
        {R"({"name":"B","type":"Proxy","d":4,"e":true,"f":null})", "{}"},
        {R"({"array of nodes":[{"value":5,"label":"Five"}]})", "{}"},
        {R"({"no label":{"value":5}})", R"({"no label":{}})"},
        {R"({"no value":{"label":"L","c":{"value":1,"label":""}}})", R"({"no value":{"c":1}})"},
        {R"({"value":{"value":1,"label":""},"label":"L"})", R"({"value":1})"},
        {"", "{}"},
    };
    for (const auto& [profile, settings] : rows) {
        EXPECT_EQ(FlattenProfileValues(Parameters::fromJSON(profile)).toJSON(), settings);
    }
}

Entities::Profile MakeProfile(const std::string& data, const std::string& type = "Profile", int version = 1) {
    Record record(type, version, "V2_WFProfiles-any");
    record.recordID = "p";
    record.name = "A";
    record.recordData = data;
    return {nullptr, nullptr, record};
}

TEST(ProfileEntity, ListsNameAndKindOfThePrivateJson) {
    const std::pair<const char*, const char*> rows[] = {
        {R"({"type":"Proxy","name":"B"})", R"({"id":"p","name":"B","isProxy":true})"},
        {R"({"name":"B"})", R"({"id":"p","name":"B","isProxy":false})"},
        {R"({"name":7,"type":"proxy"})", R"({"id":"p","name":"","isProxy":false})"},
        {"", R"({"id":"p","name":"","isProxy":false})"},
    };
    for (const auto& [data, entry] : rows) {
        EXPECT_EQ(MakeProfile(data).ToListEntry().toJSON(), entry) << data;
    }
    EXPECT_THROW(MakeProfile("{}", "Profile", 2), std::domain_error);
    EXPECT_THROW(MakeProfile("{}", "Job"), std::domain_error);
}

}  // namespace
}  // namespace Weftline::Services::Scheduler
