#include "platform/messaging/PlatformIdentifiers.h"

#include <boost/uuid/uuid_io.hpp>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string_view>

#include "Core/src/RandomUuid.h"
#include "Core/src/Vocabulary.h"
#include "platform/messaging/ConfigurationStore.h"

namespace PlatformAbstraction {

namespace {

constexpr char kPublicVariable[] = "PUBLIC";

// RFC 9562, version 7: 48 bits of milliseconds since 1970, the version, then 12 bits that here are the
// fraction of the millisecond; the variant and the rest stay random.
void WriteTime(boost::uuids::uuid& id, std::chrono::system_clock::time_point now) {
    using std::chrono::milliseconds;
    constexpr int kFractionBits = 12;
    const auto since = now.time_since_epoch();
    const auto whole = std::chrono::floor<milliseconds>(since);
    const auto nanoseconds = std::chrono::duration_cast<std::chrono::nanoseconds>(since - whole).count();
    const auto fraction = static_cast<std::uint64_t>((nanoseconds << kFractionBits) / 1000000);
    std::uint64_t head =
        (static_cast<std::uint64_t>(whole.count()) << 16U) | (std::uint64_t{7} << kFractionBits) | fraction;
    for (int place = 7; place >= 0; --place) {
        id.data[place] = static_cast<std::uint8_t>(head & 0xFFU);
        head >>= 8U;
    }
}

std::optional<std::string> EnvironmentVariable(const std::string& name) {
    const char* const value = std::getenv(name.c_str());
    return value == nullptr ? std::nullopt : std::optional<std::string>(value);
}

// Where data shared by the programs of this machine goes on systems that have no such variable. An empty
// variable is no directory and counts as unset.
std::string PublicDirectory() {
    if (const auto dataHome = EnvironmentVariable("XDG_DATA_HOME"); dataHome && !dataHome->empty()) {
        return *dataHome;
    }
    if (const auto home = EnvironmentVariable("HOME"); home && !home->empty()) {
        return *home + "/.local/share";
    }
    return "/var/lib";
}

std::optional<std::string> ValueOfPlaceholder(const std::string& name) {
    if (name.empty()) {
        return std::nullopt;
    }
    auto value = EnvironmentVariable(name);
    if (name == kPublicVariable && (!value || value->empty())) {
        return PublicDirectory();
    }
    return value;
}

// What is no placeholder, or names an unset variable, stays as it is.
std::string ExpandPlaceholders(std::string_view text) {
    std::string expanded;
    while (!text.empty()) {
        const std::size_t open = text.find('%');
        const std::size_t close = open == text.npos ? text.npos : text.find('%', open + 1);
        if (close == text.npos) {
            break;
        }
        if (const auto value = ValueOfPlaceholder(std::string(text.substr(open + 1, close - open - 1)))) {
            expanded.append(text.substr(0, open)).append(*value);
            text.remove_prefix(close + 1);
        } else {
            // The closing sign may be the opening one of the next placeholder.
            expanded.append(text.substr(0, close));
            text.remove_prefix(close);
        }
    }
    return expanded.append(text);
}

}  // namespace

std::string CreateGuidAsString() {
    boost::uuids::uuid id = Weftline::RandomUuid();
    WriteTime(id, std::chrono::system_clock::now());
    return boost::uuids::to_string(id);
}

std::string MetadataRootPath() {
    return ExpandPlaceholders(GetConfigValue(std::string(Weftline::Options::MetadataRootPath)));
}

std::string GetMetadataDir(const CoreServices::Parameters& request, const std::string& clientKey) {
    // The client's text is taken as it is: it means something to the workers, and nothing to this process.
    std::string root;
    if (!request.GetParameter(Weftline::Keys::RootPath, root) || root.empty()) {
        root = MetadataRootPath();
    }
    return root.append(1, '/').append(clientKey);
}

}  // namespace PlatformAbstraction
