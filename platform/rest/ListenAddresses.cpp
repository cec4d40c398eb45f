#include "platform/rest/ListenAddresses.h"

#include <algorithm>
#include <boost/asio/ip/v6_only.hpp>
#include <string>

#include "platform/rest/RestGateway.h"

namespace PlatformAbstraction::Rest {

namespace {

namespace asio = boost::asio;
using asio::ip::tcp;
using boost::system::error_code;

// With any free port, the one that the first address gave may be taken at the second.
constexpr int kMostAttempts = 16;

std::vector<asio::ip::address> AddressesOf(asio::io_context& context, const std::string& host) {
    if (host == "localhost") {
        return {asio::ip::address_v4::loopback(), asio::ip::address_v6::loopback()};
    }
    error_code error;
    if (const auto address = asio::ip::make_address(host, error); !error) {
        return {address};
    }
    tcp::resolver resolver(context);
    const auto found = resolver.resolve(host, "", error);
    if (error) {
        throw CannotListenError("The host \"" + host + "\" has no address (" + error.message() +
                                "). Name one of this machine with --host, such as \"localhost\".");
    }
    std::vector<asio::ip::address> addresses;
    for (const auto& entry : found) {
        const auto address = entry.endpoint().address();
        if (std::find(addresses.begin(), addresses.end(), address) == addresses.end()) {
            addresses.push_back(address);
        }
    }
    return addresses;
}

bool IsLoopback(const asio::ip::address& address) {
    if (address.is_v6() && address.to_v6().is_v4_mapped()) {
        return asio::ip::make_address_v4(asio::ip::v4_mapped, address.to_v6()).is_loopback();
    }
    return address.is_loopback();
}

void RefuseOpenHost(const RestGatewaySettings& settings, const std::vector<asio::ip::address>& addresses) {
    if (std::all_of(addresses.begin(), addresses.end(), IsLoopback)) {
        return;
    }
    const std::string open = "The host \"" + settings.host + "\" can be reached from other machines, and ";
    if (settings.callers.empty()) {
        throw CannotListenError(open +
                                "without \"callers\" in the file of bus settings anybody there could send "
                                "messages. Use --host=localhost, or name the callers.");
    }
    if (!settings.tls.IsUsed() && !settings.behindProxy) {
        throw CannotListenError(open +
                                "without TLS the callers' tokens could be read on the way. Name "
                                "\"rest.tls.certificateFile\" and \"rest.tls.privateKeyFile\" in the file of "
                                "bus settings. Where a proxy in front speaks TLS with the clients and nobody "
                                "else reaches this address, say so there with \"rest.behindProxy\": true.");
    }
}

// Empty, with the error, when the address cannot be listened on.
std::optional<tcp::acceptor> Listen(asio::io_context& context, const tcp::endpoint& endpoint,
                                    error_code& error) {
    tcp::acceptor acceptor(context);
    acceptor.open(endpoint.protocol(), error);
    if (!error && endpoint.address().is_v6()) {
        acceptor.set_option(asio::ip::v6_only(true), error);
    }
    if (!error) {
        acceptor.set_option(tcp::acceptor::reuse_address(true), error);
    }
    if (!error) {
        acceptor.bind(endpoint, error);
    }
    if (!error) {
        acceptor.listen(tcp::acceptor::max_listen_connections, error);
    }
    return error ? std::nullopt : std::optional(std::move(acceptor));
}

bool IsMissingHere(const error_code& error) {
    return error == asio::error::address_family_not_supported ||
           error == boost::system::errc::address_not_available;
}

// Listens on all addresses that this machine has; the error is that of the last one that could not be had.
std::vector<tcp::acceptor> ListenOnAll(asio::io_context& context,
                                       const std::vector<asio::ip::address>& addresses, std::uint16_t port,
                                       error_code& error) {
    std::vector<tcp::acceptor> acceptors;
    for (const auto& address : addresses) {
        error_code here;
        auto acceptor = Listen(context, tcp::endpoint(address, port), here);
        if (acceptor) {
            port = acceptor->local_endpoint().port();
            acceptors.push_back(*std::move(acceptor));
            continue;
        }
        error = here;
        if (!IsMissingHere(here)) {
            return {};
        }
    }
    return acceptors;
}

std::string TextOf(const RestGatewaySettings& settings, const error_code& error) {
    const std::string place = "port " + std::to_string(settings.port) + " of \"" + settings.host + "\"";
    if (error == asio::error::address_in_use) {
        return "The " + place +
               " is in use. Stop the program that holds it, or choose another one with --port.";
    }
    if (error == asio::error::access_denied) {
        return "This user may not listen on " + place + ". Choose a port from 1024 on with --port.";
    }
    return "Cannot listen on " + place + ": " + error.message() + ".";
}

}  // namespace

std::vector<tcp::acceptor> OpenListeners(asio::io_context& context, const RestGatewaySettings& settings) {
    const auto addresses = AddressesOf(context, settings.host);
    RefuseOpenHost(settings, addresses);
    error_code error;
    for (int attempt = 0; attempt < kMostAttempts; ++attempt) {
        auto acceptors = ListenOnAll(context, addresses, settings.port, error);
        if (!acceptors.empty()) {
            return acceptors;
        }
        if (settings.port != 0 || error != asio::error::address_in_use) {
            break;
        }
    }
    throw CannotListenError(TextOf(settings, error));
}

}  // namespace PlatformAbstraction::Rest
