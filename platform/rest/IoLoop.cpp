#include "platform/rest/IoLoop.h"

#include <algorithm>
#include <boost/asio/post.hpp>
#include <exception>
#include <string>
#include <utility>

#include "base/concurrency/MemoryWatch.h"
#include "base/log/PlatformLog.h"
#include "platform/rest/Connection.h"

namespace PlatformAbstraction::Rest {

namespace {

namespace asio = boost::asio;
using std::chrono::milliseconds;

// When half of so many have gone, their memory lies between that of those which stay, and goes back to the
// system in one walk.
constexpr std::size_t kManyConnections = 256;

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

void IoLoop::HandOver(ReadyAnswer answer) {
    bool isDueAlready = false;
    {
        const MutexLock lock(m_mutex);
        m_ready.push_back(std::move(answer));
        isDueAlready = std::exchange(m_isHandOutDue, true);
    }
    if (isDueAlready) {
        return;
    }
    try {
        asio::post(m_context, [this] { HandOutAnswers(); });
    } catch (...) {  // no memory: what is there goes out with the next answer
        const MutexLock lock(m_mutex);
        m_isHandOutDue = false;
        throw;
    }
}

// The vectors change hands, so that their memory serves again.
void IoLoop::HandOutAnswers() {
    {
        const MutexLock lock(m_mutex);
        m_handedOut.swap(m_ready);
        m_isHandOutDue = false;
    }
    for (ReadyAnswer& answer : m_handedOut) {
        if (const auto connection = answer.connection.lock()) {
            connection->OnAnswer(answer.request, std::move(answer.reply), std::move(answer.share));
        }
    }
    m_handedOut.clear();
}

void IoLoop::Adopt(asio::ip::tcp::socket socket, ConnectionCount::Slot slot) {
    const auto connection = std::make_shared<Connection>(std::move(socket), std::move(slot), *this);
    m_connections.insert(connection);
    m_mostConnections = std::max(m_mostConnections, m_connections.size());
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
    m_lostTime +=
        std::max(std::chrono::steady_clock::now() - m_tick.expiry(), std::chrono::steady_clock::duration(0));
    const auto now = Now();
    for (const auto& connection : m_connections) {  // it removes itself later, when its I/O has ended
        if (connection->IsLate(now)) {
            connection->OnLate();
        }
    }
    if (m_connections.size() < m_mostConnections / 2 && m_mostConnections >= kManyConnections) {
        m_mostConnections = m_connections.size();
        ReturnFreeMemory();
    }
    if (!m_connections.empty()) {
        StartTicking();
    }
}

}  // namespace PlatformAbstraction::Rest
