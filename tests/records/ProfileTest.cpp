#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include "Core/src/Profile.h"

namespace Weftline::Services::Scheduler {
namespace {

using CoreServices::Parameters;

TEST(FlattenProfileValues, KeepsTheValuesOfSettingsAloneAsTheyAre) {
    const std::pair<const char*, const char*> rows[] = {
        {R"({"text":{"value":"","label":"None"}})", R"({"text":""})"},
        {R"({"large":{"value":9007199254740993,"label":""}})", R"({"large":9007199254740993})"},
        {R"({"yes":{"value":true,"label":5}})", R"({"yes":true})"},
        {R"({"array":{"value":[1,"x",null,{"c":null}],"label":"L"}})",
         R"({"array":[1,"x",null,{"c":null}]})"},
        {R"({"group":{"b":{"c":{"label":null,"value":1.50}}}})", R"({"group":{"b":{"c":1.50}}})"},
        {R"({"tree":{"value":{"w":1,"h":{}},"label":"L"}})", R"({"tree":{"w":1,"h":{}}})"},
        {R"({"nothing":{"value":null,"label":"L"}})", "{}"},
        {R"({"name":"B","d":4,"e":true,"f":null,"nodes":[{"value":5,"label":"Five"}]})", "{}"},
        {R"({"no label":{"value":5}})", R"({"no label":{}})"},
        {R"({"no value":{"label":"L","c":{"value":1,"label":""}}})", R"({"no value":{"c":1}})"},
        {R"({"value":{"value":1,"label":""},"label":"L"})", R"({"value":1})"}};
    for (const auto& [profile, settings] : rows) {
        EXPECT_EQ(FlattenProfileValues(Parameters::fromJSON(profile)).toJSON(), settings);
    }
}

TEST(ProfileEntity, IsOfAProfileWhateverItsTextsAre) {
    Record record("Profile", 1, "V2_WFProfiles-any");
    record.recordID = "p";
    record.recordData = R"({"name":7,"type":"proxy"})";
    EXPECT_EQ(Entities::Profile(nullptr, nullptr, record).ToListEntry().toJSON(),
              R"({"id":"p","name":"","isProxy":false})");
    for (const Record& foreign : {Record("Profile", 2, "V2_WFProfiles"), Record("Job", 1, "V2_WFProfiles")}) {
        EXPECT_THROW(Entities::Profile(nullptr, nullptr, foreign), std::domain_error);
    }
}

}  // namespace
}  // namespace Weftline::Services::Scheduler
