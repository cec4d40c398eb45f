// Bytes on a connection to a whole gateway before a service that answers with what it was given.

#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <thread>

#include "fuzz/FuzzTarget.h"
#include "platform/messaging/MessageSink.h"
#include "platform/rest/RestGateway.h"
#include "tests/rest/RawClient.h"

namespace Fuzzing {

namespace {

using namespace PlatformAbstraction;
using CoreServices::Parameters;

class EchoSink final : public Messaging::MessageSink {
public:
    void Deliver(std::string_view /*operation*/, Parameters request, Parameters /*context*/,
                 std::unique_ptr<Messaging::AnswerReceiver> receiver) override {
        ++m_taken;
        receiver->Prepare(Messaging::MessageAnswer::OfResults(std::move(request)));
        receiver->Send();
    }
    /// How many messages came since the last call.
    int TakeCount() { return m_taken.exchange(0); }

private:
    std::atomic<int> m_taken = 0;
};

struct Service {
    Service() { port = gateway.Start(); }

    static Rest::RestGatewaySettings Settings() {
        Rest::RestGatewaySettings settings;
        settings.host = "127.0.0.1";
        settings.port = 0;
        settings.maxBodyBytes = 512;
        settings.threads = 1;
        settings.allowedOrigins = {"http://a"};
        return settings;
    }

    EchoSink sink;
    Rest::RestGateway gateway{Settings(),
                              {{"Submit", "", {}, "s", HTTPMethod::Post},
                               {"getJobs", "", {}, "jobs", HTTPMethod::Get},
                               {"removeJob", "", {}, "jobs/{clientKey}", HTTPMethod::Delete}},
                              sink};
    std::uint16_t port = 0;
};

// Connections that have ended hold their ports for a while, and a fuzzer's timer interrupts: then once more.
std::unique_ptr<Rest::RawClient> Connect(std::uint16_t port) {
    auto client = std::make_unique<Rest::RawClient>();
    while (!client->Connect(port)) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
        client = std::make_unique<Rest::RawClient>();
    }
    return client;
}

// Takes one response off the front. What it must look like depends on nothing but itself, except that one to
// HEAD has a length and no body.
struct Response {
    int status = 0;
    bool closes = false;

    explicit Response(std::string_view& bytes, bool maybeHead) {
        static constexpr std::string_view kVersion = "HTTP/1.1 ";
        const std::size_t end = bytes.find("\r\n\r\n");
        Check(end != bytes.npos && bytes.starts_with(kVersion), "an answer has a head");
        const std::string head(bytes.substr(0, end + 2));
        bytes.remove_prefix(end + 4);
        Check(std::ranges::all_of(head,
                                  [](char c) { return (c >= ' ' && c < 0x7f) || c == '\r' || c == '\n'; }),
              "an answer's head is plain text");
        status = std::atoi(head.c_str() + kVersion.size());
        closes = head.find("\r\nConnection: close\r\n") != head.npos;
        const std::size_t field = head.find("\r\nContent-Length: ");
        Check((status == 100 || status == 204) == (field == head.npos), "an answer has a length");
        const std::size_t length = field == head.npos ? 0 : std::stoul(head.substr(field + 18));
        if (!maybeHead || !(bytes.empty() || bytes.starts_with(kVersion))) {
            Check(bytes.size() >= length, "an answer is whole");
            Parameters::fromJSON(bytes.substr(0, length));
            bytes.remove_prefix(length);
        }
    }

    bool IsOfUnreadRequest() const {
        static constexpr std::array kStatuses{408, 413, 417, 431, 501, 505};
        return std::ranges::find(kStatuses, status) != kStatuses.end();
    }
};

}  // namespace

void RunOne(std::string_view input) {
    static const auto service = std::make_unique<Service>();
    const auto connected = Connect(service->port);
    Rest::RawClient& client = *connected;
    const std::size_t cut = std::hash<std::string_view>()(input) % (input.size() + 1);
    client.Send(input.substr(0, cut));
    client.Send(input.substr(cut));
    const std::string answers = client.ReadToEnd();

    const bool maybeHead = input.find("HEAD") != input.npos;
    int accepted = 0;
    bool isClosing = false;
    for (std::string_view rest = answers; !rest.empty();) {
        const Response response(rest, maybeHead);
        Check(!isClosing, "nothing behind the last request is read as another one");
        Check(response.status < 500 || response.IsOfUnreadRequest(), "no input makes the service fail");
        isClosing = response.closes;
        accepted += response.status == 200 ? 1 : 0;
        Check(isClosing || !response.IsOfUnreadRequest(),
              "a request that was not read to its end is the last one");
    }
    Check(service->sink.TakeCount() == accepted,
          "what was refused has reached nobody, all else has an answer");
}

}  // namespace Fuzzing
