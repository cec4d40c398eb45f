#include "platform/stores/StoreSettings.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <string_view>

#include "Core/src/Vocabulary.h"
#include "platform/messaging/ConfigurationStore.h"
#include "platform/stores/RecordStore.h"

namespace CommonServices::StoreSettings {

namespace {

namespace Options = Weftline::Options;
using std::chrono::milliseconds;

std::string ValueOf(std::string_view key) {
    return PlatformAbstraction::GetConfigValue(std::string(key));
}

bool IsNumber(const std::string& text, std::int32_t& number) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size();
}

// The file of settings has been checked; without one nothing is there.
std::int32_t NumberOr(std::string_view key, std::int32_t otherwise) {
    std::int32_t number = 0;
    return IsNumber(ValueOf(key), number) ? number : otherwise;
}

milliseconds ReadTimeout() {
    constexpr std::int32_t kUsual = 5000;
    return milliseconds(NumberOr(Options::StoreTimeoutMs, kUsual));
}

std::string ReadKafkaServers() {
    const std::string host = ValueOf(Options::KafkaHost);
    const std::string port = ValueOf(Options::KafkaPort);
    constexpr std::int32_t kMostPort = 65535;
    std::int32_t number = 0;
    if (!IsNumber(port, number) || number < 1 || number > kMostPort) {
        throw ObjectStoreException("kafka-port is a number from 1 to 65535, and not \"" + port + "\"");
    }
    const bool isIpv6 = host.find(':') != std::string::npos;
    return (isIpv6 ? "[" + host + "]" : host) + ":" + port;
}

}  // namespace

Sqlite::Compression ReadCompression() {
    const std::string text = ValueOf(Options::StoreCompression);
    if (!text.empty() && text != "zstd" && text != "none") {
        throw ObjectStoreException("store.compression is \"zstd\" or \"none\", and not \"" + text + "\"");
    }
    return text == "none" ? Sqlite::Compression::None : Sqlite::Compression::Zstd;
}

bool NamesKafka() {
    return !ValueOf(Options::KafkaHost).empty();
}

KafkaSettings ReadKafka() {
    KafkaSettings settings;
    settings.bootstrapServers = ReadKafkaServers();
    settings.tls = ValueOf(Options::KafkaTls) == "true";
    settings.caFile = ValueOf(Options::KafkaAuthorityFile);
    settings.saslMechanism = ValueOf(Options::KafkaSaslMechanism);
    settings.userName = ValueOf(Options::KafkaUserName);
    settings.passwordFile = ValueOf(Options::KafkaPasswordFile);
    settings.replicas = NumberOr(Options::KafkaReplicas, settings.replicas);
    settings.minInSyncReplicas = NumberOr(Options::KafkaMinInSyncReplicas, settings.minInSyncReplicas);
    settings.topics = {std::string(Weftline::Topics::JobEvents)};
    settings.timeout = ReadTimeout();
    return settings;
}

MongoSettings ReadMongo(const std::string& uri, const std::string& database) {
    MongoSettings settings;
    settings.uri = uri;
    settings.database = database;
    settings.timeout = ReadTimeout();
    return settings;
}

milliseconds ReadLongestEventWait() {
    constexpr std::int32_t kUsual = 2000;
    constexpr std::int32_t kShortest = 10;  // less would keep a core busy with reading an idle log
    const std::int32_t wait = NumberOr(Options::EventMaxPollingTimeoutMs, kUsual);
    return milliseconds(wait >= 0 ? std::max(wait, kShortest) : kUsual);
}

}  // namespace CommonServices::StoreSettings
