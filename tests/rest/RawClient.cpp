#include "tests/rest/RawClient.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <boost/algorithm/string/find.hpp>
#include <cerrno>
#include <stdexcept>
#include <system_error>
#include <thread>
#include <utility>

#include "base/parameters/Parameters.h"

namespace PlatformAbstraction::Rest {

std::string RawResponse::Header(const std::string& name) const {
    const auto found = boost::algorithm::ifind_first(head, "\r\n" + name + ": ");
    return {found.end(), std::find(found.end(), head.end(), '\r')};
}

std::string RawResponse::ErrorCode() const {
    std::string code;
    CoreServices::Parameters::fromJSON(body).GetChildParameters("error").GetParameter("code", code);
    return code;
}

RawClient::RawClient() : m_socket(socket(AF_INET, SOCK_STREAM, 0)) {
    constexpr timeval kDeadline{20, 0};
    setsockopt(m_socket, SOL_SOCKET, SO_RCVTIMEO, &kDeadline, sizeof kDeadline);
}

RawClient::RawClient(std::uint16_t port) : RawClient() {
    if (!Connect(port)) {
        throw std::runtime_error("Nobody listens.");
    }
}

RawClient::~RawClient() {
    if (m_socket >= 0) {
        close(m_socket);
    }
}

bool RawClient::Connect(std::uint16_t port) {
    sockaddr_in address{AF_INET, htons(port), {htonl(INADDR_LOOPBACK)}, {}};
    const void* const erased = &address;
    return connect(m_socket, static_cast<const sockaddr*>(erased), sizeof address) == 0;
}

void RawClient::Send(std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t sent = send(m_socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent <= 0) {
            return;  // the other side has refused: what it said is still to be read
        }
        bytes.remove_prefix(static_cast<std::size_t>(sent));
    }
}

bool RawClient::ReadMore() {
    std::this_thread::sleep_for(pauseBeforeRead);
    std::array<char, 65536> piece;
    ssize_t received = 0;
    do {
        errno = 0;
        received = recv(m_socket, piece.data(), piece.size(), 0);
    } while (received < 0 && errno == EINTR);  // a fuzzer's timer rings
    m_buffer.append(piece.data(), static_cast<std::size_t>(std::max<ssize_t>(received, 0)));
    return received > 0;
}

std::optional<RawResponse> RawClient::ReadResponse(bool toHead) {
    std::size_t end = 0;
    while ((end = m_buffer.find("\r\n\r\n")) == std::string::npos) {
        if (!ReadMore()) {
            return std::nullopt;
        }
    }
    RawResponse response;
    response.status = std::stoi(m_buffer.substr(m_buffer.find(' ')));
    response.head = m_buffer.substr(0, end + 2);
    const std::string length = response.Header("content-length");
    const std::size_t size = toHead || length.empty() ? 0 : std::stoul(length);
    while (m_buffer.size() < end + 4 + size) {
        if (!ReadMore()) {
            return std::nullopt;
        }
    }
    response.body = m_buffer.substr(end + 4, size);
    m_buffer.erase(0, end + 4 + size);
    return response;
}

std::string RawClient::ReadToEnd() {
    shutdown(m_socket, SHUT_WR);
    while (ReadMore()) {
    }
    if (errno != 0) {
        throw std::system_error(errno, std::generic_category(), "The connection did not end well");
    }
    return std::exchange(m_buffer, {});
}

bool RawClient::ReadsEnd() {
    char byte = 0;
    return m_buffer.empty() && recv(m_socket, &byte, 1, 0) == 0;
}

void RawClient::Reset() {
    const linger now{1, 0};
    setsockopt(m_socket, SOL_SOCKET, SO_LINGER, &now, sizeof now);
    close(std::exchange(m_socket, -1));
}

RawResponse RawClient::Ask(std::string_view request) {
    Send(request);
    return ReadResponse().value_or(RawResponse());
}

RawResponse Ask(std::uint16_t port, std::string_view request) {
    return RawClient(port).Ask(request);
}

}  // namespace PlatformAbstraction::Rest
