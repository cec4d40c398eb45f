#include "PlatformLog.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "ConfigurationStore.h"
#include "DeploymentMode.h"

namespace PlatformAbstraction {
namespace {

using testing::EndsWith;
using testing::HasSubstr;

class PlatformLog : public testing::Test {
protected:
    ~PlatformLog() override { Log::SetLevel("info"); }

    static std::string Said(const std::function<void()>& say) {
        testing::internal::CaptureStderr();
        say();
        return testing::internal::GetCapturedStderr();
    }

    /// The first letters of the levels whose lines come out.
    static std::string LevelsThatSpeak() {
        std::string levels;
        levels += Said([] { Log::Debug("x"); }).empty() ? "" : "D";
        levels += Said([] { Log::Info("x"); }).empty() ? "" : "I";
        levels += Said([] { Log::Warning("x"); }).empty() ? "" : "W";
        levels += Said([] { Log::Error("x"); }).empty() ? "" : "E";
        return levels;
    }
};

TEST_F(PlatformLog, SpeaksFromItsLevelOn) {
    const struct {
        const char* level;
        const char* speak;
        const char* report;
    } rows[] = {
        {"debug", "DIWE", ""}, {"info", "IWE", ""},         {"warning", "WE", ""},
        {"error", "E", ""},    {"critical", "", ""},        {"trace", "DIWE", ""},
        {"off", "", ""},       {"loud", "IWE", "\"loud\""}, {"Error", "IWE", "\"Error\""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.level);
        const std::string report = Said([&row] { Log::SetLevel(row.level); });
        EXPECT_THAT(report, HasSubstr(row.report));
        EXPECT_EQ(report.empty(), std::string(row.report).empty());
        EXPECT_EQ(LevelsThatSpeak(), row.speak);
    }
}

TEST_F(PlatformLog, ATextIsOneLineWhateverItHolds) {
    EXPECT_THAT(Said([] { Log::Error("a\nb\r\x1b[0m\x7f\t\xc3\xa4\\n"); }),
                EndsWith("Z [error] a\\x0ab\\x0d\\x1b[0m\\x7f\\x09\xc3\xa4\\n\n"));
}

TEST_F(PlatformLog, TheSettingCountsAsSoonAsTheDeploymentModeIsChosen) {
    AddConfigData("loglevel", "off");
    EXPECT_EQ(Said([] { EXPECT_FALSE(Messaging::InitializeDeploymentMode("nowhere")); }), "");
    AddConfigData("loglevel", "debug");
    EXPECT_THAT(Said([] { Messaging::InitializeDeploymentMode("nowhere"); }), HasSubstr("\"nowhere\""));
    EXPECT_EQ(LevelsThatSpeak(), "DIWE");
    AddConfigData("loglevel", "");
}

}  // namespace
}  // namespace PlatformAbstraction
