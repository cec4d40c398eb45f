#include "platform/deployment/BusSettings.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <fstream>
#include <iterator>
#include <optional>
#include <utility>
#include <vector>

#include "platform/deployment/SettingsReader.h"
#include "platform/rest/RequestHead.h"

namespace PlatformAbstraction::Deployment {

namespace {

using CoreServices::Parameters;
using std::chrono::milliseconds;

constexpr std::int32_t kMostThreads = 1024;
constexpr std::int32_t kMostQueuedMessages = 1'000'000;
constexpr std::int32_t kMostBodyBytes = 1 << 30;
constexpr double kMostRequestMemory = 1099511627776;  // a TiB
constexpr std::int32_t kMostConnections = 1'000'000;
constexpr std::int32_t kLongestTimeout = 3'600'000;
constexpr std::int32_t kMostPort = 65535;
constexpr std::int32_t kMostReplicas = 32767;  // what Kafka's protocol has room for

// Below the ten seconds that callers wait for an answer, with what a request does beside its longest wait.
constexpr std::int32_t kShortestStoreTimeout = 100;
constexpr std::int32_t kLongestStoreTimeout = 9000;

/// What one object of `callers` has named so far.
struct CallerEntry {
    std::optional<Rest::Sha256Digest> tokenSha256;
    std::string identityId;
    std::string displayName;
};

constexpr std::array<Setting<CallerEntry>, 3> kCallerTable{{
    {"tokenSha256",
     [](const SettingValue& value, CallerEntry& entry) {
         entry.tokenSha256 = Rest::ReadSha256Digest(value.Text());
         if (!entry.tokenSha256) {
             value.Refuse("64 hexadecimal digits");
         }
     }},
    {"identityId",
     [](const SettingValue& value, CallerEntry& entry) {
         entry.identityId = value.Text();
         if (entry.identityId.empty()) {
             value.Refuse("a text that is not empty");
         }
     }},
    {"displayName", [](const SettingValue& value, CallerEntry& entry) { entry.displayName = value.Text(); }},
}};

Rest::Caller ReadCaller(const Parameters& tree, const std::string& place) {
    CallerEntry entry;
    ReadTree<CallerEntry>(kCallerTable, tree, place + ".", "", entry);
    for (const auto& setting : kCallerTable) {
        if (!tree.HasParameter(setting.key)) {
            throw BusSettingsError("The bus setting \"" + place + "." + std::string(setting.key) +
                                   "\" is missing.");
        }
    }
    return Rest::Caller{*entry.tokenSha256, std::move(entry.identityId), std::move(entry.displayName)};
}

void ReadCallers(const SettingValue& value, BusSettings& settings) {
    std::size_t position = 0;
    for (const Parameters& tree : value.Objects()) {
        const std::string place = value.GetFullName() + "[" + std::to_string(position++) + "]";
        Rest::Caller caller = ReadCaller(tree, place);
        const auto isSame = [&caller](const Rest::Caller& other) {
            return other.tokenSha256 == caller.tokenSha256;
        };
        if (std::any_of(settings.rest.callers.begin(), settings.rest.callers.end(), isSame)) {
            throw BusSettingsError("The bus setting \"" + place + ".tokenSha256\" is another caller's too.");
        }
        settings.rest.callers.push_back(std::move(caller));
    }
}

// As a browser writes it. It stands in the headers of answers, so nothing else may get in.
bool IsOrigin(const std::string& text) {
    const std::size_t end = text.find("://");
    if (end == std::string::npos) {
        return false;
    }
    const std::string scheme = text.substr(0, end);
    return (scheme == "http" || scheme == "https") &&
           Rest::ReadHostAndPort(std::string_view(text).substr(scheme.size() + 3)).has_value();
}

constexpr std::array<Setting<BusSettings>, 32> kTable{{
    {"threads",
     [](const SettingValue& value, BusSettings& settings) {
         settings.bus.threads = static_cast<std::size_t>(value.Whole(1, kMostThreads));
     }},
    {"maxQueuedMessages",
     [](const SettingValue& value, BusSettings& settings) {
         settings.bus.maxQueuedMessages = static_cast<std::size_t>(value.Whole(1, kMostQueuedMessages));
     }},
    {"rest.maxBodyBytes",
     [](const SettingValue& value, BusSettings& settings) {
         settings.rest.maxBodyBytes = static_cast<std::size_t>(value.Whole(1, kMostBodyBytes));
     }},
    {"rest.maxConnections",
     [](const SettingValue& value, BusSettings& settings) {
         settings.rest.maxConnections = static_cast<std::size_t>(value.Whole(1, kMostConnections));
     }},
    {"rest.maxRequestMemoryBytes",
     [](const SettingValue& value, BusSettings& settings) {
         settings.rest.maxRequestMemoryBytes = value.Bytes(kMostRequestMemory);
     }},
    {"rest.requestTimeoutMs",
     [](const SettingValue& value, BusSettings& settings) {
         settings.rest.requestTimeout = milliseconds(value.Whole(1, kLongestTimeout));
     }},
    {"rest.idleTimeoutMs",
     [](const SettingValue& value, BusSettings& settings) {
         settings.rest.idleTimeout = milliseconds(value.Whole(1, kLongestTimeout));
     }},
    {"rest.allowedOrigins",
     [](const SettingValue& value, BusSettings& settings) {
         settings.rest.allowedOrigins = value.Texts();
         if (!std::all_of(settings.rest.allowedOrigins.begin(), settings.rest.allowedOrigins.end(),
                          IsOrigin)) {
             value.Refuse("an array of origins such as \"https://example.org\"");
         }
     }},
    {"rest.tls.certificateFile",
     [](const SettingValue& value, BusSettings& settings) {
         settings.rest.tls.certificateFile = value.Text();
     }},
    {"rest.tls.privateKeyFile",
     [](const SettingValue& value, BusSettings& settings) {
         settings.rest.tls.privateKeyFile = value.Text();
     }},
    {"rest.behindProxy",
     [](const SettingValue& value, BusSettings& settings) { settings.rest.behindProxy = value.Flag(); }},
    {"callers", ReadCallers},
    {"farm.enabled",
     [](const SettingValue& value, BusSettings& settings) { settings.farm.enabled = value.Flag(); }},
    {"farm.taskMilliseconds",
     [](const SettingValue& value, BusSettings& settings) {
         settings.farm.taskTime = milliseconds(value.Whole(0, kLongestTimeout));
     }},
    {"farm.catalogueDirectory",
     [](const SettingValue& value, BusSettings& settings) {
         settings.farm.catalogueDirectory = value.Text();
     }},
    {"store.compression",
     [](const SettingValue& value, BusSettings& settings) {
         settings.store.compression = value.Text();
         if (settings.store.compression != "zstd" && settings.store.compression != "none") {
             value.Refuse("\"zstd\" or \"none\"");
         }
     }},
    {"store.timeoutMs",
     [](const SettingValue& value, BusSettings& settings) {
         settings.store.timeout = milliseconds(value.Whole(kShortestStoreTimeout, kLongestStoreTimeout));
     }},
    {"kafka.tls",
     [](const SettingValue& value, BusSettings& settings) { settings.kafka.tls = value.Flag(); }},
    {"kafka.authorityFile",
     [](const SettingValue& value, BusSettings& settings) { settings.kafka.authorityFile = value.Text(); }},
    {"kafka.saslMechanism",
     [](const SettingValue& value, BusSettings& settings) { settings.kafka.saslMechanism = value.Text(); }},
    {"kafka.userName",
     [](const SettingValue& value, BusSettings& settings) { settings.kafka.userName = value.Text(); }},
    {"kafka.passwordFile",
     [](const SettingValue& value, BusSettings& settings) { settings.kafka.passwordFile = value.Text(); }},
    {"kafka.replicas",
     [](const SettingValue& value, BusSettings& settings) {
         settings.kafka.replicas = value.Whole(1, kMostReplicas);
     }},
    {"kafka.minInSyncReplicas",
     [](const SettingValue& value, BusSettings& settings) {
         settings.kafka.minInSyncReplicas = value.Whole(1, kMostReplicas);
     }},
    {"nats.servers",
     [](const SettingValue& value, BusSettings& settings) {
         settings.nats.servers = value.Texts();
         if (settings.nats.servers.empty()) {
             value.Refuse("an array of texts that is not empty");
         }
     }},
    {"nats.credentialsFile",
     [](const SettingValue& value, BusSettings& settings) { settings.nats.credentialsFile = value.Text(); }},
    {"nats.userName",
     [](const SettingValue& value, BusSettings& settings) { settings.nats.userName = value.Text(); }},
    {"nats.passwordFile",
     [](const SettingValue& value, BusSettings& settings) { settings.nats.passwordFile = value.Text(); }},
    {"nats.tls", [](const SettingValue& value, BusSettings& settings) { settings.nats.tls = value.Flag(); }},
    {"nats.authorityFile",
     [](const SettingValue& value, BusSettings& settings) { settings.nats.authorityFile = value.Text(); }},
    {"rest.host",
     [](const SettingValue& value, BusSettings& settings) {
         settings.gateway.host = value.Text();
         if (settings.gateway.host.empty()) {
             value.Refuse("a text that is not empty");
         }
     }},
    {"rest.port",
     [](const SettingValue& value, BusSettings& settings) {
         settings.gateway.port = static_cast<std::uint16_t>(value.Whole(0, kMostPort));
     }},
}};

// Of those that say how many machines are reached, one that the file names.
std::string NameOfManyMachines(const Parameters& tree) {
    const Parameters rest = tree.GetChildParameters("rest");
    return tree.HasParameter("nats")   ? "nats"
           : rest.HasParameter("host") ? "rest.host"
           : rest.HasParameter("port") ? "rest.port"
                                       : "";
}

// Else the largest body would wait for ever.
void CheckRequestMemory(const Rest::RestGatewaySettings& rest) {
    const std::size_t least = Rest::LeastRequestMemory(rest.maxBodyBytes);
    if (rest.maxRequestMemoryBytes < least) {
        throw BusSettingsError("The bus setting \"rest.maxRequestMemoryBytes\" must be " +
                               std::to_string(least) + " at the least where \"rest.maxBodyBytes\" is " +
                               std::to_string(rest.maxBodyBytes) + ", and is " +
                               std::to_string(rest.maxRequestMemoryBytes) + ".");
    }
}

// Empty where the file cannot be read to its end. A directory can be opened; reading it fails.
std::optional<std::string> ReadFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        return std::nullopt;
    }
    try {
        return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
    } catch (const std::ios_base::failure&) {
        return std::nullopt;
    }
}

}  // namespace

