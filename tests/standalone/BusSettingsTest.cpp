#include "BusSettings.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <fstream>
#include <string>

namespace PlatformAbstraction::Standalone {
namespace {

using std::chrono::milliseconds;

const std::string kDigest(64, 'a');

std::string RefusalOf(const std::string& json) {
    try {
        ParseBusSettings(json);
        return "";
    } catch (const BusSettingsError& error) {
        return error.what();
    }
}

TEST(BusSettings, KeepsDefaultsForWhatIsNotNamed) {
    const BusSettings settings = ParseBusSettings(R"({"rest":{"tls":{}},"callers":[]})");
    EXPECT_EQ(settings.bus.threads, 32U);
    EXPECT_EQ(settings.bus.maxQueuedMessages, 4096U);
    EXPECT_EQ(settings.rest.maxBodyBytes, 4194304U);
    EXPECT_EQ(settings.rest.maxConnections, 4096U);
    EXPECT_EQ(settings.rest.requestTimeout, milliseconds(10000));
    EXPECT_EQ(settings.rest.idleTimeout, milliseconds(60000));
    EXPECT_TRUE(settings.rest.allowedOrigins.empty());
    EXPECT_TRUE(settings.rest.callers.empty());
    EXPECT_TRUE(settings.farm.enabled);
    EXPECT_EQ(settings.farm.taskTime, milliseconds(200));
    EXPECT_EQ(settings.farm.catalogueDirectory, "");
}

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
    ASSERT_EQ(settings.rest.callers.size(), 1U);
    EXPECT_EQ(settings.rest.callers.front().identityId, "i");
    EXPECT_EQ(settings.rest.callers.front().tokenSha256, Rest::ReadSha256Digest(kDigest));
}

TEST(BusSettings, NamesTheKeyThatItRefuses) {
    const std::string caller = R"({"tokenSha256":")" + kDigest + R"(","identityId":"i","displayName":"d"})";
    const struct {
        std::string json;
        const char* named;
    } rows[] = {
        {"", "empty"},
        {"[]", "array"},
        {"{", "1"},
        {R"({"thread":1})", "\"thread\""},
        {R"({"Threads":1})", "\"Threads\""},
        {R"({"threads":0})", "\"threads\""},
        {R"({"threads":"4"})", "\"threads\""},
        {R"({"threads":4.0})", "\"threads\""},
        {R"({"threads":null})", "\"threads\""},
        {R"({"threads":99999999999})", "\"threads\""},
        {R"({"rest":1})", "\"rest\""},
        {R"({"rest":[]})", "\"rest\""},
        {R"({"rest":{"maxBodyBytes":-1}})", "\"rest.maxBodyBytes\""},
        {R"({"rest.maxBodyBytes":1})", "\"rest.maxBodyBytes\""},
        {R"({"rest":{"threads":1}})", "\"rest.threads\""},
        {R"({"rest":{"idleTimeoutMs":true}})", "\"rest.idleTimeoutMs\""},
        {R"({"rest":{"allowedOrigins":"*"}})", "\"rest.allowedOrigins\""},
        {R"({"rest":{"allowedOrigins":["*"]}})", "\"rest.allowedOrigins\""},
        {R"({"rest":{"allowedOrigins":["http"]}})", "\"rest.allowedOrigins\""},
        {R"({"rest":{"allowedOrigins":["http://a/"]}})", "\"rest.allowedOrigins\""},
        {R"({"rest":{"allowedOrigins":["http://a\r\nX: y"]}})", "\"rest.allowedOrigins\""},
        {R"({"rest":{"allowedOrigins":[1]}})", "\"rest.allowedOrigins\""},
        {R"({"rest":{"tls":{"certificateFile":"c.pem"}}})", "\"rest.tls.certificateFile\""},
        {R"({"rest":{"tls":{"keyFile":""}}})", "\"rest.tls.keyFile\""},
        {R"({"farm":{"enabled":1}})", "\"farm.enabled\""},
        {R"({"farm":{"catalogueDirectory":false}})", "\"farm.catalogueDirectory\""},
        {R"({"callers":{}})", "\"callers\""},
        {R"({"callers":["a"]})", "\"callers\""},
        {R"({"callers":[{}]})", "\"callers[0].tokenSha256\""},
        {R"({"callers":[)" + caller + R"(,{"tokenSha256":"ab"}]})", "\"callers[1].tokenSha256\""},
        {R"({"callers":[)" + caller + "," + caller + "]}", "\"callers[1].tokenSha256\""},
        {R"({"callers":[{"tokenSha256":")" + kDigest + R"(","identityId":"","displayName":"d"}]})",
         "\"callers[0].identityId\""},
        {R"({"callers":[{"token":"secret"}]})", "\"callers[0].token\""},
    };
    for (const auto& row : rows) {
        EXPECT_NE(RefusalOf(row.json).find(row.named), std::string::npos)
            << row.json << ": " << RefusalOf(row.json);
    }
}

TEST(BusSettings, ReadsAFileOrSaysWhichOneItCannot) {
    EXPECT_EQ(ReadBusSettings("").bus.threads, 32U);
    const std::string path = testing::TempDir() + "bus-settings.json";
    std::ofstream(path) << R"({"threads":7})";
    EXPECT_EQ(ReadBusSettings(path).bus.threads, 7U);
    std::ofstream(path) << R"({"threads":[]})";
    for (const std::string& refused : {path, path + ".missing", testing::TempDir()}) {
        try {
            ReadBusSettings(refused);
            ADD_FAILURE() << refused;
        } catch (const BusSettingsError& error) {
            EXPECT_NE(std::string(error.what()).find(refused), std::string::npos) << error.what();
        }
    }
    std::remove(path.c_str());
}

}  // namespace
}  // namespace PlatformAbstraction::Standalone
