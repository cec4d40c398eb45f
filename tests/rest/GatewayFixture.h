#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <deque>
#include <functional>
#include <memory>
#include <stdexcept>

#include "base/concurrency/Mutex.h"
#include "platform/messaging/MessageSink.h"
#include "platform/rest/RestGateway.h"
#include "tests/rest/RawClient.h"

namespace PlatformAbstraction::Rest {

/// A service that answers at once with what it was given, or holds its answers back.
class FakeSink final : public Messaging::MessageSink {
public:
    void Deliver(std::string_view operation, CoreServices::Parameters request,
                 CoreServices::Parameters context,
                 std::unique_ptr<Messaging::AnswerReceiver> receiver) override {
        const MutexLock lock(m_mutex);
        if (throws) {
            throw std::runtime_error("secret of the process");
        }
        m_lastMessage = std::string(operation) + " " + request.toJSON() + " " + context.toJSON();
        if (holds) {
            m_held.push_back(std::move(receiver));
            m_arrived.NotifyAll();
        } else {
            receiver->Prepare(m_answer);
            receiver->Send();
        }
    }

    void RespondWith(Messaging::MessageAnswer answer) {
        const MutexLock lock(m_mutex);
        m_answer = std::move(answer);
    }

    /// The oldest answer that is held back, once there is one.
    std::function<void(Messaging::MessageAnswer)> TakeHeld() {
        MutexLock lock(m_mutex);
        while (m_held.empty()) {
            m_arrived.Wait(lock);
        }
        std::shared_ptr<Messaging::AnswerReceiver> receiver = std::move(m_held.front());
        m_held.pop_front();
        return [receiver](Messaging::MessageAnswer answer) {
            receiver->Prepare(std::move(answer));
            receiver->Send();
        };
    }

    /// All that are held back by now.
    void AnswerHeld() {
        const MutexLock lock(m_mutex);
        for (const auto& receiver : m_held) {
            receiver->Prepare(m_answer);
            receiver->Send();
        }
        m_held.clear();
    }

    /// Whoever hands something in meanwhile waits.
    template <typename Action>
    void WhileBusy(const Action& action) {
        const MutexLock lock(m_mutex);
        action();
    }

    /// "operation request context" of the last message.
    std::string LastMessage() {
        const MutexLock lock(m_mutex);
        return m_lastMessage;
    }

    std::atomic<bool> holds = false;
    std::atomic<bool> throws = false;

private:
    Mutex m_mutex;
    Condition m_arrived;
    Messaging::MessageAnswer m_answer QUILLON_GUARDED_BY(m_mutex);
    std::deque<std::unique_ptr<Messaging::AnswerReceiver>> m_held QUILLON_GUARDED_BY(m_mutex);
    std::string m_lastMessage QUILLON_GUARDED_BY(m_mutex);
};

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
