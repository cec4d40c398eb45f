#include "platform/deployment/BusSettings.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <string>

namespace PlatformAbstraction::Deployment {
namespace {

using testing::HasSubstr;
using testing::ThrowsMessage;

const std::string kDigest(64, 'a');

TEST(BusSettings, NamesTheKeyThatItRefuses) {
    const std::string caller = R"({"tokenSha256":")" + kDigest + R"(","identityId":"i","displayName":"d"})";
    const std::string nameless = R"({"tokenSha256":")" + kDigest + R"(","identityId":"","displayName":"d"})";
    const auto origins = [](const std::string& value) {
        return R"({"rest":{"allowedOrigins":)" + value + "}}";
    };
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
        {"\"rest.maxRequestMemoryBytes\"",
         {R"({"rest":{"maxRequestMemoryBytes":1048576}})", R"({"rest":{"maxRequestMemoryBytes":1e300}})",
          R"({"rest":{"maxRequestMemoryBytes":268435456.5}})", R"({"rest":{"maxBodyBytes":67108864}})"}},
        {"\"rest.threads\"", {R"({"rest":{"threads":1}})"}},
        {"\"rest.idleTimeoutMs\"", {R"({"rest":{"idleTimeoutMs":true}})"}},
        {"\"rest.tls.certificateFile\"",
         {R"({"rest":{"tls":{"certificateFile":"c.pem"}}})", R"({"rest":{"tls":{}}})",
          R"({"rest":{"tls":{"certificateFile":"","privateKeyFile":""}}})"}},
        {"\"rest.tls.keyFile\"", {R"({"rest":{"tls":{"keyFile":""}}})"}},
        {"\"rest.allowedOrigins\"",
         {origins("\"*\""), origins(R"(["*"])"), origins(R"(["http"])"), origins(R"(["http://a/"])"),
          origins(R"(["http://a\r\nX: y"])"), origins("[1]")}},
        {"\"farm.enabled\"", {R"({"farm":{"enabled":1}})"}},
        {"\"farm.catalogueDirectory\"", {R"({"farm":{"catalogueDirectory":false}})"}},
        {"\"store.compression\"",
         {R"({"store":{"compression":"gzip"}})", R"({"store":{"compression":true}})"}},
        {"\"store.timeoutMs\"", {R"({"store":{"timeoutMs":10000}})"}},
        {"\"kafka.saslMechanism\"", {R"({"kafka":{"userName":"x"}})"}},
        {"\"kafka.minInSyncReplicas\"", {R"({"kafka":{"minInSyncReplicas":2}})"}},
        {"\"nats.servers\"", {R"({"nats":{"servers":"localhost:4222"}})", R"({"nats":{"servers":[]}})"}},
        {"\"nats.password\"", {R"({"nats":{"password":"secret"}})"}},
        {"\"rest.port\"", {R"({"rest":{"port":65536}})"}},
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
}  // namespace PlatformAbstraction::Deployment
