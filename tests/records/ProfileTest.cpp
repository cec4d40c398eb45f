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
    const std::tuple<const char*, const char*, const char*> rows[] = {
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
    for (const auto& [name, profile, settings] : rows) {
        EXPECT_EQ(FlattenProfileValues(Parameters::fromJSON(profile)).toJSON(), settings) << name;
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

TEST(ProfileEntity, LaysItsSettingsOverTheJobsParameters) {
    const auto profile =
        MakeProfile(R"({"name":"B","type":"Proxy","SkipVideo":{"label":"no","value":false},)"
                    R"("Audio":{"Rate":{"value":48000,"label":"48 kHz"}},"profile":"not a setting"})");
    const Parameters jobParameters =
        Parameters::fromJSON(R"({"profile":"p","SkipVideo":true,"Own":[1.0,{"a":null}],"Gone":null})");

    EXPECT_EQ(profile.MergeProfileIntoParams(jobParameters).toJSON(),
              R"({"profile":"p","SkipVideo":false,"Own":[1.0,{"a":null}],"Audio":{"Rate":48000}})");
    EXPECT_THROW(MakeProfile("{").MergeProfileIntoParams(jobParameters), std::runtime_error);
}

}  // namespace
}  // namespace Weftline::Services::Scheduler
