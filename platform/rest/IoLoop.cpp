#include "platform/rest/IoLoop.h"

#include <algorithm>
#include <boost/asio/post.hpp>
#include <exception>
#include <string>
#include <utility>

#include "base/log/PlatformLog.h"
#include "platform/rest/Connection.h"

namespace PlatformAbstraction::Rest {

namespace {

namespace asio = boost::asio;
using std::chrono::milliseconds;

// Deadlines are looked at in steps, a tenth of the shortest of them: one timer does for all connections.
milliseconds TickPeriod(const RestGatewaySettings& settings) {
    return std::clamp(std::min(settings.requestTimeout, settings.idleTimeout) / 10, milliseconds(1),
                      milliseconds(500));
}

}  // namespace

IoLoop::IoLoop(std::shared_ptr<GatewayCore> core)
    : m_pCore(std::move(core)),
      m_tickPeriod(TickPeriod(m_pCore->settings)),
      m_work(asio::make_work_guard(m_context)),
      m_tick(m_context),
      m_pCallers(std::make_shared<const CallerDirectory>(m_pCore->settings.callers)) {}

IoLoop::~IoLoop() {
    Stop();
}

void IoLoop::Start() {
    m_thread = std::thread([this] { Run(); });
}

void IoLoop::Run() {
    while (true) {
        try {
            m_context.run();
            return;
        } catch (const std::exception& error) {
            Log::Error(std::string("An I/O thread of the gateway goes on after: ") + error.what());
        }
    }
}

void IoLoop::Stop() {
    m_context.stop();
    if (m_thread.joinable()) {
        m_thread.join();
    }
    m_connections.clear();
}

void IoLoop::BeginStop() {
    asio::post(m_context, [this] {
        for (const auto& connection : m_connections) {
            connection->BeginStop();
        }
    });
}

void IoLoop::Adopt(asio::ip::tcp::socket socket, ConnectionCount::Slot slot) {
    const auto connection = std::make_shared<Connection>(std::move(socket), std::move(slot), *this);
    m_connections.insert(connection);
    StartTicking();
    try {
        connection->Start();
    } catch (...) {  // no memory for its coroutine
        Remove(connection);
        throw;
    }
}

void IoLoop::Remove(const std::shared_ptr<Connection>& connection) {
    m_connections.erase(connection);
}

void IoLoop::StartTicking() {
    if (m_isTicking) {
        return;
    }
    m_isTicking = true;
    m_tick.expires_after(m_tickPeriod);
    m_tick.async_wait([this](const boost::system::error_code& error) {
        m_isTicking = false;
        if (!error) {
            Tick();
        }
    });
}

void IoLoop::Tick() {
    const auto now = std::chrono::steady_clock::now();
    for (const auto& connection : m_connections) {  // it removes itself later, when its I/O has ended
        if (connection->IsLate(now)) {
            connection->OnLate();
        }
    }
    if (!m_connections.empty()) {
        StartTicking();
    }
}

}  // namespace PlatformAbstraction::Rest
