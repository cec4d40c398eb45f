#pragma once

// Private to the standalone transport.

#include <memory>

namespace PlatformAbstraction::Standalone {

/// Why a wait for the end came to its end.
enum class StopReason { Signal, BrokenListener };

/// Where the main thread waits for the end. From construction on SIGINT and SIGTERM are remembered instead of
/// ending the process, and SIGPIPE is ignored. The main thread makes all calls but `ReportBrokenListener`.
class StopSignals {
public:
    StopSignals();
    StopSignals(const StopSignals&) = delete;
    StopSignals& operator=(const StopSignals&) = delete;
    ~StopSignals();

    /// Blocks until a signal or a report has come. From then on a further signal ends the process.
    StopReason Wait();
    /// Any thread.
    void ReportBrokenListener();

private:
    struct Impl;
    std::unique_ptr<Impl> m_pImpl;
};

}  // namespace PlatformAbstraction::Standalone
