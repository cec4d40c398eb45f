#include <csignal>
#include <cstdio>
#include <string>

#include "Core/src/Vocabulary.h"
#include "base/concurrency/MemoryWatch.h"
#include "farm/LocalFarm.h"
#include "platform/deployment/DeployedTransport.h"
#include "platform/messaging/BusTransport.h"
#include "platform/stores/StoreChoice.h"
#include "service/RunScheduler.h"
#include "service/SchedulerService.h"

// The composition root: what is plugged into what stands here.
int main(int argc, char* argv[]) {
    PlatformAbstraction::KeepLargeBlocksApart();

    // Until there are callers to read anew.
    std::signal(SIGHUP, SIG_IGN);  // NOLINT(cert-err33-c): it cannot fail for a signal that exists

    // Each line is seen when it is written, also where standard output is a pipe or a file.
    std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);

    const int exitCode = Weftline::Services::RunScheduler(argc, argv, [] {
        namespace Messaging = PlatformAbstraction::Messaging;
        namespace Modes = Weftline::DeploymentModes;
        Messaging::OfferDeploymentMode(std::string(Modes::Standalone), [] {
            return Messaging::MakeStandaloneTransport(Quillon::Farm::StartLocalFarm);
        });
        Messaging::OfferDeploymentMode(std::string(Modes::Distributed), [] {
            return Messaging::MakeDistributedTransport(Quillon::Farm::StartLocalFarm);
        });
        return new Weftline::Services::Scheduler::SchedulerService;
    });
    CommonServices::StoreChoice::LetGoOfEngines();
    return exitCode;
}
