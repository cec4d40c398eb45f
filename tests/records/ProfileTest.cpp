#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include "Core/src/Profile.h"

namespace Weftline::Services::Scheduler {
namespace {

using CoreServices::Parameters;

TEST(CopyParameter, KeepsEveryValueButNull) {
    const auto source =
        Parameters::fromJSON(R"({"text":"","real":1.50,"large":9007199254740993,"huge":1e400,"yes":true,)"
                             R"("array":[1,"x",null,{"c":null}],"null":null})");
    Parameters target;
    for (const char* key : {"huge", "large", "real", "text", "yes", "array", "null", "none"}) {
        CopyParameter(source, target, key, key);
    }
    EXPECT_EQ(target.toJSON(), R"({"huge":1e400,"large":9007199254740993,"real":1.50,"text":"","yes":true,)"
                               R"("array":[1,"x",null,{"c":null}]})");
}

TEST(FlattenProfileValues, KeepsTheValuesOfSettingsAlone) {
    const std::pair<const char*, const char*> rows[] = {
        {R"({"setting":{"value":5,"label":"Five"}})", R"({"setting":5})"},
        {R"({"group":{"b":{"c":{"label":"","value":2.0}}}})", R"({"group":{"b":{"c":2.0}}})"},
        {R"({"tree":{"value":{"w":1,"h":{}},"label":"L"}})", R"({"tree":{"w":1,"h":{}}})"},
        {R"({"nothing":{"value":null,"label":"L"}})", "{}"},
        {R"({"label is null":{"value":5,"label":null}})", R"({"label is null":5})"},
        {R"({"name":"B","d":4,"e":true,"f":null,"nodes":[{"value":5,"label":"Five"}]})", "{}"},
        {R"({"no label":{"value":5}})", R"({"no label":{}})"},
        {R"({"no value":{"label":"L","c":{"value":1,"label":""}}})", R"({"no value":{"c":1}})"},
        {R"({"value":{"value":1,"label":""},"label":"L"})", R"({"value":1})"}};
    for (const auto& [profile, settings] : rows) {
        EXPECT_EQ(FlattenProfileValues(Parameters::fromJSON(profile)).toJSON(), settings);
    }
}

TEST(ProfileEntity, ListsNameAndKindOfThePrivateJson) {
    Record record("Profile", 1, "V2_WFProfiles-any");
    record.recordID = "p";
    const std::pair<const char*, const char*> rows[] = {
        {R"({"type":"Proxy","name":"B"})", R"({"id":"p","name":"B","isProxy":true})"},
        {R"({"name":7,"type":"proxy"})", R"({"id":"p","name":"","isProxy":false})"},
        {"", R"({"id":"p","name":"","isProxy":false})"}};
    for (const auto& [data, entry] : rows) {
        record.recordData = data;
        EXPECT_EQ(Entities::Profile(nullptr, nullptr, record).ToListEntry().toJSON(), entry) << data;
    }
    for (const Record& foreign : {Record("Profile", 2, "V2_WFProfiles"), Record("Job", 1, "V2_WFProfiles")}) {
        EXPECT_THROW(Entities::Profile(nullptr, nullptr, foreign), std::domain_error);
    }
}

}  // namespace
}  // namespace Weftline::Services::Scheduler
