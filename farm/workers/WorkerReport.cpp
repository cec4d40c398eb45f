#include "farm/workers/WorkerReport.h"

#include <unistd.h>

#include <array>
#include <cstdint>
#include <cstdlib>

#include "Core/src/Vocabulary.h"
#include "base/log/PlatformLog.h"
#include "farm/protocol/FarmProtocol.h"

namespace Quillon::Farm {

using PlatformAbstraction::Messaging::ServiceMessageDispatch;
namespace Shared = Weftline::Keys;

namespace {

std::string MachineName() {
    constexpr std::size_t kLongestHostName = 255;
    std::array<char, kLongestHostName + 1> name{};
    return ::gethostname(name.data(), kLongestHostName) == 0 ? name.data() : "localhost";
}

ServiceMessageDispatch MakeReport(const WorkerCrew& crew, int number, const std::string& machine,
                                  const std::string& realm) {
    ServiceMessageDispatch report(std::string(Weftline::ServiceNames::Coordinator), realm, kServiceVersion,
                                  std::string(Operations::WorkerReport));
    report.parameters.SetParameter(Shared::Id,
                                   machine + "/" + std::string(crew.service) + "/" + std::to_string(number));
    report.parameters.SetParameter(Shared::Machine, machine);
    report.parameters.SetParameter(Shared::Tag, crew.tag);
    report.parameters.SetParameter(Shared::WorkerKind, crew.service);
    report.parameters.SetParameter(Shared::MetadataOnly, crew.metadataOnly);
    report.parameters.SetParameter(Shared::ProcessID, static_cast<std::int32_t>(::getpid()));
    return report;
}

}  // namespace

void ReportWorkers(const WorkerCrew& crew, PlatformAbstraction::Messaging::BusMessaging& messaging,
                   const std::string& realm) {
    const std::string machine = MachineName();
    for (int number = 1; number <= crew.size; ++number) {
        const auto sent = messaging.SendNotification(MakeReport(crew, number, machine, realm));
        std::string code;
        std::string message;
        if (sent->GetErrorDetails(code, message)) {
            PlatformAbstraction::Log::Warning(std::string(crew.service) + ": worker " +
                                              std::to_string(number) + " could not report in: [" + code +
                                              "] " + message);
        }
    }
}

}  // namespace Quillon::Farm
