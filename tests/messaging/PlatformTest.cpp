#include "platform/messaging/PlatformIdentifiers.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdlib.h>

#include <algorithm>
#include <functional>
#include <map>
#include <tuple>

#include "base/log/PlatformLog.h"
#include "platform/messaging/BusTransport.h"
#include "platform/messaging/ConfigurationStore.h"

namespace PlatformAbstraction {
namespace {

using namespace std::literals;

using testing::EndsWith;
using testing::HasSubstr;

using Environment = std::map<std::string, std::string>;  // a variable that is not named is unset

void SetEnvironment(const Environment& values) {
    for (const char* const name : {"PUBLIC", "XDG_DATA_HOME", "HOME", "QUILLON_A"}) {
        const auto value = values.find(name);
        value == values.end() ? unsetenv(name) : setenv(name, value->second.c_str(), 1);
    }
}

TEST(PlatformIdentifiers, TheRootPathIsExpanded) {
    const char* const home = getenv("HOME");
    const Environment former{{"HOME", home == nullptr ? "" : home}};
    const std::tuple<const char*, Environment, const char*> rows[] = {
        {"/srv/root", {}, "/srv/root"},
        {"%QUILLON_A%/b", {{"QUILLON_A", "/a"}}, "/a/b"},
        {"x%QUILLON_A%y", {{"QUILLON_A", ""}}, "xy"},
        {"/a/%QUILLON_A%/b", {}, "/a/%QUILLON_A%/b"},
        {"%QUILLON_B%QUILLON_A%", {{"QUILLON_A", "a"}}, "%QUILLON_Ba"},  // its sign opens the next
        {"%QUILLON_A%", {{"QUILLON_A", "%HOME%"}, {"HOME", "/h"}}, "%HOME%"},
        {"100%%/%", {}, "100%%/%"},
        {"%PUBLIC%/M", {{"PUBLIC", "/p"}, {"XDG_DATA_HOME", "/x"}, {"HOME", "/h"}}, "/p/M"},
        {"%PUBLIC%/M", {{"XDG_DATA_HOME", "/x"}, {"HOME", "/h"}}, "/x/M"},
        {"%PUBLIC%/M", {{"XDG_DATA_HOME", ""}, {"HOME", "/h"}}, "/h/.local/share/M"},
        {"%PUBLIC%/M", {}, "/var/lib/M"},
    };
    for (const auto& [setting, environment, root] : rows) {
        SetEnvironment(environment);
        AddConfigData("metadatarootpath", setting);
        EXPECT_EQ(MetadataRootPath(), root) << setting;
    }
    // The root of a request is taken as it is.
    for (const auto& [request, directory] : {std::pair(R"({"rootPath":"%HOME%/../x"})", "%HOME%/../x/key"),
                                             std::pair(R"({"rootPath":""})", "/var/lib/M/key"),
                                             std::pair(R"({"rootPath":1})", "/var/lib/M/key")}) {
        EXPECT_EQ(GetMetadataDir(CoreServices::Parameters::fromJSON(request), "key"), directory);
    }
    SetEnvironment(former);
}

std::string Said(const std::function<void()>& say) {
    testing::internal::CaptureStderr();
    say();
    return testing::internal::GetCapturedStderr();
}

TEST(PlatformLog, SpeaksFromItsLevelOn) {
    const auto speak = [] { Log::Debug("D"), Log::Info("I"), Log::Warning("W"), Log::Error("E"); };
    const std::pair<const char*, std::ptrdiff_t> rows[] = {
        {"debug", 4}, {"trace", 4}, {"info", 3}, {"warning", 2}, {"error", 1}, {"critical", 0}, {"off", 0}};
    for (const auto& [level, numLines] : rows) {
        EXPECT_EQ(Said([&name = level] { Log::SetLevel(name); }), "");
        EXPECT_EQ(std::ranges::count(Said(speak), '\n'), numLines) << level;
    }
    for (const std::string unknown : {"loud", "Error"}) {  // told, and counts as info
        EXPECT_THAT(Said([&] { Log::SetLevel(unknown); }), HasSubstr('"' + unknown + '"'));
        EXPECT_EQ(std::ranges::count(Said(speak), '\n'), 3) << unknown;
    }  // which stays so for the other tests
}

TEST(PlatformLog, ATextIsOneLineWhateverItHolds) {
    EXPECT_THAT(Said([] { Log::Error("a\nb\r\x1b[0m\x7f\t\xc3\xa4\\n"); }),
                EndsWith("Z [error] a\\x0ab\\x0d\\x1b[0m\\x7f\\x09\xc3\xa4\\n\n"));
    EXPECT_EQ(Log::OneLine("\u061c\u200e\u200f\u2028\u2029\u202a\u202e\u2066\u2069"),
              R"(\u061c\u200e\u200f\u2028\u2029\u202a\u202e\u2066\u2069)");
    // Their neighbours, and sequences that are cut short or broken
    for (const std::string_view shown : {"\u061b\u200d\u2010\u2027\u202f\u2065\u206a\u3028\u0628"sv, "\xd8"sv,
                                         "\xe2\x80"sv, "\xe2\x80\xe8"sv, "\xe2\xc0\xa8"sv}) {
        EXPECT_EQ(Log::OneLine(shown), shown);
    }
}

}  // namespace
}  // namespace PlatformAbstraction
