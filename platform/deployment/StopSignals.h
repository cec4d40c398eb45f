#pragma once

// Private to the transport.

#include <functional>
#include <memory>

namespace PlatformAbstraction::Deployment {

/// Why a wait for the end came to its end.
enum class StopReason { Signal, BrokenListener };

/// Where the main thread waits for the end. From construction on SIGINT, SIGTERM and SIGHUP are remembered
/// instead of ending the process, and SIGPIPE is ignored. The main thread makes all calls but
/// `ReportBrokenListener`.
class StopSignals {
public:
    StopSignals();
    StopSignals(const StopSignals&) = delete;
    StopSignals& operator=(const StopSignals&) = delete;
    ~StopSignals();

    /// Blocks until SIGINT, SIGTERM or a report has come. From then on a further one of the two ends the
    /// process. `onHangUp` is called, on this thread, whenever SIGHUP comes before.
    StopReason Wait(const std::function<void()>& onHangUp);
    /// Any thread.
    void ReportBrokenListener();

private:
    struct Impl;
    std::unique_ptr<Impl> m_pImpl;
};

}  // namespace PlatformAbstraction::Deployment
