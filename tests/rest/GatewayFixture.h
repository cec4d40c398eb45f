#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "platform/messaging/RegistrationParams.h"
#include "platform/rest/RestGateway.h"
#include "tests/rest/FakeSink.h"
#include "tests/rest/RawClient.h"

namespace PlatformAbstraction::Rest {

/// A gateway on a free port before a fake service.
class GatewayTest : public ::testing::Test {
protected:
    void Start(const std::vector<RegistrationParams>& registrations = Registrations()) {
        settings.port = 0;
        gateway = std::make_unique<RestGateway>(settings, registrations, sink);
        port = gateway->Start();
    }

    static std::vector<RegistrationParams> Registrations() {
        return {{"Submit", "", {}, "submit", HTTPMethod::Post},
                {"getVideo", "", {}, "formats/video", HTTPMethod::Get},
                {"removeJob", "", {}, "jobs/{clientKey}", HTTPMethod::Delete},
                {"getJobs", "", {}, "jobs/all", HTTPMethod::Get},
                {"noPath", "", {}, "", HTTPMethod::Get}};
    }

    /// `fields` are whole lines; a host of ours is put before them.
    static std::string Request(const std::string& line, const std::string& fields = "",
                               const std::string& body = "") {
        return line + " HTTP/1.1\r\nHost: localhost\r\n" + fields +
               (body.empty() ? "" : "Content-Length: " + std::to_string(body.size()) + "\r\n") + "\r\n" +
               body;
    }

    static std::string Post(const std::string& body) {
        return Request("POST /submit", "Content-Type: application/json\r\n", body);
    }

    static std::string GetVideo(const std::string& fields = "") {
        return Request("GET /formats/video", fields);
    }

    FakeSink sink;
    RestGatewaySettings settings;
    std::uint16_t port = 0;
    std::unique_ptr<RestGateway> gateway;  // goes before the sink
};

}  // namespace PlatformAbstraction::Rest
