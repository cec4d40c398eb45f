#pragma once

#include <functional>

namespace Weftline::Services {

class ServiceBase;

/// The life of the process, from its arguments to its exit code: takes the one service through `Init`,
/// `Startup`, the wait for the end of the bus, `Shutdown` and `Term`. `makeService` gives a service that this
/// function deletes, except where an exception has come this far: what is still at work in the service is
/// then unknown, so it is left to the end of the process.
///
/// Runs on the main thread and throws nothing. The result is that of `ServiceBase::WaitUntilBusStops`, or one
/// of `ExitCode`.
[[nodiscard]] int RunScheduler(int argc, const char* const* argv,
                               const std::function<ServiceBase*()>& makeService);

/// The exit codes of a life that was cut short.
enum ExitCode : int {
    kInitFailed = -1,
    kStartupFailed = -2,
    kShutdownFailed = -3,
    kTermFailed = -4,
    kRuntimeError = 101,       ///< a `std::runtime_error` got this far
    kStandardException = 102,  ///< so did another standard exception
    kUnknownException = 103,   ///< so did anything else
};

}  // namespace Weftline::Services
