#include "platform/messaging/nats/NatsSettings.h"

#include <arpa/inet.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <string_view>

namespace PlatformAbstraction::Messaging {

namespace {

constexpr std::array<std::string_view, 2> kSchemes{"nats://", "tls://"};

bool IsLoopback(const std::string& host) {
    constexpr std::uint32_t kNetwork = 127;
    constexpr unsigned kNetworkShift = 24;
    in_addr four{};
    if (inet_pton(AF_INET, host.c_str(), &four) == 1) {
        return ntohl(four.s_addr) >> kNetworkShift == kNetwork;
    }
    in6_addr six{};
    if (inet_pton(AF_INET6, host.c_str(), &six) == 1) {
        return IN6_IS_ADDR_LOOPBACK(&six);
    }
    return host == "localhost";
}

bool IsPort(std::string_view text) {
    std::uint16_t port = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), port);
    return error == std::errc() && end == text.data() + text.size() && port != 0;
}

NatsAddress ReadServer(const std::string& text) {
    std::string_view rest = text;
    // The address would show it in every line that names the server.
    if (rest.find('@') != rest.npos) {
        throw NatsBusError(
            "An address of the bus holds a user or a password; these have settings of their own.");
    }
    std::string_view scheme = kSchemes[0];
    for (const std::string_view candidate : kSchemes) {
        if (rest.starts_with(candidate)) {
            scheme = candidate;
            rest.remove_prefix(candidate.size());
            break;
        }
    }
    const std::size_t colon = rest.rfind(':');
    std::string_view host = rest.substr(0, colon == rest.npos ? 0 : colon);
    if (host.starts_with('[') && host.ends_with(']')) {
        host = host.substr(1, host.size() - 2);
    } else if (host.find(':') != host.npos) {
        host = {};
    }
    if (host.empty() || host.find_first_of("/,[] \t") != host.npos || !IsPort(rest.substr(colon + 1))) {
        throw NatsBusError("The address of the bus \"" + text + "\" must be host:port.");
    }
    const std::string name(host);
    return {std::string(scheme).append(rest), name, IsLoopback(name)};
}

}  // namespace

std::vector<NatsAddress> CheckNatsSettings(const NatsSettings& settings) {
    std::vector<NatsAddress> servers;
    std::transform(settings.servers.begin(), settings.servers.end(), std::back_inserter(servers), ReadServer);
    if (servers.empty()) {
        throw NatsBusError("The bus has no address.");
    }
    if (settings.userName.empty() != settings.passwordFile.empty()) {
        throw NatsBusError("A user of the bus needs a password file, and the other way round.");
    }
    if (!settings.userName.empty() && !settings.credentialsFile.empty()) {
        throw NatsBusError("The bus takes a credentials file or a user, not both.");
    }
    const bool isSomebody = !settings.userName.empty() || !settings.credentialsFile.empty();
    for (const NatsAddress& server : servers) {
        if (!server.isLoopback && !isSomebody) {
            throw NatsBusError(
                "The bus at " + server.url +
                " is beyond loopback addresses, and its messages say on whose behalf they come: "
                "it needs a credentials file or a user and a password file.");
        }
    }
    return servers;
}

}  // namespace PlatformAbstraction::Messaging
