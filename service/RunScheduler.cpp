#include "service/RunScheduler.h"

#include <exception>
#include <iostream>
#include <stdexcept>
#include <string>

#include "service/ServiceBase.h"

namespace Weftline::Services {

namespace {

// Its variables may hold secrets, so none is read here.
void ListEnvironment(std::ostream& stream) {
    stream << "\nEnvironment variables listing skipped.\n";
}

// Each argument and one blank. Nothing is quoted: an argument that holds a blank becomes two words when the
// line is split again.
std::string JoinArguments(int argc, const char* const* argv) {
    std::string line;
    for (int index = 1; index < argc; ++index) {
        line.append(argv[index]).append(1, ' ');
    }
    return line;
}

int GiveUp(ServiceBase* service, const char* failedStep, ExitCode code) {
    std::cerr << "\nScheduler Service main pSchedulerService->" << failedStep << "() failed";
    delete service;
    return code;
}

int Run(int argc, const char* const* argv, const std::function<ServiceBase*()>& makeService) {
    std::cout << "\nExecutable: " << (argc > 0 ? argv[0] : "") << '\n';
    ListEnvironment(std::cout);
    const std::string commandLine = JoinArguments(argc, argv);

    ServiceBase* const service = makeService();
    if (!service->Init()) {
        return GiveUp(service, "Init", kInitFailed);
    }
    if (!service->Startup(commandLine.c_str())) {
        return GiveUp(service, "Startup", kStartupFailed);
    }
    const int result = service->WaitUntilBusStops();
    if (!service->Shutdown()) {
        return GiveUp(service, "Shutdown", kShutdownFailed);
    }
    if (!service->Term()) {
        return GiveUp(service, "Term", kTermFailed);
    }
    delete service;
    return result;
}

}  // namespace

int RunScheduler(int argc, const char* const* argv, const std::function<ServiceBase*()>& makeService) {
    try {
        return Run(argc, argv, makeService);
    } catch (const std::runtime_error& failure) {
        std::cout << "MESS: runtime error has occurred - " << failure.what() << '\n';
        return kRuntimeError;
    } catch (const std::exception& failure) {
        std::cout << "MESS: exception has occurred - " << failure.what() << '\n';
        return kStandardException;
    } catch (...) {
        std::cout << "MESS: Unexpected exception occurred!\n";
        return kUnknownException;
    }
}

}  // namespace Weftline::Services
