#include "platform/rest/RestGateway.h"

#include <algorithm>
#include <boost/asio/post.hpp>
#include <future>
#include <optional>
#include <stdexcept>
#include <thread>
#include <utility>

#include "platform/rest/ClientStream.h"
#include "platform/rest/GatewayCore.h"
#include "platform/rest/IoLoop.h"
#include "platform/rest/Listener.h"
#include "platform/rest/RequestMemory.h"

namespace PlatformAbstraction::Rest {

class RestGateway::Impl {
public:
    Impl(RestGatewaySettings settings, std::vector<RegistrationParams> registrations,
         Messaging::MessageSink& sink, std::function<void()> onBroken)
        : m_registrations(std::move(registrations)),
          m_onBroken(std::move(onBroken)),
          m_pCore(std::make_shared<GatewayCore>(std::move(settings), sink)) {
        if (m_pCore->settings.maxRequestMemoryBytes < LeastRequestMemory(m_pCore->settings.maxBodyBytes)) {
            throw std::invalid_argument("The memory for requests is too small for the largest body.");
        }
        const unsigned threads = std::max(1U, m_pCore->settings.threads);
        for (unsigned n = 0; n < threads; ++n) {
            m_loops.push_back(std::make_shared<IoLoop>(m_pCore));
        }
    }
    Impl(const Impl&) = delete;
    Impl& operator=(const Impl&) = delete;
    ~Impl();

    std::uint16_t Start();
    void SetCallers(const std::vector<Caller>& callers);
    void StopAccepting();
    void Stop(std::chrono::milliseconds patience);

    std::size_t GetRequestMemory() const noexcept { return m_pCore->memory->InUse(); }

private:
    template <typename Action>
    static void RunOn(IoLoop& loop, Action action);

    const std::vector<RegistrationParams> m_registrations;
    const std::function<void()> m_onBroken;
    const std::shared_ptr<GatewayCore> m_pCore;
    std::vector<std::shared_ptr<IoLoop>> m_loops;
    std::optional<Listener> m_listener;
    bool m_isRunning = false;
    bool m_isOpen = false;  // no tokens are asked for
};

RestGateway::Impl::~Impl() {
    Stop(std::chrono::milliseconds(0));
    for (const auto& loop : m_loops) {  // a start that failed half-way may have left some running
        loop->Stop();
    }
}

std::uint16_t RestGateway::Impl::Start() {
    IoLoop& first = *m_loops.front();
    if (m_pCore->settings.tls.IsUsed()) {
        m_pCore->tls.emplace(MakeTlsContext(m_pCore->settings.tls));
    }
    auto acceptors = OpenListeners(first.GetContext(), m_pCore->settings);
    const std::uint16_t port = acceptors.front().local_endpoint().port();
    m_pCore->gate.emplace(m_pCore->settings, port, m_registrations);
    m_pCore->readers.Start(std::max(1U, std::thread::hardware_concurrency() / 2));
    m_listener.emplace(std::move(acceptors), m_loops, ConnectionsThatFit(m_pCore->settings.maxConnections),
                       m_onBroken);
    m_pCore->connections.SetOnRoom([this, loop = m_loops.front()->weak_from_this()] {
        if (const auto held = loop.lock()) {  // not so while the loops are taken down
            boost::asio::post(held->GetContext(), [this] { m_listener->Resume(); });
        }
    });
    boost::asio::post(first.GetContext(), [this] { m_listener->Resume(); });
    for (const auto& loop : m_loops) {
        loop->Start();
    }
    m_isRunning = true;
    m_isOpen = m_pCore->settings.callers.empty();
    return port;
}

template <typename Action>
void RestGateway::Impl::RunOn(IoLoop& loop, Action action) {
    const auto done = std::make_shared<std::promise<void>>();
    boost::asio::post(loop.GetContext(), [done, &action] {
        action();
        done->set_value();
    });
    done->get_future().wait();
}

void RestGateway::Impl::SetCallers(const std::vector<Caller>& callers) {
    if (callers.empty() && !m_isOpen) {
        throw std::invalid_argument(
            "Without \"callers\" anybody could send messages. To let nobody in, name one whose token is not "
            "given away; to let everybody in, start the service anew.");
    }
    if (!m_isRunning || m_pCore->isStopping) {
        return;
    }
    const auto directory = std::make_shared<const CallerDirectory>(callers);
    for (const auto& loop : m_loops) {
        RunOn(*loop, [&loop, &directory] { loop->SetCallers(directory); });
    }
    m_isOpen = callers.empty();
}

void RestGateway::Impl::StopAccepting() {
    if (!m_isRunning || m_pCore->isStopping.exchange(true)) {
        return;
    }
    RunOn(*m_loops.front(), [this] { m_listener->Close(); });
    m_pCore->readers.BeginStop();
    m_pCore->memory->Close();
    // Behind the accepts that were under way, which hold sockets of other loops.
    RunOn(*m_loops.front(), [] {});
    for (const auto& loop : m_loops) {
        loop->BeginStop();
    }
}

void RestGateway::Impl::Stop(std::chrono::milliseconds patience) {
    if (!m_isRunning) {
        return;
    }
    StopAccepting();
    m_pCore->connections.WaitForNone(std::chrono::steady_clock::now() + patience);
    for (const auto& loop : m_loops) {
        loop->Stop();
    }
    m_pCore->readers.Stop();
    // What the loops had not got to is in their queues, and holds connections and their shares of the memory.
    m_listener.reset();
    m_loops.clear();
    m_isRunning = false;
}

std::size_t LeastRequestMemory(std::size_t maxBodyBytes) noexcept {
    return MemoryPlan::LeastBudget(maxBodyBytes);
}

RestGateway::RestGateway(RestGatewaySettings settings, std::vector<RegistrationParams> registrations,
                         Messaging::MessageSink& sink, std::function<void()> onBroken)
    : m_pImpl(
          std::make_unique<Impl>(std::move(settings), std::move(registrations), sink, std::move(onBroken))) {}

RestGateway::~RestGateway() = default;

std::uint16_t RestGateway::Start() {
    return m_pImpl->Start();
}

void RestGateway::SetCallers(const std::vector<Caller>& callers) {
    m_pImpl->SetCallers(callers);
}

void RestGateway::StopAccepting() {
    m_pImpl->StopAccepting();
}

void RestGateway::Stop(std::chrono::milliseconds patience) {
    m_pImpl->Stop(patience);
}

std::size_t RestGateway::GetRequestMemory() const noexcept {
    return m_pImpl->GetRequestMemory();
}

}  // namespace PlatformAbstraction::Rest
