#include "platform/deployment/StopSignals.h"

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/signal_set.hpp>
#include <csignal>
#include <optional>

namespace PlatformAbstraction::Deployment {

namespace asio = boost::asio;

struct StopSignals::Impl {
    asio::io_context context;
    asio::executor_work_guard<asio::io_context::executor_type> work = asio::make_work_guard(context);
    asio::signal_set signals{context, SIGINT, SIGTERM};
    asio::signal_set hangUps{context, SIGHUP};
    std::optional<StopReason> reason;

    void AwaitHangUp(const std::function<void()>& onHangUp) {
        hangUps.async_wait([this, &onHangUp](const boost::system::error_code& error, int) {
            if (!error && !reason) {
                onHangUp();
                AwaitHangUp(onHangUp);
            }
        });
    }
};

StopSignals::StopSignals() : m_pImpl(std::make_unique<Impl>()) {
    std::signal(SIGPIPE, SIG_IGN);  // NOLINT(cert-err33-c): it cannot fail for a signal that exists
    m_pImpl->signals.async_wait([this](const boost::system::error_code& error, int) {
        if (!error) {
            m_pImpl->reason = m_pImpl->reason.value_or(StopReason::Signal);
        }
    });
}

StopSignals::~StopSignals() = default;

StopReason StopSignals::Wait(const std::function<void()>& onHangUp) {
    m_pImpl->AwaitHangUp(onHangUp);
    while (!m_pImpl->reason) {
        m_pImpl->context.run_one();
    }
    boost::system::error_code ignored;
    m_pImpl->signals.clear(ignored);  // to their default: whoever asks twice is in a hurry
    m_pImpl->hangUps.clear(ignored);
    std::signal(SIGHUP, SIG_IGN);  // NOLINT(cert-err33-c): likewise; it is no reason to hurry
    return *m_pImpl->reason;
}

void StopSignals::ReportBrokenListener() {
    asio::post(m_pImpl->context,
               [this] { m_pImpl->reason = m_pImpl->reason.value_or(StopReason::BrokenListener); });
}

}  // namespace PlatformAbstraction::Deployment
