#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace PlatformAbstraction::Rest {

/// One response as it came over the wire.
struct RawResponse {
    int status = 0;
    std::string head;  ///< with its status line
    std::string body;

    /// Empty where there is none of that name, in whatever case.
    std::string Header(const std::string& name) const;
    /// `error`.`code` of the body.
    std::string ErrorCode() const;
};

/// A connection to 127.0.0.1 that sends any bytes whatever. Reading gives up after a deadline far beyond what
/// any answer takes.
class RawClient {
public:
    /// Has its descriptor, and is not connected.
    RawClient();
    /// Throws where nobody listens.
    explicit RawClient(std::uint16_t port);
    RawClient(const RawClient&) = delete;
    RawClient& operator=(const RawClient&) = delete;
    ~RawClient();

    bool Connect(std::uint16_t port);
    void Send(std::string_view bytes);
    /// Empty when the connection ended, or the deadline passed, before a whole response was there. `toHead`:
    /// the response has no body whatever its length says.
    std::optional<RawResponse> ReadResponse(bool toHead = false);
    /// Says that nothing more is sent, and reads on until the other side closes too. Throws past the
    /// deadline.
    std::string ReadToEnd();
    /// Sends a request and reads the response; one of status 0 where there is none.
    RawResponse Ask(std::string_view request);
    /// True once the other side has closed, with nothing more to read.
    bool ReadsEnd();
    /// Closes with a reset, whatever is on its way.
    void Reset();

    std::chrono::milliseconds pauseBeforeRead{0};

private:
    bool ReadMore();

    int m_socket;
    std::string m_buffer;
};

/// Sends one request on a connection of its own.
RawResponse Ask(std::uint16_t port, std::string_view request);

}  // namespace PlatformAbstraction::Rest
