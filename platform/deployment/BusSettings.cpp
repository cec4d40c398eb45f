#include "platform/deployment/BusSettings.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <fstream>
#include <iterator>
#include <optional>
#include <span>
#include <utility>
#include <vector>

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

/// One value of a file of settings together with its full name, such as "rest.maxBodyBytes". Each reader
/// throws `BusSettingsError` that names it where the value is of another type or out of range.
class SettingValue {
public:
    SettingValue(const Parameters& tree, std::string key, std::string fullName)
        : m_tree(tree), m_key(std::move(key)), m_fullName(std::move(fullName)) {}

    const std::string& GetFullName() const { return m_fullName; }

    std::int32_t Whole(std::int32_t least, std::int32_t most) const;
    /// For what may be larger than 32 bits hold.
    std::size_t Bytes(double most) const;
    bool Flag() const;
    std::string Text() const;
    std::vector<std::string> Texts() const;
    Parameters Object() const;
    std::vector<Parameters> Objects() const;

    [[noreturn]] void Refuse(const std::string& expected) const;

private:
    const Parameters& m_tree;
    const std::string m_key;
    const std::string m_fullName;
};

void SettingValue::Refuse(const std::string& expected) const {
    throw BusSettingsError("The bus setting \"" + m_fullName + "\" must be " + expected + ".");
}

std::int32_t SettingValue::Whole(std::int32_t least, std::int32_t most) const {
    std::int32_t value = 0;
    if (!m_tree.GetParameter(m_key, value) || value < least || value > most) {
        Refuse("a whole number from " + std::to_string(least) + " to " + std::to_string(most));
    }
    return value;
}

std::size_t SettingValue::Bytes(double most) const {
    std::int32_t small = 0;
    double value = 0;
    if (m_tree.GetParameter(m_key, small)) {
        value = small;
    } else if (!m_tree.GetParameter(m_key, value)) {
        value = 0;
    }
    if (!(value >= 1 && value <= most) || value != std::floor(value)) {
        Refuse("a whole number of bytes, from 1 to " + std::to_string(static_cast<std::uint64_t>(most)));
    }
    return static_cast<std::size_t>(value);
}

bool SettingValue::Flag() const {
    bool value = false;
    if (!m_tree.GetParameter(m_key, value)) {
        Refuse("true or false");
    }
    return value;
}

std::string SettingValue::Text() const {
    std::string value;
    if (!m_tree.GetParameter(m_key, value)) {
        Refuse("a text");
    }
    return value;
}

std::vector<std::string> SettingValue::Texts() const {
    Parameters array;
    if (!m_tree.GetChildParameters(m_key, array) || !array.IsArray()) {
        Refuse("an array of texts");
    }
    std::vector<std::string> texts(array.GetArrayNumValues());
    for (std::size_t n = 0; n < texts.size(); ++n) {
        if (!m_tree.GetArrayNthValue(m_key, n, texts[n])) {
            Refuse("an array of texts");
        }
    }
    return texts;
}

Parameters SettingValue::Object() const {
    Parameters child;
    if (!m_tree.GetChildParameters(m_key, child) || child.IsArray()) {
        Refuse("an object");
    }
    return child;
}

std::vector<Parameters> SettingValue::Objects() const {
    Parameters array;
    if (!m_tree.GetChildParameters(m_key, array) || !array.IsArray()) {
        Refuse("an array of objects");
    }
    std::vector<Parameters> objects(array.GetArrayNumValues());
    for (std::size_t n = 0; n < objects.size(); ++n) {
        if (!m_tree.GetArrayNthChildParameters(m_key, n, objects[n]) || objects[n].IsArray()) {
            Refuse("an array of objects");
        }
    }
    return objects;
}

/// A key and what reads its value into `Target`. A key with a point in it lies in the object before the
/// point.
template <typename Target>
struct Setting {
    std::string_view key;
    void (*read)(const SettingValue& value, Target& target);
};

// Whether some key of the table lies in the object `name`.
template <typename Target>
bool IsGroup(std::span<const Setting<Target>> table, const std::string& name) {
    return std::any_of(table.begin(), table.end(),
                       [prefix = name + "."](const auto& entry) { return entry.key.starts_with(prefix); });
}

[[noreturn]] void RefuseUnknown(const SettingValue& value) {
    throw BusSettingsError("The bus setting \"" + value.GetFullName() + "\" is unknown.");
}

/// Reads the tree by the table. `place` is shown before the keys, `group` is the object that the tree is.
template <typename Target>
void ReadTree(std::span<const Setting<Target>> table, const Parameters& tree, const std::string& place,
              const std::string& group, Target& target) {
    for (const std::string& key : tree.GetTopLevelParameterNames()) {
        const std::string name = group + key;
        const SettingValue value(tree, key, place + name);
        const auto entry =
            std::find_if(table.begin(), table.end(), [&name](const auto& row) { return row.key == name; });
        if (key.find('.') != std::string::npos) {  // a point separates levels, it is in no key
            RefuseUnknown(value);
        }
        if (entry != table.end()) {
            entry->read(value, target);
        } else if (IsGroup(table, name)) {
            ReadTree(table, value.Object(), place, name + ".", target);
        } else {
            RefuseUnknown(value);
        }
    }
}

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

constexpr std::array<Setting<BusSettings>, 16> kTable{{
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
}};

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
