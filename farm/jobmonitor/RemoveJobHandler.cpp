#include "farm/jobmonitor/RemoveJobHandler.h"

#include <stdexcept>
#include <utility>

#include "Core/src/Vocabulary.h"
#include "farm/jobmonitor/JobDirectory.h"
#include "farm/protocol/FarmProtocol.h"
#include "farm/protocol/FarmRequests.h"
#include "platform/messaging/BusMessaging.h"
#include "platform/messaging/HandlerInvocation.h"
#include "platform/messaging/RegParamsBuilder.h"

namespace Quillon::Farm {

using CoreServices::Parameters;
namespace Shared = Weftline::Keys;

namespace Messaging = PlatformAbstraction::Messaging;

namespace {

[[noreturn]] void FailForMissing(const std::string& jobId) {
    throw Messaging::ResourceNotFoundHandlerError("There is no job \"" + jobId + "\"");
}

}  // namespace

RemoveJobHandler::RemoveJobHandler(std::shared_ptr<JobDirectory> jobs, std::string coordinatorRealm)
    : m_pJobs(std::move(jobs)), m_coordinatorRealm(std::move(coordinatorRealm)) {}

PlatformAbstraction::RegistrationParams RemoveJobHandler::GetRegistrationParams() const {
    return PlatformAbstraction::RegParamsBuilder()
        .SetName(std::string(Weftline::Operations::RemoveJob))
        .SetDescription("Removes a job")
        .GetResult();
}

Parameters RemoveJobHandler::HandleMessageV2(
    const Parameters& request, std::shared_ptr<PlatformAbstraction::Messaging::MessageContext> context) {
    const auto jobId = RequiredValue<std::string>(request, Shared::Id);
    if (!m_pJobs->Find(jobId)) {
        FailForMissing(jobId);
    }
    TellCoordinator(*context->GetContextBusMessaging(), jobId);
    if (!m_pJobs->Remove(jobId)) {
        FailForMissing(jobId);  // somebody else was faster
    }
    Parameters answer;
    answer.SetParameter(Shared::Id, jobId);
    return answer;
}

void RemoveJobHandler::TellCoordinator(Messaging::BusMessaging& messaging, const std::string& jobId) const {
    constexpr std::int64_t kPatienceMicroseconds = 5'000'000;
    Messaging::ServiceMessageDispatch forget(std::string(Weftline::ServiceNames::Coordinator),
                                             m_coordinatorRealm, kServiceVersion,
                                             std::string(Operations::ForgetJob));
    forget.parameters.SetParameter(Shared::Id, jobId);
    const auto future = messaging.SendRequest(forget);
    if (!future->WaitForDone(kPatienceMicroseconds)) {
        throw std::runtime_error("The coordinator did not give up the job \"" + jobId + "\" in time");
    }
    std::string code;
    std::string message;
    // Where there is no coordinator nobody writes the record.
    if (future->HasError() &&
        !(future->GetErrorDetails(code, message) && code == Messaging::kServiceNotFound)) {
        throw std::runtime_error("The coordinator did not give up the job \"" + jobId + "\": " + message);
    }
}

}  // namespace Quillon::Farm
