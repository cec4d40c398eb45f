#include "BusSettings.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <fstream>
#include <string>

namespace PlatformAbstraction::Standalone {
namespace {

using std::chrono::milliseconds;
using testing::HasSubstr;
using testing::ThrowsMessage;

const std::string kDigest(64, 'a');

TEST(BusSettings, ReadsEachKeyIntoItsPlace) {
    const BusSettings settings =
        ParseBusSettings(R"({"threads":1,"maxQueuedMessages":2,"rest":{"maxBodyBytes":3,"maxConnections":4,)"
                         R"("requestTimeoutMs":5,"idleTimeoutMs":6,)"
                         R"("allowedOrigins":["https://a.example","http://localhost:8080"]},)"
                         R"("farm":{"enabled":false,"taskMilliseconds":0,"catalogueDirectory":"c"},)"
                         R"("callers":[{"identityId":"i","displayName":"","tokenSha256":")" +
                         kDigest + R"("}]})");
    EXPECT_EQ(settings.bus.threads, 1U);
    EXPECT_EQ(settings.bus.maxQueuedMessages, 2U);
    EXPECT_EQ(settings.rest.maxBodyBytes, 3U);
    EXPECT_EQ(settings.rest.maxConnections, 4U);
    EXPECT_EQ(settings.rest.requestTimeout, milliseconds(5));
    EXPECT_EQ(settings.rest.idleTimeout, milliseconds(6));
    EXPECT_EQ(settings.rest.allowedOrigins.size(), 2U);
    EXPECT_FALSE(settings.farm.enabled);
    EXPECT_EQ(settings.farm.taskTime, milliseconds(0));
    EXPECT_EQ(settings.farm.catalogueDirectory, "c");
    EXPECT_EQ(settings.rest.callers.at(0).identityId, "i");
    EXPECT_EQ(settings.rest.callers.at(0).tokenSha256, Rest::ReadSha256Digest(kDigest));

    const BusSettings defaults = ParseBusSettings(R"({"rest":{"tls":{}},"callers":[]})");
    EXPECT_EQ(defaults.bus.threads, 32U);
    EXPECT_TRUE(defaults.farm.enabled);
}

TEST(BusSettings, NamesTheKeyThatItRefuses) {
    const std::string caller = R"({"tokenSha256":")" + kDigest + R"(","identityId":"i","displayName":"d"})";
    const std::string nameless = R"({"tokenSha256":")" + kDigest + R"(","identityId":"","displayName":"d"})";
    const std::pair<const char*, std::vector<std::string>> rows[] = {
        {"empty", {""}},
        {"array", {"[]"}},
        {"1", {"{"}},
        {"\"thread\"", {R"({"thread":1})"}},
        {"\"Threads\"", {R"({"Threads":1})"}},
        {"\"threads\"",
         {R"({"threads":0})", R"({"threads":"4"})", R"({"threads":4.0})", R"({"threads":null})",
          R"({"threads":99999999999})"}},
        {"\"rest\"", {R"({"rest":1})", R"({"rest":[]})"}},
        {"\"rest.maxBodyBytes\"", {R"({"rest":{"maxBodyBytes":-1}})", R"({"rest.maxBodyBytes":1})"}},
        {"\"rest.threads\"", {R"({"rest":{"threads":1}})"}},
        {"\"rest.idleTimeoutMs\"", {R"({"rest":{"idleTimeoutMs":true}})"}},
        {"\"rest.tls.certificateFile\"", {R"({"rest":{"tls":{"certificateFile":"c.pem"}}})"}},
        {"\"rest.tls.keyFile\"", {R"({"rest":{"tls":{"keyFile":""}}})"}},
        {"\"farm.enabled\"", {R"({"farm":{"enabled":1}})"}},
        {"\"farm.catalogueDirectory\"", {R"({"farm":{"catalogueDirectory":false}})"}},
        {"\"callers\"", {R"({"callers":{}})", R"({"callers":["a"]})"}},
        {"\"callers[0].tokenSha256\"", {R"({"callers":[{}]})"}},
        {"\"callers[1].tokenSha256\"",
         {R"({"callers":[)" + caller + R"(,{"tokenSha256":"ab"}]})",
          R"({"callers":[)" + caller + "," + caller + "]}"}},
        {"\"callers[0].identityId\"", {R"({"callers":[)" + nameless + "]}"}},
        {"\"callers[0].token\"", {R"({"callers":[{"token":"secret"}]})"}},
    };
    for (const auto& [named, texts] : rows) {
        for (const std::string& text : texts) {
            EXPECT_THAT([&] { ParseBusSettings(text); }, ThrowsMessage<BusSettingsError>(HasSubstr(named)))
                << text;
        }
    }
    for (const char* origins :
         {"\"*\"", R"(["*"])", R"(["http"])", R"(["http://a/"])", R"(["http://a\r\nX: y"])", "[1]"}) {
        const std::string text = R"({"rest":{"allowedOrigins":)" + std::string(origins) + "}}";
        EXPECT_THAT([&] { ParseBusSettings(text); },
                    ThrowsMessage<BusSettingsError>(HasSubstr("\"rest.allowedOrigins\"")))
            << origins;
    }
}

TEST(BusSettings, ReadsAFileOrSaysWhichOneItCannot) {
    EXPECT_EQ(ReadBusSettings("").bus.threads, 32U);
    const std::string path = testing::TempDir() + "bus-settings.json";
    std::ofstream(path) << R"({"threads":7})";
    EXPECT_EQ(ReadBusSettings(path).bus.threads, 7U);
    std::ofstream(path) << R"({"threads":[]})";
    for (const std::string& refused : {path, path + ".missing", testing::TempDir()}) {
        EXPECT_THAT([&] { ReadBusSettings(refused); }, ThrowsMessage<BusSettingsError>(HasSubstr(refused)));
    }
    std::remove(path.c_str());
}

}  // namespace
}  // namespace PlatformAbstraction::Standalone
