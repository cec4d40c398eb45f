#include "PlatformIdentifiers.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdlib.h>

#include <map>
#include <set>

#include "ConfigurationStore.h"

namespace PlatformAbstraction {
namespace {

// Each name is a variable of the environment; those without a value are unset.
struct RootRow {
    const char* name;
    const char* setting;
    std::map<std::string, std::string> environment;
    const char* root;
};

class PlatformIdentifiers : public ::testing::Test {
protected:
    void TearDown() override { SetEnvironment({{"HOME", m_home}}); }

    static void SetEnvironment(const std::map<std::string, std::string>& values) {
        for (const char* const name : {"PUBLIC", "XDG_DATA_HOME", "HOME", "QUILLON_A"}) {
            const auto value = values.find(name);
            value == values.end() ? unsetenv(name) : setenv(name, value->second.c_str(), 1);
        }
    }

    const std::string m_home = getenv("HOME") == nullptr ? "" : getenv("HOME");
};

TEST_F(PlatformIdentifiers, TheRootPathIsExpanded) {
    const RootRow rows[] = {
        {"no placeholder", "/srv/root", {}, "/srv/root"},
        {"variable", "%QUILLON_A%/b", {{"QUILLON_A", "/a"}}, "/a/b"},
        {"empty variable", "x%QUILLON_A%y", {{"QUILLON_A", ""}}, "xy"},
        {"unset variable stays", "/a/%QUILLON_A%/b", {}, "/a/%QUILLON_A%/b"},
        {"its sign opens the next", "%QUILLON_B%QUILLON_A%", {{"QUILLON_A", "a"}}, "%QUILLON_Ba"},
        {"values are not expanded again", "%QUILLON_A%", {{"QUILLON_A", "%HOME%"}, {"HOME", "/h"}}, "%HOME%"},
        {"signs without a name", "100%%/%", {}, "100%%/%"},
        {"PUBLIC", "%PUBLIC%/M", {{"PUBLIC", "/p"}, {"XDG_DATA_HOME", "/x"}, {"HOME", "/h"}}, "/p/M"},
        {"PUBLIC from the data home", "%PUBLIC%/M", {{"XDG_DATA_HOME", "/x"}, {"HOME", "/h"}}, "/x/M"},
        {"PUBLIC from the home", "%PUBLIC%/M", {{"XDG_DATA_HOME", ""}, {"HOME", "/h"}}, "/h/.local/share/M"},
        {"PUBLIC from nothing", "%PUBLIC%/M", {}, "/var/lib/M"},
    };
    for (const RootRow& row : rows) {
        SCOPED_TRACE(row.name);
        SetEnvironment(row.environment);
        AddConfigData("metadatarootpath", row.setting);
        EXPECT_EQ(MetadataRootPath(), row.root);
    }
}

TEST_F(PlatformIdentifiers, TheRootOfARequestIsTakenAsItIs) {
    const std::map<std::string, std::string> directoryOf = {
        {R"({})", "/srv/key"},
        {R"({"rootPath":"C:\\temp"})", "C:\\temp/key"},
        {R"({"rootPath":"%HOME%/../x"})", "%HOME%/../x/key"},
        {R"({"rootPath":""})", "/srv/key"},
        {R"({"rootPath":1})", "/srv/key"},
        {R"({"context":{"rootPath":"no"}})", "/srv/key"},
    };
    AddConfigData("metadatarootpath", "/srv");
    for (const auto& [request, directory] : directoryOf) {
        EXPECT_EQ(GetMetadataDir(CoreServices::Parameters::fromJSON(request), "key"), directory) << request;
    }
}

TEST_F(PlatformIdentifiers, GuidsAreNewAndGrowWithTheTime) {
    std::set<std::string> guids;
    std::string last;
    for (int n = 0; n < 1000; ++n) {
        const std::string guid = CreateGuidAsString();
        ASSERT_THAT(guid, testing::MatchesRegex(
                              "[0-9a-f]{8}-[0-9a-f]{4}-7[0-9a-f]{3}-[89ab][0-9a-f]{3}-[0-9a-f]{12}"));
        const std::string time = guid.substr(0, 18);  // the clock may stand still between two, or be set back
        EXPECT_LE(last.substr(0, 8), time.substr(0, 8));
        last = time;
        guids.insert(guid);
    }
    EXPECT_EQ(guids.size(), 1000U);
}

TEST(ConfigurationStore, TheLastValueCountsAndReadersHoldCopies) {
    AddConfigData("port", "1");
    const auto before = GetConfigData();
    AddConfigData("port", "2");
    EXPECT_EQ(before.at("port"), "1");
    EXPECT_EQ(GetConfigValue("port"), "2");
    EXPECT_EQ(GetConfigValue("no such key"), "");
}

}  // namespace
}  // namespace PlatformAbstraction