BusSettings ParseBusSettings(std::string_view json) {
    if (json.empty()) {
        throw BusSettingsError("It is empty.");
    }
    Parameters tree;
    try {
        tree = Parameters::fromJSON(json);
    } catch (const std::runtime_error& error) {
        throw BusSettingsError(error.what());
    }
    if (tree.IsArray()) {
        throw BusSettingsError("It is an array, not an object.");
    }
    BusSettings settings;
    ReadTree<BusSettings>(kTable, tree, "", "", settings);
    // Serving without the protection that was asked for would be worse than not serving.
    const bool asksForTls = tree.GetChildParameters("rest").HasParameter("tls");
    if (asksForTls &&
        (settings.rest.tls.certificateFile.empty() || settings.rest.tls.privateKeyFile.empty())) {
        throw BusSettingsError(
            "The bus setting \"rest.tls\" wants both files, \"rest.tls.certificateFile\" and "
            "\"rest.tls.privateKeyFile\"; leave it out to serve without TLS.");
    }
    CheckRequestMemory(settings.rest);
    if (settings.kafka.minInSyncReplicas > settings.kafka.replicas) {
        throw BusSettingsError(
            "The bus setting \"kafka.minInSyncReplicas\" must not be above \"kafka.replicas\": no event "
            "would "
            "ever be taken.");
    }
    if (settings.kafka.saslMechanism.empty() &&
        !(settings.kafka.userName.empty() && settings.kafka.passwordFile.empty())) {
        throw BusSettingsError(
            "The bus setting \"kafka.userName\" or \"kafka.passwordFile\" says who this is, and nobody would "
            "ask: "
            "\"kafka.saslMechanism\" is missing.");
    }
    settings.ofManyMachines = NameOfManyMachines(tree);
    return settings;
}

BusSettings ReadBusSettings(const std::string& path) {
    if (path.empty()) {
        return {};
    }
    const auto text = ReadFile(path);
    if (!text) {
        throw BusSettingsError("The file of bus settings \"" + path + "\" cannot be read.");
    }
    try {
        return ParseBusSettings(*text);
    } catch (const BusSettingsError& error) {
        throw BusSettingsError("The file of bus settings \"" + path + "\" is refused. " + error.what());
    }
}

}  // namespace PlatformAbstraction::Deployment
